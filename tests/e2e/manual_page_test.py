"""The manual page: what troff makes of it is what the program says of itself."""

import os
import re
import subprocess
import unittest

import station as station_module
from station import Station


def squeezed(text):
    return re.sub(r"\s+", " ", text)


class ManualPageTest(unittest.TestCase):
    def test_troff_loses_nothing_of_what_help_says(self):
        source = subprocess.run([station_module.BINARY, "--man"], capture_output=True, check=True, timeout=20)
        self.assertEqual(source.stderr, b"")
        page = subprocess.run(["groff", "-man", "-Tascii", "-P-cbou", "-ww", "-rLL=200n"], input=source.stdout, check=True,
                              env={**os.environ, "GROFF_NO_SGR": "1"}, capture_output=True, timeout=20)
        self.assertEqual(page.stderr.decode(), "", "troff's warnings")
        text = squeezed(page.stdout.decode())
        with Station() as station:
            kvx = station.start()
            for name in kvx.command("help").split()[1:]:
                self.assertIn(" " + squeezed(kvx.command("help " + name))[3:], text)
            self.assertEqual(kvx.quit(), 0)
