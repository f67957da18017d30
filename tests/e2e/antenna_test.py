"""Antenna switch and rotator: bytes at the rotator's port, data lines as the operating system is asked for them."""

import os
import pty
import select
import shutil
import signal
import socket
import statistics
import subprocess
import tty
import unittest

import station as station_module
from station import Station, wait_until

SHIM = os.path.join(os.path.dirname(station_module.BINARY), "tests", "platform", "libkvx_line_shim.so")
ROTCTLD = shutil.which("rotctld")


def arrived(master):
    """What has come to the rotator's end of the line."""
    ready, _, _ = select.select([master], [], [], 3)
    return os.read(master, 100) if ready else b""


class RotatorTest(unittest.TestCase):
    def setUp(self):
        self.station = Station()
        self.addCleanup(self.station.__exit__)

    def test_bytes_at_a_serial_port(self):
        master, slave = pty.openpty()
        tty.setraw(slave)
        self.addCleanup(os.close, master)
        self.addCleanup(os.close, slave)
        self.station.write("ports.ini", f"COM4={os.ttyname(slave)}\nLPT1=sim:lpt\n")
        self.station.write("rig.ini", "ANT2FROM=40\nANT2TO=50\nLOCATOR=jn48qm\n")
        kvx = self.station.start()
        self.assertEqual(kvx.command("bearing 400"), "error: Please enter a bearing between 0 and 359")
        self.assertEqual(kvx.command("antset Rport 4"), "ok antset Rport 4")
        self.assertEqual(kvx.command("antpreset spid rot2"),
                         "ok antpreset W0<BEARING+360><0x01>0360<0x01>/<0x20>, usually at 600 baud")
        kvx.command("bearing 45.9")
        self.assertEqual(arrived(master), b"W0405\x010360\x01/ ")
        kvx.command("antset CommString AP1<BEARING>;AM1;")
        kvx.command("bearing long qf67bf")
        self.assertEqual(arrived(master), b"AP1254;AM1;")
        self.assertEqual(kvx.command("antset MSec 0"), "ok antset MSec 0")
        self.assertEqual(kvx.command("bearing 45"), "ok bearing 45, AP1045;AM1;, antenna 2, rotator port open")
        self.assertEqual(arrived(master), b"AP1045;AM1;")
        self.assertEqual(kvx.status()["antenna"]["bits"], "00001000")
        self.assertEqual(kvx.quit(), 0)
        kvx = self.station.start()
        self.assertEqual(kvx.status()["antenna"]["bearing"], "45")
        kvx.command("bearing 7")
        self.assertEqual(arrived(master), b"AP1007;AM1;", "the settings have been kept")
        self.assertIn(b"ANTPORT=4\n", self.station.read("rig.ini"))

    @unittest.skipUnless(ROTCTLD, "rotctld is not installed (package libhamlib-utils)")
    def test_rotctld_turns(self):
        with socket.create_server(("127.0.0.1", 0)) as free:
            port = free.getsockname()[1]
        daemon = subprocess.Popen([ROTCTLD, "-m", "1", "-T", "127.0.0.1", "-t", str(port)])
        self.addCleanup(daemon.wait)
        self.addCleanup(daemon.kill)

        def connect():
            try:
                return socket.create_connection(("127.0.0.1", port))
            except OSError:
                return None
        self.assertTrue(wait_until(lambda: (connection := connect()) and connection.close() is None, 5))
        self.station.write("ports.ini", f"COM5=tcp:127.0.0.1:{port}\n")
        kvx = self.station.start()
        kvx.command("antpreset rotctld")
        kvx.command("antset Rport 5")
        kvx.command("bearing 3")
        self.assertEqual(kvx.wait_status(lambda status: status["antenna"]["reply"])["antenna"]["reply"], "RPRT 0")
        with socket.create_connection(("127.0.0.1", port)) as client, client.makefile("rw") as lines:
            def azimuth():
                lines.write("p\n")
                lines.flush()
                degrees = float(lines.readline())
                lines.readline()
                return degrees
            self.assertTrue(wait_until(lambda: abs(azimuth() - 3) < 0.5, 5, 0.1), azimuth())


