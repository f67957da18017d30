"""Tuning by wheel, knob, keys and chart: what the rig is told."""

import time

from bench import WindowTest
from station import measured, noted, wait_until


class TuningTest(WindowTest):
    def test_the_wheel_turns_the_digit_under_the_pointer(self):
        display = self.control("Frequency")
        _, y = display.middle
        places = []
        for x in range(display.x + 2, display.x + display.width, max(4, display.width // 60)):
            before = self.rig.shown
            self.desktop.wheel(x, y, 1)
            if not wait_until(lambda: self.rig.shown != before, 0.4):  # the rig has no such frequency
                self.assertTrue(wait_until(lambda: display.value == before / 1000, 2), display.value)
                continue
            place = self.rig.shown - before
            if not places or places[-1] != place:
                places.append(place)
            self.desktop.wheel(x, y, -1)
            self.reaches(before)
        digits = [place for place in places if place != 50]  # beside the digits the wheel tunes a step
        self.assertEqual(digits, [10_000_000, 1_000_000, 100_000, 10_000, 1000, 100, 10])

    def test_the_right_button_drags_the_knob_at_double_rate(self):
        x, y = self.control("Tuning knob").middle
        moved = {}
        for button in (1, 3):
            for way in (80, -80):
                before = self.rig.shown
                self.desktop.drag(x, y, way, 0, button)
                self.assertTrue(wait_until(lambda: self.rig.shown != before, 2), f"button {button} tunes nothing")
                self.settle(0.5)
                moved[button, way] = self.rig.shown - before
        self.assertGreater(moved[1, 80], 0)
        self.assertEqual(moved[1, -80], -moved[1, 80])
        self.assertEqual(moved[3, 80], 2 * moved[1, 80])
        self.assertEqual(moved[3, -80], -2 * moved[1, 80])
        before = self.rig.shown
        self.desktop.point(x + 40, y)  # the button is up: nothing is held
        self.settle()
        self.assertEqual(self.rig.shown, before)

    def test_a_click_in_the_chart_tunes_there(self):
        chart = self.control("Band chart")
        self.desktop.click(chart.x + chart.width // 4, chart.middle[1])
        self.assertTrue(wait_until(lambda: abs(self.rig.shown - 14_087_500) < 3000, 3), self.rig.shown)

    def test_the_display_follows_the_knob_of_the_rig(self):
        seen, display = [], self.control("Frequency")
        for hz in range(14_030_000, 14_040_000, 1000):
            begin = time.monotonic()
            self.rig.knob(hz)
            shown = lambda: abs(display.value - hz / 1000) < 0.001
            self.assertTrue(wait_until(shown, 2), display.value)
            seen.append(time.monotonic() - begin)
        measured("the rig's knob to the window", seen)


class SlowLineTest(WindowTest):
    baud = 4800

    def test_the_rig_is_never_far_behind_a_quick_wheel(self):
        knob = self.control("Tuning knob").middle
        self.desktop.wheel(*knob, 20)
        self.reaches(14_026_000)
        behind = []
        while not behind or behind[-1] >= 0.2 and len(behind) < 3:  # once more when the machine itself stalls
            behind.append(self.turn_quickly(knob))
        self.assertLess(min(behind), 0.2, behind)

    def turn_quickly(self, knob):
        """10 s of it; how far the rig was behind at most. The last frequency arrives."""
        self.rig.most_waiting = 0.0
        before, taken, begin, notches = self.rig.shown, len(self.rig.taken), time.monotonic(), 0
        while time.monotonic() - begin < 10:
            self.desktop.wheel(*knob, 40, 10)
            self.desktop.wheel(*knob, -30, 10)
            notches += 10
        self.reaches(before + notches * 50)
        sent = sum(frame.startswith("FA0") for frame in self.rig.taken[taken:])
        noted(f"{notches * 7} notches in {time.monotonic() - begin:.1f} s at 4800 baud: {sent} frequencies sent, "
              f"the rig at most {self.rig.most_waiting * 1000:.0f} ms behind")
        return self.rig.most_waiting
