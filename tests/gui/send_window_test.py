"""CW by hand: the send window with a WinKeyer at its far end."""

from bench import WindowTest
from station import wait_until
from strict_winkey import StrictWinkey


class CwTest(WindowTest):
    settings = "KEYERPORT=WINKEY\nPADDLECOM= 5\nWINKEY1= 1\nCWSPEED= 20\nTUNETIME= 5\n"

    def start(self, resize=True):
        self.keyer = StrictWinkey()
        device = self.station.device + "-keyer"
        self.station.rigs.append(self.keyer.plug(device))
        ports = self.station.read("ports.ini").decode()
        self.station.write("ports.ini", ports + f"COM5={device}\n")
        super().start(resize)

    def setUp(self):
        super().setUp()
        self.desktop.key("ctrl+k")
        self.opened("Send CW")
        self.assertTrue(wait_until(lambda: self.keyer.heard().endswith(bytes.fromhex("05 05 32 00")), 5))
        self.keyer.forget()

    def sent(self, text, timeout=15):
        self.assertTrue(wait_until(lambda: self.keyer.sent == text, timeout), f"{self.keyer.sent!r}, not {text!r}")

    def got(self, *commands):
        self.assertTrue(wait_until(lambda: self.keyer.commands == list(commands), 3), f"{self.keyer.commands}")

    def test_typed_text_is_sent_and_backspace_takes_back(self):
        self.desktop.type("cq de aa1bbxx")
        self.desktop.key("BackSpace", "BackSpace")
        self.sent("CQ DE AA1BB")
        self.assertEqual(self.control("Text to send").text, "CQ DE AA1BB")
        self.desktop.key("BackSpace")
        self.settle()
        self.assertEqual(self.control("Text to send").text, "CQ DE AA1BB")
        self.assertEqual(self.keyer.illegal, [])

    def test_escape_stops_at_once(self):
        self.desktop.type("paris paris paris paris")
        self.assertTrue(wait_until(lambda: len(self.keyer.sent) > 3, 10))
        self.desktop.key("Escape")
        self.got("0a")
        stopped = self.keyer.sent
        self.settle(3)
        self.assertLessEqual(len(self.keyer.sent), len(stopped) + 1)

    def test_tune_by_hand_and_by_its_limit(self):
        self.desktop.key("ctrl+t")
        self.got("0b 01")
        self.desktop.key("ctrl+t")
        self.got("0b 01", "0b 00")
        self.keyer.forget()
        self.desktop.key("ctrl+t")
        self.assertTrue(wait_until(lambda: "0b 00" in self.keyer.commands, 8), self.keyer.commands)

    def test_the_window_keeps_its_place(self):
        self.desktop.close(self.window)
        self.assertEqual(self.kvx.ended(), 0, self.kvx.errors)
        self.assertTrue(self.station.read("KeyScreen.pos").startswith(b"key-screen="))
        self.assertNotIn(b"key-screen", self.station.read("Windows.pos"))
        self.assertTrue(self.station.read("cw.wav").startswith(b"RIFF"))
