"""A rig's end of a serial line: a thread on the master end of a pseudo-terminal, with the pace of a real line."""

import collections
import os
import select
import threading
import time
import tty


def put_link(target, link):
    os.symlink(target, link + ".new")
    os.replace(link + ".new", link)


class Rig(threading.Thread):
    """What all rigs share: the line with its pace, and the state that a person can change with `knob` and the like."""

    model = family = ""  # the name and the family of the console's row for it
    byte_bits = 10  # start, eight data bits, stop bits
    turnaround = 0.003  # from the end of a command to the first byte of its answer
    ranges = ()  # what the VFO tunes, Hz
    modes = {}  # the rig's code of a mode -> the console's name of it

    def __init__(self, baud):
        super().__init__(daemon=True)
        self.baud = baud
        self.byte_time = self.byte_bits / baud
        self.lock = threading.RLock()
        self.freq = {"A": 14_000_000, "B": 7_000_000}
        self.vfo = "A"
        self.mode = next(iter(self.modes))
        self.smeter = 5
        self.transmitting = False
        self.refused = []
        self.taken = []  # every frame that was understood
        self.silent = False
        self.most_waiting = 0.0  # how far, in seconds of line time, a command has been behind on its way here
        self.master = self.slave = None
        self.link = self.device = None
        self._incoming = collections.deque()
        self._outgoing = collections.deque()
        self._in_free = self._out_free = 0.0
        self._wake_read, self._wake_write = os.pipe()
        self._stopping = False

    # The plug.

    def plug(self, link):
        """Makes a new pseudo-terminal that `link` leads to, over a name that goes with it: as soon as the terminal has gone, the
        system may give its number to somebody else's."""
        with self.lock:
            self.master, self.slave = os.openpty()
            tty.setraw(self.slave)
            os.set_blocking(self.master, False)
            self._incoming.clear()
            self._outgoing.clear()
            self.line_lost()
            self.link = link
            self.device = f"{link}.{self.name}"
            put_link(os.ttyname(self.slave), self.device)
            put_link(self.device, link)
        if not self.is_alive():
            self.start()
        self._wake()
        return self

    def unplug(self, keep_link=False):
        with self.lock:
            if self.master is None:
                return
            if not keep_link:
                os.unlink(self.link)
            os.unlink(self.device)
            os.close(self.master)
            self.let_go()
            self.master = self.slave = None
        self._wake()

    def let_go(self):
        """Nobody but the console holds the device any more."""
        with self.lock:
            if self.slave is not None:
                os.close(self.slave)
            self.slave = None

    def stop(self):
        self._stopping = True
        self._wake()
        self.join(5)
        self.unplug(keep_link=True)
        os.close(self._wake_read)
        os.close(self._wake_write)

    # The front panel.

    def knob(self, hz, vfo=None):
        with self.lock:
            self.freq[vfo or self.vfo] = hz
            self.knob_turned()
        self._wake()

    def choose_mode(self, name):
        with self.lock:
            self.mode = next(code for code, mode in self.modes.items() if mode == name)

    @property
    def shown(self):
        with self.lock:
            return self.freq[self.vfo]

    @property
    def mode_name(self):
        with self.lock:
            return self.modes[self.mode]

    def send_raw(self, data):
        """Bytes on the line that are no answer to anything."""
        with self.lock:
            self._queue(data, time.monotonic())
        self._wake()

    # For the models.

    def take(self, byte, at):
        """One byte has arrived whole at the time `at`."""
        raise NotImplementedError

    def line_lost(self):
        """Forgets what was half received."""

    def knob_turned(self):
        pass

    def turn(self, now):
        """Does what is due by now without a byte from the line."""

    def next_turn(self):
        """When `turn` is due next, or None."""
        return None

    def tunes(self, hz):
        return any(low <= hz <= high for low, high in self.ranges)

    def answer(self, data, at):
        if data:
            self._queue(data, at + self.turnaround)

    def refuse(self, frame):
        self.refused.append(frame)

    # The line.

    def _queue(self, data, start):
        self._out_free = max(self._out_free, start)
        for byte in data:
            self._out_free += self.byte_time
            self._outgoing.append((self._out_free, byte))

    def _wake(self):
        os.write(self._wake_write, b"!")

    def run(self):
        while not self._stopping:
            with self.lock:
                self._transfer()
                watched = [self._wake_read] + ([self.master] if self.master is not None else [])
                due = [queue[0][0] for queue in (self._incoming, self._outgoing) if queue]
                due += [at for at in (self.next_turn(),) if at is not None]
            wait = max(0.0005, min(due) - time.monotonic()) if due else 1.0
            try:
                ready, _, _ = select.select(watched, [], [], wait)
            except OSError:  # unplugged meanwhile
                continue
            if self._wake_read in ready:
                os.read(self._wake_read, 4096)

    def _transfer(self):
        if self.master is None:
            return
        now = time.monotonic()
        try:
            data = os.read(self.master, 4096)
        except BlockingIOError:
            data = b""
        except OSError:  # nobody has the device open
            data = b""
            time.sleep(0.005)
        self._in_free = max(self._in_free, now)
        for byte in data:
            self._in_free += self.byte_time
            self._incoming.append((self._in_free, byte))
        self.most_waiting = max(self.most_waiting, self._in_free - now)
        while self._incoming and self._incoming[0][0] <= now:
            at, byte = self._incoming.popleft()
            if not self.silent:
                self.take(byte, at)
        self.turn(now)
        due = bytearray()
        while self._outgoing and self._outgoing[0][0] <= now:
            due.append(self._outgoing.popleft()[1])
        try:
            os.write(self.master, bytes(due))
        except OSError:  # nobody reads: lost, as on a real line
            pass
