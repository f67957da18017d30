"""Every rig, at the pace of its line, is followed and tuned, and refuses nothing."""

import json
import random
import time
import unittest

import rigs
from station import Station, measured, noted, wait_until

STATUS_FIELDS = {
    "rig": str, "family": str, "port": int, "open": bool, "freq": str, "hz": int, "mode": str, "vfo": str, "band": int,
    "from": str, "to": str, "step": str, "ref": str, "smeter": int, "meter": int, "polling": bool, "msg": str,
    "spk": str, "keyer": object, "links": object, "rx": int, "tx": int,
}
ALL_MODES = {"LSB": "LSB", "USB": "USB", "CW": "CW", "AM": "AM", "FM": "FM", "RTTY": "RTTY"}
SHORT_WAVE = ("1800", "7000", "14025.37", "28499.99")


# The display follows much faster than this (the run tells how fast); a busy machine must not fail the tests.
FAST = 1.5
AT_1200 = 4.0
AGAIN = 0.15  # between one command and the next: several answers come in meanwhile
SETTLED = 0.8  # after the last command: answers that contradict it are believed again


def khz(hz):
    return f"{hz / 1000:.2f}"


class Following:
    """A console on a rig; checks what is the same for all rigs."""

    def __init__(self, test, rig, name, family, baud, bound=FAST):
        self.test, self.rig, self.bound = test, rig, bound
        self.label = f"{name} at {baud}"
        self.station = Station()
        test.addCleanup(self.station.__exit__)
        stop_bits = 2 if rig.byte_bits == 11 else 1
        self.station.configure(name, family, baud, stop_bits)
        self.station.plug(rig)
        self.kvx = self.station.start()
        self.kvx.wait_status(lambda status: status["open"] and status["rx"] > 0)

    def turn_knob(self, times=8):
        """The display follows the knob, on every band, at any moment of the poll."""
        latencies = []
        for i in range(times):
            hz = random.choice((3_501_010, 7_031_120, 14_040_370, 21_300_000, 28_400_990)) + i * 1_270
            since = len(self.kvx.texts())
            time.sleep(random.uniform(0, 0.15))
            begin = time.monotonic()
            self.rig.knob(hz)
            latencies.append(self.kvx.wait_line(f"freq {khz(hz)}", 8, since) - begin)
        self.kvx.wait_status(lambda status: status["freq"] == khz(hz) and status["hz"] == hz)
        measured(f"{self.label}, knob to display", latencies)
        self.test.assertLess(sorted(latencies)[len(latencies) // 2], self.bound)

    def turn_mode_and_meter(self):
        """The display follows mode and signal."""
        latencies = []
        for name in ("AM", "LSB", "CW"):
            since = len(self.kvx.texts())
            begin = time.monotonic()
            self.rig.choose_mode(name)
            latencies.append(self.kvx.wait_line(f"mode {name}", 8, since) - begin)
        measured(f"{self.label}, mode to display", latencies)
        self.rig.smeter = 12
        self.kvx.wait_status(lambda status: status["smeter"] == 12, 8)

    def tune(self, frequencies):
        """What is tuned reaches the rig to 10 Hz, and the display stays there while old answers still come in."""
        for text in frequencies:
            since = len(self.kvx.texts())
            self.test.assertEqual(self.kvx.command(f"freq {text}"), f"ok freq {float(text):.2f}")
            hz = round(float(text) * 1000)
            arrived = wait_until(lambda: self.rig.shown == hz, 4)
            self.test.assertTrue(arrived, f"{self.label}: {text} became {self.rig.shown}")
            time.sleep(SETTLED if text == frequencies[-1] else AGAIN)
            shown = [line for line in self.kvx.texts(since) if line.startswith("freq ")]
            self.test.assertIn(shown, ([f"freq {float(text):.2f}"], []), f"{self.label}: the display did not stay")

    def press_modes(self, modes):
        """Each mode key reaches the rig, and the display stays there."""
        for key, wanted in modes.items():
            since = len(self.kvx.texts())
            shown = {"CWN": "CW", "FMN": "FM"}.get(key, key)
            self.test.assertEqual(self.kvx.command(f"mode {key}"), f"ok mode {shown}")
            arrived = wait_until(lambda: self.rig.mode_name == wanted, 4)
            self.test.assertTrue(arrived, f"{self.label}: {key} gave {self.rig.mode_name}")
            time.sleep(SETTLED if key == list(modes)[-1] else AGAIN)
            self.kvx.command("narrow off")
            told = [line for line in self.kvx.texts(since) if line.startswith("mode ")]
            self.test.assertLessEqual(len(told), 1, f"{self.label}: the mode did not stay: {told}")
            self.test.assertEqual(self.kvx.status()["mode"], shown)

    def use_vfo_b(self):
        """VFO B is chosen, tuned and followed like VFO A, whose frequency stays."""
        a = self.rig.freq["A"]
        self.test.assertEqual(self.kvx.command("vfo B"), "ok vfo B")
        self.test.assertTrue(wait_until(lambda: self.rig.vfo == "B", 3), self.label)
        self.kvx.wait_status(lambda status: (status["vfo"], status["freq"]) == ("B", khz(self.rig.freq["B"])))
        self.tune(("7012.34",))
        self.test.assertEqual(self.rig.freq, {"A": a, "B": 7_012_340})
        self.turn_knob(2)
        self.test.assertEqual(self.kvx.status()["vfo"], "B")
        self.test.assertEqual(self.kvx.command("vfo A"), "ok vfo A")
        self.test.assertTrue(wait_until(lambda: self.rig.vfo == "A", 3), self.label)
        self.kvx.wait_status(lambda status: (status["vfo"], status["freq"]) == ("A", khz(a)))

    def press_everything(self):
        """Function keys in both states, sliders and slider queries: commands that the rig knows."""
        self.kvx.command("fnval 9 12")
        queries = ("AF", "RF", "ALPHA", "BRAVO", "CHAR", "MISC", "POWER", "FILTER", "NOTCH")
        keys = [f"fn {i}" for i in (*range(1, 10), *range(1, 9))]
        for command in (*keys, *(f"slider {i} 11" for i in range(1, 12)), *(f"send XGET{name}" for name in queries)):
            answer = self.kvx.command(command)
            known = answer.startswith("ok ") or "no such command" in answer
            self.test.assertTrue(known, f"{self.label}: {command}: {answer}")
            time.sleep(0.03)
        time.sleep(0.3)

    def everything(self, frequencies, modes):
        self.turn_knob()
        self.turn_mode_and_meter()
        self.tune(frequencies)
        self.press_modes(modes)
        self.use_vfo_b()
        self.end()

    def end(self):
        """Leaves, after a look back: nothing was refused and the line was never flooded."""
        self.test.assertEqual(self.rig.refused, [], self.label)
        self.test.assertLess(self.rig.most_waiting, 0.6, f"{self.label}: commands queue up")
        self.test.assertEqual(self.kvx.status()["refused"], 0)
        self.test.assertEqual(self.kvx.quit(), 0)
        noted(f"{self.label}, furthest that a command was behind on the line: {self.rig.most_waiting * 1000:.0f} ms")


class FollowTest(unittest.TestCase):
    def test_ts2000_at_38400(self):
        following = Following(self, rigs.Ts2000(38400), "TS-2000", "KENWOOD", 38400)
        following.everything((*SHORT_WAVE, "50000", "144000", "432123.45"), {**ALL_MODES, "CWN": "CWR"})

    def test_ts2000_at_4800(self):
        following = Following(self, rigs.Ts2000(4800), "TS-2000", "KENWOOD", 4800)
        following.everything(("14025.37",), {"USB": "USB"})

    def test_ftdx5000_at_38400(self):
        following = Following(self, rigs.FtDx5000(38400), "FT-DX5000", "YAESU", 38400)
        following.everything((*SHORT_WAVE, "50000"), {**ALL_MODES, "CWN": "CWR", "FMN": "FMN"})

    def test_ft857_that_acknowledges(self):
        following = Following(self, rigs.Ft857(4800, True), "FT-857", "YAESU", 4800)
        following.everything(("1800", "14025.37", "50000", "144000", "432123.45"),
                             {**ALL_MODES, "CWN": "CWR", "FMN": "FMN"})

    def test_ft857_that_does_not(self):
        following = Following(self, rigs.Ft857(4800, False), "FT-857", "YAESU", 4800)
        following.everything(("7000", "14025.37", "144000"), {"USB": "USB", "CW": "CW", "RTTY": "RTTY"})

    def test_ft1000d(self):
        following = Following(self, rigs.Ft1000d(4800), "FT-1000D", "YAESU", 4800)
        following.everything(SHORT_WAVE, ALL_MODES)

    def test_ic7300_at_19200(self):
        following = Following(self, rigs.Ic7300(19200), "IC-7300", "ICOM", 19200)
        following.everything((*SHORT_WAVE, "50000"), {**ALL_MODES, "CWN": "CW"})

    def test_ic7300_with_echo_at_9600(self):
        following = Following(self, rigs.Ic7300(9600, echo=True), "IC-7300", "ICOM", 9600)
        following.everything(("1800", "14025.37", "50000"), {"USB": "USB", "CW": "CW", "FM": "FM"})

    def test_ic7300_at_1200(self):
        following = Following(self, rigs.Ic7300(1200), "IC-7300", "ICOM", 1200, AT_1200)
        following.turn_knob(4)
        following.tune(("14025.37",))
        following.end()

    def test_ic7300_that_reports_by_itself(self):
        rig = rigs.Ic7300(19200, transceive=True)
        following = Following(self, rig, "IC-7300", "ICOM", 19200)
        self.assertEqual(following.kvx.command("poll off"), "ok poll off")
        time.sleep(0.5)
        following.turn_knob(5)  # nothing is asked any more: this is the rig's own report
        self.assertEqual(following.kvx.command("poll on"), "ok poll on")
        following.turn_knob(3)
        following.end()

    def test_frames_for_another_controller_or_of_another_rig(self):
        rig = rigs.Ic7300(19200, echo=True)
        following = Following(self, rig, "IC-7300", "ICOM", 19200)
        rig.knob(14_025_000)
        following.kvx.wait_line("freq 14025.00")
        since = len(following.kvx.texts())
        strange = b"\x03" + rig.digits(1_234_560)
        for _ in range(20):
            rig.send_raw(rig.framed(0xE1, strange))
            rig.send_raw(rig.framed(rig.controller, strange, sender=0x58) + rig.framed(0x00, strange, sender=0x58))
            time.sleep(0.05)
        self.assertEqual([line for line in following.kvx.texts(since) if line.startswith("freq ")], [])
        following.turn_knob(3)
        following.end()

    def test_keys_and_sliders(self):
        for name, family, rig in (("TS-2000", "KENWOOD", rigs.Ts2000(38400)), ("IC-7300", "ICOM", rigs.Ic7300(19200)),
                                  ("FT-DX5000", "YAESU", rigs.FtDx5000(38400))):
            with self.subTest(name):
                following = Following(self, rig, name, family, round(rig.byte_bits / rig.byte_time))
                following.press_everything()
                self.assertGreater(len(rig.taken), 30)
                following.end()

    def test_status_is_json_with_every_field(self):
        with Station() as station:
            station.configure("TS-2000", "KENWOOD", 38400)
            station.plug(rigs.Ts2000(38400))
            kvx = station.start()
            kvx.command('fnval 1 "quoted\\ <CR> \u00e4\u20ac')
            answer = kvx.command("status")
            status = json.loads(answer)
            for name, kind in STATUS_FIELDS.items():
                self.assertIn(name, status)
                self.assertIsInstance(status[name], kind, name)
            self.assertEqual((status["rig"], status["family"], status["port"]), ("TS-2000", "KENWOOD", 3))
            kvx.command('rig "\\\x01no such\trig')
            json.loads(kvx.command("status"))


class BadLineTest(unittest.TestCase):
    """A line with noise on it, and rigs that answer in crumbs or not at all."""

    CASES = (("TS-2000", "KENWOOD", rigs.Ts2000, 38400), ("IC-7300", "ICOM", rigs.Ic7300, 19200),
             ("FT-857", "YAESU", rigs.Ft857, 4800))

    def test_garbage_between_and_inside_answers(self):
        for name, family, kind, baud in self.CASES:
            with self.subTest(name):
                following = Following(self, kind(baud), name, family, baud)
                noise = random.Random(7)
                wrong = []
                for i in range(12):
                    following.rig.send_raw(bytes(noise.randrange(256) for _ in range(noise.randrange(1, 40))))
                    time.sleep(0.1)
                time.sleep(0.5)
                since = len(following.kvx.texts())
                following.rig.knob(14_077_700)
                following.kvx.wait_line("freq 14077.70", 5, since)
                time.sleep(0.5)
                wrong = [line for line in following.kvx.texts(since) if line.startswith("freq ")][1:]
                self.assertEqual(wrong, [], "a wrong frequency after the noise has ended")
                self.assertEqual(following.rig.refused, [])
                self.assertEqual(following.kvx.quit(), 0)

    def test_answers_byte_by_byte(self):
        for name, family, kind, baud in self.CASES:
            with self.subTest(name):
                rig = kind(baud)
                rig.single_bytes = True
                following = Following(self, rig, name, family, baud)
                following.turn_knob(3)
                following.end()

    def test_a_rig_that_is_silent_for_a_while(self):
        for name, family, kind, baud in self.CASES:
            with self.subTest(name):
                following = Following(self, kind(baud), name, family, baud)
                following.rig.silent = True
                time.sleep(1.5)
                self.assertEqual(following.kvx.status()["open"], True)
                following.rig.silent = False
                following.rig.line_lost()
                following.rig.refused.clear()  # a command may have been cut in two
                following.turn_knob(3)
                self.assertEqual(following.kvx.quit(), 0)


if __name__ == "__main__":
    unittest.main()
