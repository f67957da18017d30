"""Simulated rigs, written from the makers' command sets.

They are strict: what the real rig would refuse, or would not understand, is remembered in `refused`.
"""

import re
import time

from paced_rig import Rig


class TextRig(Rig):
    """Commands of two letters and parameters, ended by ";". A wrong one is answered by "?;"."""

    longest = 60
    levels = {}  # name -> (fixed parameter, digits, lowest, highest)
    switches = {}  # name -> pattern of what may be set
    actions = ()  # commands without parameter and without answer
    answers = {}  # name -> parameter -> what it always answers
    frequency_digits = 0

    def __init__(self, baud=38400):
        super().__init__(baud)
        self.buffer = ""
        self.values = {}

    def line_lost(self):
        self.buffer = ""

    def take(self, byte, at):
        self.buffer += chr(byte)
        if byte != ord(";"):
            if len(self.buffer) > self.longest:
                self.refuse(self.buffer)
                self.buffer = ""
            return
        frame, self.buffer = self.buffer, ""
        answer = self.execute(frame[:2], frame[2:-1])
        if answer is None:
            self.refuse(frame)
            self.answer(b"?;", at)
        else:
            self.taken.append(frame)
            self.answer(answer.encode(), at)

    def execute(self, name, argument):
        """The answer, "" for none, None for a refusal."""
        method = getattr(self, "do_" + name.lower(), None) if name.isalnum() and name.isupper() else None
        if method:
            return method(argument)
        if name in self.answers:
            return self.answers[name].get(argument)
        if name in self.levels:
            return self.level(name, argument)
        if name in self.switches:
            return self.switch(name, argument)
        return "" if name in self.actions and argument == "" else None

    def level(self, name, argument):
        fixed, digits, low, high = self.levels[name]
        if not argument.startswith(fixed):
            return None
        value = argument[len(fixed):]
        if value == "":
            return f"{name}{fixed}{self.values.get(name, low):0{digits}};"
        if not re.fullmatch(r"[0-9]{%d}" % digits, value) or not low <= int(value) <= high:
            return None
        self.values[name] = int(value)
        return ""

    def switch(self, name, argument):
        return "" if re.fullmatch(self.switches[name], argument) else None

    def frequency(self, vfo, argument):
        digits = self.frequency_digits
        if argument == "":
            return f"F{vfo}{self.freq[vfo]:0{digits}};"
        if not re.fullmatch(r"[0-9]{%d}" % digits, argument) or not self.tunes(int(argument)):
            return None
        self.freq[vfo] = int(argument)
        return ""

    def do_fa(self, argument):
        return self.frequency("A", argument)

    def do_fb(self, argument):
        return self.frequency("B", argument)


class Ts2000(TextRig):
    """Kenwood TS-2000, PC command list."""

    model, family = "TS-2000", "KENWOOD"
    ranges = ((30_000, 60_000_000), (142_000_000, 152_000_000), (420_000_000, 450_000_000))
    modes = {"3": "CW", "1": "LSB", "2": "USB", "4": "FM", "5": "AM", "6": "RTTY", "7": "CWR", "9": "RTTYR"}
    levels = {
        "AG": ("0", 3, 0, 255), "RG": ("", 3, 0, 255), "PC": ("", 3, 5, 100), "KS": ("", 3, 10, 60),
        "MG": ("", 3, 0, 100), "SQ": ("0", 3, 0, 255), "NL": ("", 3, 1, 10), "SH": ("", 2, 0, 11), "SL": ("", 2, 0, 11),
        "BP": ("", 3, 0, 63),
    }
    switches = {
        "NB": "[01]", "NR": "[012]", "NT": "[01]", "PA": "[01]", "RA": "0[01]", "RT": "[01]", "XT": "[01]",
        "AC": "[01][01][01]", "GT": "[0-9]{3}", "TN": "[0-9]{2}", "LK": "[01]{2}",
    }
    actions = ("RU", "RD", "RC", "VV", "SV", "BU", "BD")
    answers = {"ID": {"": "ID019;"}, "PS": {"": "PS1;", "1": ""}, "AI": {"": "AI0;", "0": ""},
               "FT": {"": "FT0;", "0": "", "1": ""}}
    frequency_digits = 11

    def do_if(self, argument):
        if argument:
            return None
        # step, RIT offset, RIT, XIT, memory bank and channel; after the VFO: scan, split, tone, tone number, shift
        return f"IF{self.shown:011}0000+0000000000{int(self.transmitting)}{self.mode}{int(self.vfo == 'B')}000000;"

    def do_md(self, argument):
        if argument == "":
            return f"MD{self.mode};"
        if argument not in self.modes:
            return None
        self.mode = argument
        return ""

    def do_fr(self, argument):
        if argument == "":
            return f"FR{int(self.vfo == 'B')};"
        if argument in ("0", "1"):
            self.vfo = "AB"[int(argument)]
        return "" if argument in ("0", "1", "2") else None

    def do_sm(self, argument):
        return f"SM0{self.smeter:04};" if argument == "0" else None

    def do_rm(self, argument):
        if argument in ("1", "2", "3"):
            self.values["RM"] = argument
            return ""
        return f"RM{self.values.get('RM', '1')}0007;" if argument == "" else None

    def do_tx(self, argument):
        if argument not in ("", "0", "1"):
            return None
        self.transmitting = True
        return ""

    def do_rx(self, argument):
        if argument != "":
            return None
        self.transmitting = False
        return ""


