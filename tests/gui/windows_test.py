"""The windows around the console, opened by their keys."""

from bench import WindowTest
from station import wait_until


class WindowsTest(WindowTest):
    size = (1024, 600)

    def opened(self, keys):
        """The window that the keys open."""
        before = {window.name for window in self.program.windows()}
        self.desktop.key(keys)
        new = lambda: [window for window in self.program.windows() if window.name not in before]
        self.assertTrue(wait_until(new, 5, 0.1), f"{keys} opens no window")
        self.settle()
        return new()[0]

    def test_they_fit_a_small_screen_and_the_end_closes_them_all(self):
        for keys in ("ctrl+p", "ctrl+e", "ctrl+l", "ctrl+m", "ctrl+d", "ctrl+k", "ctrl+u", "ctrl+b", "ctrl+h",
                     "ctrl+shift+b", "ctrl+shift+d", "ctrl+shift+l", "ctrl+shift+F1"):
            with self.subTest(keys):
                window = self.opened(keys)
                self.assertGreaterEqual(window.x, 0)
                self.assertLessEqual(window.x + window.width, 1024)
                self.assertLessEqual(window.y + window.height, 600)
                self.assertNotEqual(window.name.strip(), "")
                self.desktop.focus(self.window)
        self.desktop.close(self.window)
        self.assertEqual(self.kvx.ended(), 0, self.kvx.errors)


class FirstStartTest(WindowTest):
    configured = False

    def test_the_simulated_station_is_one_key_away(self):
        setup = lambda: [window for window in self.program.windows() if window.name == "Setup"]
        self.assertTrue(wait_until(setup, 3, 0.1), "the setup is not offered")
        self.desktop.focus(self.desktop.windows(self.kvx.pid)[-1])
        self.desktop.key("alt+t", "Escape")
        self.assertTrue(wait_until(lambda: not setup(), 3, 0.1))
        display = self.control("Frequency")
        self.assertTrue(wait_until(lambda: display.value == 14025, 3), "the simulated rig is not followed")
        self.desktop.wheel(*self.control("Tuning knob").middle, 4)
        self.settle(1.5)  # its answers would take back what it has not understood
        self.assertAlmostEqual(display.value, 14025.2, 3)
        self.desktop.close(self.window)
        self.assertEqual(self.kvx.ended(), 0, self.kvx.errors)
        self.assertIn(b"XRIG=TS-2000", self.station.read("rig.ini"))
