#!/usr/bin/env python3
"""Measures the console's window from outside, beside flrig's: python3 bench/windows.py build/release/kvx

Each has a TS-2000 at 57600 baud (tests/e2e/rigs.py) and a display of its own: the time from its start to its window on the screen, and
its share of a processor and its memory while it polls and nobody touches it; of kvx also the time from a click to its bytes at the rig.
Without flrig (Debian package flrig) it measures kvx alone.
"""

import ctypes
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
SYSTEM_PYTHON = "/usr/bin/python3"  # has the distribution's bindings, when the first python3 on the path has not
sys.path[:0] = [HERE, os.path.join(HERE, "..", "tests", "e2e"), os.path.join(HERE, "..", "tests", "gui")]

import headless  # noqa: E402

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


class Ours:
    name = "kvx"

    def __init__(self, station):
        station.configure("TS-2000", "KENWOOD", 57600)
        self.command = [sys.argv[1], "--station", station.folder]


class Flrig:
    """Set up for the same rig, asked for the same at the same pace."""

    name = "flrig"
    PREFERENCES = "; FLTK preferences file format 1.0\n; vendor: w1hkj.com\n; application: {}\n\n[.]\n\nversion:1\n{}\n\n"
    RIG = ("xcvr_serial_port:{}\ncomm_baudrate:8\ncomm_stopbits:1\ncomm_retries:2\ncomm_wait:5\ncomm_timeout:50\n"
           "serloop_timing:100\npoll_smeter:1\npoll_frequency:1\npoll_mode:1\npoll_bandwidth:0\npoll_volume:0\npoll_micgain:0\n"
           "poll_squelch:0\npoll_rfgain:0\npoll_power_control:0\npoll_split:0")

    def __init__(self, station):
        station.write("flrig.prefs", self.PREFERENCES.format("flrig", "xcvr_name:TS-2000"))
        station.write("TS-2000.prefs", self.PREFERENCES.format("TS-2000", self.RIG.format(station.device)))
        self.command = ["flrig", "--config-dir", station.folder]


def shows_window():
    """On a display that nobody else uses."""
    return subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "."], check=False, capture_output=True).stdout != b""


def started(subject, home):
    begin = time.monotonic()
    process = subprocess.Popen(subject.command, env={**os.environ, "QT_QPA_PLATFORM": "xcb", "HOME": home},
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    while not shows_window():
        if time.monotonic() > begin + 10:
            raise RuntimeError(f"{subject.name} shows no window")
    return process, (time.monotonic() - begin) * 1000


def print_times(what, name, times):
    print(f"{what:44}{name:9}median {statistics.median(times):.1f} ms, worst {max(times):.1f} ms of {len(times)}")


def measure(subject, rig, home):
    times = []
    for _ in range(STARTS):
        process, taken = started(subject, home)
        times.append(taken)
        time.sleep(0.3)
        headless.end(process)
    print_times("start to the window on the screen", subject.name, times)
    process, _ = started(subject, home)
    time.sleep(2)
    taken, before = len(rig.taken), headless.processor_seconds(process.pid)
    time.sleep(IDLE_SECONDS)
    share = (headless.processor_seconds(process.pid) - before) / IDLE_SECONDS * 100
    print(f"{'processor share of the idle window':44}{subject.name:9}{share:.2f} % of a core, "
          f"{(len(rig.taken) - taken) / IDLE_SECONDS:.0f} commands a second at the rig")
    print(f"{'resident memory':44}{subject.name:9}{headless.memory(process.pid):.1f} MB")
    headless.end(process)


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
    print_times("click to its whole command at the rig", "kvx", times)


def main():
    import desktop as desktops
    from rigs import Ts2000
    from station import Station

    if desktops.missing() and sys.executable != SYSTEM_PYTHON:
        os.execv(SYSTEM_PYTHON, [SYSTEM_PYTHON, *sys.argv])
    sys.argv[1] = os.path.abspath(sys.argv[1])
    print(f"load before: {os.getloadavg()[0]:.1f} on {os.cpu_count()} processors")
    desktop = desktops.Desktop(1280, 800)
    try:
        for subject in [Ours, Flrig] if shutil.which("flrig") else [Ours]:
            with Station() as station, tempfile.TemporaryDirectory() as home:
                rig = station.plug(Ts2000(57600))
                os.environ.pop("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", None)  # as without a screen reader
                measure(subject(station), rig, home)
                if subject is Ours:
                    os.environ["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1"
                    process, _ = started(Ours(station), home)
                    time.sleep(1)
                    measure_clicks(desktop, rig, process.pid)
                    headless.end(process)
    finally:
        desktop.stop()


if __name__ == "__main__":
    main()
