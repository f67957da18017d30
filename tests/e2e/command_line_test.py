"""The command line: answers, hostile input, and that whatever transmits is released at the end."""

import json
import os
import pathlib
import random
import shutil
import signal
import subprocess
import tempfile
import threading
import time
import unittest

import rigs
import station as station_module
from station import Station, measured, noted, wait_until

WRONG = (
    "nonsense", "STATUSS", "freq", "freq abc", "freq -1", "freq 0", "freq 1e9", "freq 99999999999999999999",
    "freq nan", "mode", "mode XYZ", "vfo C", "vfo", "rig \t", "rig no such rig", "rig '; DROP TABLE RigSetup; --",
    "slot 9", "slot -1", "slot x", "rignumber 0", "rignumber 8", "port 100", "port -1", "port x", "speed 0",
    "speed 99999999999", "fn 0", "fn 10", "fn", "fnval", "fnval 0 x", "slider", "slider AF", "slider NOSUCH 3",
    "slider AF x", "slider 12 1", "send", "narrow maybe", "poll", "meter 10", "trace", "sim knob 1", "\x01\x02",
    "\u20ac",
)
RIGS = (
    ("TS-2000", "KENWOOD", rigs.Ts2000, 38400), ("FT-857", "YAESU", rigs.Ft857, 4800),
    ("FT-DX5000", "YAESU", rigs.FtDx5000, 38400), ("IC-7300", "ICOM", rigs.Ic7300, 19200),
    ("FT-1000D", "YAESU", rigs.Ft1000d, 4800),
)


