"""What is wrong with a station, as the program finds it from outside."""

import ctypes
import fcntl
import os
import pty
import shutil
import socket
import subprocess
import sys
import time
import unittest

import station as station_module
from station import NO_WINE, Station, noted

NOBODY = 65534
IN_OPEN = 0x20
HOLDER = "import os, sys, time; os.open(sys.argv[1], os.O_RDWR | os.O_NOCTTY); print('open', flush=True); time.sleep(60)"


def contents(folder):
    """Every name in the folder with its content and the time it was changed."""
    found = {}
    for name in os.listdir(folder):
        path = os.path.join(folder, name)
        facts = os.lstat(path)
        readable = os.path.isfile(path) and not os.path.islink(path)
        found[name] = (facts.st_mtime_ns, facts.st_size, open(path, "rb").read() if readable else None)
    return found


class OpenWatch:
    """Whether somebody has opened a file since."""

    def __init__(self, path):
        libc = ctypes.CDLL(None, use_errno=True)
        self.events = libc.inotify_init1(os.O_NONBLOCK)
        assert libc.inotify_add_watch(self.events, os.fsencode(path), IN_OPEN) >= 0

    def opened(self):
        try:
            return bool(os.read(self.events, 4096))
        except BlockingIOError:
            return False
        finally:
            os.close(self.events)


