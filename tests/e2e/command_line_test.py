"""The command line: answers, hostile input, and that whatever transmits is released at the end."""

import json
import os
import random
import shutil
import signal
import subprocess
import threading
import time
import unittest

import rigs
import station as station_module
from station import Station, measured, noted, wait_until

WRONG = (
    "nonsense", "STATUSS", "freq", "freq abc", "freq -1", "freq 0", "freq 1e9", "freq 99999999999999999999",
    "freq nan", "base 14,025", "mode", "mode XYZ", "vfo C", "vfo", "rig \t", "rig no such rig", "rig '; DROP TABLE RigSetup; --",
    "slot 9", "slot -1", "slot x", "rignumber 0", "rignumber 8", "port 100", "port -1", "port x", "speed 0",
    "speed 99999999999", "fn 0", "fn 10", "fn", "fnval", "fnval 0 x", "slider", "slider AF", "slider NOSUCH 3",
    "slider AF x", "slider 12 1", "send", "narrow maybe", "poll", "meter 10", "trace", "sim knob 1", "\x01\x02",
    "\u20ac",
)
RIGS = (rigs.Ts2000, rigs.Ft857, rigs.FtDx5000, rigs.Ic7300, rigs.Ft1000d)


class InputTest(unittest.TestCase):
    def setUp(self):
        self.station = Station()
        self.addCleanup(self.station.__exit__)
        self.station.configure("TS-2000", "KENWOOD", 38400)

    def memory(self, program):
        with open(f"/proc/{program.pid}/status", encoding="ascii") as file:
            return next(int(line.split()[1]) for line in file if line.startswith("VmRSS"))

    def start_unread(self):
        """A console whose output nobody reads unless the test does."""
        program = subprocess.Popen([station_module.BINARY, "--headless", "--station", self.station.folder],
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        for end in (program.stdout.close, program.wait, program.kill):  # the last one first
            self.addCleanup(end)
        return program

    def test_windows_are_a_program_apart(self):
        """Without them the console carries none of their libraries; where they are missing it says so."""
        libraries = subprocess.run(["ldd", station_module.BINARY], stdout=subprocess.PIPE, check=True).stdout.decode()
        self.assertNotIn("libQt6Gui", libraries)
        alone = shutil.copy(station_module.BINARY, self.station.folder)
        ended = subprocess.run([alone, "--station", self.station.folder], stderr=subprocess.PIPE, timeout=10, check=False,
                               env={**os.environ, "DISPLAY": ":0"})
        self.assertEqual(ended.returncode, 1)
        self.assertIn(b"kvx-windows, which has the windows, cannot be run: No such file", ended.stderr)
        desktopless = {name: value for name, value in os.environ.items() if name not in ("WAYLAND_DISPLAY", "XDG_SESSION_TYPE")}
        for display, platform in ((":4711", ""), ("", "nosuch")):
            ended = subprocess.run([station_module.BINARY, "--station", self.station.folder], timeout=30, check=False,
                                   env={**desktopless, "DISPLAY": display, "QT_QPA_PLATFORM": platform,
                                        "XDG_RUNTIME_DIR": self.station.folder},
                                   stderr=subprocess.PIPE, text=True)
            self.assertRegex(ended.stderr, f"^kvx: no window can be opened .*{display or platform}; kvx --headless .*\n$")
            self.assertEqual(ended.returncode, 1)

    def test_ready_is_first(self):
        """Also when there is much to say about the files."""
        self.station.write("ports.ini", "rubbish\nmore\n")
        kvx = self.station.start()
        self.assertEqual(kvx.texts()[0], "ready")
        self.assertEqual(kvx.quit(), 0)
        self.assertIn("ok quit", kvx.texts())
        self.assertEqual(kvx.errors, "")

    def test_start_to_first_byte(self):
        rig = self.station.plug(rigs.Ts2000(38400))
        self.assertEqual(self.station.start().quit(), 0)  # makes the store
        seconds = []
        for _ in range(5):
            rig.taken.clear()
            begin = time.monotonic()
            kvx = self.station.start(ready=False)
            self.assertTrue(wait_until(lambda: rig.taken, 5, 0.001))
            seconds.append(time.monotonic() - begin)
            kvx.wait_line("ready")
            memory = self.memory(kvx)
            self.assertEqual(kvx.quit(), 0)
        noted(f"memory: {memory} kB")
        measured("start to the first command at the rig", seconds)

    def test_end_of_input_does_not_stop_it(self):
        rig = self.station.plug(rigs.Ts2000(38400))
        kvx = self.station.start()
        kvx.process.stdin.close()
        time.sleep(0.5)
        used = kvx.processor_seconds()
        rig.knob(14_033_330)
        kvx.wait_line("freq 14033.33")
        time.sleep(1)
        self.assertLess(kvx.processor_seconds() - used, 0.2)
        self.assertEqual(kvx.signal(signal.SIGTERM), 0)
        self.assertIn(b"BANDREM01=", self.station.read("rig.ini"))

    def test_every_way_to_end(self):
        for name, end in (("quit", lambda kvx: kvx.quit()), ("SIGTERM", lambda kvx: kvx.signal(signal.SIGTERM)),
                          ("SIGINT", lambda kvx: kvx.signal(signal.SIGINT)),
                          ("SIGHUP", lambda kvx: kvx.signal(signal.SIGHUP))):
            with self.subTest(name):
                self.station.configure("TS-2000", "KENWOOD", 38400)
                kvx = self.station.start()
                self.assertEqual(kvx.command("rig FT-857"), "ok FT-857")
                self.assertEqual(end(kvx), 0)
                settings = self.station.read("rig.ini")
                self.assertIn(b"XRIG=FT-857\n", settings)
                self.assertIn(b"BANDREM15=", settings)
                self.assertTrue(os.path.exists(self.station.path("RIGform.Pos")))

    def test_wrong_commands_answer_one_error_line(self):
        rig = self.station.plug(rigs.Ts2000(38400))
        kvx = self.station.start()
        kvx.wait_status(lambda status: status["open"])
        for text in WRONG:
            with self.subTest(text):
                since = len(kvx.texts())
                answer = kvx.command(text)
                if text.strip() != "rig":
                    self.assertTrue(answer.startswith("error: "), answer)
                status = kvx.command("status")
                json.loads(status)
                answers = [line for line in kvx.texts(since) if line.startswith(("ok", "error: "))]
                self.assertEqual(len(answers), 1, answers)
        self.assertEqual(rig.refused, [])
        self.assertEqual(kvx.quit(), 0)

    def test_a_line_without_end(self):
        kvx = self.station.start()
        kvx.command("status")
        before = self.memory(kvx)
        kvx.write(b"freq " + b"1" * 1_000_000 + b"\n")
        kvx.wait_line(lambda line: line.startswith("error: "))
        self.assertEqual(kvx.command("vfo A")[:3], "err")  # the port is closed; the point is that one answer comes
        since = len(kvx.texts())
        for _ in range(16):
            kvx.write(b"x" * 1_000_000)
        kvx.write(b"\nstatus\n")
        kvx.wait_line(lambda line: line.startswith("{"), 10, since)
        self.assertEqual(len([line for line in kvx.texts() if line.startswith("error: ")]), 3)
        self.assertLess(self.memory(kvx) - before, 12_000, "kB more than before")

    def test_binary_input(self):
        noise = random.Random(3)
        kvx = self.station.start()
        for _ in range(30):
            kvx.write(bytes(noise.randrange(256) for _ in range(2000)) + b"\n")
        kvx.write(b"status\x00\n\xff\xfe\nstatus\n")
        kvx.wait_line(lambda line: line.startswith("{"))
        self.assertEqual(kvx.status()["rig"], "TS-2000")
        told = "".join(kvx.texts())
        self.assertEqual({c for c in told if ord(c) < 32}, set())
        self.assertEqual(kvx.quit(), 0)

    def test_nobody_reads_the_output(self):
        """It neither hangs nor hoards: the rig is still polled, and SIGTERM ends it."""
        rig = self.station.plug(rigs.Ts2000(38400))
        program = self.start_unread()

        def pour():
            try:
                program.stdin.write(b"trace on\n" + b"status\nhelp\n" * 20_000)
                program.stdin.close()
            except OSError:
                pass

        threading.Thread(target=pour, daemon=True).start()
        time.sleep(2)
        with rig.lock:
            seen = len(rig.taken)
        self.assertTrue(wait_until(lambda: len(rig.taken) > seen + 5, 3), "polling has stopped")
        memory = self.memory(program)
        noted(f"memory when nobody reads the output: {memory} kB")
        self.assertLess(memory, 80_000)
        program.send_signal(signal.SIGTERM)
        self.assertEqual(program.wait(8), 0)

    def test_output_closed(self):
        """A reader that has gone does not kill it before it has released and saved everything."""
        rig = self.station.plug(rigs.Ts2000(38400))
        program = self.start_unread()
        self.assertEqual(program.stdout.readline(), b"ready\n")
        self.assertTrue(wait_until(lambda: rig.taken, 3))
        os.write(program.stdin.fileno(), b"send xSetAlpha\n")
        self.assertTrue(wait_until(lambda: rig.transmitting, 3))
        program.stdout.close()
        os.write(program.stdin.fileno(), b"status\nstatus\n")
        time.sleep(0.3)
        self.assertIsNone(program.poll())
        program.send_signal(signal.SIGTERM)
        self.assertEqual(program.wait(8), 0)
        self.assertTrue(wait_until(lambda: not rig.transmitting, 1))
        program.stdin.close()


class TransmitTest(unittest.TestCase):
    """Whatever keyed the transmitter, it is released."""

    def keyed(self, station, kind):
        rig = station.use(kind())
        kvx = station.start()
        kvx.wait_status(lambda status: status["open"] and status["rx"] > 0)
        self.assertEqual(kvx.command("send xSetAlpha"), "ok sent")
        self.assertTrue(wait_until(lambda: rig.transmitting, 3))
        kvx.wait_line("tx on")
        self.assertTrue(kvx.status()["transmitting"])
        return rig, kvx

    def test_at_the_end(self):
        ends = (lambda kvx: kvx.quit(), lambda kvx: kvx.signal(signal.SIGTERM), lambda kvx: kvx.signal(signal.SIGINT))
        for i, kind in enumerate(RIGS):
            with self.subTest(kind.model), Station() as station:
                rig, kvx = self.keyed(station, kind)
                self.assertEqual(ends[i % len(ends)](kvx), 0)
                self.assertTrue(wait_until(lambda: not rig.transmitting, 1), "the rig still transmits")
                self.assertEqual(rig.refused, [])

    def test_when_the_port_comes_back(self):
        for kind in RIGS:
            with self.subTest(kind.model), Station() as station:
                rig, kvx = self.keyed(station, kind)
                rig.unplug()
                kvx.wait_status(lambda status: not status["open"], 2)
                rig.plug(station.device)
                self.assertTrue(wait_until(lambda: not rig.transmitting, 4), "the rig still transmits")
                kvx.wait_status(lambda status: not status["transmitting"], 1)
                self.assertEqual(rig.refused, [])

    def test_before_the_way_to_the_rig_ends(self):
        for command in ("rig FT-857", "rig NONE", "port 5", "port 0", "speed 9600"):
            with self.subTest(command), Station() as station:
                rig, kvx = self.keyed(station, rigs.Ts2000)
                self.assertTrue(kvx.command(command).startswith("ok "))
                self.assertTrue(wait_until(lambda: not rig.transmitting, 3), "the rig still transmits")
                self.assertFalse(kvx.status()["transmitting"])

    def test_terminated_while_the_save_waits_for_a_lock(self):
        """The release does not wait for the disk."""
        with Station() as station:
            rig, kvx = self.keyed(station, rigs.Ts2000)
            station.write("Rig.$$$", b"")
            kvx.process.send_signal(signal.SIGTERM)
            self.assertTrue(wait_until(lambda: not rig.transmitting, 1), "the rig still transmits")
            self.assertEqual(kvx.ended(), 0)
