"""The console by keyboard alone."""

from bench import KeyboardWalk
from controls import Role
from station import wait_until


class KeyboardTest(KeyboardWalk):
    def test_tab_leads_to_every_control_and_back(self):
        names = self.walk_round("Tab")
        self.assertNotIn("", names)
        reachable = {control.name for control in self.program.controls()
                     if control.operable and control.has("sensitive") and control.role != Role.MENU_ITEM}
        reachable.discard("S-meter")  # a dial that only shows
        self.assertEqual(sorted(reachable - set(names)), [])
        self.assertEqual(len(names), len(set(names)), names)
        back = self.walk_round("shift+Tab")
        self.assertEqual(sorted(back), sorted(names))
        at = back.index(names[0])
        self.assertEqual(list(reversed(back[at + 1:] + back[:at + 1])), names)

    def test_the_space_bar_presses_what_has_the_focus(self):
        self.go_to("Band 40 metres")
        self.sends(lambda: self.desktop.key("space"), "MD3;", "FA00007000000;")
        self.go_to("Mode USB")
        self.sends(lambda: self.desktop.key("space"), "MD2;")

    def test_arrow_keys_move_slider_knob_and_chart(self):
        self.go_to("Tuning knob")
        self.sends(lambda: self.desktop.key("Right"), "FA00014025050;")
        self.sends(lambda: self.desktop.key("Prior"), "FA00014025550;")
        slider = self.go_to("AF gain")
        self.sends(lambda: self.desktop.key("Up"), f"AG0{int(slider.value) + 1:03};")

    def test_alt_and_f10_open_the_menus(self):
        opened = lambda: any(control.role == Role.MENU_ITEM and control.has("showing") and "Quit" in control.name
                             for control in self.program.controls())
        for keys, press in (("Alt+S", lambda: self.desktop.chord("alt", "s")),
                            ("F10, down", lambda: self.desktop.key("F10", "Down"))):
            press()
            self.assertTrue(wait_until(opened, 5), f"{keys} does not open the first menu:\n{self.program.tree()}")
            self.desktop.key("Escape", "Escape")
            self.assertTrue(wait_until(lambda: not opened(), 5))
