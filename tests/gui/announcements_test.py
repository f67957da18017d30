"""What a screen reader hears."""

from bench import WindowTest
from controls import Events


class AnnouncementsTest(WindowTest):
    settings = "ANNOUNCEMENTS=1\n"

    def test_a_band_is_announced_by_a_change_of_name(self):
        events = Events("object:property-change:accessible-name")
        self.click("Band 80 metres")
        self.assertTrue(events.wait(lambda _, control: control.name == "Band = 80"), events.heard)

    def test_polls_announce_nothing(self):
        events = Events("object:property-change", "object:text-changed", "object:state-changed")
        self.settle(3)
        events.wait(lambda *_: False, 0.2)
        self.assertLess(len(events.heard), 20, events.heard)


class ReadingTest(WindowTest):
    def test_what_the_window_shows_can_be_read(self):
        """Not only its name: what it says."""
        def read(name):
            return [" ".join((control.name, control.node.get_description() or "", control.text))
                    for control in self.program.controls() if control.name.startswith(name)]
        for name, said in (("Mode", "CW"), ("Tuning step", "0.05"), ("Band and its limits", "14350.0"),
                           ("Rig port", "open"), ("Rig and its port", "TS-2000"), ("Message", "CW,RTTY,Data"),
                           ("S-meter", "S3"), ("UTC clock", "UTC")):
            with self.subTest(name=name):
                self.assertTrue([text for text in read(name) if said in text], read(name))
