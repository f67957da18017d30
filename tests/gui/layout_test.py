"""Where the controls are at several sizes, and what they are called."""

from bench import WindowTest
from controls import Role


class LayoutTest(WindowTest):
    size = (2560, 1440)

    def operable(self):
        frame, *rest = self.program.controls()
        return frame, [control for control in rest if control.operable and control.width > 0]

    def test_every_control_has_its_own_place_in_the_window(self):
        for size in ((1024, 600), (1280, 800), (2560, 1440)):
            with self.subTest(size=size):
                self.resize(*size)
                self.settle()
                frame, controls = self.operable()
                self.assertGreater(len(controls), 50, self.program.tree())
                self.assertNotIn(Role.SCROLL_BAR, [control.role for control in self.program.controls()])
                self.assertEqual([control for control in controls if not control.inside(frame)], [])
                self.assertEqual([(a, b) for i, a in enumerate(controls) for b in controls[:i] if a.overlaps(b)], [])
                self.assertEqual([control for control in controls if min(control.width, control.height) < 12], [])

    def test_every_control_has_a_name_of_its_own(self):
        _, controls = self.operable()
        self.assertEqual([control for control in controls if not control.name.strip()], [], self.program.tree())
        names = [control.name for control in controls]
        self.assertEqual(sorted({name for name in names if names.count(name) > 1}), [], self.program.tree())


class LargeTextTest(WindowTest):
    size = (2560, 1440)
    settings = "TEXTSIZE=200\n"

    def test_large_text_has_room_too(self):
        frame, *controls = self.program.controls()
        controls = [control for control in controls if control.operable and control.width > 0]
        self.assertEqual([control for control in controls if not control.inside(frame)], [])
        self.assertEqual([(a, b) for i, a in enumerate(controls) for b in controls[:i] if a.overlaps(b)], [])
        self.assertGreater(self.program.find("Mode CW").height, 40)
        self.assertNotIn(Role.SCROLL_BAR, [control.role for control in self.program.controls()])
        self.assertGreater(frame.width, 2000)
