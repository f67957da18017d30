"""The receiver's audio from a recording: each sample once, its spectrum, its CW, and what is kept of it."""

import array
import json
import math
import unittest
import wave

from station import Station

CODES = {"A": ".-", "B": "-...", "C": "-.-.", "D": "-..", "E": ".", "K": "-.-", "Q": "--.-", "1": ".----", " ": " "}
TEXT = "CQ CQ DE K1ABC K1ABC K"
TONE = 650


def keyed(text, rate, wpm):
    """Whether the key is down, for each sample."""
    dot = int(rate * 1.2 / wpm)
    key = [0] * rate
    for character in text:
        for sign in CODES[character]:
            key += [0] * (4 * dot) if sign == " " else [1] * (dot if sign == "." else 3 * dot) + [0] * dot
        key += [0] * (2 * dot)
    return key + [0] * rate


def write_wav(path, rate, levels):
    samples = array.array("h", (int(12000 * level * math.sin(2 * math.pi * TONE * at / rate)) for at, level in enumerate(levels)))
    with wave.open(path, "wb") as file:
        file.setparams((1, 2, rate, len(samples), "NONE", ""))
        file.writeframes(samples.tobytes())
    return len(samples)


class AudioAnalysisTest(unittest.TestCase):
    def setUp(self):
        self.station = Station()
        self.addCleanup(self.station.__exit__)
        self.station.configure("TS-520", "KENWOOD", 9600, port=0)

    def test_a_recording_is_read(self):
        rate, heard = 22050, self.station.path("heard.wav")
        length = write_wav(self.station.path("receiver.wav"), rate, keyed(TEXT, rate, 24))
        kvx = self.station.start()
        kvx.command("audio source wav:" + self.station.path("receiver.wav"))
        self.assertEqual(kvx.command("audio press DCW"), "ok audio DCW: Stop Decode")
        self.assertEqual(kvx.command(f"audio tune {TONE}"), f"ok audio tune {TONE}")
        self.assertEqual(kvx.command("audio record " + heard), "ok audio record " + heard)
        kvx.wait_line("audio ended", 40)
        status = kvx.wait_status(lambda now: not now["audio"]["signal"])["audio"]
        wanted = length * 48000 / rate
        self.assertAlmostEqual(status["samples"], wanted, delta=2)
        self.assertEqual((status["lost"], status["frames"]), (0, status["samples"] // 256))
        read = " ".join(line.removeprefix("cw read ") for line in kvx.texts() if line.startswith("cw read "))
        self.assertEqual(kvx.command("audio text").removeprefix("ok ").split(), TEXT.split())
        self.assertEqual(read.replace(" ", ""), TEXT.replace(" ", ""))
        with wave.open(heard) as file:
            self.assertEqual((file.getframerate(), file.getnchannels(), file.getsampwidth()), (48000, 1, 2))
            self.assertAlmostEqual(file.getnframes(), status["samples"], delta=48000)  # what came before the command is not in it
        self.assertEqual(kvx.quit(), 0)
        kept = self.station.read("SpecDisplay.pos").decode()
        for line in ("cboBins=256", "cboSRate=48000", "CrossIt=650", "AltSetup=FALSE", "optNormal=TRUE"):
            self.assertIn(line + "\n", kept)

    def test_spectrum_of_a_tone(self):
        self.station.write("SpecDisplay.pos", "SpecDisplay=1 2 800 600 normal\ncboBins=16384\ncboSRate=44100\nscrAVG=nonsense\n")
        write_wav(self.station.path("tone.wav"), 11025, [0.5] * 11025 * 2)
        kvx = self.station.start()
        kvx.command("audio source wav:" + self.station.path("tone.wav"))
        kvx.command("audio on")
        kvx.wait_line("audio ended", 10)
        spectrum = json.loads(kvx.command("audio spectrum 300 3000").removeprefix("ok "))
        strongest = max(spectrum["trace"])
        hertz = spectrum["from"] + spectrum["step"] * spectrum["trace"].index(strongest)
        self.assertAlmostEqual(hertz, TONE, delta=3)
        self.assertAlmostEqual(strongest, 20 * math.log10(6000 / 32768), delta=1.5)  # up to 1.4 dB between two bins
        self.assertEqual(kvx.quit(), 0)
        self.assertTrue(self.station.read("SpecDisplay.pos").startswith(b"SpecDisplay=1 2 800 600 normal\ncboSRate=44100\ncboBins=16384\n"))


