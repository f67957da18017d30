"""A WinKeyer at its serial line, written from the maker's description of the host mode (K1EL, WinKeyer 2 manual).

It is strict: whatever a host must not send is remembered in `illegal`. Text is keyed in real time; each edge of the key is
remembered with its moment.
"""

import collections
import time

from paced_rig import Rig

NULL, TEXT = 0x13, 0x20
ADMIN_LENGTH = {0x00: 1, 0x01: 0, 0x02: 0, 0x03: 0, 0x04: 1, 0x05: 0, 0x06: 0, 0x07: 0, 0x09: 0, 0x0A: 0, 0x0B: 0,
                0x0C: 0, 0x0D: 256, 0x0E: 1}
LENGTH = {0x01: 1, 0x02: 1, 0x03: 1, 0x04: 2, 0x05: 3, 0x06: 1, 0x07: 0, 0x08: 0, 0x09: 1, 0x0A: 0, 0x0B: 1, 0x0C: 1,
          0x0D: 1, 0x0E: 1, 0x0F: 15, 0x10: 1, 0x11: 1, 0x12: 1, 0x13: 0, 0x14: 1, 0x15: 0, 0x17: 1, 0x18: 1, 0x19: 1,
          0x1A: 1, 0x1B: 2, 0x1C: 1, 0x1D: 1, 0x1E: 0, 0x1F: 0}
# (lowest, highest, whether 0 is good as well) of the parameter of a command with one.
RANGES = {0x02: (5, 99, True), 0x03: (10, 90, False), 0x06: (0, 1, False), 0x0B: (0, 1, False), 0x0D: (10, 99, True),
          0x10: (0, 250, False), 0x11: (0, 250, False), 0x12: (10, 90, False), 0x14: (0, 3, False),
          0x17: (33, 66, False), 0x18: (0, 1, False), 0x19: (0, 99, False), 0x1A: (0, 99, False), 0x1C: (5, 99, False)}
ALPHABET = {
    "A": ".-", "B": "-...", "C": "-.-.", "D": "-..", "E": ".", "F": "..-.", "G": "--.", "H": "....", "I": "..",
    "J": ".---", "K": "-.-", "L": ".-..", "M": "--", "N": "-.", "O": "---", "P": ".--.", "Q": "--.-", "R": ".-.",
    "S": "...", "T": "-", "U": "..-", "V": "...-", "W": ".--", "X": "-..-", "Y": "-.--", "Z": "--..", "1": ".----",
    "2": "..---", "3": "...--", "4": "....-", "5": ".....", "6": "-....", "7": "--...", "8": "---..", "9": "----.",
    "0": "-----", ".": ".-.-.-", ",": "--..--", "?": "..--..", "/": "-..-.", "=": "-...-", "+": ".-.-.", "-": "-....-",
    "'": ".----.", "(": "-.--.", ")": "-.--.-", '"': ".-..-.", "@": ".--.-.", ":": "-.--.", "$": "...-..-",
    ";": ".-.-", "<": ".-.-.", ">": "...-.-", "[": ".-...",
}
BUFFER = 128
LONGEST_TUNE = 100.0


