"""The console's window on a desktop of its own, with a simulated rig at its far end."""

import os
import tempfile
import time
import unittest

from controls import Events, Program
from desktop import Desktop
from rigs import Ts2000
from station import Kvx, Station, wait_until

QUERIES = {"SM0;", "IF;", "FA;", "FB;", "AG0;", "SQ0;", "MG;", "NL;", "SH;", "RG;", "PC;", "SL;", "BP;"}


class WindowTest(unittest.TestCase):
    """Each test runs in a process of its own (run.py): the desktop is in the environment of that process."""

    size = (1280, 800)
    baud = 57600
    settings = ""  # further lines of rig.ini
    configured = True

    def setUp(self):
        self.desktop = Desktop(*self.size)
        self.addCleanup(self.desktop.stop)
        self.home = tempfile.TemporaryDirectory()
        self.addCleanup(self.home.cleanup)
        self.station = Station()
        self.addCleanup(self.station.__exit__)
        self.rig = Ts2000(self.baud)
        self.rig.knob(14_025_000)
        self.station.plug(self.rig)
        if self.configured:
            self.station.configure("TS-2000", "KENWOOD", self.baud, extra=self.settings)
        self.start()

    def start(self, resize=True):
        """Starts the console and waits until its window is there and follows the rig."""
        self.kvx = Kvx("--station", self.station.folder,
                       environment={"QT_QPA_PLATFORM": "xcb", "HOME": self.home.name, "LC_ALL": "C.UTF-8"})
        self.station.programs.append(self.kvx)
        self.assertTrue(wait_until(lambda: self.desktop.windows(self.kvx.pid), 10), self.kvx.errors)
        self.window = self.desktop.windows(self.kvx.pid)[0]
        self.program = Program(self.kvx.pid)
        if resize:
            self.resize(*self.size)
        self.desktop.focus(self.window)
        self.assertTrue(wait_until(lambda: self.program.controls()[0].has("active"), 10, 0.1), "keys go elsewhere")
        if self.configured:
            self.assertTrue(wait_until(lambda: self.count("SM0;") > 2, 5), "the console does not poll")

    def resize(self, width, height):
        self.desktop.resize(self.window, width, height)
        frame = lambda: self.program.controls()[0]
        self.assertTrue(wait_until(lambda: (frame().width, frame().height) == (width, height), 5, 0.1),
                        f"asked for {width}x{height}, the window is {frame()}")

    # The rig's side.

    def count(self, frame):
        return self.rig.taken.count(frame)

    def commands(self, since=0):
        """What the rig was told to do since then."""
        return [frame for frame in self.rig.taken[since:] if frame not in QUERIES]

    def sends(self, action, *frames):
        """Does it; the rig takes these frames in this order, and no others."""
        before = len(self.rig.taken)
        action()
        wait_until(lambda: len(self.commands(before)) >= len(frames), 3)
        self.settle(0.15)
        self.assertEqual(self.commands(before), list(frames))
        self.assertEqual(self.rig.refused, [])

    def reaches(self, hz, timeout=3):
        self.assertTrue(wait_until(lambda: self.rig.shown == hz, timeout), f"{self.rig.shown}, not {hz}")

    # The operator's side.

    def control(self, name):
        return self.program.find(name)

    def click(self, name):
        self.desktop.click(*self.control(name).middle)

    def opened(self, title):
        """The window of that title, which is to open now."""
        shown = lambda: [window for window in self.program.windows() if window.name == title]
        self.assertTrue(wait_until(shown, 5, 0.1), f"there is no window {title!r}")
        self.settle()
        return shown()[0]

    def settle(self, seconds=0.3):
        """Lets the console take some polls."""
        time.sleep(seconds)

    def tearDown(self):
        failed = self._outcome.result.failures + self._outcome.result.errors  # of this process: of this test
        if failed and os.environ.get("KVX_GUI_PICTURES"):
            self.desktop.picture(os.path.join(os.environ["KVX_GUI_PICTURES"], f"{self.id()}.png"))


class KeyboardWalk(WindowTest):
    """Moves the focus and hears where it goes."""

    def setUp(self):
        super().setUp()
        self.events = Events("object:state-changed:focused")
        self.events.wait(lambda *_: False, 0.2)

    def step(self, key):
        """The control that the key leads to, as a screen reader is told."""
        self.events.heard.clear()
        self.desktop.key(key)
        arrived = self.events.wait(lambda _, control: control.has("focused"), 2)
        self.assertTrue(arrived, f"no control is told to have the focus after {key}")
        return self.events.heard[-1][1]

    def walk_round(self, key, most=200):
        """The names of the controls that the key leads to, once round."""
        names = [self.step(key).name]
        while len(names) < most:
            name = self.step(key).name
            if name == names[0]:
                return names
            names.append(name)
        self.fail(f"{key} does not come back to {names[0]!r}: {names}")

    def go_to(self, name):
        for _ in range(200):
            control = self.step("Tab")
            if control.name.lower().startswith(name.lower()):
                return control
        self.fail(f"Tab does not lead to {name!r}")
