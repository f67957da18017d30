"""CW by a WinKeyer: every byte that the console sends it, whatever the keyer does."""

import array
import itertools
import json
import signal
import time
import unittest
import wave

from station import Kvx, Station, noted, wait_until
from strict_winkey import ALPHABET, StrictWinkey

BEFORE_REPLY = bytes.fromhex("13 13 13 00 04 41")
OPEN = bytes.fromhex("00 02")
DEFAULTS = bytes.fromhex("07 00 0b 0f 02 19 05 32 00 00 05 14 00 00 12 32 32 06 ff 07 15")
RELEASE = bytes.fromhex("0a 0b 00")  # of a keyer that was sending when it went
POT = bytes.fromhex("05 05 32 00")
FAILED = "Unable to initialize Winkey"
TUNE_ON, TUNE_OFF, HOST_CLOSE = "0b 01", "0b 00", "00 03"


def start_up(speed, mode=0x00, lead=0, tail=0, compensation=0, pin=0x92, side_tone=None, outputs=(0,)):
    """The whole start-up with its settings."""
    settings = b"" if side_tone is None else bytes([0x01, side_tone])
    settings += bytes([0x02, speed, 0x0E, mode, 0x04, lead, tail, 0x11, compensation, pin])
    settings += b"".join(bytes([0x1D, output]) for output in outputs)
    return BEFORE_REPLY + OPEN + DEFAULTS + settings + POT


def length_of(text, wpm):
    units = 0
    for letter in text:
        units += 4 if letter == " " else sum(2 if element == "." else 4 for element in ALPHABET[letter]) + 2
    return units * 1.2 / wpm


