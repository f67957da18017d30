"""The receiver's audio from a real sound server, from recordings and from the simulated receiver."""

import array
import json
import os
import random
import signal
import socket
import time
import unittest
import wave

from recordings import write_wav
from sound_server import SoundServer, missing
from station import Kvx, Station, noted, wait_until

SECONDS = 60 if os.environ.get("KVX_E2E_LONG") else 4
RATE = 48000


def write_noise(path, seconds):
    """A recording without a silent sample; the samples."""
    source = random.Random(1)
    samples = array.array("h", ((source.randrange(-32768, 32768) | 1) for _ in range(seconds * RATE)))
    write_wav(path, RATE, samples)
    return samples


def read(path):
    with wave.open(path) as file:
        return array.array("h", file.readframes(file.getnframes()))


class AudioTest(unittest.TestCase):
    def setUp(self):
        self.station = self.enterContext(Station())

    def start(self, environment=None):
        return self.station.start(environment=environment)

    def wait_state(self, kvx, word, timeout=8):
        self.assertTrue(wait_until(lambda: f", {word}, " in kvx.command("audio"), timeout, 0.1), kvx.command("audio"))

    def loudest(self, kvx, low, high):
        """dB, of the bins between two frequencies."""
        wait_until(lambda: kvx.command("audio spectrum").startswith("ok"), 2, 0.05)
        return max(json.loads(kvx.command(f"audio spectrum {low} {high}")[3:])["trace"])

    @unittest.skipIf(missing(), f"not installed: {', '.join(missing())}")
    def test_every_sample_of_a_sound_server_once(self):
        played = write_noise(self.station.path("played.wav"), SECONDS)
        with SoundServer() as server:
            kvx = self.start(server.environment)
            self.assertIn('"id":"receiver.monitor","name":"Monitor of Null Output","monitor":true', kvx.command("audio devices"))
            kvx.command("audio source receiver.monitor")
            self.assertIn("audio on, open", kvx.command("audio on"))
            self.assertTrue(kvx.command(f"audio record {self.station.path('heard.wav')}").startswith("ok"))
            time.sleep(0.5)
            self.assertEqual(server.play(self.station.path("played.wav")).wait(SECONDS + 20), 0)
            time.sleep(1)
            self.assertIn(", 0 lost", kvx.command("audio"))
            kvx.command("audio record off")
            self.assertEqual(kvx.quit(), 0)
        heard = read(self.station.path("heard.wav"))
        begin = next(i for i, sample in enumerate(heard) if sample != 0)
        self.assertTrue(heard[begin:begin + len(played)] == played, "not what was played")
        self.assertFalse(any(heard[begin + len(played):]), "something more than what was played")
        noted(f"{len(played)} samples came through bit by bit")

    @unittest.skipIf(missing(), f"not installed: {', '.join(missing())}")
    def test_a_sound_server_goes_and_comes_back(self):
        with SoundServer() as server:
            kvx = self.start(server.environment)
            self.assertIn("audio on, open", kvx.command("audio on"))
            server.kill()
            kvx.wait_line("audio The sound server has gone")
            time.sleep(5)
            server.start()
            begin = time.monotonic()
            kvx.wait_line("audio open", 10, since=len(kvx.texts()))
            noted(f"the sound was back after {time.monotonic() - begin:.1f} s")
            before = kvx.status()["audio"]["samples"]
            kvx.wait_status(lambda status: status["audio"]["samples"] > before + RATE / 4)

    def answers_throughout(self, kvx, seconds):
        """The longest time that an answer took."""
        longest, end = 0, time.monotonic() + seconds
        while time.monotonic() < end:
            begin = time.monotonic()
            kvx.status()
            longest = max(longest, time.monotonic() - begin)
            time.sleep(0.05)
        return longest

    def test_a_sound_server_that_is_silent_holds_nothing_up(self):
        path = self.station.path("silent")
        with socket.socket(socket.AF_UNIX) as server:
            server.bind(path)
            server.listen(50)
            kvx = self.start({"PULSE_SERVER": f"unix:{path}"})
            self.assertIn("The sound server does not answer", kvx.command("audio on"))
            self.assertEqual(kvx.command("audio devices").count('"id"'), 1)
            longest = self.answers_throughout(kvx, 6)
            self.assertEqual(sum("does not answer" in text for text in kvx.texts() if text.startswith("audio ")), 1, kvx.texts())
            self.assertEqual(kvx.quit(), 0)
        self.assertLess(longest, 1)
        noted(f"beside a silent sound server an answer took {longest * 1000:.0f} ms at most")

    @unittest.skipIf(missing(), f"not installed: {', '.join(missing())}")
    def test_a_sound_server_stops_and_goes_on(self):
        with SoundServer() as server:
            kvx = self.start(server.environment)
            self.assertIn("audio on, open", kvx.command("audio on"))
            server.server.send_signal(signal.SIGSTOP)
            longest = self.answers_throughout(kvx, 6)
            kvx.wait_line("audio The sound server does not answer")
            self.assertLess(longest, 1)
            noted(f"beside a stopped sound server an answer took {longest * 1000:.0f} ms at most")
            since = len(kvx.texts())
            server.server.send_signal(signal.SIGCONT)
            kvx.wait_line("audio open", 10, since=since)
            before = kvx.status()["audio"]["samples"]
            kvx.wait_status(lambda status: status["audio"]["samples"] > before + RATE / 4)
            server.server.send_signal(signal.SIGSTOP)
            self.assertEqual(kvx.quit(), 0)

    def test_no_sound_server_is_one_line(self):
        kvx = self.start({"PULSE_SERVER": f"unix:{self.station.path('none')}"})
        begin = time.monotonic()
        self.assertIn("This computer has no sound server", kvx.command("audio on"))
        self.assertLess(time.monotonic() - begin, 2)
        self.assertEqual(kvx.command("audio devices").count('"id"'), 1)
        time.sleep(3)
        self.assertEqual(sum("no sound server" in text for text in kvx.texts() if text.startswith("audio ")), 1, kvx.texts())

    def test_a_recording_and_the_simulated_receiver(self):
        played = write_noise(self.station.path("played.wav"), 2)
        kvx = Kvx("--headless", "--demo", environment={"XDG_DATA_HOME": self.station.folder})
        self.station.programs.append(kvx)
        kvx.wait_status(lambda status: status["keyer"] and status["keyer"]["ready"], 10)
        self.assertIn("source sim:receiver", kvx.command("audio on"))
        self.assertLess(self.loudest(kvx, 790, 810), -30)
        self.assertTrue(kvx.command("cw 00").startswith("ok"))
        self.assertTrue(wait_until(lambda: self.loudest(kvx, 790, 810) > -20, 4, 0.05), "its own key is not heard")
        kvx.command("audio off")
        kvx.command("audio source wav:" + self.station.path("played.wav"))
        kvx.command("audio on")
        kvx.wait_line("audio ended", 6)
        self.assertIn(f", {len(played)} samples, ", kvx.command("audio"))
