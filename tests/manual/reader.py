"""Somebody who does what a chapter says: on a computer of his own, with a home of his own, block after block."""

import json
import os
import pathlib
import queue
import re
import shutil
import signal
import subprocess
import tempfile
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
PATIENCE = 20.0  # seconds for anything that the manual says will happen
KEYS = {"Enter": "Return", "PgUp": "Prior", "PgDn": "Next", "Esc": "Escape", "Space": "space", "Del": "Delete", "+": "plus",
        ".": "period", "-": "minus", "Ctrl": "ctrl", "Alt": "alt", "Shift": "shift"}
NAMED = {*KEYS, "Tab", "Left", "Right", "Up", "Down", "Home", "End", "Backspace", *(f"F{n}" for n in range(1, 13))}


IN_STATUS = {"RIGPORT": "port", "RIGSPEED": "speed"}
SETTINGS = ROOT / "docs" / "station-folder.md"
# What programs say that end with 0 all the same: the console's refusals, and those of rigctl, which may dump its own log.
REFUSAL = re.compile(r"error: .*|\w+: error = .*|Command '.*' not found!.*|Unknown command.*|\d+:\w+\.c\(\d+\).*")


class Failure(Exception):
    pass


def pattern(line):
    return ".*".join(re.escape(part) for part in line.split("..."))


def like(lines):
    """A regular expression for what is shown: "..." for what varies, alone on a line for any lines."""
    return "".join(r"(?:.*\n)*?" if line.strip() == "..." else pattern(line) + r"\s*\n" for line in lines)


