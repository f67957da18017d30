"""CW by the rig's own keyer: text that goes over the CAT line."""

import time
import unittest

from station import Kvx, Station

TEXT = "CQ TEST DE K1ABC K1ABC TEST"


class RigKeyerTest(unittest.TestCase):
    def setUp(self):
        self.station = Station()
        self.addCleanup(self.station.__exit__)
        self.station.configure("TS-2000", "KENWOOD", 57600, extra="KEYERPORT=RIGKEYER\nCWSPEED= 60\n")
        self.station.write("ports.ini", "COM3=sim:ts2000\n")
        self.kvx: Kvx = self.station.start()
        self.kvx.wait_status(lambda status: status["keyer"]["ready"] and status["replies"] > 5)
        self.kvx.command("trace on")

    def sent(self):
        """The text of the KY commands that have gone to the rig."""
        text = ""
        for line in self.kvx.texts():
            for command in line.removeprefix("sent ").split(";") if line.startswith("sent ") else ():
                if command.startswith("KY "):
                    self.assertEqual(len(command), 27, command)
                    text += command[3:].rstrip(" ")
        return text

    def test_a_text_arrives_once_and_whole(self):
        self.assertTrue(self.kvx.command("cw " + TEXT.lower() + " <sk>").startswith("ok cw 29 characters, "))
        self.kvx.wait_line("cw idle", 20)
        self.assertEqual(self.sent(), TEXT + " >")
        self.assertEqual(self.kvx.status()["refused"], 0)
        self.assertEqual(self.kvx.quit(), 0)

    def test_escape_leaves_little_in_the_rig(self):
        self.kvx.command("cw " + TEXT)
        time.sleep(0.5)
        self.assertEqual(self.kvx.command("escape"), "ok escape")
        self.kvx.wait_line("cw idle")
        sent = self.sent()
        self.assertTrue(TEXT.startswith(sent) and len(sent) < 16, sent)
        time.sleep(1)
        self.assertEqual(self.sent(), sent)
        self.assertTrue([line for line in self.kvx.texts() if line.startswith("sent ") and "RX;" in line])

    def test_what_the_rig_cannot_do_is_said(self):
        self.assertEqual(self.kvx.command("tune on"), "error: This keyer cannot hold the key down")
        self.kvx.command("mode USB")
        self.assertEqual(self.kvx.command("cw TEST"), "error: The rig's own keyer sends in mode CW only")
        self.kvx.command("rig FT-857")
        self.kvx.command("mode CW")
        self.assertTrue(self.kvx.command("cw TEST").startswith("ok"))
        self.kvx.wait_line(lambda line: line.startswith("message FT-857 has no command for CW text"))
        self.assertEqual(self.sent(), "")
