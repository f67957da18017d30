"""Whatever has keyed the transmitter and however that ends: it is released within half a second, seen at the device.

The rows are the ways of keying, the columns the ways of ending. Where no process of the console is left, or the device is
out of reach, the release is the first thing that the device hears when there is one again, or when it is back.
"""

import os
import resource
import signal
import socket
import struct
import termios
import threading
import time
import tty
import unittest

import rigs
import station as station_module
from station import Station, measured, wait_until
from strict_winkey import StrictWinkey

SHIM = os.path.join(os.path.dirname(station_module.BINARY), "tests", "platform", "libkvx_line_shim.so")
LIMIT = 0.5
BACK_WITHIN = 2.5  # a port that was lost is tried again once a second at least
LEFT_KEYED = "message The console did not end in order: what it may have left transmitting is released first"
SIGNALS = (signal.SIGSEGV, signal.SIGABRT, signal.SIGBUS, signal.SIGQUIT, signal.SIGUSR1, signal.SIGALRM, signal.SIGXCPU,
           signal.SIGTRAP, signal.SIGSYS, signal.SIGRTMIN + 2)
CAT, TEXT, TUNE, LINE, NET, BRIDGE = "PTT by CAT", "keyer text", "tune", "key line", "NET T 1", "bridge TX;"
KEYER_ROWS = (TEXT, TUNE, LINE)
MEANINGLESS = {
    ("keyer lost", CAT): "no keyer takes part",
    ("keyer lost", NET): "no keyer takes part",
    ("keyer lost", BRIDGE): "no keyer takes part",
    ("time-out", TEXT): "a text ends by itself",
    ("time-out", LINE): "the same; a tune on a line: key_line_test",
}


def read_some(descriptor):
    """Nothing at the end of a device."""
    try:
        return os.read(descriptor, 100)
    except OSError:
        return b""


class SerialServer(threading.Thread):
    """A serial device behind a network server in raw mode: one client at a time."""

    def __init__(self, device):
        super().__init__(daemon=True)
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.device = os.open(device, os.O_RDWR | os.O_NOCTTY)
        self.client = None
        tty.setraw(self.device)
        self.start()
        threading.Thread(target=self.answer, daemon=True).start()

    @property
    def address(self):
        return f"tcp:127.0.0.1:{self.listener.getsockname()[1]}"

    def run(self):
        while True:
            self.client, _ = self.listener.accept()
            try:
                while data := self.client.recv(100):
                    os.write(self.device, data)
            except OSError:
                pass
            self.client.close()

    def answer(self):
        while data := read_some(self.device):
            try:
                self.client.sendall(data)
            except (OSError, AttributeError):  # there is no client
                pass

    def drop(self):
        self.client.shutdown(socket.SHUT_RDWR)


