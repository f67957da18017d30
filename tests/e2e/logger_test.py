"""A logger at the far end of virtual ports: its rig is a Kenwood, its keyer the station's WinKeyer."""

import os
import random
import re
import select
import shutil
import subprocess
import time
import tty
import unittest

import rigs
from station import Station, noted, wait_until

STATUS = re.compile(rb"IF\d{11}0001\+0{10}[01][1-6][01]0[01]0000;")
CAT, CW = 7, 8


class Pty:
    """The end of a serial line that a test holds."""

    def __init__(self, descriptor):
        self.descriptor = descriptor
        tty.setraw(descriptor)

    @classmethod
    def at(cls, path):
        return cls(os.open(path, os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK))

    def write(self, data):
        while data:
            select.select([], [self.descriptor], [], 5)
            data = data[os.write(self.descriptor, data):]

    def read(self, size, timeout=2.0):
        """So many bytes, or those that came in time."""
        data, deadline = b"", time.monotonic() + timeout
        while len(data) < size:
            left = deadline - time.monotonic()
            if left <= 0 or not select.select([self.descriptor], [], [], left)[0]:
                break
            data += os.read(self.descriptor, size - len(data))
        return data

    def drain(self, quiet=0.2):
        while self.read(65536, quiet):
            pass

    def close(self):
        os.close(self.descriptor)


def took(write, read, size):
    """Seconds until `size` bytes written by one function have come to the other, and what came."""
    begin = time.perf_counter()
    write()
    came = read(size)
    return time.perf_counter() - begin, came