class StrictWinkey(Rig):
    """A WinKeyer 2, version 2.3, at 1200 baud."""

    version = 23
    modes = {0: ""}

    def __init__(self, baud=1200):
        super().__init__(baud)
        self.received = bytearray()  # everything since it was made
        self.commands = []  # the commands since the latest power-up, whole
        self.illegal = []
        self.ignored = bytearray()  # what it passes over: 80 and above where a command is due
        self.sent = ""  # the characters that have been keyed to their end
        self.edges = []  # (moment, down)
        self.mute = False
        self.own_power = False  # it goes on keying when its plug is pulled
        self.key_down = False
        self.tuning = False
        self._restart()

    def _restart(self):
        self.frame = bytearray()
        self.open = False
        self.status = 0xC0
        self.mode = 0
        self.speed = 20
        self.buffered_speed = None
        self.buffer = collections.deque()
        self.steps = collections.deque()  # (moment, function)
        self.busy = self.paused = self.waiting = False
        self.tuning = False

    def line_lost(self):
        """Its power may come over the plug."""
        if self.own_power:
            return
        self._key(False, time.monotonic())
        self._restart()
        self.commands.append("plug")

    # What it says.

    def say(self, data, at):
        if not self.mute:
            self._queue(data, at)

    def tell_status(self, at, always=False):
        status = 0xC0 | (0x10 if self.waiting else 0) | (0x04 if self.busy else 0)
        status |= 0x01 if len(self.buffer) > BUFFER * 2 // 3 else 0
        if self.open and (always or status != self.status):
            self.say(bytes([status]), at)
        self.status = status

    # What it hears.

    def take(self, byte, at):
        self.received.append(byte)
        if not self.frame and byte >= 0x80:
            self.ignored.append(byte)
            return
        self.frame.append(byte)
        first = self.frame[0]
        if first == 0x00:
            if len(self.frame) == 1:
                return
            length = ADMIN_LENGTH.get(self.frame[1])
            wanted = 2 if length is None else 2 + length
        elif first < TEXT:
            length = LENGTH.get(first)
            wanted = 1 if length is None else 1 + length
        else:
            length, wanted = 0, 1
        if len(self.frame) < wanted:
            return
        frame, self.frame = bytes(self.frame), bytearray()
        if length is None or not self.execute(frame, at):
            self.refuse(frame)

    def refuse(self, frame):
        self.illegal.append(frame.hex(" "))

    def execute(self, frame, at):
        """False for what a host must not send."""
        if frame[0] == 0x00:
            self.commands.append(frame.hex(" "))
            return self.administer(frame, at)
        if not self.open:
            return frame[0] == NULL or frame in (b"\x0a", b"\x0b\0")  # not open yet, it passes over a release
        if frame[0] >= TEXT:
            return self.take_text(chr(frame[0]).upper())
        self.commands.append(frame.hex(" "))
        if frame[0] in RANGES:
            low, high, zero = RANGES[frame[0]]
            if not (low <= frame[1] <= high or (zero and frame[1] == 0)):
                return False
        method = getattr(self, f"do_{frame[0]:02x}", None)
        return True if method is None else method(frame, at) is not False

    def administer(self, frame, at):
        if frame[1] == 0x02:
            self.open = True
            self.say(bytes([self.version]), at)
        elif frame[1] in (0x01, 0x03):
            self.halt(at)
            self.open = False
        elif frame[1] == 0x04:
            self.say(frame[2:], at)
        elif frame[1] in (0x05, 0x06, 0x09):
            self.say(b"\0", at)
        elif frame[1] == 0x00:
            return frame[2] == 0xFF
        elif frame[1] == 0x0E:
            return 1 <= frame[2] <= 6
        return True

    def take_text(self, letter):
        if letter not in " |" and letter not in ALPHABET:
            return False
        return self.put(("text", letter))

    def put(self, item):
        if len(self.buffer) >= BUFFER:
            return False
        self.buffer.append(item)
        return True

    def do_01(self, frame, _):
        return 1 <= frame[1] & 0x7F <= 10

    def do_02(self, frame, _):
        self.speed = frame[1] or 20
        self.buffered_speed = None

    def do_04(self, frame, _):
        return frame[1] <= 250 and frame[2] <= 250

    def do_05(self, frame, _):
        return 5 <= frame[1] and frame[1] + frame[2] <= 99

    def do_06(self, frame, _):
        self.paused = frame[1] == 1

    def do_07(self, _, at):
        self.say(b"\x8a", at)

    def do_08(self, *_):
        if self.buffer:
            self.buffer.pop()

    def do_0a(self, _, at):
        self.halt(at)

    def do_0b(self, frame, at):
        self.steps.clear()
        self.busy = False
        self.tuning = frame[1] == 1
        self._key(self.tuning, at)
        if self.tuning:
            self.steps.append((at + LONGEST_TUNE, lambda when: self.do_0b(b"\x0b\0", when)))

    def do_0e(self, frame, _):
        self.mode = frame[1]

    def do_0f(self, frame, _):
        values = frame[1:]
        limits = ((0, 255), (5, 99), (1, 255), (10, 90), (0, 250), (0, 250), (5, 99), (0, 63), (0, 250), (0, 250),
                  (10, 99), (10, 90), (33, 66), (0, 255), (0, 255))
        self.mode, self.speed = values[0], values[1]
        return all(low <= value <= high for value, (low, high) in zip(values, limits))

    def do_15(self, _, at):
        self.tell_status(at, always=True)

    def do_1b(self, frame, _):
        letters = frame[1:].decode("latin1").upper()
        return all(letter in ALPHABET for letter in letters) and self.put(("merged", letters))

    def do_1c(self, frame, _):
        return self.put(("speed", frame[1]))

    def do_1d(self, frame, _):
        return self.put(("null", frame[1]))

    def do_1e(self, *_):
        return self.put(("speed", None))

    def do_1f(self, *_):
        return self.put(("null", 0))

    def do_19(self, *_):
        return False  # nobody here should use it

    # What it keys.

    def halt(self, at):
        self.buffer.clear()
        self.steps.clear()
        self.paused = self.busy = self.tuning = False
        self.buffered_speed = None
        self._key(False, at)
        self.tell_status(at)

    def _key(self, down, at):
        if down != self.key_down:
            self.key_down = down
            self.edges.append((at, down))

    def next_turn(self):
        return self.steps[0][0] if self.steps else None

    def turn(self, now):
        """Does what is due."""
        while self.steps and self.steps[0][0] <= now:
            at, step = self.steps.popleft()
            step(at)
        if not self.busy and not self.tuning and self.buffer and not self.paused and self.open:
            self.busy = True
            self.next_item(now)
        self.tell_status(now)

    def next_item(self, at):
        while self.buffer and not self.paused:
            kind, value = self.buffer.popleft()
            if kind == "speed":
                self.buffered_speed = value
            elif kind in ("text", "merged") and self.play(value, at):
                return
        self.busy = False
        self.tell_status(at)

    def play(self, letters, at):
        unit = 1.2 / (self.buffered_speed or self.speed)
        if letters == "|":
            return False
        if letters == " ":
            self.sent += " "
            self.steps.append((at + 4 * unit, self.next_item))
            return True
        for element in "".join(ALPHABET[letter] for letter in letters):
            self.steps.append((at, lambda when: self._key(True, when)))
            at += unit if element == "." else 3 * unit
            self.steps.append((at, lambda when: self._key(False, when)))
            at += unit
        self.steps.append((at - unit, lambda when: self.played(letters, when)))
        self.steps.append((at + 2 * unit, self.next_item))
        return True

    def played(self, letters, at):
        self.sent += letters if len(letters) == 1 else f"<{letters}>"
        if self.mode & 0x04:
            self.say(letters[:1].encode(), at)

    # For the tests.

    def heard(self):
        with self.lock:
            return bytes(self.received)

    def forget(self):
        with self.lock:
            self.received.clear()
            self.commands.clear()
            self.edges.clear()
            self.sent = ""
