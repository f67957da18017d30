#!/usr/bin/env python3
"""Measures the console's window from outside: python3 tests/gui/measure.py build/release/kvx

Prints the time from start to the window on the screen, from a click to its bytes at the rig, and the processor share and
the memory while the window polls at 57600 baud and nobody touches it.
"""

import ctypes
import os
import statistics
import sys
import tempfile
import time

import run  # noqa: F401  (makes the neighbouring folders importable)

STARTS, CLICKS, IDLE_SECONDS = 10, 40, 20


class Hand:
    """Mouse buttons without starting a program for each."""

    def __init__(self):
        self.x11, self.xtest = ctypes.CDLL("libX11.so.6"), ctypes.CDLL("libXtst.so.6")
        self.x11.XOpenDisplay.restype = ctypes.c_void_p
        self.display = ctypes.c_void_p(self.x11.XOpenDisplay(None))

    def button(self, down):
        self.xtest.XTestFakeButtonEvent(self.display, 1, int(down), 0)
        self.x11.XFlush(self.display)
        return time.monotonic()


def started(desktop, station, home):
    from station import Kvx

    begin = time.monotonic()
    kvx = Kvx("--station", station.folder, environment={"QT_QPA_PLATFORM": "xcb", "HOME": home})
    station.programs.append(kvx)
    while not desktop.windows(kvx.pid):
        if time.monotonic() > begin + 10:
            raise RuntimeError(f"no window: {kvx.errors}")
    return kvx, (time.monotonic() - begin) * 1000


def print_times(name, times):
    print(f"{name}: median {statistics.median(times):.1f} ms, worst {max(times):.1f} ms of {len(times)}")


def measure_start(desktop, station, home):
    times = []
    for _ in range(STARTS):
        kvx, taken = started(desktop, station, home)
        times.append(taken)
        time.sleep(0.3)
        desktop.close(desktop.windows(kvx.pid)[0])
        kvx.ended()
    print_times("start to the window on the screen", times)


def measure_clicks(desktop, rig, pid):
    from controls import Program

    hand, program, times = Hand(), Program(pid), []
    buttons = [("Mode USB", "MD2;"), ("Mode LSB", "MD1;")]
    places = [program.find(name).middle for name, _ in buttons]
    for turn in range(CLICKS):
        desktop.point(*places[turn % 2])
        before = len(rig.taken)
        hand.button(True)
        time.sleep(0.03)
        begin = hand.button(False)
        while buttons[turn % 2][1] not in rig.taken[before:]:
            if time.monotonic() > begin + 2:
                raise RuntimeError(f"{buttons[turn % 2]}: the rig took {rig.taken[before:]}")
            time.sleep(0.0002)  # the rig is a thread of this process
        times.append((time.monotonic() - begin) * 1000)
    print_times("click to its whole command at the rig", times)


def main():
    from desktop import Desktop
    from rigs import Ts2000
    from station import Station

    desktop = Desktop(1280, 800)
    try:
        with Station() as station, tempfile.TemporaryDirectory() as home:
            rig = Ts2000(57600)
            station.configure("TS-2000", "KENWOOD", 57600)
            station.plug(rig)
            measure_start(desktop, station, home)
            os.environ.pop("QT_LINUX_ACCESSIBILITY_ALWAYS_ON")  # as without a screen reader
            kvx, _ = started(desktop, station, home)
            time.sleep(2)
            polls, before = rig.taken.count("IF;"), kvx.processor_seconds()
            time.sleep(IDLE_SECONDS)
            share = (kvx.processor_seconds() - before) / IDLE_SECONDS * 100
            polls = (rig.taken.count("IF;") - polls) / IDLE_SECONDS
            print(f"processor share of the idle window: {share:.2f} % of a core at {polls:.1f} polls a second")
            with open(f"/proc/{kvx.pid}/status", encoding="ascii") as status:
                memory = next(line for line in status if line.startswith("VmRSS"))
            print(f"resident memory: {int(memory.split()[1]) / 1024:.1f} MB")
            kvx.kill()
            os.environ["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1"
            kvx, _ = started(desktop, station, home)
            time.sleep(1)
            measure_clicks(desktop, rig, kvx.pid)
    finally:
        desktop.stop()


if __name__ == "__main__":
    import station

    station.BINARY = os.path.abspath(sys.argv[1])
    main()
