"""However the window is left, the program ends in order."""

import os
import signal
import socket
import subprocess
import tempfile

import station as station_module
from bench import WindowTest
from controls import Program
from station import wait_until


class EndingTest(WindowTest):
    def ends_in_order(self, end):
        self.rig.knob(14_033_000)
        self.assertTrue(wait_until(lambda: abs(self.control("Frequency").value - 14033) < 0.001, 3))
        end()
        self.assertEqual(self.kvx.ended(), 0, self.kvx.errors)
        self.assertIn(b"BANDREM04=14033", self.station.read("rig.ini").upper().replace(b" ", b""))
        self.assertGreater(len(self.station.read("RIGform.Pos").splitlines()), 200)
        self.assertNotIn("Rig.$$$", os.listdir(self.station.folder))

    def test_closing_the_window(self):
        self.ends_in_order(lambda: self.desktop.close(self.window))

    def test_quit_by_keys(self):
        self.ends_in_order(lambda: self.desktop.key("ctrl+q"))

    def test_a_signal(self):
        self.ends_in_order(lambda: self.kvx.process.send_signal(signal.SIGTERM))

    def test_the_transmitter_is_released(self):
        self.sends(lambda: self.click("XMT: user button Alpha"), "TX;")
        self.desktop.close(self.window)
        self.assertEqual(self.kvx.ended(), 0, self.kvx.errors)
        self.assertTrue(wait_until(lambda: not self.rig.transmitting, 1), "the rig is left transmitting")

    def test_a_console_that_cannot_start_says_so_where_the_operator_looks(self):
        command = [station_module.BINARY, "--station", self.station.folder]
        told = subprocess.run(command, stderr=subprocess.PIPE, text=True, timeout=20, check=False)
        self.assertRegex(told.stderr, f"^kvx: The station .* is in use by kvx, process {self.kvx.pid}\n$")
        self.assertEqual(told.returncode, 2)
        with subprocess.Popen(command, stderr=subprocess.DEVNULL) as menu:
            self.assertTrue(wait_until(lambda: self.desktop.windows(menu.pid), 10), "no box says why")
            self.desktop.focus(self.desktop.windows(menu.pid)[0])
            self.assertTrue(wait_until(lambda: Program(menu.pid).find("Close").has("focused"), 5), "keys go elsewhere")
            self.desktop.key("Return")
            self.assertEqual(menu.wait(10), 2)
        with subprocess.Popen(command, stderr=subprocess.DEVNULL) as menu:
            self.assertTrue(wait_until(lambda: self.desktop.windows(menu.pid), 10), "no box says why")
            menu.terminate()
            self.assertIn(menu.wait(10), (0, 2))

    def test_the_window_comes_back_where_it_was(self):
        self.desktop.resize(self.window, 1100, 640)
        self.desktop._do("windowmove", self.window, 60, 40)
        self.settle()
        self.ends_in_order(lambda: self.desktop.close(self.window))
        self.start(resize=False)
        frame = self.program.controls()[0]
        self.assertEqual((frame.x, frame.y), (60, 40))


class SilentVoiceTest(WindowTest):
    """A speech service that takes the connection and never answers."""

    settings = "ANNOUNCEMENTS=1\n"

    def setUp(self):
        self.service = socket.socket(socket.AF_UNIX)
        self.addCleanup(self.service.close)
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        path = os.path.join(folder.name, "speechd.sock")
        self.service.bind(path)
        self.service.listen()
        os.environ["SPEECHD_ADDRESS"] = "unix_socket:" + path
        super().setUp()

    def test_the_console_goes_on_and_ends(self):
        for _ in range(3):
            self.desktop.key("F12")
            self.settle()
        self.sends(lambda: self.click("Band 40 metres"), "MD3;", "FA00007000000;")
        self.desktop.key("ctrl+q")
        self.assertEqual(self.kvx.ended(), 0, self.kvx.errors)
