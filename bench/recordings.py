#!/usr/bin/env python3
"""What the CW decoders of the program get wrong, beside multimon-ng, on recordings of another maker:

    python3 bench/recordings.py build/release/kvx

ebook2cw keys a text at some speeds, this script adds noise, and each decoder reads the same file. Debian packages ebook2cw, mpg123 and
multimon-ng; without the last one kvx alone is measured.
"""

import array
import os
import random
import shutil
import subprocess
import sys
import tempfile
import time
import wave

TEXT = ("CQ CQ DE OE3ABC OE3ABC K THE RIG IS A TRANSCEIVER WITH 100 WATTS AND THE ANTENNA A DIPOLE 12 METERS UP "
        "WX FINE 21 C HW CPY? G4XYZ DE OE3ABC TNX FER CALL UR RST 579 579 NAME ANNA ANNA QTH LINZ 73 TU")
RATE, TONE = 22050, 700
SPEEDS = (12, 18, 25, 35)
NOISE = (None, 3, 0, -3, -6)  # dB of the carrier over the noise in 2500 Hz


def keyed(folder, wpm):
    """The samples of the text."""
    name = os.path.join(folder, "text")
    with open(name, "w", encoding="ascii") as file:
        file.write(TEXT + "\n")
    subprocess.run(["ebook2cw", "-w", str(wpm), "-f", str(TONE), "-s", str(RATE), "-b", "64", "-o", name, name], check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    subprocess.run(["mpg123", "-q", "-m", "-w", name + ".wav", name + "0000.mp3"], check=True)
    with wave.open(name + ".wav") as file:
        return array.array("h", file.readframes(file.getnframes()))


def with_noise(samples, decibels, seed):
    """At a quarter of full scale, so that the noise is not cut off; half a second of it before and a second after."""
    carrier = max(samples) / 4
    amplitude = 0 if decibels is None else (carrier ** 2 / 2 / 10 ** (decibels / 10) / 2500 * RATE / 2) ** 0.5
    chance = random.Random(seed)
    padded = [0] * (RATE // 2) + [sample / 4 for sample in samples] + [0] * RATE
    return array.array("h", (max(-32768, min(32767, round(sample + chance.gauss(0, amplitude)))) for sample in padded))


def distance(sent, read):
    row = list(range(len(read) + 1))
    for i, wanted in enumerate(sent, 1):
        before, row[0] = row[0], i
        for j, given in enumerate(read, 1):
            before, row[j] = row[j], min(before + (wanted != given), row[j] + 1, row[j - 1] + 1)
    return row[-1]


def decoders(program):
    for mode in ("best", "classic"):
        yield f"kvx, {mode}", lambda wav, raw, mode=mode: [program, "--headless", "decode", wav, "--tone", str(TONE), "--mode", mode]
    if shutil.which("multimon-ng"):
        yield "multimon-ng", lambda wav, raw: ["multimon-ng", "-q", "-n", "-t", "raw", "-a", "MORSE_CW", raw]


def main():
    program = os.path.abspath(sys.argv[1])
    names = [name for name, _ in decoders(program)]
    wrong = {(name, noise): 0 for name in names for noise in NOISE}
    spent = dict.fromkeys(names, 0.0)
    seconds = 0.0
    with tempfile.TemporaryDirectory() as folder:
        for wpm in SPEEDS:
            clean = keyed(folder, wpm)
            for noise in NOISE:
                samples = with_noise(clean, noise, wpm)
                seconds += len(samples) / RATE
                wav, raw = os.path.join(folder, "noisy.wav"), os.path.join(folder, "noisy.raw")
                with open(raw, "wb") as file:
                    file.write(samples.tobytes())
                with wave.open(wav, "wb") as file:
                    file.setparams((1, 2, RATE, 0, "NONE", ""))
                    file.writeframes(samples.tobytes())
                for name, command in decoders(program):
                    begin = time.monotonic()
                    read = subprocess.run(command(wav, raw), check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
                    spent[name] += time.monotonic() - begin
                    wrong[name, noise] += distance(TEXT, " ".join(read.decode("ascii", "replace").upper().split()))
    sent = len(TEXT) * len(SPEEDS)
    print(f"{sent} characters a column at {', '.join(map(str, SPEEDS))} wpm, {seconds:.0f} s in all")
    print(f"{'wrong, %':16}" + "".join(f"{'clean' if noise is None else f'{noise:+d} dB':>8}" for noise in NOISE))
    for name in names:
        print(f"{name:16}" + "".join(f"{100 * wrong[name, noise] / sent:8.2f}" for noise in NOISE)
              + f"   {seconds / spent[name]:.0f} times real time")


if __name__ == "__main__":
    main()
