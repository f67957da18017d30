"""The antenna window with a rotator's controller at its port, in the station's only way: mouse and keys."""

import math

from bench import KeyboardWalk
from controls import Role
from paced_rig import Rig
from station import wait_until


class Rotator(Rig):
    modes = {0: ""}

    def __init__(self):
        super().__init__(9600)
        self.heard = b""

    def take(self, byte, at):
        self.heard += bytes([byte])


class AntennasTest(KeyboardWalk):
    size = (1024, 600)
    settings = ("ANTPORT= 6\nANTSPEED= 9600\nANTSTOP=1\nANTCOMMSTR=M<BEARING><CR>\nANT1FROM= 0\nANT1TO= 120\n"
                "ANT2FROM= 121\nANT2TO= 359\nMICROSEC= 0\nLOCATOR=JN58TD\n")

    def start(self, resize=True):
        self.rotator = Rotator()
        device = self.station.device + "-rotator"
        self.station.rigs.append(self.rotator.plug(device))
        ports = self.station.read("ports.ini").decode()
        self.station.write("ports.ini", ports + f"COM6={device}\nLPT1=sim:lpt\n")
        super().start(resize)

    def opened(self, keys, name):
        self.desktop.key(keys)
        shown = lambda: [window for window in self.program.windows() if window.name == name]
        self.assertTrue(wait_until(shown, 5, 0.1), f"{name} does not open")
        self.settle()
        return shown()[0]

    def hears(self, *commands):
        self.assertTrue(wait_until(lambda: self.rotator.heard == b"".join(commands), 3), self.rotator.heard)
        self.rotator.heard = b""

    def lit(self):
        return [name for name in ("One", "Two", "Three", "Four")
                if self.control(f"Lamp of antenna {name}").node.get_description() == "on"]

    def test_a_typed_bearing_and_the_rose_turn_the_rotator(self):
        self.opened("ctrl+b", "Antenna Control")
        self.desktop.type("45")
        self.desktop.key("Return")
        self.hears(b"M045\r")
        self.assertEqual(self.lit(), ["One"])
        rose = self.control("Compass rose")
        radius = min(rose.width, rose.height) / 3
        at = lambda bearing: (round(rose.x + rose.width / 2 + radius * math.sin(math.radians(bearing))),
                              round(rose.y + rose.height / 2 - radius * math.cos(math.radians(bearing))))
        self.desktop.click(*at(270))
        self.assertTrue(wait_until(lambda: self.rotator.heard.endswith(b"\r"), 3))
        self.assertAlmostEqual(int(self.rotator.heard[1:4]), 270, delta=1)
        self.assertEqual(self.lit(), ["Two"])
        self.rotator.heard = b""
        self.desktop.key("Home", "Left", "Return")
        self.hears(b"M359\r")
        self.desktop.key("alt+g", "ctrl+a")
        self.desktop.type("360")
        self.desktop.key("Return")
        self.assertTrue(wait_until(lambda: "Please enter a bearing between 0 and 359" in self.program.tree(), 3))
        self.assertEqual(self.rotator.heard, b"")
        self.desktop.key("Return")
        self.desktop.close(self.window)
        self.assertEqual(self.kvx.ended(), 0, self.kvx.errors)
        place = self.station.read("AntContF.Pos").decode()
        self.assertRegex(place, r"(?m)^antennas=-?\d+ -?\d+ \d+ \d+ normal$")
        self.assertRegex(place, r"(?m)^LastBearing=359$")

    def test_the_keyboard_reaches_everything_on_a_small_screen(self):
        for keys, name in (("ctrl+b", "Antenna Control"), ("ctrl+shift+b", "Antenna Port Settings"),
                           ("ctrl+shift+d", "Direct Port")):
            with self.subTest(name):
                window = self.opened(keys, name)
                if name == "Antenna Control":
                    self.desktop.key("alt+u")
                    self.settle()
                controls = [control for control in self.program.controls(window)
                            if control.operable and control.width > 0 and control.role != Role.RADIO_BUTTON]
                self.assertGreater(len(controls), 3)
                missed = {control.name for control in controls} - set(self.walk_round("Tab"))
                self.assertEqual(missed, set())
                self.desktop.key("ctrl+w")
                self.desktop.focus(self.window)