class DoctorTest(unittest.TestCase):
    def setUp(self):
        self.station = Station()
        self.addCleanup(self.station.__exit__)
        self.master, self.slave = pty.openpty()
        os.set_blocking(self.master, False)
        self.addCleanup(os.close, self.master)
        self.station.configure("TS-2000", "KENWOOD", 57600)
        os.symlink(os.ttyname(self.slave), self.station.device)
        self.environment = {"PULSE_SERVER": f"unix:{self.station.path('none')}"}

    def doctor(self, user=None):
        """The lines and the seconds. Nothing in the folder changes, the port is not opened, and no byte comes out of it."""
        before = contents(self.station.folder)
        watch = OpenWatch(os.ttyname(self.slave))
        begin = time.monotonic()
        done = subprocess.run([station_module.BINARY, "doctor", "--station", self.station.folder], check=False, user=user,
                              env={**os.environ, **NO_WINE, **self.environment}, capture_output=True, text=True, timeout=30)
        seconds = time.monotonic() - begin
        self.assertEqual(contents(self.station.folder), before)
        self.assertFalse(watch.opened(), "the port was opened")
        with self.assertRaises(OSError):  # there is nothing to read
            os.read(self.master, 100)
        self.assertEqual(done.stderr, "")
        lines = done.stdout.splitlines()
        for line in lines[:-1]:
            self.assertTrue(line.startswith(("ok ", "warning: ", "error: ")), line)
        self.assertTrue(lines[-1].startswith("In all: "), lines)
        self.assertEqual(done.returncode, int(any(line.startswith("error: ") for line in lines)), done.stdout)
        return lines, seconds

    def test_no_home_directory(self):
        done = subprocess.run([station_module.BINARY, "doctor"], check=False, env={"HOME": ""}, capture_output=True,
                              text=True, timeout=30)
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertRegex(done.stderr, "^kvx: there is no home directory for the station folder: .*\n$")

    def test_nothing_is_made_elsewhere(self):
        home = self.station.path("home")
        os.mkdir(home)
        self.environment = {"HOME": home, "XDG_RUNTIME_DIR": "", "PULSE_SERVER": "", "PULSE_RUNTIME_PATH": ""}
        self.line(self.doctor()[0], "warning: sound: ")
        self.assertEqual(os.listdir(home), [])

    def line(self, lines, *parts):
        found = [line for line in lines if all(part in line for part in parts)]
        self.assertEqual(len(found), 1, (parts, lines))
        return found[0]

    def test_a_port_that_another_program_has(self):
        lines, seconds = self.doctor()
        self.line(lines, "ok rig port COM3: is " + self.station.device)
        noted(f"an examination took {seconds:.2f} s")
        holder = subprocess.Popen([sys.executable, "-c", HOLDER, self.station.device], stdout=subprocess.PIPE)
        self.addCleanup(holder.stdout.close)
        self.addCleanup(holder.wait)
        self.addCleanup(holder.kill)
        holder.stdout.readline()
        with open(f"/proc/{holder.pid}/comm", encoding="utf-8") as name:
            self.line(self.doctor()[0], "error: rig port COM3: ", f"is in use by {name.read().strip()}, process {holder.pid}")

    def test_a_port_that_its_maker_has_locked(self):
        fcntl.flock(self.slave, fcntl.LOCK_EX)
        self.line(self.doctor()[0], "error: rig port COM3: ", f"process {os.getpid()}")

    def test_a_running_console_is_a_fact(self):
        kvx = self.station.start()
        kvx.wait_status(lambda status: status["open"])
        before = len(kvx.texts())
        lines = subprocess.run([station_module.BINARY, "doctor", "--station", self.station.folder], check=False,
                               env={**os.environ, **NO_WINE, **self.environment}, capture_output=True, text=True,
                               timeout=30).stdout.splitlines()
        self.line(lines, "ok console: kvx, process", str(kvx.pid), "runs on this station")
        self.line(lines, "ok rig port COM3: ", "in use by the console")
        self.assertTrue(kvx.status()["open"])
        answer = kvx.command("doctor", 20)
        self.assertTrue(answer.startswith("ok doctor "), answer)
        told = [text for text in kvx.texts(before) if text.startswith("doctor ")]
        self.line(told, "doctor ok rig port COM3: ", "in use by the console")
        self.assertEqual(kvx.quit(), 0)

    def test_a_network_port_that_is_taken(self):
        with socket.socket() as server:
            server.bind(("127.0.0.1", 0))
            server.listen()
            port = server.getsockname()[1]
            self.station.configure("TS-2000", "KENWOOD", 57600, extra=f"NETSERVER=True\nNETPORT={port}\n")
            self.line(self.doctor()[0], f"error: NET rigctl server 127.0.0.1:{port}: ", f"process {os.getpid()}")

    def test_files_that_are_garbage(self):
        self.station.write("rigsetup.sqlite", os.urandom(5000))
        self.station.write("TunerSUB.sqlite", b"")
        self.station.write("rig.ini", bytes(range(256)) * 20)
        self.station.write("ports.ini", "COM3=/dev/none\nrubbish\n")
        lines = self.doctor()[0]
        self.line(lines, "error: rigsetup.sqlite: damaged (")
        self.line(lines, "error: rig.ini: is no text file")
        self.line(lines, 'warning: ports.ini line 2 "rubbish": ')

    @unittest.skipUnless(os.geteuid() == 0, "only root can be somebody else")
    def test_a_device_without_permission(self):
        os.chmod(self.station.folder, 0o755)
        os.chmod(self.slave, 0o620)
        lines = self.doctor(user=NOBODY)[0]
        self.line(lines, "error: rig port COM3: ", "this user may not read and write it", "start that program as the same user")
        self.line(lines, "error: station folder ", "sudo chown -R $USER")

    @unittest.skipUnless(os.geteuid() == 0 and shutil.which("mknod"), "only root can make a device")
    def test_a_device_of_the_group_dialout(self):
        device = self.station.path("ttyUSB0")
        if subprocess.run(["mknod", device, "c", "4", "64"], check=False, capture_output=True).returncode != 0:
            self.skipTest("no device can be made here")
        shutil.chown(device, "root", "dialout")
        os.chmod(device, 0o660)
        os.chmod(self.station.folder, 0o755)
        self.station.write("ports.ini", f"COM3={device}\n")
        self.line(self.doctor(user=NOBODY)[0], "error: rig port COM3: ", "sudo adduser $USER dialout, then log in again")

    def test_a_sound_server_that_is_silent(self):
        path = self.station.path("silent")
        with socket.socket(socket.AF_UNIX) as server:
            server.bind(path)
            server.listen(50)
            self.environment = {"PULSE_SERVER": f"unix:{path}"}
            lines, seconds = self.doctor()
        self.line(lines, "error: sound: the sound server does not answer: ")
        self.assertLess(seconds, 8)
        noted(f"beside a silent sound server an examination took {seconds:.1f} s")
