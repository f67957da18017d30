"""What is stored by frequency, and the memory channels: the buttons of the console, the table of channels."""

import os
import sqlite3

from bench import WindowTest
from station import wait_until


class FunctionKeysTest(WindowTest):
    size = (1024, 600)

    def row(self, columns):
        """Of the first row of the store; nothing when there is none."""
        with sqlite3.connect(os.path.join(self.station.folder, "rigsetup.sqlite"), timeout=5) as store:
            return store.execute(f"SELECT {columns} FROM rigfn").fetchone()

    def stores(self, columns, *values):
        self.assertTrue(wait_until(lambda: self.row(columns) == (values or None), 3, 0.05),
                        f"{self.row(columns)}, not {values}")

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


class MemoriesTest(WindowTest):
    size = (1024, 600)
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
