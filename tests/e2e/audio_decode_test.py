"""Recordings of CW: read by the program that ends, and by a running console."""

import os
import struct
import subprocess
import tempfile
import time
import unittest
import wave

import station as station_module
from recordings import write_cw
from station import Station

TEXT = "CQ CQ DE K1ABC K1ABC TEST UR 599 THE FUN K"


class DecodeTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.path = os.path.join(folder.name, "heard on the air.wav")

    def decode(self, *arguments):
        return subprocess.run([station_module.BINARY, "--headless", "decode", *arguments, "--station",
                               os.path.dirname(self.path)], capture_output=True, text=True, timeout=60, check=False)

    def test_prints_a_recording_and_ends(self):
        for rate, hertz, channels in ((8000, 830, 1), (44100, 450, 2)):
            write_cw(self.path, TEXT, rate, hertz, 24, channels=channels)
            for mode in ("classic", "best"):
                done = self.decode(self.path, "--mode", mode)
                self.assertEqual((done.returncode, done.stdout.strip(), done.stderr), (0, TEXT, ""), (rate, mode))
        done = self.decode(self.path, "--tone", "1400", "--mode", "classic")
        self.assertEqual((done.returncode, done.stdout.strip()), (0, ""))

    def test_wrong_arguments_and_files_end_with_one_line(self):
        with open(self.path, "wb") as file:
            file.write(b"no sound")
        for arguments in ((), ("/nowhere.wav",), (self.path,), (self.path, "--tone", "12"), (self.path, "--mode", "x")):
            done = self.decode(*arguments)
            self.assertEqual((done.returncode, done.stdout, done.stderr.count("\n")), (1, "", 1), done.stderr)

    def test_a_running_console_reads_one_too(self):
        write_cw(self.path, TEXT, 11025, 640, 30)
        with Station() as station:
            kvx = station.start()
            self.assertEqual(kvx.command(f"decode {self.path} --mode classic", 30), "ok " + TEXT)
            self.assertTrue(kvx.command("decode /nowhere.wav").startswith("error: "))
            self.assertTrue(kvx.command("decode").startswith("error: "))

    def test_a_long_recording_delays_nothing(self):
        write_cw(self.path, TEXT, 8000, 640, 30)
        with wave.open(self.path, "rb") as file:
            piece = file.readframes(file.getnframes())
        with wave.open(self.path, "wb") as file:
            file.setparams((1, 2, 8000, 0, "NONE", ""))
            file.writeframes(piece * (20 * 60 * 16000 // len(piece)))
        with Station() as station:
            silence = station.path("ten hours.wav")
            length = 10 * 3600 * 16000
            station.write("ten hours.wav", b"RIFF" + struct.pack("<I", 36 + length) + b"WAVEfmt " +
                          struct.pack("<IHHIIHH", 16, 1, 1, 8000, 16000, 2, 16) + b"data" + struct.pack("<I", length))
            os.truncate(silence, 44 + length)
            kvx = station.start()
            begin = time.monotonic()
            self.assertIn("longer than 30 minutes", kvx.command(f"decode {silence}"))
            kvx.write(f"decode {self.path}\n".encode())
            self.assertEqual(kvx.command("limits on"), "ok limits on")
            self.assertLess(time.monotonic() - begin, 2)
            kvx.wait_line(lambda line: line.startswith("decode read "), 20)
            begin = time.monotonic()
            self.assertEqual(kvx.quit(), 0)
            self.assertLess(time.monotonic() - begin, 7)
            answer, end = kvx.texts()[-2:]
            self.assertIn(answer.split()[0], ("ok", "error:"))  # read to its end in time, or ended
            self.assertEqual(end, "ok quit")