class Session:
    """A program in a terminal of its own that is talked to, or just runs on."""

    def __init__(self, command, reader, environment=None):
        self.answers_each = "--headless" in command or "run.sh" in command
        self.process = subprocess.Popen(["bash", "-c", command], cwd=reader.folder, env={**reader.environment, **(environment or {})},
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                                        errors="replace", bufsize=1, start_new_session=True)
        self.shown, self.at, self.answered, self.typed = [], 0, 0, 0
        self.news = queue.Queue()
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        for line in self.process.stdout:
            self.news.put(line.rstrip("\n"))
        self.news.put(None)

    def _take(self, deadline):
        """One more line; False at the end of the output or of the patience."""
        try:
            line = self.news.get(timeout=max(0.0, deadline - time.monotonic()))
        except queue.Empty:
            return False
        if line is None:
            self.news.put(None)
            return False
        self.shown.append(line)
        self.answered += line == "ok" or line.startswith(("ok ", "error: ", "{"))
        return True

    def type(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()
        self.typed += 1

    def wait_answer(self):
        """The answer to what has been typed last."""
        deadline = time.monotonic() + PATIENCE
        while self.answered < self.typed:
            if not self._take(deadline):
                raise Failure(f"no answer; the last lines are {self.shown[-4:]}")
        return next(line for line in reversed(self.shown) if line == "ok" or line.startswith(("ok ", "error: ", "{")))

    def expect(self, line):
        """That line comes, behind what has been expected before."""
        deadline = time.monotonic() + PATIENCE
        while True:
            for index in range(self.at, len(self.shown)):
                if re.fullmatch(pattern(line), self.shown[index].rstrip()):
                    self.at = index + 1
                    return
            if not self._take(deadline):
                raise Failure(f"{line!r} does not come; it shows {self.shown[self.at:][-12:]}")

    def expect_all(self, lines):
        for line in lines:
            if line.strip() not in ("", "..."):
                self.expect(line.rstrip())

    def end(self, number=signal.SIGINT):
        if self.process.poll() is None:
            os.killpg(self.process.pid, number)
        try:
            self.process.wait(10)
        except subprocess.TimeoutExpired:
            os.killpg(self.process.pid, signal.SIGKILL)
            self.process.wait()


class Reader:
    def __init__(self, binary):
        self.home = tempfile.mkdtemp(prefix="kvx-manual-")
        self.tmp = os.path.join(self.home, "tmp")  # what the manual calls /tmp
        self.folder = os.path.join(self.home, "kvx")
        self.terminals, self.session, self.desktop, self.window = {}, None, None, None
        self.last = None  # what the last block has shown, or the session that shows it
        self.stations = {}
        self.keys_until = 0  # what keys in a window do takes a moment: until then a shell is asked again
        self._make_tree(os.path.abspath(binary))
        quiet = ("DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "XDG_DATA_HOME", "XDG_CONFIG_HOME")
        self.environment = {name: value for name, value in os.environ.items() if name not in quiet}
        self.environment.update(HOME=self.home, XDG_RUNTIME_DIR=self.tmp, LC_ALL="C.UTF-8", USER="reader",
                                SPEECHD_ADDRESS="unix_socket:/nonexistent",  # nobody is talked to aloud
                                PATH=f"{self.home}/bin:{os.environ['PATH']}")

    def _make_tree(self, binary):
        """The project's folder as after a build: run.sh is the real one, and finds nothing left to install or to build."""
        for folder in (self.tmp, f"{self.home}/bin", f"{self.folder}/tools", f"{self.folder}/build/release"):
            os.makedirs(folder)
        os.chmod(self.tmp, 0o700)
        shutil.copy(ROOT / "run.sh", self.folder)
        for name in (f"{self.home}/bin/cmake", f"{self.folder}/tools/setup.sh"):
            pathlib.Path(name).write_text("#!/bin/sh\nexit 0\n")
            os.chmod(name, 0o755)
        pathlib.Path(f"{self.folder}/build/release/build.ninja").touch()
        for name in (f"{self.folder}/build/release/kvx", f"{self.home}/bin/kvx"):
            os.symlink(binary, name)

    def close(self):
        for session in [*self.terminals.values(), self.session]:
            if session:
                session.end()
        if self.desktop:
            self.desktop.stop()
        shutil.rmtree(self.home, ignore_errors=True)

    def here(self, text):
        """With this reader's own /tmp."""
        return re.sub(r"(?<![\w.~])/tmp\b", self.tmp, text)

    def do(self, block):
        getattr(self, "do_" + block.kind())(block)

    def do_sh(self, block):
        name = block.notes.get("terminal") or block.notes.get("window")
        if name:
            if name in self.terminals:
                self.terminals.pop(name).end()
            environment = self.open_desktop() if "window" in block.notes else None
            self.last = self.terminals[name] = Session(self.here(block.text), self, environment)
            if environment:
                self.wait_window(self.last)
            else:
                time.sleep(0.7)
                if self.last.process.poll():
                    self.last.expect("(it ended at once)")
            return
        if "first" in block.notes:
            subprocess.run(["bash", "-c", self.here(block.notes["first"])], cwd=self.folder, env=self.environment, input="quit\n",
                           timeout=60, capture_output=True, text=True, check=True)
        self.shell = block
        code = self.run_shell()
        while code != 0 and time.monotonic() < self.keys_until:
            time.sleep(0.5)
            code = self.run_shell()
        if code != 0:
            raise Failure(f"ends with {code}: {self.last.strip()[-800:]}")
        refused = [line for line in self.last.splitlines() if REFUSAL.fullmatch(line.strip())]
        if refused:
            raise Failure(f"is refused: {refused}")

    def run_shell(self):
        """Runs the shell block in hand; its exit code. What it shows is in `last`."""
        try:
            done = subprocess.run(["bash", "-o", "pipefail", "-ec", self.here(self.shell.text)], cwd=self.folder,
                                  env=self.environment, timeout=60, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                  stderr=subprocess.STDOUT, text=True, check=False)
        except subprocess.TimeoutExpired as late:
            raise Failure(f"does not end: {late.output}") from None
        self.last = done.stdout
        return done.returncode

    def do_text(self, block):
        if isinstance(self.last, Session):
            self.last.expect_all(self.here(block.text).splitlines())
            return
        if self.last is None:
            raise Failure("there is no block before this one that could show it")
        wanted = like(self.here(block.text).splitlines()) + r"\s*"
        while not re.fullmatch(wanted, self.last + "\n"):
            if time.monotonic() > self.keys_until:
                raise Failure(f"shows instead: {self.last}")
            time.sleep(0.5)
            self.run_shell()

    def do_console(self, block):
        lines = self.here(block.text).splitlines()
        if lines[0].startswith("$ "):
            if self.session:
                self.session.end()
            self.session = Session("exec " + lines.pop(0)[2:], self)
        if not self.session:
            raise Failure("no program runs that could be talked to")
        self.last = self.session
        begin = len(self.session.shown)
        expected, waits = [], False
        for line in lines:
            if not line.startswith("> "):
                expected.append(line)
                if line.strip() not in ("", "..."):
                    self.session.expect(line.rstrip())
                continue
            if waits and self.session.answers_each:
                self.session.wait_answer()
            self.session.type(line[2:])
            waits = True
        if waits and self.session.answers_each:
            self.session.wait_answer()
        for line in self.session.shown[begin:]:
            if line.startswith("error: ") and not any(re.fullmatch(pattern(known), line) for known in expected):
                raise Failure(f"answers {line!r}, which is not told")
        if lines and lines[-1].strip() == "..." or "> quit" not in lines:
            return
        if self.session.process.wait(10) != 0:
            raise Failure(f"ends with {self.session.process.returncode}")
        self.session = None

    def do_kvx(self, block):
        if not self.session:
            self.session = Session("exec kvx --demo --headless", self)
            self.session.expect("keyer ready")
        for line in block.lines:
            self.session.type(self.here(line))
            answer = self.session.wait_answer()
            if answer.startswith("error: "):
                raise Failure(f"{line!r} is answered {answer!r}")
        self.last = self.session

    def do_file(self, block):
        path = pathlib.Path(self.folder, block.notes["file"])
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(self.here(block.text))

    def do_ini(self, block):
        """The files of one section make a station, which has to take every line of them."""
        station = self.stations.setdefault(block.section, tempfile.mkdtemp(prefix="station-", dir=self.home))
        with open(os.path.join(station, block.notes["file"]), "a", encoding="utf-8") as file:
            file.write(self.here(block.text))
        console = Session(f"exec kvx --headless --station {station}", self)
        try:
            console.expect("ready")
            for line in block.lines:
                self._check_line(console, block.notes["file"], line)
            console.type("quit")
            console.wait_answer()
            wrong = [line for line in console.shown if re.match(r"message .*(rig\.ini|ports\.ini|same as the rig port)", line)]
            if wrong:
                raise Failure(f"the station says {wrong}")
        finally:
            console.end()

    def _check_line(self, console, file, line):
        key, _, value = self.here(line).partition("=")
        if line.startswith(("#", ";")) or not key:
            return
        if file == "ports.ini":
            question, answer = f"device {key.removeprefix('COM')}", f"ok device {key.removeprefix('COM')} {value}"
            if key.startswith("LPT"):
                return
        elif key == "XRIG":
            question, answer = "rig", f"ok {value}"
        else:
            question, answer = f"setting {key}", f"ok setting {key}={value.strip()}"
        console.type("status" if key in IN_STATUS else question)
        got = console.wait_answer()
        if key in IN_STATUS:
            got = f"ok setting {key}={json.loads(got)[IN_STATUS[key]]}"
        elif got.startswith("error: There is no keyer or link setting") and f"`{key}=`" in SETTINGS.read_text():
            return  # one that has a command of its own
        if re.sub(r"=TRUE$", "=1", got.upper().replace("= ", "=")) != re.sub(r"=TRUE$", "=1", answer.upper()):
            raise Failure(f"{question!r} is answered {got!r}, not {answer!r}")

    # The window.

    def open_desktop(self):
        if not self.desktop:
            from desktop import Desktop
            self.desktop = Desktop(1600, 1000)
        return {name: os.environ[name] for name in ("DISPLAY", "DBUS_SESSION_BUS_ADDRESS")} | {"QT_QPA_PLATFORM": "xcb"}

    def wait_window(self, session):
        deadline = time.monotonic() + PATIENCE
        while not self.desktop.windows(session.process.pid):
            if time.monotonic() > deadline or session.process.poll() is not None:
                session.expect("(no window opens)")
            time.sleep(0.2)
        self.window = session
        time.sleep(1.5)

    def do_keys(self, block):
        if not self.window:
            raise Failure("no window is open")
        for line in block.lines:
            for word in line.split():
                windows = self.desktop.windows(self.window.process.pid)
                self.desktop.focus(windows[-1])
                parts = [word] if word in NAMED or word == "+" else re.split(r"(?<=.)\+", word)
                if len(parts) == 1 and len(word) > 1 and word not in NAMED:
                    self.desktop.type(word)
                else:
                    self.desktop.key("+".join(KEYS.get(part, part.lower() if len(part) == 1 else part) for part in parts))
                time.sleep(0.15)
        self.last = None
        self.keys_until = time.monotonic() + PATIENCE
        if "Ctrl+Q" not in block.text:
            time.sleep(0.5)
        elif self.window.process.wait(PATIENCE) != 0:
            raise Failure(f"the program ends with {self.window.process.returncode}")
