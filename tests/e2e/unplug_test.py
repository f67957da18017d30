"""Devices that go, come back, are missing, or belong to somebody else."""

import fcntl
import os
import socket
import threading
import time
import unittest

import rigs
from station import Station, measured, noted, wait_until

BACK_WITHIN = 2.0
SCHEDULING = 1.0  # what a busy machine may add


class UnplugTest(unittest.TestCase):
    def setUp(self):
        self.station = Station()
        self.addCleanup(self.station.__exit__)
        self.station.configure("TS-2000", "KENWOOD", 38400)

    def start_on(self, rig):
        self.station.plug(rig)
        kvx = self.station.start()
        kvx.wait_status(lambda status: status["open"] and status["rx"] > 0)
        return kvx

    def follow(self, kvx, rig, hz):
        since = len(kvx.texts())
        rig.knob(hz)
        kvx.wait_line(f"freq {hz / 1000:.2f}", 5, since)

    def processor_share(self, kvx, seconds):
        used, begin = kvx.processor_seconds(), time.monotonic()
        time.sleep(seconds)
        return (kvx.processor_seconds() - used) / (time.monotonic() - begin)

    def test_unplugged_and_plugged_in_again(self):
        """Also where the name stays behind, leading nowhere."""
        rig = rigs.Ts2000(38400)
        kvx = self.start_on(rig)
        back = []
        for keep_link in (False, True):
            self.follow(kvx, rig, 14_030_000)
            since = len(kvx.texts())
            rig.unplug(keep_link)
            status = kvx.wait_status(lambda status: not status["open"], 1.5)
            self.assertIn(self.station.device, status["port_state"])
            self.assertIn("error: the rig port is closed", kvx.command("freq 14000"))
            share = self.processor_share(kvx, 2.5)
            noted(f"processor share while the device is away: {share:.2%}")
            self.assertLess(share, 0.03)
            told = [line for line in kvx.texts(since) if line.startswith("message ") and self.station.device in line]
            self.assertIn(len(told), (1, 2), told)  # it has gone; there is no such device
            since = len(kvx.texts())
            begin = time.monotonic()
            rig.plug(self.station.device)
            back.append(kvx.wait_line("port open", 5, since) - begin)
            self.follow(kvx, rig, 7_011_110)
        measured("plugged in to open again", back)
        self.assertLess(max(back), BACK_WITHIN + SCHEDULING)
        self.assertEqual(rig.refused, [])
        self.assertEqual(kvx.quit(), 0)

    def test_missing_at_the_start(self):
        kvx = self.station.start()
        status = kvx.wait_status(lambda status: not status["open"])
        self.assertIn(self.station.device, status["port_state"])
        share = self.processor_share(kvx, 2)
        self.assertLess(share, 0.03)
        rig = rigs.Ts2000(38400)
        begin = time.monotonic()
        self.station.plug(rig)
        measured("missing at the start, plugged in to open", [kvx.wait_line("port open", 5) - begin])
        self.follow(kvx, rig, 7_011_110)

    def test_idle_share_while_polling(self):
        rig = rigs.Ts2000(38400)
        kvx = self.start_on(rig)
        time.sleep(0.5)
        share = self.processor_share(kvx, 3)
        noted(f"processor share while polling a TS-2000 at 38400: {share:.2%}")
        self.assertLess(share, 0.05)

    def test_in_use_by_another_console(self):
        """The second says who has it, takes it when it is free, and neither disturbs the other."""
        rig = rigs.Ts2000(38400)
        first = self.start_on(rig)
        rig.let_go()
        with Station() as other:
            other.device = self.station.device
            other.configure("TS-2000", "KENWOOD", 38400)
            second = other.start()
            status = second.wait_status(lambda status: "in use" in status["port_state"])
            self.assertIn(str(first.pid), status["port_state"])
            self.follow(first, rig, 14_030_000)
            self.assertEqual(rig.refused, [])
            self.assertEqual(first.quit(), 0)
            second.wait_line("port open", BACK_WITHIN + SCHEDULING)
            self.follow(second, rig, 7_011_110)
            self.assertEqual(second.quit(), 0)

    def test_locked_by_another_program(self):
        rig = self.station.plug(rigs.Ts2000(38400))
        holder = os.open(os.path.realpath(self.station.device), os.O_RDWR | os.O_NOCTTY)
        fcntl.flock(holder, fcntl.LOCK_EX)
        kvx = self.station.start()
        status = kvx.wait_status(lambda status: "in use" in status["port_state"])
        self.assertFalse(status["open"])
        self.assertEqual(rig.taken, [])
        os.close(holder)
        kvx.wait_line("port open", BACK_WITHIN + SCHEDULING)
        self.follow(kvx, rig, 14_030_000)

    def test_twenty_times_without_a_leak(self):
        rig = rigs.Ts2000(38400)
        kvx = self.start_on(rig)
        before = kvx.descriptors()
        back = []
        for i in range(20):
            rig.unplug(keep_link=i % 2 == 1)
            kvx.wait_status(lambda status: not status["open"], 2)
            since = len(kvx.texts())
            begin = time.monotonic()
            rig.plug(self.station.device)
            back.append(kvx.wait_line("port open", 5, since) - begin)
        measured("plugged in to open again, at once", back)
        self.follow(kvx, rig, 14_030_000)
        none_left = wait_until(lambda: kvx.descriptors() == before, 2)
        self.assertTrue(none_left, f"{before} descriptors became {kvx.descriptors()}")
        self.assertEqual(kvx.quit(), 0)

    def test_a_rig_of_each_kind_comes_back(self):
        for kind in (rigs.Ft857, rigs.Ic7300, rigs.FtDx5000):
            with self.subTest(kind.model):
                rig = self.station.use(kind())
                kvx = self.station.start()
                kvx.wait_status(lambda status: status["open"] and status["rx"] > 0)
                rig.unplug()
                kvx.wait_status(lambda status: not status["open"], 2)
                time.sleep(0.4)
                rig.plug(self.station.device)
                kvx.wait_status(lambda status: status["open"], 4)
                self.follow(kvx, rig, 21_012_340)
                self.assertEqual(rig.refused, [])
                self.assertEqual(kvx.quit(), 0)
                rig.unplug()

    def test_what_is_no_serial_device(self):
        """A file, a folder, a null device behind the port: a reason, and no harm."""
        victim = self.station.path("victim")
        self.station.write("victim", b"precious")
        for address in (victim, self.station.folder, "/dev/null", "sim:nosuch", "tcp:127.0.0.1:1", "nonsense"):
            with self.subTest(address):
                self.station.write("ports.ini", f"COM3={address}\n")
                kvx = self.station.start()
                status = kvx.wait_status(lambda status: status["port_state"] not in ("closed", "open"), 3)
                self.assertFalse(status["open"])
                self.assertEqual(kvx.quit(), 0)
        self.assertEqual(self.station.read("victim"), b"precious")

    def test_a_server_whose_device_is_in_use(self):
        """It takes every connection, says so, and ends it: told, and then silence."""
        def refuse():
            while True:
                try:
                    connection, _ = server.accept()
                except OSError:
                    return
                connection.sendall(b"Port already in use\r\n")
                connection.close()

        server = socket.create_server(("127.0.0.1", 0))
        threading.Thread(target=refuse, daemon=True).start()
        self.addCleanup(lambda: server.shutdown(socket.SHUT_RDWR))
        self.station.write("ports.ini", f"COM3=tcp:127.0.0.1:{server.getsockname()[1]}\n")
        kvx = self.station.start()
        kvx.wait_line(lambda line: line.startswith("message ") and "Port already in use" in line, 5)
        since = len(kvx.texts())
        time.sleep(4)
        self.assertEqual([line for line in kvx.texts(since) if line.startswith(("port ", "message "))], [])
        self.assertFalse(kvx.status()["open"])
        self.assertEqual(kvx.quit(), 0)


if __name__ == "__main__":
    unittest.main()
