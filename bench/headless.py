#!/usr/bin/env python3
"""Measures the console without a window beside hamlib's rigctld: python3 bench/headless.py build/release/kvx

Each has a TS-2000 at 57600 baud on a pseudo-terminal (tests/e2e/rigs.py): the time from its start to its first byte at the rig, its
share of a processor while frequency, mode and meter are asked for ten times a second, and its memory. The console asks by itself; rigctld
is asked by this script. Without rigctld (Debian package libhamlib-utils) it measures the console alone.
"""

import os
import pty
import select
import shutil
import signal
import statistics
import subprocess
import sys
import threading
import time
import tty

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "e2e"))

from net_test import Client, free_port  # noqa: E402
from rigs import Ts2000  # noqa: E402
from station import Station  # noqa: E402

STARTS, SETTLING, SECONDS, ASKED_A_SECOND = 10, 2.0, 20.0, 10


def run(command):
    return subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def end(process):
    process.send_signal(signal.SIGTERM)
    process.wait(10)


def processor_seconds(pid):
    with open(f"/proc/{pid}/stat", encoding="ascii") as file:
        fields = file.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def memory(pid):
    """Resident, in megabytes."""
    with open(f"/proc/{pid}/status", encoding="ascii") as file:
        return next(int(line.split()[1]) for line in file if line.startswith("VmRSS")) / 1024


def first_byte(command, master):
    """Milliseconds; the rig of this measurement is deaf."""
    begin = time.monotonic()
    process = run(command)
    heard = select.select([master], [], [], 10)[0]
    taken = time.monotonic() - begin
    if not heard:
        raise RuntimeError(f"{command[0]} sent nothing")
    end(process)
    while select.select([master], [], [], 0.1)[0]:
        os.read(master, 4096)
    return taken * 1000


def measure_start(name, command, link, first=""):
    master, slave = pty.openpty()
    tty.setraw(slave)
    if os.path.lexists(link):
        os.unlink(link)
    os.symlink(os.ttyname(slave), link)
    if first:
        print(f"{first:44}{name:9}{first_byte(command, master):.1f} ms")
    times = [first_byte(command, master) for _ in range(STARTS)]
    print(f"{'start to the first byte at the rig':44}{name:9}median {statistics.median(times):.1f} ms, "
          f"worst {max(times):.1f} ms of {STARTS}")
    os.unlink(link)
    os.close(master)
    os.close(slave)


class Asking(threading.Thread):
    """Asks a NET rigctl server for what the console's poll asks for."""

    def __init__(self, port):
        super().__init__(daemon=True)
        self.client, self.stopping, self.port = None, threading.Event(), port

    def run(self):
        while not self.stopping.is_set() and self.client is None:
            try:
                self.client = Client(self.port)
            except OSError:
                time.sleep(0.1)
        while not self.stopping.is_set():
            begin = time.monotonic()
            for question in ("f", "m", "l STRENGTH"):
                self.client.ask(question)
            time.sleep(max(0, begin + 1 / ASKED_A_SECOND - time.monotonic()))


def measure_polling(name, command, rig, asking=None):
    process = run(command)
    if asking:
        asking.start()
    time.sleep(SETTLING)
    taken, before = len(rig.taken), processor_seconds(process.pid)
    time.sleep(SECONDS)
    share = (processor_seconds(process.pid) - before) / SECONDS * 100
    print(f"{'processor share while polling':44}{name:9}{share:.2f} % of a core, {(len(rig.taken) - taken) / SECONDS:.0f} commands "
          f"a second at the rig")
    print(f"{'resident memory':44}{name:9}{memory(process.pid):.1f} MB")
    if asking:
        asking.stopping.set()
        asking.join()
    end(process)


def main():
    program = os.path.abspath(sys.argv[1])
    print(f"load before: {os.getloadavg()[0]:.1f} on {os.cpu_count()} processors")
    with Station() as station:
        station.configure("TS-2000", "KENWOOD", 57600)
        command = [program, "--headless", "--station", station.folder]
        measure_start("kvx", command, station.device, "first start of a new station")
        measure_polling("kvx", command, station.plug(Ts2000(57600)))
    if shutil.which("rigctld"):
        with Station() as station:
            port = free_port()
            command = ["rigctld", "-m", "2014", "-r", station.device, "-s", "57600", "-t", str(port)]
            measure_start("rigctld", command, station.device)
            measure_polling("rigctld", command, station.plug(Ts2000(57600)), Asking(port))


if __name__ == "__main__":
    main()