class InputTest(unittest.TestCase):
    def setUp(self):
        self.station = Station()
        self.addCleanup(self.station.__exit__)
        self.station.configure("TS-2000", "KENWOOD", 38400)

    def memory(self, kvx):
        with open(f"/proc/{kvx.pid}/status", encoding="ascii") as file:
            return next(int(line.split()[1]) for line in file if line.startswith("VmRSS"))

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
        program = subprocess.Popen([station_module.BINARY, "--headless", "--station", self.station.folder],
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.addCleanup(program.stdout.close)

        def pour():
            try:
                program.stdin.write(b"trace on\n" + b"status\nhelp\n" * 20_000)
                program.stdin.flush()
            except OSError:
                pass

        pouring = threading.Thread(target=pour, daemon=True)
        pouring.start()
        try:
            time.sleep(2)
            with rig.lock:
                seen = len(rig.taken)
            self.assertTrue(wait_until(lambda: len(rig.taken) > seen + 5, 3), "polling has stopped")
            with open(f"/proc/{program.pid}/status", encoding="ascii") as file:
                memory = next(int(line.split()[1]) for line in file if line.startswith("VmRSS"))
            noted(f"memory when nobody reads the output: {memory} kB")
            self.assertLess(memory, 80_000)
            program.send_signal(signal.SIGTERM)
            self.assertEqual(program.wait(8), 0)
        finally:
            program.kill()
            program.wait()
            pouring.join(2)
            program.stdin.close() if not pouring.is_alive() else None

    def test_output_closed(self):
        """A reader that has gone does not kill it before it has released and saved everything."""
        rig = self.station.plug(rigs.Ts2000(38400))
        program = subprocess.Popen([station_module.BINARY, "--headless", "--station", self.station.folder],
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        try:
            self.assertEqual(program.stdout.readline(), b"ready\n")
            self.assertTrue(wait_until(lambda: rig.taken, 3))
            program.stdin.write(b"send xSetAlpha\n")
            program.stdin.flush()
            self.assertTrue(wait_until(lambda: rig.transmitting, 3))
            program.stdout.close()
            program.stdin.write(b"status\nstatus\n")
            program.stdin.flush()
            time.sleep(0.3)
            self.assertIsNone(program.poll())
            program.send_signal(signal.SIGTERM)
            self.assertEqual(program.wait(8), 0)
            self.assertTrue(wait_until(lambda: not rig.transmitting, 1))
        finally:
            program.kill()
            program.wait()
            program.stdin.close()


class TransmitTest(unittest.TestCase):
    """Whatever keyed the transmitter, it is released."""

    def keyed(self, station, name, family, kind, baud):
        rig = kind(baud)
        station.configure(name, family, baud, 2 if rig.byte_bits == 11 else 1)
        station.plug(rig)
        kvx = station.start()
        kvx.wait_status(lambda status: status["open"] and status["rx"] > 0)
        self.assertEqual(kvx.command("send xSetAlpha"), "ok sent")
        self.assertTrue(wait_until(lambda: rig.transmitting, 3), name)
        kvx.wait_line("tx on")
        self.assertTrue(kvx.status()["transmitting"])
        return rig, kvx

    def test_at_the_end(self):
        ends = (lambda kvx: kvx.quit(), lambda kvx: kvx.signal(signal.SIGTERM), lambda kvx: kvx.signal(signal.SIGINT))
        for i, row in enumerate(RIGS):
            with self.subTest(row[0]), Station() as station:
                rig, kvx = self.keyed(station, *row)
                self.assertEqual(ends[i % len(ends)](kvx), 0)
                self.assertTrue(wait_until(lambda: not rig.transmitting, 1), "the rig still transmits")
                self.assertEqual(rig.refused, [])

    def test_when_the_port_comes_back(self):
        for row in RIGS:
            with self.subTest(row[0]), Station() as station:
                rig, kvx = self.keyed(station, *row)
                rig.unplug()
                kvx.wait_status(lambda status: not status["open"], 2)
                rig.plug(station.device)
                self.assertTrue(wait_until(lambda: not rig.transmitting, 4), "the rig still transmits")
                kvx.wait_status(lambda status: not status["transmitting"], 1)
                self.assertEqual(rig.refused, [])

    def test_before_the_way_to_the_rig_ends(self):
        for command in ("rig FT-857", "rig NONE", "port 5", "port 0", "speed 9600"):
            with self.subTest(command), Station() as station:
                rig, kvx = self.keyed(station, *RIGS[0])
                self.assertTrue(kvx.command(command).startswith("ok "))
                self.assertTrue(wait_until(lambda: not rig.transmitting, 3), "the rig still transmits")
                self.assertFalse(kvx.status()["transmitting"])

    def test_terminated_while_the_save_waits_for_a_lock(self):
        """The release does not wait for the disk."""
        with Station() as station:
            rig, kvx = self.keyed(station, *RIGS[0])
            station.write("Rig.$$$", b"")
            kvx.process.send_signal(signal.SIGTERM)
            self.assertTrue(wait_until(lambda: not rig.transmitting, 1), "the rig still transmits")
            self.assertEqual(kvx.ended(), 0)


SHIM = r"""
#define _GNU_SOURCE
#include <dlfcn.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

/* Gives every terminal modem lines: writes what is done to them to the file $LINES_LOG. */
static int lines = TIOCM_DTR | TIOCM_RTS;  /* raised at the opening, as a real port does */

int ioctl(int fd, unsigned long request, ...) {
  va_list list;
  va_start(list, request);
  void *argument = va_arg(list, void *);
  va_end(list);
  static int (*next)(int, unsigned long, ...);
  if (!next) next = (int (*)(int, unsigned long, ...))dlsym(RTLD_NEXT, "ioctl");
  int *value = argument;
  if (request == TIOCMBIS) lines |= *value;
  else if (request == TIOCMBIC) lines &= ~*value;
  else if (request == TIOCMSET) lines = *value;
  else if (request == TIOCMGET) { *value = lines; return 0; }
  else return next(fd, request, argument);
  int log = open(getenv("LINES_LOG"), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
  char text[64];
  snprintf(text, sizeof text, "%d %d\n", (lines & TIOCM_DTR) != 0, (lines & TIOCM_RTS) != 0);
  if (write(log, text, strlen(text)) < 0) lines = lines;
  close(log);
  return 0;
}
"""


class LineSwitchTest(unittest.TestCase):
    """DTR and RTS as stored for the port number. A pseudo-terminal has no such lines: a shim stands in for them."""

    @classmethod
    def setUpClass(cls):
        if shutil.which("cc") is None:
            raise unittest.SkipTest("there is no C compiler")
        cls.folder = tempfile.mkdtemp(prefix="kvx-shim-")
        cls.addClassCleanup(shutil.rmtree, cls.folder, ignore_errors=True)
        source = pathlib.Path(cls.folder, "lines.c")
        source.write_text(SHIM, encoding="ascii")
        cls.shim = str(source.with_suffix(".so"))
        subprocess.run(["cc", "-shared", "-fPIC", "-o", cls.shim, str(source), "-ldl"], check=True)

    def test_switches_reach_the_device(self):
        for dtr, rts in ((0, 0), (1, 0), (0, 1), (1, 1)):
            with self.subTest(dtr=dtr, rts=rts), Station() as station:
                other = f"RTSON2={1 - rts}\nDTRON2={1 - dtr}\n"  # of a port that is not in use
                station.configure("TS-2000", "KENWOOD", 38400, extra=f"RTSON3={rts}\nDTRON3={dtr}\n{other}")
                rig = station.plug(rigs.Ts2000(38400))
                log = pathlib.Path(station.path("lines.log"))
                kvx = station.start(environment={"LD_PRELOAD": self.shim, "LINES_LOG": str(log)})
                kvx.wait_status(lambda status: status["open"] and status["rx"] > 0)
                told = log.read_text(encoding="ascii").split("\n")[:-1]
                self.assertTrue(told, "nothing was done to the lines")
                self.assertEqual(told[-1], f"{dtr} {rts}")
                self.assertNotIn("1 1" if (dtr, rts) != (1, 1) else "0 0", told[1:], "a line moved that should rest")
                self.assertEqual(kvx.command("save"), "ok saved")
                self.assertIn(f"RTSON3={rts}\nDTRON3={dtr}\n".encode(), station.read("rig.ini"))
                self.assertEqual(kvx.quit(), 0)
                last = log.read_text(encoding="ascii").split("\n")[-2]
                self.assertEqual(last, "0 0", "a line stays raised after the end")
                self.assertEqual(rig.refused, [])


if __name__ == "__main__":
    unittest.main()
