"""Hostile settings: numbers that cannot be, rows full of garbage, a full disk, things in the place of files, no home."""

import os
import random
import shutil
import socket
import sqlite3
import stat
import subprocess
import tempfile
import time
import unittest

import station as station_module
from station import Station, noted

LONG = os.environ.get("KVX_E2E_LONG") == "1"
SIZE = 2 << 30  # of a file that nothing should read as a whole


def mount(*arguments):
    return subprocess.run(["mount", *arguments], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False).returncode == 0


class HostileTest(unittest.TestCase):
    def setUp(self):
        self.station = Station()
        self.addCleanup(self.station.__exit__)
        self.station.configure("TS-2000", "KENWOOD", 57600)
        self.station.write("ports.ini", "COM3=sim:ts2000\n")

    def messages(self, kvx, part=""):
        return [line for line in kvx.texts() if line.startswith("message ") and part in line]

    def mounted(self, *arguments):
        """Mounts on the station's folder, which goes before the folder does."""
        if not mount(*arguments):
            self.skipTest("this machine lets nobody mount")
        self.addCleanup(subprocess.run, ["umount", "-l", self.station.folder], check=False)

    def test_numbers_in_the_settings(self):
        """Each is named in one line; a port that there is not does not become another one."""
        wrong = {"RIGPORT=": "99999", "RIGSPEED=": "7", "POLLTIME=": "-1", "BANDPLAN=": "9", "TEXTSIZE=": "4294967297", "NETPORT=": "65536",
                 "PADDLECOM=": "1e9", "CWSPEED=": "0x10"}
        self.station.write("rig.ini", "XRIG=TS-2000\n" + "".join(f"{key} {value}\n" for key, value in wrong.items()))
        kvx = self.station.start()
        status = kvx.status()
        self.assertEqual((status["port"], status["speed"], status["open"]), (0, 9600, False))
        for key, value in wrong.items():
            told = self.messages(kvx, f"rig.ini: {key}{value.upper()} ")
            self.assertEqual(len(told), 1, self.messages(kvx))
        self.assertEqual(kvx.quit(), 0)
        self.assertIn(b"RIGPORT= 99999\nRIGSPEED= 7\n", self.station.read("rig.ini"), "nobody has chosen anything else")

    def test_things_in_place_of_files(self):
        """A folder, a pipe, a file of 2 GB: nothing hangs, and what was there is still there."""
        make = {"folder": os.mkdir, "pipe": os.mkfifo, "large": lambda path: open(path, "wb").truncate(SIZE)}
        names = ["rig.ini", "ports.ini", "RIGform.Pos", "RIGMEM.MEM", "KeyScreen.txt", "AntContF.Pos", "SpecDisplay.pos", "rigsetup.sqlite", "TunerSUB.sqlite",
                 "RigFunctions.CSV"]
        for kind, make_it in make.items():
            with self.subTest(kind), Station() as station:
                for name in names:
                    make_it(station.path(name))
                begin = time.monotonic()
                kvx = station.start()
                self.assertEqual(kvx.command("bearing 45")[:3], "ok ")
                for command in ("status", "memory store 3 x", "cwset nr 3", "fnimport", "tuner show 14000", "save", "rigs", "store x"):
                    kvx.command(command, 10)
                self.assertEqual(kvx.quit(15), 0)
                self.assertLess(time.monotonic() - begin, 30)
                self.assertEqual(self.kinds(station)[kind], len(names), sorted(os.listdir(station.folder)))
                for name in names[:4]:
                    told = [line for line in kvx.texts() if line.startswith("message ") and name in line]
                    self.assertTrue(told, f"{kind} {name}")

    @unittest.skipUnless(os.geteuid() == 0 and shutil.which("unshare"), "only root has a name service of its own")
    def test_a_name_service_that_is_silent(self):
        """The console ends without its answer."""
        address = f"127.{random.randint(2, 250)}.{random.randint(2, 250)}.{random.randint(2, 250)}"
        self.station.write("resolv.conf", f"nameserver {address}\n")
        self.station.write("ports.ini", "COM3=tcp:rig.example.org:4001\n")
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as service:
            service.bind((address, 53))
            service.settimeout(10)
            script = f"mount --bind '{self.station.path('resolv.conf')}' /etc/resolv.conf && exec '{station_module.BINARY}' --headless --station '{self.station.folder}'"
            kvx = subprocess.Popen(["unshare", "--mount", "sh", "-c", script], stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)
            self.addCleanup(kvx.stdin.close)
            self.addCleanup(kvx.wait)
            self.addCleanup(kvx.kill)
            service.recv(500)  # it asks
            begin = time.monotonic()
            kvx.stdin.write(b"quit\n")
            kvx.stdin.flush()
            self.assertEqual(kvx.wait(20), 0)
            self.assertLess(time.monotonic() - begin, 4)

    def kinds(self, station):
        found = {"folder": 0, "pipe": 0, "large": 0}
        for entry in os.scandir(station.folder):
            mode = entry.stat(follow_symlinks=False)
            found["folder"] += stat.S_ISDIR(mode.st_mode)
            found["pipe"] += stat.S_ISFIFO(mode.st_mode)
            found["large"] += mode.st_size == SIZE
        return found

    def test_full_disk(self):
        """Every save says so in one line and leaves the old file; with room again the next one works."""
        content = {name: self.station.read(name) for name in ("rig.ini", "ports.ini")}
        self.mounted("-t", "tmpfs", "-o", "size=3m", "tmpfs", self.station.folder)
        for name, data in content.items():
            self.station.write(name, data)
        wav = self.station.path("sound.wav")
        saves = ["save", "memory store 7 x", "fnexport", "memory export m.csv", "rigdef export r.csv", "tuner export t.csv", "cwfn 1 CQ CQ {0}",
                 "tuner save", "rigdef copy TS-2000 NEW{0}", "store note {0}", "setting CWSPEED=3{0}"]
        prepare = ["freq 14033", "fntext 1 0600", "tuner show 14000", "tuner set Ind1 {0}"]
        kvx = self.station.start()
        for command in prepare + saves:
            self.assertEqual(kvx.command(command.format(1))[:3], "ok ", command)
        filler = self.station.path("filler")
        with open(filler, "wb", buffering=0) as file:
            for size in (65536, 4096, 1):
                try:
                    while file.write(b"x" * size):
                        pass
                except OSError:
                    pass
        before = self.contents()
        for command in prepare:
            kvx.command(command.format(2))
        for command in saves:
            answer = kvx.command(command.format(2), 10)
            # What the store keeps in its own pages may still fit.
            if not command.startswith(("tuner save", "rigdef copy", "store")):
                self.assertTrue(answer.startswith("error: "), f"{command}: {answer}")
        for command in ("audio source sim:receiver", "audio on"):
            kvx.command(command)
        if kvx.command(f"audio record {wav}").startswith("ok "):
            kvx.wait_line(lambda text: text.startswith("message ") and "sound.wav" in text, 15)
            os.unlink(wav)
        self.assertTrue([text for text in kvx.texts() if "sound.wav could not be" in text], kvx.texts()[-5:])
        after = self.contents()
        for name in before:
            if not name.endswith((".sqlite", ".lock")):
                self.assertEqual(after.get(name), before[name], name)
        os.unlink(filler)
        for command in prepare + saves:
            self.assertEqual(kvx.command(command.format(3), 10)[:3], "ok ", command)
        self.assertEqual(kvx.quit(), 0)
        self.assertIn(b"CWSPEED= 33", self.station.read("rig.ini"))

    def contents(self):
        return {name: self.station.read(name) for name in os.listdir(self.station.folder)}

    def test_full_disk_at_the_first_start(self):
        self.mounted("-t", "tmpfs", "-o", "size=16k", "tmpfs", self.station.folder)
        kvx = self.station.start()
        kvx.status()
        self.assertEqual(len(self.messages(kvx, "rigsetup.sqlite")), 1, kvx.texts())
        self.assertIn("TS-2000", kvx.command("rigs"))
        self.assertEqual(kvx.command("rig TS-2000")[:3], "ok ")
        self.assertEqual(kvx.quit(), 0)

    def test_read_only_disk(self):
        self.mounted("--bind", self.station.folder, self.station.folder)
        mount("-o", "remount,ro,bind", self.station.folder)
        kvx = self.station.start(ready=False)
        self.assertEqual(kvx.ended(), 1)
        self.assertEqual(kvx.errors.count("\n"), 1, kvx.errors)
        self.assertIn("Read-only file system", kvx.errors)

    def test_folders_that_are_none(self):
        """One line on standard error, the end 1, and nothing made anywhere."""
        file = self.station.path("rig.ini")
        loop = self.station.path("loop")
        os.symlink("loop", loop)
        here = tempfile.mkdtemp(prefix="kvx-e2e-", dir=self.station.folder)
        none = {"HOME": "", "XDG_DATA_HOME": ""}
        rows = [(["--station", file], {}, file), (["--station", loop], {}, loop), (["--station", "/dev/null"], {}, "/dev/null"), ([], none, "--station DIR"),
                ([], {"HOME": "relative", "XDG_DATA_HOME": "relative"}, "--station DIR"), ([], {"HOME": file, "XDG_DATA_HOME": ""}, file)]
        for arguments, environment, named in rows:
            with self.subTest(arguments=arguments, environment=environment):
                done = subprocess.run([station_module.BINARY, "--headless", *arguments], env={**os.environ, **environment}, cwd=here, input="quit\n",
                                      capture_output=True, text=True, timeout=20, check=False)
                self.assertEqual(done.returncode, 1, done.stdout)
                self.assertEqual(done.stderr.count("\n"), 1, done.stderr)
                self.assertIn(named, done.stderr)
                self.assertEqual(os.listdir(here), [])