class WinkeyTest(unittest.TestCase):
    def setUp(self):
        self.station = Station()
        self.addCleanup(self.station.__exit__)

    def configure(self, speed=60, more=""):
        self.station.write("ports.ini", f"COM5={self.station.device}\n")
        self.station.write("rig.ini", f"KEYERPORT=WINKEY\nPADDLECOM= 5\nWINKEY1= 1\nCWSPEED= {speed}\n{more}")

    def start(self, keyer=None, ready=True, **configuration):
        """A keyer and a console that has started it up."""
        self.configure(**configuration)
        keyer = self.station.plug(keyer or StrictWinkey())
        kvx = self.station.start()
        if ready:
            kvx.wait_status(lambda status: status["keyer"]["ready"])
            self.assertTrue(wait_until(lambda: keyer.heard().endswith(POT), 2), keyer.heard().hex(" "))
        return keyer, kvx

    def assert_sent(self, keyer, text, timeout=10):
        self.assertTrue(wait_until(lambda: keyer.sent == text, timeout), f"{keyer.sent!r} instead of {text!r}")

    def complaints(self, kvx, since=0):
        """What the operator is told, a new station's stores aside."""
        return [line for line in kvx.texts(since) if line.startswith("message ") and ".sqlite" not in line]

    def assert_commands(self, keyer, expected):
        """The commands that it gets."""
        self.assertTrue(wait_until(lambda: keyer.commands == expected, 2), f"{keyer.commands} instead of {expected}")

    def test_start_up_to_the_byte(self):
        for more, expected in (
                ("", start_up(60)),
                ("KYMODX= 32\nREVPADDLE=True\nPIN5= 2\nSIDETONE= 6\nPTTLEADTIME= 5\nPTTTAILTIME= 7\nKEYINGCOMPX= 3\n",
                 start_up(60, 0x40, 5, 7, 3, 0x94, 6)),
                ("KYMODX= 16\nPIN5= 1\nWINKEY2= 1\n", start_up(60, 0x16, pin=0x93, outputs=(0, 1))),
                ("KYMODX= 48\nREVPADDLE=True\nUSE2ND=True\n", start_up(60, 0x56, outputs=(0, 1)))):
            with self.subTest(more), Station() as self.station:
                keyer, kvx = self.start(more=more)
                self.assertEqual(keyer.heard().hex(" "), expected.hex(" "))
                self.assertEqual(keyer.illegal, [])
                keyer.forget()
                self.assertEqual(kvx.quit(), 0)
                self.assert_commands(keyer, [HOST_CLOSE])

    def test_five_hundred_characters(self):
        text = "CQ TEST DE DL1ABC/P DL1ABC/P PSE K. TU 5NN 123 = QRL? R, 73 W9XYZ K4FGH J0VMO "
        words = itertools.cycle("TEE SEES IT IS A NEAT TEST ".split())  # short signs, for a short test
        while len(text) < 500:
            text += next(words) + " "
        text = text[:499].rstrip().ljust(500, "E")
        keyer, kvx = self.start(speed=99)
        keyer.forget()
        begin = time.monotonic()
        self.assertTrue(kvx.command(f"cw {text}").startswith("ok"))
        self.assert_sent(keyer, text, 120)
        taken = time.monotonic() - begin
        noted(f"{len(text)} characters at 99 wpm took {taken:.1f} s, without a pause {length_of(text, 99):.1f} s")
        self.assertLess(taken, length_of(text, 99) * 1.03 + 1)
        self.assertEqual((keyer.illegal, bytes(keyer.ignored)), ([], b"\x92"))
        self.assertEqual(self.complaints(kvx), [])
        kvx.wait_status(lambda status: status["keyer"]["waiting"] == 0 and status["keyer"]["left_ms"] == 0)

    def test_silent_keyer(self):
        keyer = StrictWinkey()
        keyer.mute = True
        keyer, kvx = self.start(keyer, ready=False)
        begin = time.monotonic()
        kvx.wait_line(f"message {FAILED}", 8)
        noted(f"a silent keyer is given up after {time.monotonic() - begin:.1f} s")
        time.sleep(1.5)
        self.assertEqual(self.complaints(kvx), [f"message {FAILED}"])
        self.assertEqual(keyer.heard(), BEFORE_REPLY)
        status = kvx.status()["keyer"]
        self.assertEqual((status["ready"], status["failed"]), (False, True))
        keyer.mute = False
        kvx.command("cw EE")
        self.assert_sent(keyer, "EE")
        self.assertEqual(keyer.heard().count(BEFORE_REPLY), 2)
        self.assertEqual(keyer.illegal, [])

    def test_vanishes_in_a_text_and_returns(self):
        for keep_link in (False, True):
            with self.subTest(keep_link=keep_link), Station() as self.station:
                keyer, kvx = self.start(speed=60)
                keyer.forget()
                self.assertTrue(kvx.command("cw PARIS PARIS PARIS PARIS PARIS").startswith("ok"))
                self.assertTrue(wait_until(lambda: keyer.sent.startswith("PARI"), 5), keyer.sent)
                since = len(kvx.texts())
                keyer.unplug(keep_link)
                kvx.wait_status(lambda status: not status["keyer"]["ready"])
                before = keyer.sent
                time.sleep(0.7)
                told = self.complaints(kvx, since)
                self.assertEqual(len(told), 1, told)
                keyer.forget()
                keyer.plug(self.station.device)
                kvx.wait_status(lambda status: status["keyer"]["ready"], 8)
                self.assertTrue(wait_until(lambda: keyer.heard().endswith(POT), 2), keyer.heard().hex(" "))
                time.sleep(0.5)
                self.assertEqual(keyer.heard().hex(" "), (RELEASE + start_up(60)).hex(" "),
                                 "nothing of the text is sent again")
                self.assertNotIn(FAILED, " ".join(kvx.texts(since)))
                self.assertLess(len(before), 20)
                kvx.command("cw TU")
                self.assert_sent(keyer, "TU")
                self.assertEqual(keyer.illegal, [])

    def test_escape_in_the_middle(self):
        keyer, kvx = self.start(speed=30)
        kvx.command("cw PARIS PARIS PARIS PARIS PARIS PARIS")
        self.assertTrue(wait_until(lambda: len(keyer.sent) >= 3, 5), keyer.sent)
        begin = time.monotonic()
        self.assertTrue(kvx.command("escape").startswith("ok"))
        self.assertTrue(wait_until(lambda: "0a" in keyer.commands, 2, 0.001), keyer.commands)
        taken = time.monotonic() - begin
        noted(f"escape to clear command at the keyer: {taken * 1000:.0f} ms")
        self.assertLess(taken, 0.5)
        self.assertTrue(wait_until(lambda: not keyer.key_down, 0.2))
        sent = keyer.sent
        time.sleep(1)
        self.assertEqual((keyer.sent, keyer.key_down, keyer.illegal), (sent, False, []))
        kvx.command("cw E")
        self.assert_sent(keyer, sent + "E")

    def test_tune_has_a_limit(self):
        keyer, kvx = self.start(more="TUNETIME= 1\n")
        keyer.forget()
        self.assertTrue(kvx.command("tune on").startswith("ok"))
        kvx.wait_line("message Transmitter ON")
        self.assertTrue(wait_until(lambda: keyer.key_down, 2))
        self.assertTrue(wait_until(lambda: not keyer.key_down, 3), "the key is still down")
        kvx.wait_line("message Transmitter Off")
        (down, _), (up, _) = keyer.edges
        noted(f"a tune of 1 s took {up - down:.2f} s at the keyer")
        self.assertAlmostEqual(up - down, 1, delta=0.3)
        self.assert_commands(keyer, [TUNE_ON, TUNE_OFF])

    def tuned(self, keyer=None):
        keyer, kvx = self.start(keyer)
        keyer.forget()
        self.assertTrue(kvx.command("tune on").startswith("ok"))
        self.assertTrue(wait_until(lambda: keyer.key_down, 2))
        return keyer, kvx

    def test_every_end_releases_the_key(self):
        for how, number in (("quit", None), ("SIGTERM", signal.SIGTERM), ("SIGINT", signal.SIGINT)):
            with self.subTest(how), Station() as self.station:
                keyer, kvx = self.tuned()
                self.assertEqual(kvx.signal(number) if number else kvx.quit(), 0)
                self.assert_commands(keyer, [TUNE_ON, TUNE_OFF, HOST_CLOSE])
                self.assertEqual((keyer.key_down, keyer.illegal), (False, []))

    def test_a_wish_is_forgotten_when_the_keyer_stays_silent(self):
        keyer, kvx = self.start()
        keyer.unplug()
        kvx.wait_status(lambda status: not status["keyer"]["ready"])
        keyer.mute = True
        keyer.forget()
        keyer.plug(self.station.device)
        self.assertTrue(wait_until(keyer.heard, 5))
        self.assertTrue(kvx.command("tune on").startswith("ok"))
        kvx.wait_line(f"message {FAILED}", 8)
        keyer.unplug()
        keyer.mute = False
        keyer.plug(self.station.device)
        kvx.wait_status(lambda status: status["keyer"]["ready"], 8)
        self.assertTrue(wait_until(lambda: keyer.heard().endswith(POT), 2))
        time.sleep(0.5)
        self.assertNotIn(TUNE_ON, keyer.commands)
        self.assertFalse(keyer.key_down)


