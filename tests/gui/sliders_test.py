"""Sliders: drags, and the rig's own values."""

from bench import WindowTest
from controls import Role
from station import wait_until

HANDLE = 11  # pixels from the end of a slider to the middle of its handle there


class SlidersTest(WindowTest):
    def slider(self, name):
        return next(control for control in self.program.controls()
                    if control.role == Role.SLIDER and name in control.name.lower())

    def grip(self, slider, lowest, highest):
        """Where the middle of its handle is."""
        share = (slider.value - lowest) / (highest - lowest)
        return slider.middle[0], slider.y + slider.height - HANDLE - round(share * (slider.height - 2 * HANDLE))

    def test_the_last_place_of_a_drag_arrives(self):
        slider = self.slider("af gain")
        before = len(self.rig.taken)
        self.desktop.drag(*self.grip(slider, 0, 255), 0, -slider.height // 4, pieces=25)
        self.settle(0.7)
        sent = [frame for frame in self.commands(before) if frame.startswith("AG0") and len(frame) == 7]
        self.assertGreater(len(sent), 1)
        self.assertEqual(sent, sorted(sent))  # upwards, and never back
        self.assertEqual(int(sent[-1][3:6]), self.slider("af gain").value)
        self.assertEqual(self.rig.refused, [])

    def test_what_the_rig_has_is_shown(self):
        slider = self.slider("af gain")
        self.rig.unplug()
        self.rig.values["AG"] = 77
        self.settle(0.5)
        self.rig.plug(self.station.device)  # makes the console ask again
        self.assertTrue(wait_until(lambda: slider.value == 77, 20, 0.05), slider.value)

    def test_the_slider_of_the_band_tunes(self):
        slider = self.control("Frequency within the band")
        before = len(self.rig.taken)
        x = slider.x + round(slider.width * 25 / 350)  # 14025 of 14000 to 14350
        self.desktop.drag(x, slider.middle[1], slider.width // 2, 0, pieces=25)
        self.settle(0.5)
        sent = [int(frame[2:-1]) for frame in self.commands(before) if frame.startswith("FA0")]
        self.assertGreater(len(sent), 3)
        self.assertEqual(sent, sorted(sent))
        self.assertAlmostEqual(sent[-1], 14_200_000, delta=5000)
        self.assertAlmostEqual(self.control("Frequency").value, self.rig.shown / 1000, 2)
