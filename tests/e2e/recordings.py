"""Recordings of CW, made here."""

import array
import math
import random
import wave

from strict_winkey import ALPHABET


def write_wav(path, rate, samples, channels=1):
    with wave.open(path, "wb") as file:
        file.setparams((channels, 2, rate, 0, "NONE", ""))
        file.writeframes(array.array("h", (sample for sample in samples for _ in range(channels))).tobytes())


def write_cw(path, text, rate, hertz, wpm, noise=600, channels=1):
    """Rectangular keying without edges, and noise; how many samples long it is."""
    dot = 1.2 / wpm
    marks, time = [], 0.3
    for word in text.split():
        for character in word:
            for sign in ALPHABET[character]:
                length = dot * (3 if sign == "-" else 1)
                marks.append((time, time + length))
                time += length + dot
            time += 2 * dot
        time += 4 * dot
    chance = random.Random(5)
    samples = [int(chance.gauss(0, noise)) for _ in range(int((time + 1) * rate))]
    for begin, end in marks:
        for at in range(int(begin * rate), int(end * rate)):
            samples[at] += int(6000 * math.sin(2 * math.pi * hertz * at / rate))
    write_wav(path, rate, samples, channels)
    return len(samples)