class SimulatedKeyerTest(unittest.TestCase):
    """The console's own simulated keyer, as a program of its own."""

    def setUp(self):
        self.station = Station()
        self.addCleanup(self.station.__exit__)

    def simulate(self, kind):
        program = Kvx("rigsim", kind, "--link", self.station.device, "--speed", "1200")
        self.station.programs.append(program)
        self.assertTrue(wait_until(program.texts, 5), program.errors)
        return program

    def state(self, program):
        return json.loads(program.command("state").removeprefix("ok "))

    def test_both_kinds_send_for_the_console(self):
        self.station.write("ports.ini", f"COM5={self.station.device}\n")
        self.station.write("rig.ini", "KEYERPORT=WINKEY\nPADDLECOM= 5\nWINKEY1= 1\nCWSPEED= 60\n")
        for kind in ("winkey", "winkey3"):
            with self.subTest(kind):
                keyer = self.simulate(kind)
                kvx = self.station.start()
                kvx.wait_status(lambda status: status["keyer"]["ready"])
                tone = self.station.path("tone.wav")
                self.assertEqual(keyer.command(f"record {tone}"), "ok")
                self.assertTrue(kvx.command("cw CQ <AR> k").startswith("ok"))
                self.assertTrue(wait_until(lambda: self.state(keyer)["sent"] == "CQ + K", 8, 0.05), self.state(keyer))
                self.assertTrue(keyer.command("record off").startswith("ok"))
                self.assertEqual(keyed(tone, 60), "-.-. --.- .-.-. -.-")
                self.assertTrue(keyer.command("pot 40").startswith("ok"))
                kvx.wait_status(lambda status: status["keyer"]["speed"] == 45)
                kvx.command("cw 00000000")
                self.assertTrue(wait_until(lambda: self.state(keyer)["sent"].endswith("0"), 5, 0.05))
                self.assertEqual(keyer.command("paddle dit 300"), "ok")
                self.assertTrue(wait_until(lambda: not self.state(keyer)["buffer"], 3, 0.05))
                self.assertEqual(self.state(keyer)["refused"], 0)
                self.assertEqual(kvx.quit(), 0)
                self.assertFalse(self.state(keyer)["open"])
                self.assertEqual(keyer.quit(), 0)



def keyed(path, wpm):
    """The elements that are heard in a recording, a blank between letters."""
    with wave.open(path) as file:
        rate = file.getframerate()
        samples = array.array("h", file.readframes(file.getnframes()))
    step = rate // 500  # 2 ms
    loud = [max(map(abs, samples[i:i + step])) > 8000 for i in range(0, len(samples) - step, step)]
    unit = 1.2 / wpm * 500
    elements = ""
    for on, group in itertools.groupby(loud):
        length = sum(1 for _ in group) / unit
        if on:
            elements += "-" if length > 2 else "."
        elif length > 2 and elements:
            elements += " "
    return elements.strip()
