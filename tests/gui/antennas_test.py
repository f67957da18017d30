"""The antenna window with a rotator's controller at its port, by keys."""

from bench import WindowTest
from paced_rig import Rig
from station import wait_until


class Rotator(Rig):
    modes = {0: ""}

    def __init__(self):
        super().__init__(9600)
        self.heard = b""

    def take(self, byte, at):
        self.heard += bytes([byte])


class AntennasTest(WindowTest):
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

    def lit(self):
        return [name for name in ("One", "Two", "Three", "Four")
                if self.control(f"Lamp of antenna {name}").node.get_description() == "on"]

    def test_a_typed_bearing_turns_the_rotator_and_is_kept(self):
        self.desktop.key("ctrl+b")
        self.opened("Antenna Control")
        self.desktop.type("45")
        self.desktop.key("Return")
        self.assertTrue(wait_until(lambda: self.rotator.heard == b"M045\r", 3), self.rotator.heard)
        self.assertEqual(self.lit(), ["One"])
        self.desktop.close(self.window)
        self.assertEqual(self.kvx.ended(), 0, self.kvx.errors)
        place = self.station.read("AntContF.Pos").decode()
        self.assertRegex(place, r"(?m)^antennas=-?\d+ -?\d+ \d+ \d+ normal$")
        self.assertRegex(place, r"(?m)^LastBearing=45$")
