"""What is stored by frequency, and the memory channels: the buttons of the console, the list, the table."""

import os
import sqlite3
import subprocess

from bench import WindowTest
from station import wait_until


class StoredTest(WindowTest):
    size = (1024, 600)

    def row(self, columns, where="1"):
        """Of the first such row of the store; nothing when there is none."""
        with sqlite3.connect(os.path.join(self.station.folder, "rigsetup.sqlite"), timeout=5) as store:
            return store.execute(f"SELECT {columns} FROM rigfn WHERE {where}").fetchone()

    def stores(self, columns, *values, where="1"):
        self.assertTrue(wait_until(lambda: self.row(columns, where) == (values or None), 3, 0.05),
                        f"{self.row(columns, where)}, not {values}")

    def opened(self, title):
        shown = lambda: [window for window in self.program.windows() if window.name == title]
        self.assertTrue(wait_until(shown, 5, 0.05), f"there is no window {title!r}")
        self.settle()

    def ground(self, cell):
        """The colour of the screen at the left edge of a cell."""
        place = f"1x1+{cell.x + 1}+{cell.middle[1]}"
        return subprocess.run(["import", "-window", "root", "-crop", place, "-depth", "8", "rgb:-"], check=True,
                              capture_output=True).stdout


class FunctionKeysTest(StoredTest):
    def test_values_and_a_note_are_stored_recalled_cleared_and_put_back(self):
        self.desktop.click(*self.control("Value of function key 9").middle)
        self.desktop.type("17")
        self.desktop.key("Return")
        self.stores("RigName, Freq, Mode, FNT9, FNP4, Desc", "TS-2000", "14025.00", "CW", "17", 0, "")
        self.click("Note for this frequency")
        self.opened("Note for 14025.00")
        self.desktop.type("4")
        self.desktop.key("Return")
        self.stores("FNT9, FNP4, Desc", "17", 1, "4")
        self.desktop.focus(self.window)
        self.sends(lambda: self.desktop.key("ctrl+Right"), "FA00014025050;")
        self.sends(lambda: self.desktop.key("ctrl+Left"), "FA00014025000;", "MD3;", "PA1;")
        self.click("Clear all function keys for this frequency")
        self.stores("Freq")
        self.click("Undo the clearing")
        self.stores("FNT9, FNP4, Desc", "17", 1, "4")

    def test_the_right_button_on_clear_opens_the_list_and_clears_nothing(self):
        self.desktop.click(*self.control("Value of function key 1").middle)
        self.desktop.key("Return")
        self.stores("Freq", "14025.00")
        self.desktop.click(*self.control("Clear all function keys for this frequency").middle, button=3)
        self.opened("Stored function keys")
        self.stores("Freq", "14025.00")


class ListTest(StoredTest):
    def setUp(self):
        super().setUp()
        with sqlite3.connect(os.path.join(self.station.folder, "rigsetup.sqlite"), timeout=5) as store:
            store.executemany("INSERT INTO rigfn (RigName, Freq, Mode, Scan, Desc) VALUES ('TS-2000', ?, ?, 'Y', ?)",
                              [("14200.00", "USB", "net"), ("7030.00", "CW", "calling"), ("14100.00", "CW", "beacon")])
        self.desktop.key("ctrl+l")
        self.opened("Stored function keys")

    def choose(self, text):
        self.desktop.click(*self.control(text).middle)

    def test_a_double_click_tunes_there(self):
        twice = lambda: self.desktop.click(*self.control("14200.00").middle, times=2)
        self.sends(twice, "FA00014200000;", "MD2;", "MD2;")  # by the row, and by what is stored for its frequency

    def test_rows_are_deleted_and_put_back(self):
        self.choose("7030.00")
        self.desktop.key("Delete")
        self.stores("Desc", where="Freq = '7030.00'")
        self.desktop.key("ctrl+z")
        self.stores("Desc", "calling", where="Freq = '7030.00'")

    def test_a_scan_marks_the_row_that_is_heard(self):
        self.choose("14100.00")
        self.desktop.key("ctrl+b")
        self.choose("14200.00")
        self.desktop.key("ctrl+e")
        self.choose("7030.00")
        cells = [self.control("14100.00"), self.control("14200.00")]
        plain = self.ground(cells[0])
        marked = lambda: [self.ground(cell) != plain for cell in cells]
        self.desktop.key("ctrl+g")
        self.reaches(14_100_000)
        self.assertTrue(wait_until(lambda: marked() == [True, False], 1, 0.1), marked())
        self.reaches(14_200_000)
        self.assertTrue(wait_until(lambda: marked() == [False, True], 1, 0.1), marked())
        self.desktop.key("ctrl+g")
        before = len(self.rig.taken)
        self.settle(2.5)
        self.assertEqual(self.commands(before), [])


class MemoriesTest(StoredTest):
    channels = ("1,Calling,14060.00,CW,,,,", "2,Net,3650.00,LSB,,,,Sundays", "3,Relay,145600.00,FM,,,,")

    def start(self, resize=True):
        self.station.write("RIGMEM.MEM", "KVX memory channels 1\n" + "".join(f"{line}\n" for line in self.channels))
        super().start(resize)

    def setUp(self):
        super().setUp()
        self.desktop.key("ctrl+m")
        self.opened("Memory channels")

    def keeps(self, *lines):
        kept = lambda: [line for line in self.station.read("RIGMEM.MEM").decode().splitlines() if line[:1].isdigit()]
        self.assertTrue(wait_until(lambda: kept() == list(lines), 3, 0.05), kept())

    def test_recall_store_and_move(self):
        self.desktop.key("Down")
        self.sends(lambda: self.desktop.key("Return"), "FA00003650000;", "MD1;")
        self.desktop.key("ctrl+n")
        stored = "4,,3650.00,LSB,,A,,"
        self.keeps(*self.channels, stored)
        self.desktop.key("alt+Up")
        self.keeps(*self.channels[:2], "3" + stored[1:], "4" + self.channels[2][1:])
        self.desktop.key("ctrl+z", "ctrl+z")
        self.keeps(*self.channels)

    def test_search_leads_to_a_recall(self):
        self.desktop.key("ctrl+f")
        self.desktop.type("sunday")
        self.desktop.key("Return")
        self.sends(lambda: self.desktop.key("Return"), "FA00003650000;", "MD1;")

    def test_a_scan_goes_through_the_channels(self):
        self.desktop.key("ctrl+g")
        self.reaches(14_060_000)
        self.reaches(3_650_000)
        self.desktop.key("Escape")
        before = len(self.rig.taken)
        self.settle(2.5)
        self.assertEqual([frame for frame in self.commands(before) if frame.startswith("FA")], [])
