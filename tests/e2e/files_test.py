"""The station's files: whole after a crash, and never destroyed when they are damaged."""

import fcntl
import os
import pathlib
import random
import shutil
import time
import unittest

import station as station_module
from station import Station, noted

SAMPLE = pathlib.Path(__file__).resolve().parent.parent / "data" / "old-rigsetup.mdb"
LONG = os.environ.get("KVX_E2E_LONG") == "1"
UNKNOWN = ["MyOwnKey=one", "a line without an equals sign", "ANOTHER=  two  ", "F7=\xe4 \xff"]
NOBODY = 65534


class SaveTest(unittest.TestCase):
    def setUp(self):
        self.station = Station()
        self.addCleanup(self.station.__exit__)
        self.station.configure("TS-2000", "KENWOOD", 38400, port=0)
        unknown = "".join(f"{line}\n" for line in UNKNOWN).encode("latin-1")
        self.station.write("rig.ini", self.station.read("rig.ini") + unknown)
        self.station.write("ports.ini", "")

    def test_kill_during_save(self):
        """Whatever moment: the old file or the new one, whole, with the lines that are not ours."""
        old = self.station.read("rig.ini")
        kvx = self.station.start()
        whole = [old]
        for _ in range(2):  # lines that are appended and lines that are replaced look a little different
            self.assertEqual(kvx.command("save"), "ok saved")
            whole.append(self.station.read("rig.ini"))
            self.assertIn(b"BANDREM15=", whole[-1])
            for line in UNKNOWN:
                self.assertIn(f"\n{line}\n".encode("latin-1"), whole[-1])
        kvx.kill()
        rounds, inside, replaced = 200 if LONG else 40, 0, 0
        for i in range(rounds):
            self.station.write("rig.ini", old)
            kvx = self.station.start()
            kvx.write(b"save\n" * 300)
            if i % 2:
                kvx.wait_line("ok saved")
            time.sleep(random.uniform(0, 0.02))
            kvx.kill()
            content = self.station.read("rig.ini")
            self.assertIn(content, whole, f"after kill {i}")
            replaced += content != old
            left = self.station.path("Rig.$$$")
            if os.path.exists(left):
                inside += 1
                os.unlink(left)
        noted(f"kill during save: {rounds} times, {inside} of them inside a rewrite, {replaced} after one")
        self.assertGreater(inside, 0, "no kill came inside a rewrite: the test shows nothing")
        self.assertEqual(self.station.start().quit(), 0)

    def test_lock_that_is_held(self):
        """Another program that is really writing is waited for, not for ever, and told of."""
        kvx = self.station.start()
        before = self.station.read("rig.ini")
        with open(self.station.path("Rig.$$$"), "wb") as held:
            fcntl.flock(held, fcntl.LOCK_EX)
            begin = time.monotonic()
            answer = kvx.command("save", 9)
            self.assertLess(time.monotonic() - begin, 7)
            self.assertTrue(answer.startswith("error: ") and "Rig.$$$" in answer, answer)
            self.assertEqual(self.station.read("rig.ini"), before)
            kvx.command("status")


