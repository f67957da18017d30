"""Buttons, pressed with the pointer: the bytes at the rig and the lamps in the window."""

from bench import WindowTest
from station import wait_until


class ButtonsTest(WindowTest):
    def presses(self, *rows):
        """(button, frames that the rig takes) each; the window's lamps follow."""
        for name, *frames in rows:
            with self.subTest(button=name):
                self.sends(lambda: self.click(name), *frames)

    def lights_alone(self, name, group):
        """Of the buttons whose name begins with `group` this one lights."""
        def lit():
            return [control.name for control in self.program.controls()
                    if control.name.startswith(group) and control.checked]
        self.assertTrue(wait_until(lambda: lit() == [name], 3, 0.1), lit())

    def test_bands(self):
        khz = {"Band 160 metres": 1800, "Band 80 metres": 3500, "Band 60 metres": 5302, "Band 40 metres": 7000,
               "Band 30 metres": 10100, "Band 17 metres": 18068, "Band 15 metres": 21000, "Band 12 metres": 24880,
               "Band 10 metres": 28000, "Band 6 metres": 50000, "Band 2 metres": 144000, "Band 440 MHz": 420000}
        self.presses(*((name, "MD3;", f"FA{frequency * 1000:011};") for name, frequency in khz.items()))
        self.lights_alone("Band 440 MHz", "Band ")
        self.presses(("Band 20 metres", "MD3;", "FA00014025000;"))  # where the operator had left it
        self.lights_alone("Band 20 metres", "Band ")

    def test_modes_and_narrow(self):
        self.presses(("Mode USB", "MD2;"), ("Mode LSB", "MD1;"), ("Mode AM", "MD5;"), ("Mode FM", "MD4;"),
                     ("Mode RTTY", "MD6;"), ("Mode CW", "MD3;"), ("Narrow", "MD7;"),
                     ("Band 80 metres", "MD7;", "FA00003500000;"), ("Narrow", "MD3;"))
        self.lights_alone("Mode CW", "Mode ")

    def test_a_band_comes_back_with_its_mode(self):
        self.presses(("Mode USB", "MD2;"), ("Band 40 metres", "MD3;", "FA00007000000;"))
        self.rig.choose_mode("LSB")
        self.rig.knob(7_155_000)
        self.assertTrue(wait_until(lambda: self.control("Mode LSB").checked, 3))
        self.presses(("Band 20 metres", "MD2;", "FA00014025000;"), ("Band 40 metres", "MD1;", "FA00007155000;"))

    def test_vfos(self):
        self.presses(("Use VFO B", "FR1;", "FT1;"))
        self.assertTrue(wait_until(lambda: self.control("Frequency").value == 7000, 3))
        self.lights_alone("Use VFO B", "Use VFO")
        self.presses(("Use VFO A", "FR0;", "FT0;"))
        self.assertTrue(wait_until(lambda: self.control("Frequency").value == 14025, 3))

    def test_function_and_user_buttons(self):
        self.presses(("Function key 1: NB", "NB1;"), ("Function key 1: NB", "NB0;"), ("Function key 5: ATT", "RA01;"),
                     ("Function key 6: Split", "FR0;", "FT1;"), ("Function key 7: Tuner in", "AC110;"))
        self.lights_alone("Function key 5: ATT", "Function key 5")
        self.presses(("RIT on or off", "RT1;"), ("RIT up", "RU;"), ("RIT down", "RD;"), ("RIT on or off", "RT0;"),
                     ("XIT on", "XT1;"))

    def test_the_transmitter_is_keyed_and_released(self):
        self.presses(("XMT: user button Alpha", "TX;"))
        self.assertTrue(wait_until(lambda: any("keyed" in control.name for control in self.program.controls()), 2))
        self.sends(lambda: self.desktop.key("Escape"), "RX;")
        self.assertFalse(self.rig.transmitting)

    def test_meters_and_gain_control(self):
        self.presses(("AGC off", "GT000;"), ("AGC fast", "GT005;"), ("AGC medium", "GT010;"), ("AGC slow", "GT020;"))
        self.lights_alone("AGC slow", "AGC ")
        for name, selects in (("Standing wave meter", "RM1;"), ("ALC meter", "RM3;")):
            self.click(name)
            self.assertTrue(wait_until(lambda: self.count(selects) > 3, 3), f"the poll does not read the {name}")
            self.assertTrue(self.control(name).checked)
        asked = self.count("SM0;")
        self.click("ALC meter")  # once more: back to the S-meter
        self.assertTrue(wait_until(lambda: self.count("SM0;") > asked + 1, 3))

    def test_what_the_rig_does_not_have_is_greyed(self):
        for name in ("AGC automatic", "Power meter", "Drain current meter"):
            control = self.control(name)
            self.assertFalse(control.has("enabled"), name)
            before = len(self.rig.taken)
            self.desktop.click(*control.middle)
            self.settle(0.3)
            self.assertEqual(self.commands(before), [], name)

    def test_a_value_is_not_overwritten_while_it_is_typed(self):
        box = self.control("Value of function key 9")
        self.desktop.click(*box.middle)
        self.desktop.type("1")
        self.rig.knob(14_030_000)
        self.settle(1)
        self.desktop.type("7")
        self.assertTrue(wait_until(lambda: self.control("Value of function key 9").text == "17", 2))
        self.desktop.key("Return")  # keeps the values with the frequency, and presses nothing
        self.sends(lambda: self.desktop.key("F9"), "TN17;")
