"""CW by a line of a serial port: the edges as the operating system is asked for them.

A pseudo-terminal has no modem lines, so a library stands in for them and notes each change with its moment.
"""

import os
import time
import tty
import unittest

import station as station_module
from station import Station, measured, noted, wait_until
from strict_winkey import ALPHABET

SHIM = os.path.join(os.path.dirname(station_module.BINARY), "tests", "platform", "libkvx_line_shim.so")


@unittest.skipUnless(os.path.exists(SHIM), f"there is no {SHIM}")
class KeyLineTest(unittest.TestCase):
    def start(self, more="", speed=30):
        self.station = Station()
        self.addCleanup(self.station.__exit__)
        master, slave = self.pseudo_terminal()
        for descriptor in (master, slave):
            self.addCleanup(os.close, descriptor)
        self.log = self.station.path("lines")
        self.station.write("ports.ini", f"COM4={os.ttyname(slave)}\n")
        self.station.write("rig.ini", f"KEYERPORT=COM4\nCWSPEED= {speed}\nXLEADTIME= 200\nXTAILTIME= 300\n{more}")
        kvx = self.station.start(environment={"LD_PRELOAD": SHIM, "KVX_LINE_LOG": self.log})
        kvx.wait_status(lambda status: status["keyer"]["ready"])
        self.opened = len(self.changes())
        return kvx

    def changes(self):
        """(seconds, line, on), in their order."""
        if not os.path.exists(self.log):
            return []
        lines = [line.split() for line in self.station.read("lines").decode().splitlines()]
        return [(int(at) / 1e9, line, state == "1") for at, line, state in lines]

    def edges(self, line):
        """The changes of a line since the port was opened; what leaves it as it is does not count."""
        edges, state = [], False
        for at, name, on in self.changes()[self.opened:]:
            if name == line and on != state:
                edges.append((at, on))
                state = on
        return edges

    def is_on(self, line):
        states = [on for _, name, on in self.changes() if name == line]
        return bool(states) and states[-1]

    def test_text_is_keyed_in_its_times(self):
        for more, key, ptt in (("", "DTR", "RTS"), ("KEYLINE=RTS\n", "RTS", "DTR")):
            with self.subTest(key):
                text = "PARIS 73 <AR>"
                kvx = self.start(more, speed=20)
                self.assertTrue(kvx.command(f"cw {text}").startswith("ok"))
                kvx.wait_line("cw idle", 15)
                self.assertTrue(wait_until(lambda: not self.is_on(ptt), 2), "PTT is still on")
                edges = self.edges(key)
                expected = []
                for letter in ("P", "A", "R", "I", "S", " ", "7", "3", " ", "AR"):
                    if letter == " ":
                        expected[-1] = 7
                        continue
                    for element in "".join(ALPHABET[part] for part in letter):
                        expected += [1 if element == "." else 3, 1]
                    expected[-1] = 3
                expected.pop()
                unit = 1.2 / 20
                lengths = [later[0] - earlier[0] for earlier, later in zip(edges, edges[1:])]
                # A busy machine may delay one edge, but does not make a dash of a dot, and most are where they belong.
                units = [length / unit for length in lengths]
                self.assertEqual([1 if length < 2 else 3 if length < 5 else 7 for length in units], expected)
                errors = sorted(abs(length - wanted) for length, wanted in zip(units, expected))
                self.assertLess(errors[len(errors) // 2], 0.2)
                measured(f"edges of {key} at 20 wpm, away from their moment", [
                    abs(at - edges[0][0] - unit * sum(expected[:i])) for i, (at, _) in enumerate(edges)])
                (on, _), (off, _) = self.edges(ptt)
                self.assertAlmostEqual(edges[0][0] - on, 0.2, delta=0.1)
                self.assertAlmostEqual(off - edges[-1][0], 0.3, delta=0.1)

    def test_escape_lets_the_key_go(self):
        kvx = self.start()
        kvx.command("cw 000000000")
        self.assertTrue(wait_until(lambda: len(self.edges("DTR")) >= 5, 5))
        begin = time.monotonic()
        kvx.command("escape")
        self.assertTrue(wait_until(lambda: not self.is_on("DTR") and not self.is_on("RTS"), 1, 0.002))
        noted(f"escape to the released lines: {(time.monotonic() - begin) * 1000:.0f} ms")
        edges = len(self.edges("DTR"))
        time.sleep(1)
        self.assertEqual(len(self.edges("DTR")), edges)

    def test_tune_has_a_limit(self):
        kvx = self.start("TUNETIME= 1\n")
        kvx.command("tune on")
        self.assertTrue(wait_until(lambda: self.is_on("DTR"), 2))
        self.assertTrue(wait_until(lambda: not self.is_on("DTR") and not self.is_on("RTS"), 3))
        (down, _), (up, _) = self.edges("DTR")
        self.assertAlmostEqual(up - down, 1, delta=0.3)
        kvx.wait_line("message Transmitter Off")

    def pseudo_terminal(self):
        master, slave = os.openpty()
        tty.setraw(slave)
        return master, slave

    def test_lines_of_the_rig_port(self):
        self.station = Station()
        self.addCleanup(self.station.__exit__)
        self.log = self.station.path("lines")
        ends = self.pseudo_terminal()
        self.station.configure("TS-2000", "KENWOOD", 57600, extra="KEYPTT=False\n")
        os.symlink(os.ttyname(ends[1]), self.station.device)
        kvx = self.station.start(environment={"LD_PRELOAD": SHIM, "KVX_LINE_LOG": self.log})
        kvx.wait_status(lambda status: status["open"])
        self.assertTrue(kvx.command("line dtr on").startswith("ok"))
        self.assertTrue(wait_until(lambda: self.is_on("DTR"), 2))
        self.assertTrue(kvx.command("setting KEYERPORT RIGPORT").startswith("ok"))
        self.assertTrue(wait_until(lambda: not self.is_on("DTR"), 2), "a line that keys follows its switch")
        self.opened = len(self.changes())
        os.unlink(self.station.device)
        for end in ends:
            os.close(end)
        kvx.wait_status(lambda status: not status["open"])
        ends = self.pseudo_terminal()
        for end in ends:
            self.addCleanup(os.close, end)
        os.symlink(os.ttyname(ends[1]), self.station.device)
        kvx.wait_status(lambda status: status["open"] and status["keyer"]["ready"], 8)
        self.assertEqual(self.edges("DTR"), [], "keyed for a moment")
        self.assertIn("DTR", [line for _, line, _ in self.changes()[self.opened:]])
        self.assertTrue(kvx.command("setting INVERT on").startswith("error: The rig port's lines cannot be keyed inverted"))
        self.assertTrue(kvx.command("setting KEYERPORT NONE").startswith("ok"))
        self.assertTrue(wait_until(lambda: self.is_on("DTR"), 2), "its switch does not count again")

    def test_a_port_that_goes(self):
        kvx = self.start()
        kvx.command("cw 0000000000")
        self.assertTrue(wait_until(lambda: len(self.edges("DTR")) >= 3, 5))
        since = len(kvx.texts())
        self.station.write("lines.gone", "")
        kvx.wait_status(lambda status: not status["keyer"]["ready"], 3)
        time.sleep(0.3)
        told = [line for line in kvx.texts(since) if line.startswith("message ")]
        self.assertEqual(len(told), 1, told)
        os.unlink(self.station.path("lines.gone"))
        before = len(self.edges("DTR"))
        kvx.command("cw E")
        self.assertTrue(wait_until(lambda: len(self.edges("DTR")) > before, 5), kvx.texts(since))
        kvx.wait_line("cw idle", 5, since)
        self.assertFalse(self.is_on("DTR"))


if __name__ == "__main__":
    unittest.main()
