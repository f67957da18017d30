"""Every rig, at the pace of its line, is followed and tuned, and refuses nothing."""

import random
import time
import unittest

import rigs
from station import Station, measured, noted, wait_until

STATUS_FIELDS = ("rig family port open freq hz mode vfo band from to step ref smeter meter polling msg spk keyer links "
                 "rx tx").split()
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

    def __init__(self, test, rig, bound=FAST):
        self.test, self.rig, self.bound = test, rig, bound
        self.label = f"{rig.model} at {rig.baud}"
        self.station = Station()
        test.addCleanup(self.station.__exit__)
        self.station.use(rig)
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

    def everything(self, frequencies, narrow_modes=None, modes=("LSB", "USB", "CW", "AM", "FM", "RTTY")):
        self.turn_knob()
        self.turn_mode_and_meter()
        self.tune(frequencies)
        self.press_modes({**{mode: mode for mode in modes}, **(narrow_modes or {})})
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
        Following(self, rigs.Ts2000()).everything((*SHORT_WAVE, "50000", "144000", "432123.45"), {"CWN": "CWR"})

    def test_ts2000_at_4800(self):
        Following(self, rigs.Ts2000(4800)).everything(("14025.37",), {}, ("USB",))

    def test_ftdx5000_at_38400(self):
        Following(self, rigs.FtDx5000()).everything((*SHORT_WAVE, "50000"), {"CWN": "CWR", "FMN": "FMN"})

    def test_ft857_that_acknowledges(self):
        frequencies = ("1800", "14025.37", "50000", "144000", "432123.45")
        Following(self, rigs.Ft857()).everything(frequencies, {"CWN": "CWR", "FMN": "FMN"})

    def test_ft857_that_does_not(self):
        rig = rigs.Ft857(acknowledges=False)
        Following(self, rig).everything(("7000", "14025.37", "144000"), {}, ("USB", "CW", "RTTY"))

    def test_ft1000d(self):
        Following(self, rigs.Ft1000d()).everything(SHORT_WAVE)

    def test_ic7300_at_19200(self):
        Following(self, rigs.Ic7300()).everything((*SHORT_WAVE, "50000"), {"CWN": "CW"})

    def test_ic7300_with_echo_at_9600(self):
        Following(self, rigs.Ic7300(9600, echo=True)).everything(("1800", "14025.37", "50000"), {}, ("USB", "CW", "FM"))

    def test_ic7300_at_1200(self):
        following = Following(self, rigs.Ic7300(1200), AT_1200)
        following.turn_knob(4)
        following.tune(("14025.37",))
        following.end()

    def test_ic7300_that_reports_by_itself(self):
        rig = rigs.Ic7300(19200, transceive=True)
        following = Following(self, rig)
        self.assertEqual(following.kvx.command("poll off"), "ok poll off")
        time.sleep(0.5)
        following.turn_knob(5)  # nothing is asked any more: this is the rig's own report
        self.assertEqual(following.kvx.command("poll on"), "ok poll on")
        following.turn_knob(3)
        following.end()

    def test_keys_and_sliders(self):
        for rig in (rigs.Ts2000(), rigs.Ic7300(), rigs.FtDx5000()):
            with self.subTest(rig.model):
                following = Following(self, rig)
                following.press_everything()
                self.assertGreater(len(rig.taken), 30)
                following.end()

    def test_status_is_json_with_every_field(self):
        with Station() as station:
            station.use(rigs.Ts2000())
            kvx = station.start()
            kvx.command('fnval 1 "quoted\\ <CR> \u00e4\u20ac')
            status = kvx.status()
            self.assertEqual([name for name in STATUS_FIELDS if name not in status], [])
            shown = [status[name] for name in ("rig", "family", "port", "band", "from", "to", "step", "ref", "vfo")]
            self.assertEqual(shown, ["TS-2000", "KENWOOD", 3, 20, "14000.00", "14350.00", "0.05", "14000.00", "A"])
            kvx.command('rig "\\\x01 no such\trig')
            kvx.status()


class BadLineTest(unittest.TestCase):
    """A line with noise on it, and rigs that answer in crumbs or not at all."""

    KINDS = (rigs.Ts2000, rigs.Ic7300, rigs.Ft857)

    def test_garbage_between_and_inside_answers(self):
        for kind in self.KINDS:
            with self.subTest(kind.model):
                following = Following(self, kind())
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

    def test_a_rig_that_is_silent_for_a_while(self):
        for kind in self.KINDS:
            with self.subTest(kind.model):
                following = Following(self, kind())
                following.rig.silent = True
                time.sleep(1.5)
                self.assertEqual(following.kvx.status()["open"], True)
                following.rig.silent = False
                following.rig.line_lost()
                following.rig.refused.clear()  # a command may have been cut in two
                following.turn_knob(3)
                self.assertEqual(following.kvx.quit(), 0)