class DamageTest(unittest.TestCase):
    """Files that are missing, empty, cut short or something else entirely."""

    def setUp(self):
        self.station = Station()
        self.addCleanup(self.station.__exit__)
        self.station.configure("TS-2000", "KENWOOD", 38400, port=0)
        self.station.write("ports.ini", "COM3=/dev/serial/by-id/usb-One\nCOM4=/dev/serial/by-id/usb-Another\n")
        kvx = self.station.start()
        self.assertEqual(kvx.quit(), 0)
        shutil.copy(SAMPLE, self.station.path("rigsetup.mdb"))
        names = ("rig.ini", "ports.ini", "rigsetup.sqlite", "RIGform.Pos", "rigsetup.mdb")
        self.whole = {name: self.station.read(name) for name in names}
        os.unlink(self.station.path("rigsetup.mdb"))

    def damaged(self, name):
        noise = random.Random(name)
        whole = self.whole[name]
        # Cut where something is lost: in the middle of a line or a page.
        return {"missing": None, "empty": b"", "cut short": whole[: len(whole) * 2 // 5 + 3],
                "garbage": bytes(noise.randrange(256) for _ in range(5000)),
                "garbage without zeros": bytes(noise.randrange(1, 256) for _ in range(5000))}

    def contents(self):
        return [file.read_bytes() for file in pathlib.Path(self.station.folder).rglob("*") if file.is_file()]

    def start_damaged(self, name, content):
        """Starts on the damaged file, works, ends: what it said at the start is wrong with the file."""
        for other, whole in self.whole.items():
            if other != "rigsetup.mdb":
                self.station.write(other, whole)
        if content is None:
            pathlib.Path(self.station.path(name)).unlink(missing_ok=True)
        else:
            self.station.write(name, content)
        kvx = self.station.start()
        kvx.status()
        at_start = kvx.texts()
        self.assertIn("TS-2000", kvx.command("rigs"))
        self.assertEqual(kvx.command("rig FT-857"), "ok FT-857")
        self.assertEqual(kvx.quit(), 0)
        stem = name.rsplit(".", 1)[0]
        about = [line for line in at_start if line.startswith("message ") and stem.lower() in line.lower()]
        return [line for line in about if "has been made" not in line]

    def check(self, name, must_say):
        for kind, content in self.damaged(name).items():
            with self.subTest(f"{name} {kind}"):
                said = self.start_damaged(name, content)
                if kind in must_say:
                    self.assertEqual(len(said), 1, said)
                    self.assertIn(name, said[0])
                if content:
                    self.assertKept(name, kind, content)

    def assertKept(self, name, kind, content):  # noqa: N802
        """The bytes are still somewhere in the folder, or each line of a text file is still in it."""
        if content in self.contents():
            return
        self.assertEqual(name, "rig.ini", f"{kind}: the bytes are gone")
        kept = self.station.read(name).split(b"\n")
        ours = (b"XRIG=", b"RIGTYPE=", b"SCREEN", b"BODYCOLOR=", b"BAND")
        for line in content.split(b"\n"):
            self.assertTrue(line in kept or line.startswith(ours), f"{kind}: lost {line!r}")

    def test_rig_ini(self):
        self.check("rig.ini", ("garbage", "garbage without zeros"))

    def test_ports_ini(self):
        self.check("ports.ini", ("garbage", "garbage without zeros"))

    def test_rigsetup_sqlite(self):
        self.check("rigsetup.sqlite", ("empty", "cut short", "garbage", "garbage without zeros"))

    def test_position_file(self):
        damaged = self.damaged("RIGform.Pos")
        for kind in ("missing", "empty", "cut short"):  # what is not in the file is at its start value
            with self.subTest(kind):
                self.start_damaged("RIGform.Pos", damaged[kind])
                self.assertEqual(self.station.read("RIGform.Pos"), self.whole["RIGform.Pos"])
        for kind in ("garbage", "garbage without zeros"):
            with self.subTest(kind):
                said = self.start_damaged("RIGform.Pos", damaged[kind])
                self.assertEqual(len(said), 1, said)
                self.assertIn(damaged[kind], self.contents())

    def test_old_database(self):
        self.check("rigsetup.mdb", ("empty", "cut short", "garbage", "garbage without zeros"))

    def test_folders_in_place_of_files(self):
        for name in ("rig.ini", "ports.ini", "RIGform.Pos", "rigsetup.mdb"):
            with self.subTest(name):
                pathlib.Path(self.station.path(name)).unlink(missing_ok=True)
                os.mkdir(self.station.path(name))
                kvx = self.station.start()
                kvx.status()
                kvx.quit()
                left = [path for path in (self.station.path(name), self.station.path(name + ".damaged")) if os.path.isdir(path)]
                self.assertEqual(len(left), 1, "where it was, or set aside")
                os.rmdir(left[0])
                if name in self.whole and name != "rigsetup.mdb":
                    self.station.write(name, self.whole[name])


class StationFolderTest(unittest.TestCase):
    def setUp(self):
        self.station = Station()
        self.addCleanup(self.station.__exit__)

    def test_old_database_is_imported_into_a_new_station(self):
        shutil.copy(SAMPLE, self.station.path("RIGSETUP.MDB"))
        kvx = self.station.start()
        rigs = kvx.command("rigs")
        for name in ("Grüße – \"odd\" rig", "Club rig 39", "IC-7300", "FT-DX5000"):
            self.assertIn(name, rigs)
        self.assertEqual(kvx.command("rig Club rig 39"), "ok Club rig 39")
        self.assertEqual(kvx.quit(), 0)
        self.assertEqual(self.station.read("RIGSETUP.MDB"), SAMPLE.read_bytes())
        again = self.station.start()
        self.assertEqual(again.command("rigs"), rigs)
        self.assertFalse([line for line in again.texts() if "RIGSETUP.MDB" in line], "it is imported once")
        self.assertEqual(again.quit(), 0)

    def test_second_start_on_the_same_folder(self):
        first = self.station.start()
        second = self.station.start(ready=False)
        self.assertEqual(second.ended(), 2)
        self.assertIn(str(first.pid), second.errors)
        self.assertEqual(second.errors.count("\n"), 1)
        self.assertEqual(second.texts(), [])
        first.kill()  # a crash leaves no lock behind
        self.assertEqual(self.station.start().quit(), 0)

    def test_read_only_folder(self):
        if os.geteuid() != 0:
            self.skipTest("only root can become another user")
        probe = station_module.Kvx("--version", user=NOBODY)
        if probe.ended() != 0:
            self.skipTest("another user cannot run the program")
        self.station.configure("TS-2000", "KENWOOD", 38400, port=0)
        files = self.contents()
        os.chmod(self.station.folder, 0o555)
        kvx = self.station.start(ready=False, user=NOBODY)
        self.assertEqual(kvx.ended(), 1)
        self.assertEqual(kvx.errors.count("\n"), 1, kvx.errors)
        self.assertIn(self.station.folder, kvx.errors)
        self.assertEqual(self.contents(), files)

    def contents(self):
        return {file.name: file.read_bytes() for file in pathlib.Path(self.station.folder).iterdir()}

    def test_files_that_cannot_be_written(self):
        """The folder can be written, but the settings belong to somebody else and cannot be read."""
        if os.geteuid() != 0:
            self.skipTest("only root can become another user")
        self.station.configure("TS-2000", "KENWOOD", 38400, port=0)
        before = self.station.read("rig.ini")
        os.chmod(self.station.folder, 0o1777)  # as /tmp: others' files stay
        os.chmod(self.station.path("rig.ini"), 0o600)
        kvx = self.station.start(user=NOBODY)
        kvx.status()
        self.assertTrue(any("rig.ini" in line for line in kvx.texts() if line.startswith("message ")), kvx.texts())
        self.assertTrue(kvx.command("save", 9).startswith("error: "))
        self.assertEqual(kvx.quit(), 0)
        self.assertEqual(self.station.read("rig.ini"), before)

    def test_a_folder_that_cannot_be_made(self):
        kvx = station_module.Kvx("--headless", "--station", "/proc/nowhere/station")
        self.assertEqual(kvx.ended(), 1)
        self.assertIn("/proc/nowhere/station", kvx.errors)