@unittest.skipUnless(os.path.exists(SHIM), f"there is no {SHIM}")
class ParallelPortTest(unittest.TestCase):
    def start(self, ini):
        self.station = Station()
        self.addCleanup(self.station.__exit__)
        master, slave = pty.openpty()
        for descriptor in (master, slave):
            self.addCleanup(os.close, descriptor)
        self.log = self.station.path("lines")
        self.station.write("ports.ini", f"LPT2={os.ttyname(slave)}\n")
        self.station.write("rig.ini", "ANTLPT1=False\nANTLPT2=True\nDIRECTOPT2=True\n" + ini)
        return self.station.start(environment={"LD_PRELOAD": SHIM, "KVX_LINE_LOG": self.log})

    def record(self):
        """(seconds, "DATA 08"), in their order."""
        lines = self.station.read("lines").decode().splitlines() if os.path.exists(self.log) else []
        return [(int(line.split()[0]) / 1e9, line.split(" ", 1)[1]) for line in lines]

    def texts(self):
        return [text for _, text in self.record()]

    def test_lines_are_latched_and_the_port_given_back(self):
        kvx = self.start("MICROSEC= 0\nANT3FROM=100\nANT3TO=200\n")
        self.assertEqual(self.texts(), [], "not claimed before it is used")
        kvx.command("antenna 1")
        kvx.command("bearing 150")
        kvx.command("bit 7 set")
        self.assertEqual(kvx.command("bit"), "ok bits 10010000")
        self.assertEqual(kvx.quit(), 0)
        data = ["04", "04", "04", "04", "00", "00", "10", "10", "90"]
        self.assertEqual(self.texts(), ["CLAIM 1", *[f"DATA {byte}" for byte in data], "CLAIM 0"])

    def test_a_pulse_has_its_length_and_never_lasts(self):
        kvx = self.start("MICROSEC= 300\n")
        for _ in range(5):
            kvx.command("antenna 4")
        self.assertEqual(self.texts()[1:], 5 * ["DATA 20", "DATA 00"])
        for _ in range(5):
            kvx.command("bit 0 pulse 20000")
        longer = 5 * ["DATA 01", "DATA 00", "DATA 00"]
        self.assertTrue(wait_until(lambda: sorted(self.texts()[11:]) == sorted(longer), 2), self.texts())
        kvx.command("bit 6 pulse 1000000")
        self.assertEqual(kvx.signal(signal.SIGTERM), 0)
        self.assertEqual(self.texts()[26:], ["DATA 40", "DATA 00", "CLAIM 0"])
        record = self.record()
        for raised, wanted in (("DATA 20", 300e-6), ("DATA 01", 20e-3)):
            lengths = [end - begin for (begin, text), (end, _) in zip(record, record[1:]) if text == raised]
            middle = statistics.median(lengths)
            self.assertTrue(0.95 * wanted < middle < 1.5 * wanted, lengths)

    def test_a_crash_lowers_the_pulsed_line(self):
        kvx = self.start("MICROSEC= 1000000\n")
        kvx.command("antenna 2")
        self.assertEqual(self.texts()[1:], ["DATA 08"])
        self.assertEqual(kvx.signal(signal.SIGSEGV), -signal.SIGSEGV)
        self.assertEqual(self.texts()[1:3], ["DATA 08", "DATA 00"])
        self.assertNotIn("DATA 08", self.texts()[3:])  # more than one sees to it

    def test_a_missing_port_is_told_once(self):
        kvx = self.start("")
        self.station.write("ports.ini", "LPT2=/dev/no-such-port\n")
        for bit in (0, 1):
            kvx.command(f"bit {bit} set")
        self.assertEqual(kvx.command("bit"), "ok bits 00000011")
        told = [text for text in kvx.texts() if "lamps" in text]
        self.assertEqual(told, ["message /dev/no-such-port: no such parallel port; the lamps show what its lines would be"])
