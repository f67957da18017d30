#!/usr/bin/env python3
"""Measures the running program from outside, on a pseudo-terminal with a TS-2000-like rig at its far end.

    tools/measure.py build/release/kvx

Prints the time from start to the first CAT byte (10 starts, first start of a new station apart), the processor share and the
resident memory while polling at 57600 baud.
"""
import os
import pty
import select
import statistics
import subprocess
import sys
import tempfile
import time
import tty


class Rig:
    """Answers the poll of a Kenwood console at the far end of a pseudo-terminal."""

    def __init__(self, folder):
        self.master, slave = pty.openpty()
        tty.setraw(slave)
        self.path = os.ttyname(slave)
        self.slave = slave
        self.pending = b""
        with open(os.path.join(folder, "ports.ini"), "w") as f:
            f.write(f"COM3={self.path}\n")
        with open(os.path.join(folder, "rig.ini"), "w") as f:
            f.write("XRIG=TS-2000\nRIGTYPE=KENWOOD\nRIGPORT= 3\nRIGSPEED= 57600\nRIGSTOP=1\n")

    def serve(self, seconds):
        end = time.monotonic() + seconds
        polls = 0
        while (left := end - time.monotonic()) > 0:
            if not select.select([self.master], [], [], left)[0]:
                break
            self.pending += os.read(self.master, 4096)
            while b";" in self.pending:
                command, self.pending = self.pending.split(b";", 1)
                if command == b"IF":
                    polls += 1
                    os.write(self.master, b"IF00014025000    0+00000000003000000 ;"[:37] + b";")
                elif command.startswith(b"SM"):
                    os.write(self.master, b"SM00012;")
        return polls


def start(program, folder):
    return subprocess.Popen([program, "--headless", "--station", folder], stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)


def stop(process):
    process.stdin.write(b"quit\n")
    process.stdin.flush()
    process.wait(10)


def first_byte(program, folder, rig):
    began = time.monotonic()
    process = start(program, folder)
    select.select([rig.master], [], [], 5)
    taken = time.monotonic() - began
    rig.serve(0.3)
    stop(process)
    rig.serve(0.1)
    return taken * 1000


def cpu_seconds(pid):
    fields = open(f"/proc/{pid}/stat").read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def main():
    program = sys.argv[1]
    with tempfile.TemporaryDirectory() as folder:
        rig = Rig(folder)
        print(f"first start of a new station to first CAT byte: {first_byte(program, folder, rig):.1f} ms")
        times = [first_byte(program, folder, rig) for _ in range(10)]
        print(f"start to first CAT byte: median {statistics.median(times):.1f} ms, worst {max(times):.1f} ms of {len(times)}")
        process = start(program, folder)
        rig.serve(2)
        before, seconds = cpu_seconds(process.pid), 20
        polls = rig.serve(seconds)
        share = (cpu_seconds(process.pid) - before) / seconds * 100
        memory = [line.split()[1] for line in open(f"/proc/{process.pid}/status") if line.startswith("VmRSS")][0]
        print(f"processor share while polling: {share:.2f} % of a core at {polls / seconds:.1f} polls a second")
        print(f"resident memory: {int(memory) / 1024:.1f} MB")
        stop(process)


if __name__ == "__main__":
    main()
