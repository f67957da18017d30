"""A program that ends, stops or hangs out of order does not leave the transmitter keyed."""

import os
import resource
import signal
import socket
import threading
import time
import tty
import unittest

import rigs
import station as station_module
from station import Station, wait_until
from strict_winkey import StrictWinkey

SHIM = os.path.join(os.path.dirname(station_module.BINARY), "tests", "platform", "libkvx_line_shim.so")
ENDS = (signal.SIGSEGV, signal.SIGABRT, signal.SIGBUS, signal.SIGQUIT, signal.SIGUSR1, signal.SIGALRM, signal.SIGXCPU,
        signal.SIGTRAP, signal.SIGSYS, signal.SIGRTMIN + 2)


class SerialServer(threading.Thread):
    """A serial device behind a network server in raw mode."""

    def __init__(self, device):
        super().__init__(daemon=True)
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.device = os.open(device, os.O_RDWR | os.O_NOCTTY)
        tty.setraw(self.device)
        self.start()

    @property
    def address(self):
        return f"tcp:127.0.0.1:{self.listener.getsockname()[1]}"

    def run(self):
        client, _ = self.listener.accept()
        self.listener.close()
        threading.Thread(target=self.answer, args=(client,), daemon=True).start()
        try:
            while data := client.recv(100):
                os.write(self.device, data)
        except OSError:
            pass
        client.close()

    def answer(self, client):
        try:
            while data := os.read(self.device, 100):
                client.sendall(data)
        except OSError:
            pass


class ReleaseTest(unittest.TestCase):
    def setUp(self):
        resource.setrlimit(resource.RLIMIT_CORE, (0, resource.getrlimit(resource.RLIMIT_CORE)[1]))

    def keyed_rig(self, station, command="XSETALPHA", rig=None, **options):
        rig = rig or station.use(rigs.Ts2000(38400))
        kvx = station.start(**options)
        kvx.wait_status(lambda status: status["open"] and status["rx"] > 0)
        self.assertTrue(kvx.command(f"send {command}").startswith("ok"))
        self.assertTrue(wait_until(lambda: rig.transmitting, 2), "the rig was never keyed")
        return rig, kvx

    def tuning_keyer(self, station, more="", **options):
        station.write("ports.ini", f"COM5={station.device}\n")
        station.write("rig.ini", f"KEYERPORT=WINKEY\nPADDLECOM= 5\nWINKEY1= 1\n{more}")
        keyer = station.plug(StrictWinkey())
        kvx = station.start(**options)
        kvx.wait_status(lambda status: status["keyer"]["ready"])
        kvx.command("tune on")
        self.assertTrue(wait_until(lambda: keyer.key_down, 2), "the keyer was never keyed")
        return keyer, kvx

    def hang(self, station, kvx):
        """Nothing that the console writes to disk arrives any more, and it waits for that."""
        station.write("lines.hang", "")
        kvx.write(b"save\n")
        time.sleep(0.3)
        since = len(kvx.texts())
        kvx.write(b"status\n")
        time.sleep(0.3)
        self.assertEqual(kvx.texts(since), [], "it does not hang: the test shows nothing")

    def test_every_signal_that_ends_it_releases_the_transmitter(self):
        for number in ENDS:
            for command in ("XSETALPHA", "FA00014025000;TX1;")[:1 + (number == signal.SIGSEGV)]:
                with self.subTest(number=number, command=command), Station() as station:
                    rig, kvx = self.keyed_rig(station, command)
                    self.assertEqual(kvx.signal(number), -number)
                    self.assertTrue(wait_until(lambda: not rig.transmitting, 2), "the rig is still keyed")

    def test_a_keyer_is_released_as_well(self):
        for number in (signal.SIGSEGV, signal.SIGQUIT):
            with self.subTest(number=number), Station() as station:
                keyer, kvx = self.tuning_keyer(station)
                self.assertEqual(kvx.signal(number), -number)
                self.assertTrue(wait_until(lambda: not keyer.key_down, 2), "the keyer is still keyed")

    def test_a_rig_behind_a_network_server(self):
        with Station() as station:
            rig = station.use(rigs.Ts2000(38400))
            station.write("ports.ini", f"COM3={SerialServer(station.device).address}\n")
            _, kvx = self.keyed_rig(station, rig=rig)
            kvx.signal(signal.SIGSEGV)
            self.assertTrue(wait_until(lambda: not rig.transmitting, 2), "the rig is still keyed")

    def test_stopped_by_its_terminal(self):
        with Station() as station:
            keyer, kvx = self.tuning_keyer(station)
            since = len(kvx.texts())
            kvx.process.send_signal(signal.SIGTSTP)
            self.assertTrue(wait_until(lambda: not keyer.key_down, 2), "the keyer is still keyed")
            kvx.process.send_signal(signal.SIGCONT)
            kvx.wait_line(lambda line: line.startswith("message The program was stopped"), 5, since)
            kvx.wait_status(lambda status: not status["keyer"]["tune"])
            kvx.command("tune on")
            self.assertTrue(wait_until(lambda: keyer.key_down, 2), "it does not work any more")

    @unittest.skipUnless(os.path.exists(SHIM), f"there is no {SHIM}")
    def test_a_hung_console(self):
        for killed in (False, True):
            with self.subTest(killed=killed), Station() as station:
                environment = {"LD_PRELOAD": SHIM, "KVX_LINE_LOG": station.path("lines")}
                more = "TUNETIME= 60\n" if killed else "TUNETIME= 1\n"
                keyer, kvx = self.tuning_keyer(station, more, environment=environment)
                self.hang(station, kvx)
                if killed:
                    kvx.process.send_signal(signal.SIGTERM)
                    time.sleep(6.5)
                    self.assertTrue(keyer.key_down)
                    self.assertEqual(kvx.signal(signal.SIGTERM), -signal.SIGTERM)
                self.assertTrue(wait_until(lambda: not keyer.key_down, 5), "the keyer is still keyed")


if __name__ == "__main__":
    unittest.main()
