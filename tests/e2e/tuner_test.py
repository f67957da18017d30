"""The tuner notebook: what a station keeps of it, whatever moment it ends."""

import json
import os
import random
import sqlite3
import time
import unittest

from station import Station, noted

LONG = os.environ.get("KVX_E2E_LONG") == "1"
FREQUENCIES = ("1850", "7010", "14025", "25500")
KEYS = ("1000", "7000", "14000", "1")


class TunerTest(unittest.TestCase):
    def setUp(self):
        self.station = Station()
        self.addCleanup(self.station.__exit__)
        self.station.configure("TS-520", "KENWOOD", 9600, port=0)

    def records(self, table="Tuner"):
        with sqlite3.connect(self.station.path("TunerSUB.sqlite")) as store:
            self.assertEqual(store.execute("PRAGMA integrity_check").fetchone(), ("ok",))
            return {row[0]: row[1:] for row in store.execute(f"SELECT freq, Desc1, ant3 FROM {table}")}

    def test_kill_while_saving(self):
        """Every record is whole, every save that was answered is there, and what was not saved is unsaved."""
        rounds, last = 60 if LONG else 15, 0
        inside = 0
        for i in range(rounds):
            kvx = self.station.start()
            for number in range(last + 1, last + 41):
                which = number % len(KEYS)
                kvx.write(f"freq {FREQUENCIES[which]}\ntuner set Desc1 {number}\ntuner set Ant3 {number}\ntuner save\n".encode())
            kvx.wait_line(lambda text: text.endswith(" saved"))
            time.sleep(random.uniform(0, 0.1))
            kvx.kill()
            inside += os.path.exists(self.station.path("TunerSUB.sqlite-journal"))
            answered = sum(text.startswith("ok Segment") for text in kvx.texts())
            records = self.records()
            newest = max(int(description) for description, _ in records.values())
            self.assertIn(newest, (last + answered, last + answered + 1), f"after kill {i}")
            for key, (description, antenna) in records.items():
                self.assertEqual(description, antenna, f"after kill {i}")
                self.assertEqual(KEYS[int(description) % len(KEYS)], key)
                self.assertGreater(int(description), newest - len(KEYS))
            last = newest
        noted(f"kill while saving the notebook: {rounds} times, {inside} of them inside a write")

    def test_unsaved_values_survive(self):
        kvx = self.station.start()
        kvx.command("freq 18114.99")
        self.assertEqual(kvx.command("tuner set Ind2 grüner Knopf 7"), "ok tuner set 18000 Ind2 grüner Knopf 7")
        kvx.command("freq 18115")
        shown = json.loads(kvx.command("tuner").removeprefix("ok "))
        self.assertEqual((shown["segment"], shown["state"], shown["Ind2"]),
                         ("18115", "nothing stored, left from 18000", "grüner Knopf 7"))
        self.assertEqual(kvx.quit(), 0)
        self.assertEqual(self.records(), {})
        kvx = self.station.start()
        self.assertEqual(kvx.command("tuner segment 18000")[:40], 'ok {"segment":"18000","range":"18000.00 ')
        self.assertEqual(kvx.command("tuner save"), "ok Segment 18000 saved")
        self.assertEqual(list(self.records()), ["18000"])
        self.assertEqual(self.records("TunerDraft"), {})
        for bad in ("tuner set Desc4 x", "tuner segment here", "tuner import none.csv", "tuner drop", "tuner jump"):
            self.assertTrue(kvx.command(bad).startswith("error: "), bad)
