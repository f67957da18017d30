"""The NET rigctl server: with hamlib's own rigctl, and with many clients at once."""

import shutil
import socket
import subprocess
import threading
import time
import unittest

import rigs
from station import Station, noted, wait_until
from strict_winkey import StrictWinkey

RIGCTL = shutil.which("rigctl")
SECONDS = 2.0


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Client:
    """A program that speaks the protocol itself."""

    def __init__(self, port):
        self.socket = socket.create_connection(("127.0.0.1", port), 5)
        self.socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self.file = self.socket.makefile("rb")

    def ask(self, line, lines=1):
        self.socket.sendall(line.encode() + b"\n")
        return [self.file.readline().decode().rstrip("\n") for _ in range(lines)]

    def close(self):
        self.file.close()
        self.socket.close()


class NetTest(unittest.TestCase):
    def setUp(self):
        self.station = Station()
        self.addCleanup(self.station.__exit__)
        self.port = free_port()

    def start(self, rig, more=""):
        self.station.use(rig, extra=f"NETSERVER=True\nNETPORT= {self.port}\n{more}")
        kvx = self.station.start()
        kvx.wait_status(lambda status: status["open"] and status["rx"] > 0)
        return kvx

    def client(self):
        client = Client(self.port)
        self.addCleanup(client.close)
        return client

    def rigctl(self, *commands):
        """What rigctl prints for the commands, line by line."""
        done = subprocess.run([RIGCTL, "-m", "2", "-r", f"127.0.0.1:{self.port}", *commands], stdin=subprocess.DEVNULL,
                              capture_output=True, timeout=20, encoding="latin-1", check=False)
        self.assertEqual(done.returncode, 0, f"{commands}: {done.stdout} {done.stderr}")
        return done.stdout.split("\n")[:-1]

    def operate(self, rig, mode, narrow):
        """Everything that rigctl can be told of a rig of whatever kind."""
        if RIGCTL is None:
            self.skipTest("rigctl is not installed (package libhamlib-utils)")
        kvx = self.start(rig)
        self.rigctl("F", "14025370")
        self.assertEqual(self.rigctl("f"), ["14025370"])
        self.assertTrue(wait_until(lambda: rig.freq["A"] == 14_025_370, 3), rig.freq)
        rig.knob(14_030_000)
        kvx.wait_line("freq 14030.00")
        self.assertEqual(self.rigctl("f"), ["14030000"])
        self.rigctl("M", "USB", "2400")
        self.assertEqual(self.rigctl("m"), ["USB", "2400"])
        self.assertTrue(wait_until(lambda: rig.modes[rig.mode] == "USB", 3), rig.mode)
        self.rigctl("M", "PKTLSB", "0")
        self.assertEqual(self.rigctl("m"), ["LSB", "2400"])  # asked by another one: rigctl remembers what it has set
        self.rigctl("M", "CW", "500")
        self.assertEqual(self.rigctl("m"), ["CW", "500"])
        self.assertTrue(wait_until(lambda: rig.modes[rig.mode].startswith("CW"), 3), rig.mode)
        self.assertEqual(self.rigctl("v", "V", "VFOB", "F", "7011110", "f", "v"), ["VFOA", "7011110", "VFOB"])
        self.assertTrue(wait_until(lambda: rig.freq["B"] == 7_011_110 and rig.vfo == "A", 3), (rig.freq, rig.vfo))
        self.assertEqual(self.rigctl("f", "v", "i"), ["14030000", "VFOA", "7011110"])
        for on, transmits in (("1", "VFOB"), ("0", "VFOA")):
            self.rigctl("S", on, transmits)
            self.assertEqual(self.rigctl("s"), [on, transmits])
        self.assertEqual(self.rigctl("t", "T", "1", "t", "T", "0", "t"), ["0", "1", "0"])
        self.assertFalse(rig.transmitting)
        own = self.client()  # rigctl 4.5 shows no answer to these two, whatever the rig
        self.assertEqual(own.ask("\\get_vfo_info VFOA", 5), ["14030000", "CW", "500", "0", "0"])
        self.assertEqual(own.ask("\\get_powerstat"), ["1"])
        self.assertLessEqual(-54, int(self.rigctl("l", "STRENGTH")[0]))
        self.rigctl("L", "KEYSPD", "31")
        self.assertEqual(self.rigctl("l", "KEYSPD"), ["31"])
        self.assertIn(rig.model, self.rigctl("_")[0])
        self.assertTrue(any("Can send Morse" in line for line in self.rigctl("1")))
        self.rigctl("M", mode, str(narrow))
        self.assertEqual(self.rigctl("m"), [mode, str(narrow)])
        # A release that overtakes a command begins with an end mark, which by itself is no command.
        self.assertEqual([frame for frame in rig.refused if frame != ";"], [])
        return kvx

    def test_rigctl_ts2000(self):
        self.operate(rigs.Ts2000(38400), "CWR", 500)
        self.rigctl("L", "RFPOWER", "0.5")
        self.assertEqual(self.rigctl("l", "RFPOWER"), ["0.500000"])
        self.assertTrue(wait_until(lambda: self.station.rigs[0].values.get("PC") == 50, 3))

    def test_rigctl_ft857(self):
        self.operate(rigs.Ft857(9600), "FM", 8000)

    def test_rigctl_ic7300(self):
        self.operate(rigs.Ic7300(19200), "CW", 250)

    def test_morse_is_keyed_by_the_stations_winkeyer(self):
        if RIGCTL is None:
            self.skipTest("rigctl is not installed (package libhamlib-utils)")
        keyer = StrictWinkey().plug(self.station.path("keyer"))
        self.station.rigs.append(keyer)
        settings = f"NETSERVER=True\nNETPORT= {self.port}\nKEYERPORT=WINKEY\nPADDLECOM= 5\nWINKEY1= 1\nCWSPEED= 40\n"
        self.station.use(rigs.Ts2000(38400), extra=settings)
        self.station.write("ports.ini", self.station.read("ports.ini").decode() + f"COM5={self.station.path('keyer')}\n")
        kvx = self.station.start()
        kvx.wait_status(lambda status: status["open"] and status["keyer"]["ready"])
        self.rigctl("b", "CQ TEST")
        self.assertTrue(wait_until(lambda: keyer.sent == "CQ TEST", 5), keyer.sent)
        kvx.wait_status(lambda status: status["keyer"]["left_ms"] == 0 and status["keyer"]["sending"] == "")
        arguments = [RIGCTL, "-m", "2", "-r", f"127.0.0.1:{self.port}"]
        with subprocess.Popen(arguments, stdin=subprocess.PIPE, stdout=subprocess.DEVNULL, text=True) as rigctl:
            print("\\send_morse PARIS PARIS PARIS", file=rigctl.stdin, flush=True)
            self.assertTrue(wait_until(lambda: keyer.sent.startswith("CQ TESTPA"), 5), keyer.sent)
            print("\\stop_morse", file=rigctl.stdin, flush=True)
            self.assertTrue(wait_until(lambda: "0a" in keyer.commands, 2), keyer.commands)
        stopped = keyer.sent
        time.sleep(0.5)
        self.assertEqual((keyer.sent, keyer.key_down, keyer.illegal), (stopped, False, []))
        self.assertLess(len(stopped), len("CQ TESTPARIS PARIS"))

    def test_transmitter_is_released_with_its_client(self):
        rig = rigs.Ts2000(38400)
        kvx = self.start(rig)
        client, other = self.client(), self.client()
        self.assertEqual(client.ask("T 1"), ["RPRT 0"])
        self.assertTrue(wait_until(lambda: rig.transmitting, 2))
        self.assertEqual(other.ask("T 0"), ["RPRT 0"])
        other.close()
        time.sleep(0.2)
        self.assertTrue(rig.transmitting, "another client has released it")
        client.close()
        self.assertTrue(wait_until(lambda: not rig.transmitting, 2), "its client has gone")
        third = self.client()
        third.ask("T 1")
        self.assertTrue(wait_until(lambda: rig.transmitting, 2))
        kvx.command("escape")
        self.assertTrue(wait_until(lambda: not rig.transmitting, 2))
        self.assertEqual(third.ask("t"), ["0"])

    def test_switched_on_and_off_and_a_taken_port(self):
        with socket.socket() as taken:
            taken.bind(("127.0.0.1", self.port))
            taken.listen()
            kvx = self.start(rigs.Ts2000(38400))
            complaint = f"NET rigctl server: port {self.port} on 127.0.0.1 is taken by another program"
            self.assertIn(f"message {complaint}", kvx.texts())
            self.assertEqual(kvx.command("link net on"), f"error: {complaint}")
        self.assertEqual(kvx.command("link net on"), f"ok link net on 127.0.0.1:{self.port}, 0 clients")
        client = self.client()
        client.ask("f")
        self.assertEqual(kvx.status()["links"]["net"]["clients"], 1)
        self.assertEqual(kvx.command("link net off"), "ok link net off")
        self.assertEqual(client.file.read(), b"")
        with self.assertRaises(OSError):
            Client(self.port)
        self.assertIn(b"NETSERVER=False", self.station.read("rig.ini"))

    def test_speed_and_fairness(self):
        kvx = self.start(rigs.Ts2000(38400))
        answer = f"{kvx.status()['hz']}\n".encode()
        client = self.client()
        for at_a_time in (1, 200):
            begin, total, wrong = time.monotonic(), 0, 0
            while time.monotonic() < begin + SECONDS:
                client.socket.sendall(b"f\n" * at_a_time)
                wrong += sum(client.file.readline() != answer for _ in range(at_a_time))
                total += at_a_time
            rate = total / (time.monotonic() - begin)
            self.assertEqual(wrong, 0, f"of {total} answers")
            noted(f"f, {at_a_time} at a time, every answer compared: {rate:.0f} a second")
        self.assertGreater(rate, 5000)  # on a machine that is busy with other tests
        counts, wrong = [0] * 50, [0] * 50
        clients = [self.client() for _ in counts]
        stop = time.monotonic() + SECONDS

        def poll(index):
            while time.monotonic() < stop:
                wrong[index] += clients[index].ask("f") != [answer.decode().strip()]
                counts[index] += 1

        threads = [threading.Thread(target=poll, args=(index,)) for index in range(len(counts))]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(sum(wrong), 0)
        noted(f"50 clients: {sum(counts) / SECONDS:.0f} answers a second, {min(counts)} to {max(counts)} each")
        self.assertGreater(min(counts) * 4, max(counts))  # nobody starves, however busy the machine