class StoreTest(unittest.TestCase):
    """A rig store with more in it than anybody expects."""

    def setUp(self):
        self.station = Station()
        self.addCleanup(self.station.__exit__)
        self.station.configure("TS-2000", "KENWOOD", 57600)
        self.station.write("ports.ini", "COM3=sim:ts2000\n")
        self.assertEqual(self.station.start().quit(), 0)
        self.store = sqlite3.connect(self.station.path("rigsetup.sqlite"))
        self.addCleanup(self.store.close)
        self.columns = [row[1] for row in self.store.execute("PRAGMA table_info(RigSetup)")]

    def add_rigs(self, rows):
        self.store.executemany(f"INSERT INTO RigSetup VALUES ({','.join('?' * len(self.columns))})", rows)
        self.store.commit()

    def test_rows_of_garbage(self):
        """64 KB in every field: the rig can be chosen, nothing of it reaches the line or the memory, and the next rig works."""
        noise = random.Random(1)
        garbage = bytes(noise.randrange(256) for _ in range(65536))
        rows = {"Bytes": garbage, "Letters": garbage.decode("latin-1"), "Open": "<FREQ" * 13000, "Nested": "<" * 65536, "Addresses": "<ADDR>" * 10900,
                "Ends": ";" * 65536, "Queries": "FA;[1-9]{1/1}" * 5000}
        for family in ("KENWOOD", "ICOM"):
            self.add_rigs([f"{name} {family}" if column == "RigName" else family if column == "RigType" else value for column in self.columns]
                          for name, value in rows.items())
        kvx = self.station.start()
        for family in ("KENWOOD", "ICOM"):
            for name in rows:
                self.assertEqual(kvx.command(f"rig {name} {family}"), f"ok {name} {family}")
                for command in ("freq 14025", "mode USB", "fn 1", "slider AF 100", "send XUSB", "levels", "usual", "preview XUSB", "status"):
                    kvx.command(command)
                self.assertTrue([line for line in kvx.texts() if "has more than 4096 characters" in line], name)
        self.assertEqual(kvx.command("rig TS-2000"), "ok TS-2000")
        self.assertEqual(kvx.command("freq 7010"), "ok freq 7010.00")
        kvx.wait_status(lambda status: status["open"] and status["hz"] == 7010000)
        with open(f"/proc/{kvx.pid}/status", encoding="ascii") as file:
            most = next(int(line.split()[1]) for line in file if line.startswith("VmHWM"))
        noted(f"rows of garbage: {most // 1024} MB at most")
        self.assertLess(most, 300 * 1024)
        self.assertEqual(kvx.quit(), 0)

    def test_very_many(self):
        """Ten thousand rigs, a hundred thousand function rows (a million in the long run)."""
        row = self.store.execute("SELECT * FROM RigSetup WHERE RigName = 'TS-2000'").fetchone()
        self.add_rigs([f"Rig {i:05}", *row[1:]] for i in range(10000))
        count = 1_000_000 if LONG else 100_000
        fields = [column[1] for column in self.store.execute("PRAGMA table_info(rigfn)")]
        values = {"RigName": "TS-2000", "Mode": "USB", "Scan": "Y"}
        self.store.executemany(f"INSERT INTO rigfn VALUES ({','.join('?' * len(fields))})",
                               ([f"{1800 + i / 20:.2f}" if field == "Freq" else values.get(field, "0") for field in fields] for i in range(count)))
        self.store.commit()
        kvx = self.station.start()
        for command, limit in (("rigs", 1), ("rig Rig 07777", 1), ("rig TS-2000", 1), ("freq 2000", 1), ("recall", 1), ("store x", 2), ("fnlist 1 3", 2), ("delete", 2),
                               ("scan start memories", 1), ("status", 1), ("rigdef export r.csv", 4), ("rigdef import r.csv replace", 5)):
            begin = time.monotonic()
            answer = kvx.command(command, 20)
            took = time.monotonic() - begin
            noted(f"10,000 rigs and {count} rows, {command}: {took * 1000:.0f} ms")
            self.assertLess(took, limit * (10 if LONG else 3), command)
            self.assertLess(len(answer), 1 << 20)
        self.assertEqual(kvx.quit(15), 0)


if __name__ == "__main__":
    unittest.main()
