#!/usr/bin/env python3
"""Measures the links to other programs beside hamlib's rigctlcom and rigctld: python3 bench/links.py build/release/kvx

Each program in turn has a TS-2000 of its own at 38400 baud on a pseudo-terminal (tests/e2e/rigs.py) and is asked the same in
the same way. Without rigctlcom and rigctld (Debian package libhamlib-utils) it measures kvx alone.
"""

import os
import select
import shutil
import subprocess
import sys
import time
import tty

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "e2e"))

import station as e2e  # noqa: E402
from logger_test import Pty, took  # noqa: E402
from net_test import Client, free_port  # noqa: E402
from rigs import Ts2000  # noqa: E402
from station import Station, wait_until  # noqa: E402

POLLS, SECONDS, CLIENTS, SETS, SETS_A_SECOND = 2000, 3.0, 50, 300, 100
STARTING = 20.0


class Ours:
    """kvx without a window."""

    name = {"serial": "kvx", "net": "kvx"}

    def __init__(self, station, rig, port):
        virtual = station.path("logger")
        station.use(rig, extra=f"NETSERVER=True\nNETPORT= {port}\nCWSKIMMER= 7\nLOGGERLINK=True\n")
        station.write("ports.ini", station.read("ports.ini").decode() + f"COM7=pty:{virtual}\n")
        kvx = station.start()
        kvx.wait_status(lambda status: status["open"] and status["replies"] > 5)
        self.serial = Pty.at(virtual)

    def stop(self):
        self.serial.close()


class Hamlib:
    """rigctlcom or rigctld, whichever the measurement needs: the rig's line takes only one of them."""

    name = {"serial": "rigctlcom", "net": "rigctld"}

    def __init__(self, station, rig, port, serial):
        station.plug(rig)
        line = ["-m", "2014", "-r", station.device, "-s", str(rig.baud)]
        self.slave = None
        if serial:
            master, self.slave = os.openpty()
            tty.setraw(self.slave)
            self.serial = Pty(master)
            line = ["rigctlcom", *line, "-R", os.ttyname(self.slave), "-S", "115200"]
        else:
            line = ["rigctld", *line, "-t", str(port)]
        self.program = subprocess.Popen(line, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        if serial:
            self.wait_for_answers()

    def wait_for_answers(self):
        """What it is asked while it starts is lost."""
        begin = now = time.monotonic()
        while not self.serial.read(14, 0.5) and now < begin + STARTING:
            self.serial.write(b"FA;")
            now = time.monotonic()
        self.serial.drain()

    def stop(self):
        self.program.kill()
        self.program.wait()
        if self.slave is not None:
            self.serial.close()
            os.close(self.slave)


def poll_serial(subject, polls):
    """Milliseconds from "FA;" to the whole reply: median, the value that 99 % are below."""
    times = []
    for _ in range(polls):
        taken, reply = took(lambda: subject.serial.write(b"FA;"), subject.serial.read, 14)
        if len(reply) != 14:
            raise RuntimeError(f"{subject.name['serial']} answered {reply}")
        times.append(taken * 1000)
    times.sort()
    return f"{times[polls // 2]:.3f} ms, 99 % below {times[polls * 99 // 100]:.3f} ms ({polls} times)"


def connect(port):
    client = []
    wait_until(lambda: not client and try_to(client, port) or client, STARTING, 0.1)
    return client[0]


def try_to(found, port):
    try:
        found.append(Client(port))
        answered = found[0].ask("f")[0].isdigit()
    except OSError:
        answered = False
    if not answered:
        found.clear()


def reads(port, at_a_time):
    client = connect(port)
    total, begin = 0, time.monotonic()
    while time.monotonic() < begin + SECONDS:
        client.socket.sendall(b"f\n" * at_a_time)
        for _ in range(at_a_time):
            if not client.file.readline()[:1].isdigit():
                raise RuntimeError("an answer is no frequency")
        total += at_a_time
    rate = total / (time.monotonic() - begin)
    client.close()
    return f"{rate:,.0f} a second"


def fairness(port):
    """Every client asks again as soon as it has its answer."""
    clients = [connect(port) for _ in range(CLIENTS)]
    counts, poll = {}, select.epoll()
    for client in clients:
        counts[client.socket.fileno()] = 0
        poll.register(client.socket, select.EPOLLIN)
    sockets = {client.socket.fileno(): client.socket for client in clients}
    begin = time.monotonic()
    for socket in sockets.values():
        socket.sendall(b"f\n")
    while time.monotonic() < begin + SECONDS:
        for number, _ in poll.poll(1):
            sockets[number].recv(64)
            counts[number] += 1
            sockets[number].sendall(b"f\n")
    for client in clients:
        client.close()
    least, most = min(counts.values()), max(counts.values())
    return f"{sum(counts.values()) / SECONDS:,.0f} a second; slowest/busiest {least / most:.2f} ({least} to {most})"


def sets(port, rig):
    client = connect(port)
    before, begin = len(rig.taken), time.monotonic()
    late = 0.0
    for step in range(SETS):
        if client.ask(f"F {14_000_000 + 10 * step}") != ["RPRT 0"]:
            raise RuntimeError("a frequency was refused")
        late = max(late, time.monotonic() - begin - (step + 1) / SETS_A_SECOND)
        time.sleep(max(0, begin + (step + 1) / SETS_A_SECOND - time.monotonic()))
    spent = time.monotonic() - begin
    last = wait_until(lambda: rig.freq["A"] == 14_000_000 + 10 * (SETS - 1), 5)
    client.close()
    reached = sum(frame.startswith("FA0") for frame in rig.taken[before:])
    return (f"{SETS} in {spent:.2f} s ({SETS / spent:.0f} a second), {reached} at the rig, "
            f"last value {'last' if last else 'LOST'}, worst {max(0, late) * 1000:.0f} ms behind")


def measure(make, kinds):
    """The results by what was measured. `make` makes the program for a kind of link."""
    results = {}
    for kind in kinds:
        with Station() as station:
            rig, port = Ts2000(38400), free_port()
            subject = make(station, rig, port, kind)
            try:
                if "serial" in kind:
                    results["FA; over a virtual port"] = poll_serial(subject, POLLS if make is ours else POLLS // 10)
                if "net" in kind:
                    results["f, one after the other"] = reads(port, 1)
                    results["f, 200 at a time"] = reads(port, 200)
                    results[f"f, {CLIENTS} clients"] = fairness(port)
                    results[f"F, {SETS_A_SECOND} a second"] = sets(port, rig)
            finally:
                subject.stop()
    return results


def ours(station, rig, port, _):
    return Ours(station, rig, port)


def hamlib(station, rig, port, kind):
    return Hamlib(station, rig, port, kind == "serial")


def main():
    e2e.BINARY = os.path.abspath(sys.argv[1])
    print(f"load before: {os.getloadavg()[0]:.1f} on {os.cpu_count()} processors")
    table = [("kvx", measure(ours, ["serial net"]))]
    if shutil.which("rigctlcom") and shutil.which("rigctld"):
        table.append(("rigctlcom, rigctld", measure(hamlib, ["serial", "net"])))
    for what in table[0][1]:
        for name, results in table:
            print(f"{what:28}{name:20}{results[what]}")
    print(f"load after: {os.getloadavg()[0]:.1f}")


if __name__ == "__main__":
    main()
