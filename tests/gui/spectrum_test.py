"""The audio window on the simulated receiver, with mouse and keys."""

from bench import KeyboardWalk
from controls import Role
from station import wait_until


class SpectrumTest(KeyboardWalk):
    size = (1280, 800)

    def start(self, resize=True):
        self.station.write("SpecDisplay.pos", "source=sim:receiver\ntxtFMin=300\ntxtFMax=1300\ncboBins=2048\n")
        super().start(resize)
        self.desktop.key("ctrl+h")
        self.audio = self.opened("Audio")
        self.settle(1)

    def inside(self, name):
        return next(control for control in self.program.controls(self.audio) if control.name == name)

    def has(self, name):
        return wait_until(lambda: name in [control.name for control in self.program.controls(self.audio)], 3, 0.1)

    def test_a_click_tunes_the_decoder_and_the_place_is_kept(self):
        spectrum = self.inside("Spectrum")
        self.assertRegex(spectrum.node.get_description(), r"strongest tone \d+ Hz at -?\d+ dB", "nothing is heard")
        for control in (spectrum, self.inside("Waterfall")):
            for share in (0.25, 0.75):
                self.desktop.click(control.x + round(share * control.width), control.y + control.height // 2)
                wanted = 300 + share * 1000
                self.assertTrue(wait_until(lambda: abs(spectrum.value - wanted) < 15, 3), (spectrum.value, wanted))
        before = spectrum.value
        self.desktop.key("Right", "Right")
        self.assertTrue(wait_until(lambda: 5 <= spectrum.value - before <= 10, 3), (before, spectrum.value))
        self.desktop.key("alt+f")
        self.assertTrue(self.has("Start"))
        self.desktop.key("alt+f", "alt+v")
        self.assertTrue(self.has("Hide Scope"))
        scope = self.inside("Oscilloscope")
        self.desktop.click(scope.x + 40, scope.y + scope.height // 4)
        self.assertTrue(wait_until(lambda: abs(scope.value - 250) < 15, 3), scope.value)
        self.desktop.key("alt+d")
        self.assertTrue(self.has("Stop Decode"))
        self.desktop.close(self.window)
        self.assertEqual(self.kvx.ended(), 0, self.kvx.errors)
        kept = self.station.read("SpecDisplay.pos").decode()
        self.assertRegex(kept, r"(?m)^audio=-?\d+ -?\d+ \d+ \d+ normal$")
        self.assertRegex(kept, r"(?m)^CrossIt=500$")

    def test_the_keyboard_reaches_everything(self):
        controls = [control for control in self.program.controls(self.audio) if control.operable and control.width > 0]
        self.assertGreater(len(controls), 20)
        self.assertEqual([control for control in controls if not control.name.strip()], [], self.program.tree())
        window = self.audio
        self.assertEqual([c for c in controls if c.x < window.x or c.x + c.width > window.x + window.width], [])
        reached = set(self.walk_round("Tab", 200))
        missed = {control.name for control in controls if control.role != Role.RADIO_BUTTON} - reached
        self.assertEqual(missed, set())