class FtDx5000(TextRig):
    """Yaesu FTDX5000, CAT operation reference book. 4800 to 38400 baud, two stop bits."""

    model, family = "FT-DX5000", "YAESU"
    byte_bits = 11
    ranges = ((30_000, 60_000_000),)
    modes = {"3": "CW", "1": "LSB", "2": "USB", "4": "FM", "5": "AM", "6": "RTTY", "7": "CWR", "8": "PKT-L",
             "9": "RTTY-U", "A": "PKT-FM", "B": "FMN", "C": "PKT-U", "D": "AMN"}
    levels = {
        "AG": ("0", 3, 0, 255), "RG": ("0", 3, 0, 255), "PC": ("", 3, 0, 255), "KS": ("", 3, 4, 60),
        "MG": ("", 3, 0, 255), "SQ": ("0", 3, 0, 255), "PL": ("", 3, 0, 255), "RL": ("0", 2, 1, 15),
        "SH": ("0", 2, 0, 25),
    }
    switches = {
        "NB": "0[01]", "NR": "0[01]", "BC": "0[01]", "PA": "0[01]", "RA": "0[0-3]", "RT": "[01]",
        "XT": "[01]", "AC": "00[012]", "GT": "0[0-4]", "RU": "[0-9]{4}", "RD": "[0-9]{4}", "BS": "[01][0-9]",
        "BU": "0", "BD": "0", "FR": "[0-9]", "FT": "[0-9]", "MS": "[0-5]",
    }
    actions = ("RC", "SV", "AB", "MA", "AM", "VM")
    answers = {"ID": {"": "ID0362;"}, "PS": {"": "PS1;", "1": ""}, "AI": {"": "AI0;", "0": ""}}
    frequency_digits = 8

    def do_md(self, argument):
        if argument == "0":
            return f"MD0{self.mode};"
        if len(argument) != 2 or argument[0] != "0" or argument[1] not in self.modes:
            return None
        self.mode = argument[1]
        return ""

    def do_bp(self, argument):  # manual notch: 00 its switch, 01 its frequency
        if argument in ("00", "01"):
            return f"BP{argument}001;"
        return "" if re.fullmatch("0000[01]|01[0-3][0-9]{2}|01400", argument) else None

    def do_vs(self, argument):
        if argument == "":
            return f"VS{int(self.vfo == 'B')};"
        if argument not in ("0", "1"):
            return None
        self.vfo = "AB"[int(argument)]
        return ""

    def do_sm(self, argument):
        return f"SM0{self.smeter:03};" if argument == "0" else None

    def do_rm(self, argument):
        return f"RM{argument}007;" if re.fullmatch("[0-8]", argument) else None

    def do_tx(self, argument):
        if argument == "":
            return f"TX{int(self.transmitting)};"
        if argument not in ("0", "1"):
            return None
        self.transmitting = argument == "1"
        return ""


def bcd(number, count):
    """So many bytes, most significant first."""
    return bytes.fromhex(f"{number:0{2 * count}}")


def from_bcd(data):
    """The number, or None when a digit is none."""
    text = data.hex()
    return int(text) if text.isdigit() else None


class FiveByteRig(Rig):
    """Frames of five bytes, the opcode last. Bytes of one frame that lie too far apart are no frame."""

    byte_bits = 11
    patience = 0.2

    def __init__(self, baud):
        super().__init__(baud)
        self.frame = b""
        self.last_byte = 0.0

    def line_lost(self):
        self.frame = b""

    def take(self, byte, at):
        if self.frame and at - self.last_byte > self.patience:
            self.refuse(self.frame)
            self.frame = b""
        self.last_byte = at
        self.frame += bytes([byte])
        if len(self.frame) < 5:
            return
        frame, self.frame = self.frame, b""
        answer = self.execute(frame[:4], frame[4])
        if answer is None:
            self.refuse(frame)
        else:
            self.taken.append(frame)
            self.answer(answer, at)