class Bench:
    """A station with a rig, a keyer, a NET client and a logger, so that whatever is lost the rest is there."""

    def __init__(self, way, over_network=False, more=""):
        self.way = way
        self.station = station = Station()
        self.keyer = self.server = None
        self.descriptors = []
        with socket.create_server(("127.0.0.1", 0)) as free:
            self.net_port = free.getsockname()[1]
        kind = "COM4" if way == LINE else "WINKEY"
        self.rig = station.use(rigs.Ts2000(38400), extra=f"KEYERPORT={kind}\nPADDLECOM= 5\nWINKEY1= 1\nCWSPEED= 5\n"
                               f"NETSERVER=True\nNETPORT= {self.net_port}\nCWSKIMMER= 7\nLOGGERLINK=True\n{more}")
        address = station.device
        if over_network or way == LINE:  # there the log shall have no lines but the keyed ones
            self.server = SerialServer(station.device)
            address = self.server.address
        self.line_master, self.line_slave = os.openpty()
        tty.setraw(self.line_slave)
        if way != LINE:
            self.plug_keyer(StrictWinkey())
            self.keyer.own_power = True
        station.write("ports.ini", f"COM3={address}\nCOM4={os.ttyname(self.line_slave)}\nCOM5={station.path('keyer')}\n"
                      f"COM7=pty:{station.path('logger')}\n")
        self.start()

    def start(self):
        environment = {"LD_PRELOAD": SHIM, "KVX_LINE_LOG": self.station.path("lines")}
        self.kvx = self.station.start(environment=environment)
        self.kvx.wait_status(lambda status: status["open"] and status["rx"] > 0 and status["keyer"]["ready"])

    def plug_keyer(self, keyer):
        self.keyer = keyer.plug(self.station.path("keyer"))
        self.station.rigs.append(keyer)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for descriptor in (self.line_master, self.line_slave, *self.descriptors):
            try:
                os.close(descriptor)
            except OSError:
                pass
        self.station.__exit__()

    def keyed(self):
        """At the device."""
        if self.way == LINE:
            state = {}
            for line in self.station.read("lines").decode().splitlines():
                _, name, on = line.split()
                state[name] = on == "1"
            return any(state.values())
        if self.way == TEXT:
            return self.keyer.busy or self.keyer.key_down
        return self.keyer.key_down if self.way == TUNE else self.rig.transmitting

    def command(self, text):
        answer = self.kvx.command(text)
        assert answer.startswith("ok"), answer

    def key(self):
        if self.way == CAT:
            self.command("send XSETALPHA")
        elif self.way in (TEXT, LINE):
            self.command("cw 000000000000")
        elif self.way == TUNE:
            self.command("tune on")
        elif self.way == NET:
            self.ask("T 1")
        else:
            self.command("mode USB")
            self.descriptors.append(os.open(self.station.path("logger"), os.O_RDWR | os.O_NOCTTY))
            os.write(self.descriptors[0], b"TX;")
        assert wait_until(self.keyed, 3), f"{self.way}: it was never keyed"

    def ask(self, line):
        self.client = socket.create_connection(("127.0.0.1", self.net_port))
        self.client.settimeout(5)
        self.client.sendall(line.encode() + b"\n")
        answer = self.client.recv(100)
        assert answer == b"RPRT 0\n", answer

    def hang_up(self, reset):
        if reset:
            self.client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.client.close()

    def stand_ins(self):
        """The processes beside the console."""
        found = []
        for task in os.listdir(f"/proc/{self.kvx.pid}/task"):
            with open(f"/proc/{self.kvx.pid}/task/{task}/children", encoding="ascii") as children:
                found += [int(child) for child in children.read().split()]
        return found

    def kill_all(self):
        """Nothing of the console is left that could release anything."""
        helpers = self.stand_ins()
        for helper in helpers:
            os.kill(helper, signal.SIGSTOP)
        self.kvx.signal(signal.SIGKILL)
        for helper in helpers:
            os.kill(helper, signal.SIGKILL)