def tell(name, times):
    ordered = sorted(time_taken * 1e6 for time_taken in times)
    count = len(ordered)
    noted(f"{name}: median {ordered[count // 2]:.0f} us, 99 % below {ordered[count * 99 // 100]:.0f} us ({count} times)")
    return ordered[count // 2]


class LoggerTest(unittest.TestCase):
    def setUp(self):
        self.station = Station()
        self.addCleanup(self.station.__exit__)

    def start(self, more="", mode="USB"):
        self.rig = self.station.use(rigs.Ts2000(38400), extra=f"CWSKIMMER= {CAT}\nLOGGERLINK=True\n{more}")
        self.add_port(CAT, f"pty:{self.station.path('cat')}")
        kvx = self.station.start()
        kvx.wait_status(lambda status: status["open"] and status["rx"] > 0 and status["links"]["logger"]["open"])
        kvx.command(f"mode {mode}")
        return kvx

    def add_port(self, number, address):
        self.station.write("ports.ini", self.station.read("ports.ini").decode() + f"COM{number}={address}\n")

    def logger(self):
        pty = Pty.at(self.station.path("cat"))
        self.addCleanup(lambda: os.close(pty.descriptor) if pty.descriptor >= 0 else None)
        return pty

    def test_a_logger_operates_the_rig(self):
        kvx = self.start()
        logger = self.logger()
        logger.write(b"FA00014030000;IF;")
        self.assertEqual(logger.read(38), b"IF000140300000001+0000000000020000000;")
        self.assertTrue(wait_until(lambda: self.rig.shown == 14030000, 2))
        kvx.command("freq 7010.5")
        logger.write(b"AI;PS;FB;FA;")
        self.assertEqual(logger.read(36), b"AI0;PS1;FA00007010500;FB00007010500;")
        logger.write(b"TX;")
        self.assertTrue(wait_until(lambda: self.rig.transmitting, 2))
        logger.write(b"RX;IF;")
        self.assertEqual(logger.read(38), b"IF000070105000001+0000000000020000000;")
        self.assertTrue(wait_until(lambda: not self.rig.transmitting, 2))
        kvx.command("mode CW")
        logger.write(b"TX;IF;")
        self.assertRegex(logger.read(38), STATUS)
        time.sleep(0.2)
        self.assertFalse(self.rig.transmitting)
        self.assertEqual(self.rig.refused, [])

    def test_the_rig_is_released_when_the_logger_is_gone(self):
        kvx = self.start()
        for _ in range(5):
            hasty = Pty.at(self.station.path("cat"))
            hasty.write(b"TX;")
            hasty.close()
            self.assertTrue(wait_until(lambda: self.rig.transmitting, 2))
            self.assertTrue(wait_until(lambda: not self.rig.transmitting, 3), "it wrote and went at once")
        logger = self.logger()
        logger.write(b"TX;")
        self.assertTrue(wait_until(lambda: self.rig.transmitting, 2))
        kvx.command("link logger off")
        self.assertTrue(wait_until(lambda: not self.rig.transmitting, 2))

    def test_switches_and_what_they_say(self):
        self.station.use(rigs.Ts2000(38400))
        self.add_port(CAT, f"pty:{self.station.path('cat')}")
        kvx = self.station.start()
        self.assertEqual(kvx.command("link logger on"),
                         "error: Please select a comm port for N1MM or CWSkimmer in the config menu.")
        self.assertEqual(kvx.command("link keyer on"), "error: Please select a comm port for Winkeyin in the config menu.")
        kvx.command("setting CWSKIMMER 3")
        self.assertEqual(kvx.command("link logger on"), "error: Unable to open N1MM/CWSkimmer port")
        self.assertTrue(kvx.status()["open"], "the rig keeps its port")
        kvx.command(f"setting CWSKIMMER {CAT}")
        self.assertEqual(kvx.command("link logger"), "ok link logger on COM7; N1MMLogger.net.exe is not running")
        program = self.station.path("N1MMLogger.net.exe")
        shutil.copy(shutil.which("sleep"), program)
        with subprocess.Popen([program, "30"]) as running:
            answer = "ok link logger on COM7; N1MMLogger.net.exe is running"
            seen = wait_until(lambda: kvx.command("link logger") == answer, 2)
            running.kill()
        self.assertTrue(seen, kvx.command("link logger"))
        self.assertTrue(kvx.command("link logger off").startswith("ok link logger off COM7"))
        logger = self.logger()
        logger.write(b"FA;")
        self.assertEqual(logger.read(1, 0.3), b"")
        kvx.command("link logger on")
        self.assertEqual(kvx.quit(), 0)
        kvx = self.station.start()
        kvx.wait_status(lambda status: status["links"]["logger"] and status["links"]["logger"]["on"])
        logger = self.logger()
        logger.write(b"FA;")
        self.assertEqual(len(logger.read(14)), 14)

    def test_speed_and_no_poll_is_stale(self):
        kvx = self.start()
        logger = self.logger()
        times, stale = [], 0
        for number in range(2000):
            if number % 20 == 0:
                hertz = 14000000 + number * 10
                logger.write(b"FA%011d;" % hertz)
            taken, reply = took(lambda: logger.write(b"FA;"), logger.read, 14)
            self.assertEqual(len(reply), 14, number)
            stale += reply != b"FA%011d;" % hertz
            times.append(taken)
        tell("FA; answered", times)
        self.assertEqual(stale, 0)
        self.assertTrue(wait_until(lambda: self.rig.shown == hertz, 3))
        self.assertEqual(kvx.quit(), 0)

    def test_noise_leaves_the_rig_alone(self):
        kvx = self.start()
        logger = self.logger()
        noise = random.Random(6)
        before = self.memory_of(kvx)
        sent, keyed = 0, False
        while sent < 10_000_000:
            piece = bytearray(noise.randbytes(2000))
            for _ in range(20):
                word = noise.choice((b"IF;", b"FA;", b"FB00007010000;", b"TX;", b"RX;", b"FA000140", b";", b"AI;"))
                at = noise.randrange(len(piece) - 20)
                piece[at:at + len(word)] = word
            logger.write(bytes(piece))
            sent += len(piece)
            logger.read(65536, 0)
            keyed = keyed or self.rig.transmitting
        logger.drain()
        logger.write(b";FA;")
        self.assertEqual(len(logger.read(14)), 14)
        # A release begins with an end mark: what it overtakes may be cut in two.
        self.assertEqual([frame for frame in self.rig.refused if frame != ";"], [])
        self.assertLess(self.memory_of(kvx) - before, 8000, "kB")
        self.assertTrue(keyed)
        logger.close()
        logger.descriptor = -1
        self.assertTrue(wait_until(lambda: not self.rig.transmitting, 3))

    def memory_of(self, kvx):
        with open(f"/proc/{kvx.pid}/status", encoding="ascii") as file:
            return int(re.search(r"VmRSS:\s+(\d+)", file.read()).group(1))

    def test_the_keyer_link_passes_bytes_at_once(self):
        master, slave = os.openpty()
        tty.setraw(slave)
        keyer = Pty(master)
        for descriptor in (master, slave):
            self.addCleanup(os.close, descriptor)
        self.station.write("ports.ini", f"COM5={os.ttyname(slave)}\nCOM{CW}=pty:{self.station.path('cw')}\n")
        self.station.write("rig.ini", f"KEYERPORT=WINKEY\nPADDLECOM= 5\nWINKEY1= 1\nWINKEYIN= {CW}\nKEYERLINK=True\n")
        kvx = self.station.start()
        for request, reply in ((b"A", b"A"), (b"\0\2", b"\x17"), (b"\x15", b"\xc0")):
            heard = b""
            while not heard.endswith(request):
                heard += keyer.read(1)
                self.assertTrue(heard)
            keyer.write(reply)
        kvx.wait_status(lambda status: status["keyer"]["ready"])
        keyer.drain()
        logger = Pty.at(self.station.path("cw"))
        self.addCleanup(logger.close)
        everything = bytes(range(255, -1, -1))  # no command that ends the host mode
        logger.write(everything)
        self.assertEqual(keyer.read(256, 4), everything)
        time.sleep(3)  # until the keyer's line would have carried it: what goes faster than that waits
        for name, write, read in (("logger to keyer", logger.write, keyer.read), ("keyer to logger", keyer.write, logger.read)):
            times = []
            for _ in range(100):
                taken, came = took(lambda: write(b"\xc0"), read, 1)
                self.assertEqual(came, b"\xc0", name)
                times.append(taken)
            self.assertLess(tell(name, times), 1000)
        logger.write(b"\x02\x1c")
        kvx.wait_status(lambda status: status["keyer"]["speed"] == 28)
        kvx.command("link keyer off")
        keyer.drain()
        logger.write(b"TEST")
        self.assertEqual(keyer.read(1, 0.3), b"")
        kvx.command("link keyer on")
        keyer.drain()
        for keys, release in ((b"\x0b\x01", b"\x0a\x0b\0"), (b"\x18\x01", b"\x0a\x0b\0\x18\0")):
            short = Pty.at(self.station.path("cw"))
            short.write(keys)
            short.close()
            # What the line has not taken yet is dropped, and a command that this cuts in two is filled up.
            heard = keyer.read(64, 1.0)
            self.assertIn(release, heard, "it wrote and went at once")
            self.assertNotIn(keys, heard[heard.index(release):])
        logger.write(b"\x0b\x01")
        self.assertEqual(keyer.read(2), b"\x0b\x01")
        self.assertEqual(kvx.command("escape"), "ok escape")
        self.assertEqual(keyer.read(3), b"\x0a\x0b\0")