class Ft857(FiveByteRig):
    """Yaesu FT-857, CAT opcode chart. Some firmware acknowledges a set command with one byte, some does not."""

    model, family = "FT-857", "YAESU"
    turnaround = 0.02
    ranges = ((100_000, 56_000_000), (76_000_000, 108_000_000), (118_000_000, 164_000_000), (420_000_000, 470_000_000))
    modes = {0x02: "CW", 0x00: "LSB", 0x01: "USB", 0x03: "CWR", 0x04: "AM", 0x08: "FM", 0x0A: "RTTY", 0x0C: "PKT",
             0x88: "FMN"}

    def __init__(self, baud=4800, acknowledges=True):
        super().__init__(baud)
        self.done = b"\x00" if acknowledges else b""

    def execute(self, data, opcode):
        if opcode == 0x03:
            return bcd(self.shown // 10, 4) + bytes([self.mode])
        if opcode == 0xE7:
            return bytes([self.smeter & 0x0F | 0x80])  # squelched
        if opcode == 0xF7:
            return bytes([0x00 if self.transmitting else 0x80])
        if opcode == 0x01:
            return self.tune(from_bcd(data))
        if opcode == 0x07:
            return self.set_mode(data[0])
        if opcode in (0x08, 0x88):
            self.transmitting = opcode == 0x08
        elif opcode == 0x81:
            self.vfo = "B" if self.vfo == "A" else "A"
        elif opcode not in (0x00, 0x80, 0x02, 0x82, 0x05, 0x85):
            return None
        return self.done

    def tune(self, tens):
        if tens is None or not self.tunes(tens * 10):
            return None
        self.freq[self.vfo] = tens * 10
        return self.done

    def set_mode(self, code):
        if code not in self.modes:
            return None
        self.mode = code
        return self.done


class Ft1000d(FiveByteRig):
    """Yaesu FT-1000D, CAT system computer control. Set commands are not acknowledged; status is binary."""

    model, family = "FT-1000D", "YAESU"
    turnaround = 0.01
    ranges = ((100_000, 30_000_000),)
    modes = {2: "CW", 0: "LSB", 1: "USB", 3: "AM", 4: "FM", 5: "RTTY", 6: "PKT"}  # as in the status
    set_codes = (0, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6)  # by the code of the mode command

    def __init__(self, baud=4800):
        super().__init__(baud)
        self.narrow = False

    def operating_data(self, vfo):
        data = bytearray(16)
        data[0] = 0x10  # band-pass filter
        data[1:4] = (self.freq[vfo] // 10).to_bytes(3, "big")
        data[7] = self.mode
        return bytes(data)

    def execute(self, data, opcode):
        parameter = data[3]
        if opcode == 0x10:
            return {1: b"\x01", 2: self.operating_data(self.vfo),
                    3: self.operating_data("A") + self.operating_data("B")}.get(parameter)
        if opcode == 0xF7:
            return bytes([self.smeter]) * 4 + b"\xf7"
        if opcode in (0x0A, 0x8A):
            tens = from_bcd(data[::-1])
            if tens is None or not self.tunes(tens * 10):
                return None
            self.freq[self.vfo if opcode == 0x0A else "B"] = tens * 10
        elif opcode == 0x0C:
            if parameter >= len(self.set_codes):
                return None
            self.mode = self.set_codes[parameter]
            self.narrow = parameter == 3
        elif opcode == 0x05 and parameter in (0, 1):
            self.vfo = "AB"[parameter]
        elif opcode == 0x0F and parameter in (0, 1):
            self.transmitting = parameter == 1
        elif opcode not in (0x01, 0x04, 0x09, 0x81, 0x82, 0x85, 0x8C) or parameter not in (0, 1, 2, 0x80, 0x81):
            return None
        return b""


class Ic7300(Rig):
    """Icom IC-7300, CI-V control command table. With `echo` our own bytes come back, as on the one-wire bus."""

    model, family = "IC-7300", "ICOM"
    turnaround = 0.005
    address = 0x94
    controller = 0xE0
    ranges = ((30_000, 74_800_000),)
    modes = {3: "CW", 0: "LSB", 1: "USB", 2: "AM", 4: "RTTY", 5: "FM", 7: "CWR", 8: "RTTYR"}

    def __init__(self, baud=19200, echo=False, transceive=False):
        super().__init__(baud)
        self.echo = echo
        self.transceive = transceive
        self.frame = b""
        self.filter = 1

    def line_lost(self):
        self.frame = b""

    def take(self, byte, at):
        if self.echo:
            self._queue(bytes([byte]), at - self.byte_time)
        self.frame += bytes([byte])
        if byte != 0xFD:
            if len(self.frame) > 80:
                self.refuse(self.frame)
                self.frame = b""
            return
        frame, self.frame = self.frame, b""
        if len(frame) < 6 or frame[:4] != bytes([0xFE, 0xFE, self.address, self.controller]):
            return self.refuse(frame)  # a real rig would keep silent
        answer = self.execute(frame[4], frame[5:-1])
        if answer is None:
            self.refuse(frame)
            answer = b"\xfa"
        else:
            self.taken.append(frame)
        self.answer(self.framed(self.controller, answer), at)

    def framed(self, to, data, sender=None):
        return bytes([0xFE, 0xFE, to, sender or self.address]) + data + b"\xfd"

    def knob_turned(self):
        if self.transceive:
            self._queue(self.framed(0x00, b"\x00" + self.digits(self.shown)), time.monotonic())

    @staticmethod
    def digits(hz):
        return bcd(hz, 5)[::-1]

    def execute(self, command, data):
        method = {0x03: self.read_frequency, 0x04: self.read_mode, 0x05: self.set_frequency, 0x06: self.set_mode,
                  0x07: self.choose_vfo, 0x0F: self.split, 0x11: self.attenuator, 0x14: self.level,
                  0x15: self.read_meter, 0x16: self.switch, 0x1C: self.transmit, 0x25: self.vfo_frequency}.get(command)
        return method(data) if method else None

    def read_frequency(self, data):
        return b"\x03" + self.digits(self.shown) if data == b"" else None

    def read_mode(self, data):
        return bytes([4, self.mode, self.filter]) if data == b"" else None

    def set_frequency(self, data):
        hz = from_bcd(data[::-1]) if len(data) == 5 else None
        if hz is None or not self.tunes(hz):
            return None
        self.freq[self.vfo] = hz
        return b"\xfb"

    def set_mode(self, data):
        if len(data) not in (1, 2) or data[0] not in self.modes or (len(data) == 2 and data[1] not in (1, 2, 3)):
            return None
        self.mode = data[0]
        self.filter = data[1] if len(data) == 2 else 1
        return b"\xfb"

    def choose_vfo(self, data):
        if data not in (b"\x00", b"\x01", b"\xa0", b"\xb0"):
            return None
        if data in (b"\x00", b"\x01"):
            self.vfo = "AB"[data[0]]
        return b"\xfb"

    def level(self, data):
        if len(data) not in (1, 3) or not 0x01 <= data[0] <= 0x19:
            return None
        if len(data) == 1:
            return b"\x14" + data + bcd(128, 2)
        value = from_bcd(data[1:])
        return b"\xfb" if value is not None and value <= 255 else None

    def read_meter(self, data):
        if len(data) != 1 or data[0] not in (0x01, 0x02, 0x05, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16):
            return None
        return b"\x15" + data + bcd(self.smeter, 2)

    def split(self, data):
        return b"\xfb" if data in (b"\x00", b"\x01") else None

    def attenuator(self, data):
        return b"\xfb" if data in (b"\x00", b"\x20") else None

    def switch(self, data):
        choices = {0x02: 2, 0x12: 3, 0x22: 1, 0x40: 1, 0x41: 1, 0x44: 1, 0x45: 1, 0x46: 1, 0x47: 2, 0x48: 1, 0x50: 1}
        return b"\xfb" if len(data) == 2 and data[0] in choices and data[1] <= choices[data[0]] else None

    def transmit(self, data):
        if data in (b"\x01\x00", b"\x01\x01", b"\x01\x02"):  # antenna tuner
            return b"\xfb"
        if data not in (b"\x00", b"\x00\x00", b"\x00\x01"):
            return None
        if data == b"\x00":
            return b"\x1c\x00" + bytes([self.transmitting])
        self.transmitting = data[1] == 1
        return b"\xfb"

    def vfo_frequency(self, data):
        if data not in (b"\x00", b"\x01"):
            return None
        other = "B" if self.vfo == "A" else "A"
        return b"\x25" + data + self.digits(self.freq[self.vfo if data == b"\x00" else other])