@unittest.skipUnless(os.path.exists(SHIM), f"there is no {SHIM}")
class FailSafeTest(unittest.TestCase):
    def setUp(self):
        resource.setrlimit(resource.RLIMIT_CORE, (0, resource.getrlimit(resource.RLIMIT_CORE)[1]))

    def assert_released(self, bench, since, within=LIMIT, keyed=None):
        keyed = keyed or bench.keyed
        released = wait_until(lambda: not keyed(), since + within - time.monotonic(), 0.002)
        taken = time.monotonic() - since
        self.assertTrue(released, f"still keyed after {taken:.2f} s")
        time.sleep(0.1)
        self.assertFalse(keyed(), "keyed again")
        return taken

    # The ways of ending.

    def end_quit(self, way):
        with Bench(way) as bench:
            bench.key()
            begin = time.monotonic()
            bench.kvx.write(b"quit\n")
            taken = self.assert_released(bench, begin)
            self.assertEqual(bench.kvx.ended(), 0)
            return taken

    def end_by_signal(self, way, number):
        with Bench(way) as bench:
            bench.key()
            begin = time.monotonic()
            bench.kvx.process.send_signal(number)
            taken = self.assert_released(bench, begin)
            if number != signal.SIGSTOP:
                self.assertIn(bench.kvx.ended(), (0, -number))
                return taken
            since = len(bench.kvx.texts())
            bench.kvx.process.send_signal(signal.SIGCONT)
            bench.kvx.wait_line(lambda line: line.startswith("message The program was stopped"), 5, since)
            status = bench.kvx.status()
            self.assertFalse(status["transmitting"] or status["keyer"]["tune"])
            self.assertFalse(bench.keyed(), "it goes on")
            return taken

    def end_port_lost(self, way):
        with Bench(way) as bench:
            bench.key()
            if way in (TEXT, LINE):
                bench.command("send XSETALPHA")  # so that both are one transmission
                self.assertTrue(wait_until(lambda: bench.rig.transmitting, 2))
            begin = time.monotonic()
            if bench.server:
                bench.server.drop()
            else:
                bench.rig.unplug()
            taken = self.assert_released(bench, begin) if way in KEYER_ROWS else 0.0
            if way == TUNE:
                return taken
            if not bench.server:
                time.sleep(0.3)
                self.assertTrue(bench.rig.transmitting, "nobody can reach it")
                self.assertTrue(bench.kvx.status()["transmitting"], "nobody knows that it receives")
                bench.rig.taken.clear()
                begin = time.monotonic()
                bench.rig.plug(bench.station.device)
            self.assert_released(bench, begin, BACK_WITHIN, lambda: bench.rig.transmitting)
            if not bench.server:
                self.assertEqual(bench.rig.taken[0], "RX;")
            self.assertFalse(bench.kvx.status()["transmitting"])
            return taken

    def end_client_lost(self, way):
        for reset in (False, True):
            with Bench(way) as bench:
                if way in (TEXT, LINE):
                    bench.ask("b 000000")
                    self.assertTrue(wait_until(bench.keyed, 3), "it was never keyed")
                else:
                    bench.key()
                begin = time.monotonic()
                if way in (NET, TEXT, LINE):
                    bench.hang_up(reset)
                elif way == BRIDGE:
                    os.close(bench.descriptors.pop())
                else:  # whoever gave the commands
                    bench.kvx.process.stdin.close()
                taken = self.assert_released(bench, begin)
            if way not in (NET, TEXT, LINE):
                break
        return taken

    def end_keyer_lost(self, way):
        """The rig's transmitter, keyed for what the keyer sends, does not outlive it."""
        with Bench(way) as bench:
            bench.key()
            bench.command("send XSETALPHA")
            self.assertTrue(wait_until(lambda: bench.rig.transmitting, 2))
            begin = time.monotonic()
            if way == LINE:
                os.close(bench.line_slave)
                os.close(bench.line_master)
            else:
                bench.keyer.unplug()
            taken = self.assert_released(bench, begin, keyed=lambda: bench.rig.transmitting)
            if way == LINE:
                return taken
            self.assertTrue(bench.keyed(), "nobody can reach it")
            bench.keyer.commands.clear()
            begin = time.monotonic()
            bench.keyer.plug(bench.station.path("keyer"))
            self.assert_released(bench, begin, BACK_WITHIN)
            self.assertEqual(bench.keyer.commands[:2], ["0a", "0b 00"])
            return taken

    def end_time_out(self, way):
        with Bench(way, more="TXTIME= 1\nTUNETIME= 1\n") as bench:
            begin = time.monotonic()
            bench.key()
            taken = self.assert_released(bench, begin, 1 + LIMIT)
            self.assertGreater(taken, 0.9)
            return taken - 1

    def row(self, way):
        columns = (("quit", self.end_quit), ("port lost", self.end_port_lost), ("client lost", self.end_client_lost),
                   ("keyer lost", self.end_keyer_lost), ("time-out", self.end_time_out),
                   *((number.name, lambda way, number=number: self.end_by_signal(way, number))
                     for number in (signal.SIGTERM, signal.SIGSEGV, signal.SIGKILL, signal.SIGSTOP)))
        times = []
        for name, end in columns:
            if (name, way) in MEANINGLESS:
                continue
            with self.subTest(way=way, end=name):
                times.append(end(way))
        measured(f"{way}, released after its end", times)

    def test_ptt_by_cat(self):
        self.row(CAT)

    def test_keyer_text(self):
        self.row(TEXT)

    def test_tune(self):
        self.row(TUNE)

    def test_key_line(self):
        self.row(LINE)

    def test_net_client(self):
        self.row(NET)

    def test_bridge(self):
        self.row(BRIDGE)

    # Where no process lives.

    def test_the_next_start_releases_what_was_left_keyed(self):
        for way in (CAT, TEXT, TUNE, LINE):
            with self.subTest(way), Bench(way) as bench:
                bench.key()
                bench.kill_all()
                time.sleep(0.2)
                self.assertTrue(bench.keyed(), "somebody has released it: the test shows nothing")
                bench.rig.taken.clear()
                begin = time.monotonic()
                bench.start()
                self.assert_released(bench, begin, BACK_WITHIN)
                self.assertEqual(bench.rig.taken[0], "RX;")
                self.assertEqual(bench.kvx.texts().count(LEFT_KEYED), 1)
                if bench.keyer:
                    self.assertTrue(wait_until(lambda: "14 00" in bench.keyer.commands, 2), bench.keyer.commands)
                    self.assertEqual(bench.keyer.illegal, [])
                bench.kvx.quit()
                bench.rig.taken.clear()
                bench.start()
                self.assertNotEqual(bench.rig.taken[0], "RX;")
                self.assertNotIn(LEFT_KEYED, bench.kvx.texts())

    def test_the_port_opens_only_later(self):
        """In the next run or in one after that, and though the run before it ended in order."""
        for killed, runs in ((True, 1), (True, 2), (False, 1)):
            with self.subTest(killed=killed, runs=runs), Bench(CAT) as bench:
                bench.key()
                if killed:
                    bench.kill_all()
                    bench.rig.unplug()
                else:
                    bench.rig.unplug()
                    bench.kvx.wait_status(lambda status: not status["open"])
                    self.assertEqual(bench.kvx.quit(), 0)
                kvx = bench.station.start()
                for _ in range(runs - 1):
                    kvx.wait_line(LEFT_KEYED)
                    kvx.quit()
                    kvx = bench.station.start()
                kvx.wait_line(LEFT_KEYED)
                time.sleep(0.5)
                bench.rig.taken.clear()
                begin = time.monotonic()
                bench.rig.plug(bench.station.device)
                self.assert_released(bench, begin, BACK_WITHIN)
                self.assertEqual(bench.rig.taken[0], "RX;")
                kvx.wait_status(lambda status: status["keyer"]["ready"])
                kvx.quit()
                self.assertEqual(bench.station.read("kvx.lock"), b"")

    def test_a_keyer_comes_back_after_an_orderly_end(self):
        with Bench(TUNE) as bench:
            bench.key()
            bench.keyer.unplug()
            bench.kvx.wait_status(lambda status: not status["keyer"]["ready"])
            self.assertEqual(bench.kvx.quit(), 0)
            kvx = bench.station.start()
            kvx.wait_line(LEFT_KEYED)
            self.assertTrue(bench.keyed(), "nobody can reach it")
            begin = time.monotonic()
            bench.keyer.plug(bench.station.path("keyer"))
            self.assert_released(bench, begin, BACK_WITHIN)
            kvx.wait_status(lambda status: status["keyer"]["ready"])
            kvx.quit()
            self.assertEqual(bench.station.read("kvx.lock"), b"")

    def test_an_orderly_end_waits_for_no_disk(self):
        for way in (CAT, TUNE):
            with self.subTest(way), Bench(way) as bench:
                bench.key()
                bench.station.write("lines.hang", "")
                begin = time.monotonic()
                bench.kvx.write(b"quit\n")
                self.assert_released(bench, begin)
                self.assertIsNone(bench.kvx.process.poll(), "it does not hang: the test shows nothing")
                os.remove(bench.station.path("lines.hang"))
                self.assertEqual(bench.kvx.ended(), 0)

    def test_a_port_that_takes_nothing_at_the_end(self):
        """Flow control holds the line. The console ends, the process beside it waits; the next start knows."""
        for way in (CAT, TUNE):
            with self.subTest(way), Bench(way) as bench:
                bench.key()
                held = bench.keyer if way == TUNE else bench.rig
                termios.tcflow(held.slave, termios.TCOOFF)
                self.assertEqual(bench.kvx.quit(), 0)
                self.assertTrue(bench.keyed(), "the line is not held: the test shows nothing")
                self.assertNotEqual(bench.station.read("kvx.lock"), b"")
                speed = termios.tcgetattr(held.slave)[4]
                self.assertEqual(speed, termios.B1200 if way == TUNE else termios.B38400, "it would be heard as noise")
                begin = time.monotonic()
                termios.tcflow(held.slave, termios.TCOON)
                self.assert_released(bench, begin)
                time.sleep(0.5)
                bench.rig.taken.clear()
                bench.start()
                self.assertIn(LEFT_KEYED, bench.kvx.texts())
                self.assertEqual(bench.rig.taken[0], "RX;")

    def test_another_rig_while_the_keyed_one_is_away(self):
        with Bench(CAT) as bench:
            bench.key()
            bench.rig.unplug()
            bench.kvx.wait_status(lambda status: not status["open"])
            bench.command("rig IC-7300")
            bench.kvx.wait_line(lambda line: line.startswith("message The transmitter of TS-2000 could not be released"))
            bench.rig.plug(bench.station.device)
            bench.kvx.wait_status(lambda status: status["open"])
            time.sleep(0.5)
            self.assertTrue(bench.keyed(), "the bytes of another family have released it")
            self.assertNotIn("RX;", bench.rig.taken)
            begin = time.monotonic()
            bench.command("rig TS-2000")
            self.assert_released(bench, begin, BACK_WITHIN)

    def test_somebody_ends_the_process_beside_the_console(self):
        """Another takes its place, and knows what is keyed."""
        with Bench(CAT) as bench:
            bench.key()
            for _ in range(2):
                (first,) = bench.stand_ins()
                os.kill(first, signal.SIGKILL)
                self.assertTrue(wait_until(lambda: bench.stand_ins() not in ([], [first]), 3), "there is no other")
            (last,) = bench.stand_ins()
            for name in ("comm", "cmdline"):  # a pattern that names the console must not name both
                with open(f"/proc/{last}/{name}", encoding="ascii") as file:
                    self.assertNotIn("kvx", file.read())
            self.assertTrue(bench.keyed())
            begin = time.monotonic()
            bench.kvx.process.send_signal(signal.SIGKILL)
            self.assert_released(bench, begin)
            self.assertTrue(wait_until(lambda: not self.runs(last), 2), "it is still there")

    def runs(self, process):
        try:
            with open(f"/proc/{process}/stat", encoding="ascii") as file:
                return file.read().rsplit(")", 1)[1].split()[0] != "Z"
        except OSError:
            return False

    # Other kinds of ports, other signals, other ways of not going on.

    def test_every_kind_of_port(self):
        for number in (signal.SIGSEGV, signal.SIGKILL):
            with self.subTest("tcp", number=number), Bench(CAT, over_network=True) as bench:
                bench.key()
                begin = time.monotonic()
                bench.kvx.process.send_signal(number)
                self.assert_released(bench, begin)
            with self.subTest("pty", number=number), Station() as station:
                station.configure("TS-2000", "KENWOOD", 38400)
                station.write("ports.ini", f"COM3=pty:{station.path('virtual')}\n")
                kvx = station.start()
                kvx.wait_status(lambda status: status["open"])
                far_end = os.open(station.path("virtual"), os.O_RDWR | os.O_NOCTTY)
                heard = bytearray()
                reader = threading.Thread(target=self.read_all, args=(far_end, heard), daemon=True)
                reader.start()
                self.assertTrue(kvx.command("send XSETALPHA").startswith("ok"))
                self.assertTrue(wait_until(lambda: b"TX;" in heard, 2))
                kvx.process.send_signal(number)
                self.assertTrue(wait_until(lambda: b"RX;" in heard, LIMIT, 0.002), heard[-20:])
                reader.join(2)
                self.assertFalse(reader.is_alive(), "somebody holds the port")
                os.close(far_end)

    def read_all(self, descriptor, heard):
        while data := read_some(descriptor):
            heard += data

    def test_every_signal_that_ends_it(self):
        for number in SIGNALS:
            with self.subTest(number=number), Station() as station:
                rig = station.use(rigs.Ts2000(38400))
                kvx = station.start()
                kvx.wait_status(lambda status: status["open"] and status["rx"] > 0)
                kvx.command("send FA00014025000;TX1;")
                self.assertTrue(wait_until(lambda: rig.transmitting, 2), "the rig was never keyed")
                begin = time.monotonic()
                kvx.process.send_signal(number)
                self.assert_released(None, begin, keyed=lambda: rig.transmitting)
                self.assertEqual(kvx.ended(), -number)

    def test_stopped_by_its_terminal(self):
        with Bench(TUNE) as bench:
            bench.key()
            since = len(bench.kvx.texts())
            begin = time.monotonic()
            bench.kvx.process.send_signal(signal.SIGTSTP)
            self.assert_released(bench, begin)
            bench.kvx.process.send_signal(signal.SIGCONT)
            bench.kvx.wait_line(lambda line: line.startswith("message The program was stopped"), 5, since)
            bench.kvx.wait_status(lambda status: not status["keyer"]["tune"])
            bench.key()

    def test_a_hung_console(self):
        """Nothing that it writes to disk arrives any more, and it waits for that."""
        for way, killed in ((CAT, False), (TUNE, False), (CAT, True), (TUNE, True)):
            limits = "TXTIME= 60\nTUNETIME= 60\n" if killed else "TXTIME= 2\nTUNETIME= 2\n"
            with self.subTest(way, killed=killed), Bench(way, more=limits) as bench:
                begin = time.monotonic()
                bench.key()
                bench.station.write("lines.hang", "")
                bench.kvx.write(b"save\n")
                time.sleep(0.3)
                since = len(bench.kvx.texts())
                bench.kvx.write(b"status\n")
                time.sleep(0.3)
                self.assertEqual(bench.kvx.texts(since), [], "it does not hang: the test shows nothing")
                if not killed:
                    self.assert_released(bench, begin, 2 + LIMIT)
                    continue
                begin = time.monotonic()
                bench.kvx.process.send_signal(signal.SIGTERM)
                self.assert_released(bench, begin)
                self.assertIsNone(bench.kvx.process.poll(), "it does not hang: the test shows nothing")
                time.sleep(6.5)
                bench.kvx.process.send_signal(signal.SIGTERM)
                self.assertEqual(bench.kvx.ended(), -signal.SIGTERM)


if __name__ == "__main__":
    unittest.main()
