"""The receiver's audio from a recording: each sample once, its spectrum, its CW, and what is kept of it."""

import json
import math
import unittest
import wave

from recordings import write_cw, write_wav
from station import Station

TEXT = "CQ CQ DE K1ABC K1ABC K"
TONE = 650


class AudioAnalysisTest(unittest.TestCase):
    def setUp(self):
        self.station = Station()
        self.addCleanup(self.station.__exit__)
        self.station.configure("TS-520", "KENWOOD", 9600, port=0)

    def test_a_recording_is_read(self):
        rate, heard = 22050, self.station.path("heard.wav")
        length = write_cw(self.station.path("receiver.wav"), TEXT, rate, TONE, 24, 0)
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
        tone = (int(6000 * math.sin(2 * math.pi * TONE * at / 11025)) for at in range(2 * 11025))
        write_wav(self.station.path("tone.wav"), 11025, tone)
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


