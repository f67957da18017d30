"""The simulated rigs as a program of their own."""

import os
import select
import subprocess
import time
import tty
import unittest

import station as station_module
from station import Kvx, Station, wait_until

KINDS = (("ts2000", "TS-2000", "KENWOOD"), ("ft857", "FT-857", "YAESU"), ("ft1000d", "FT-1000D", "YAESU"),
         ("ft847", "FT-847", "YAESU"), ("ft747", "FT-747", "YAESU"), ("ft757gx2", "FT-757GXII", "YAESU"),
         ("ft890", "FT-840", "YAESU"), ("ft920", "FT-920", "YAESU"), ("ft990", "FT-990", "YAESU"),
         ("ft1000mp", "FT-1000MP", "YAESU"), ("ft100", "FT-100", "YAESU"), ("ft450", "FT-450", "YAESU"),
         ("ftdx5000", "FT-DX5000", "YAESU"), ("ic7300", "IC-7300", "ICOM"), ("orion", "ORION", "TEN-TEC"))


def ask(device, command, wait=0.3):
    """What comes back within a while."""
    os.write(device, command)
    answer = b""
    while select.select([device], [], [], wait)[0]:
        answer += os.read(device, 4096)
        if answer.endswith((b";", b"\xfd")):
            break
    return answer


class RigsimTest(unittest.TestCase):
    def setUp(self):
        self.station = Station()
        self.addCleanup(self.station.__exit__)

    def simulate(self, kind, *arguments):
        program = Kvx("rigsim", kind, "--link", self.station.device, *arguments)
        self.station.programs.append(program)
        self.assertTrue(wait_until(program.texts, 5), program.errors)
        return program

    def open_link(self):
        device = os.open(self.station.device, os.O_RDWR | os.O_NOCTTY)
        self.addCleanup(os.close, device)
        tty.setraw(device)
        return device

    def test_raw_client(self):
        program = self.simulate("ts2000")
        self.assertEqual(program.texts()[0], os.path.realpath(self.station.device))
        device = self.open_link()
        self.assertEqual(ask(device, b"ID;"), b"ID019;")
        os.write(device, b"FA00014025370;")
        self.assertEqual(ask(device, b"FA;"), b"FA00014025370;")
        for wrong in (b"FA1;", b"XX;", b"FA99999999999;"):
            self.assertEqual(ask(device, wrong), b"?;")
        self.assertEqual(program.command("knob 7012.34")[:2], "ok")
        status = ask(device, b"IF;")
        self.assertEqual((status[:13], len(status)), (b"IF00007012340", 38))
        self.assertEqual(program.quit(), 0)
        self.assertFalse(os.path.lexists(self.station.device), "the link stays behind")

    def test_each_kind_is_followed_and_tuned(self):
        for kind, name, family in KINDS:
            with self.subTest(kind):
                rig = self.simulate(kind)
                self.station.configure(name, family, 38400)
                kvx = self.station.start()
                kvx.wait_status(lambda status: status["open"] and status["replies"] > 0)
                since = len(kvx.texts())
                rig.command("knob 14033.33")
                kvx.wait_line("freq 14033.33", 5, since)
                self.assertEqual(kvx.command("freq 7012.34"), "ok freq 7012.34")
                self.assertTrue(wait_until(lambda: "=7012340 " in rig.command("state"), 3, 0.05), rig.command("state"))
                self.assertEqual(kvx.command("mode LSB"), "ok mode LSB")
                self.assertTrue(wait_until(lambda: "LSB" in rig.command("state"), 3, 0.05), rig.command("state"))
                self.assertIn(" refused=0 ", rig.command("state"))
                self.assertEqual(kvx.quit(), 0)
                self.assertEqual(rig.quit(), 0)

    def test_simulated_station(self):
        with Station() as home:
            kvx = Kvx("--headless", "--demo", environment={"XDG_DATA_HOME": home.folder})
            home.programs.append(kvx)
            kvx.wait_status(lambda status: status["open"] and status["replies"] > 0)
            self.assertEqual(kvx.command("sim knob 14044.44")[:2], "ok")
            kvx.wait_line("freq 14044.44")
            kvx.wait_status(lambda status: status["keyer"]["ready"], 10)
            self.assertIn("sim:winkey (simulated keyer", kvx.command("devices"))
            self.assertEqual(kvx.quit(), 0)

    def test_wrong_arguments(self):
        for arguments in (["rigsim"], ["rigsim", "nosuch"], ["rigsim", "ts2000", "--speed", "x"], ["--nosuch"],
                          ["--station"], ["rigsim", "ts2000", "--link", "/nowhere/link"]):
            with self.subTest(arguments):
                done = subprocess.run([station_module.BINARY, *arguments], stdin=subprocess.DEVNULL, timeout=5,
                                      capture_output=True, check=False)
                self.assertEqual(done.returncode, 1)
                self.assertEqual(done.stderr.count(b"\n"), 1)
                self.assertEqual(done.stdout, b"")

    def test_line_speed(self):
        self.simulate("ts2000", "--speed", "1200")
        device = self.open_link()
        ask(device, b"ID;", 1)
        begin = time.monotonic()
        answer = ask(device, b"IF;", 1)
        self.assertEqual(len(answer), 38)
        self.assertGreater(time.monotonic() - begin, 0.9 * (3 + 38) * 10 / 1200)
