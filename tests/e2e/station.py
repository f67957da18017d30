"""A station folder and the console that runs on it without a window."""

import json
import os
import queue
import shutil
import signal
import subprocess
import tempfile
import threading
import time

BINARY = os.environ.get("KVX_BINARY", "")
NO_WINE = {"WINEPREFIX": "/nonexistent"}  # nothing of what the machine's own user has set up for Wine takes part
# A program inherits that these are ignored, as under nohup or in the background of a shell, and then heeds it.
signal.signal(signal.SIGHUP, signal.SIG_DFL)
signal.signal(signal.SIGQUIT, signal.SIG_DFL)


def wait_until(condition, timeout, interval=0.01):
    """Whether the condition came true in time."""
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        if condition():
            return True
        time.sleep(interval)
    return bool(condition())


class Kvx:
    """A running console. Everything it prints is kept, with the time it came, in `lines`."""

    def __init__(self, *arguments, environment=None, user=None):
        self.process = subprocess.Popen([BINARY, *arguments], env={**os.environ, **NO_WINE, **(environment or {})}, user=user,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.lines = []
        self.arrived = threading.Condition()
        self.answers = queue.Queue()
        self.errors = ""
        self.silent = False  # it has closed its standard output
        self._readers = [threading.Thread(target=read, daemon=True) for read in (self._read, self._read_errors)]
        for reader in self._readers:
            reader.start()

    def _read(self):
        for raw in self.process.stdout:
            now = time.monotonic()
            line = raw.decode("utf-8", "replace").rstrip("\n")
            with self.arrived:
                self.lines.append((now, line))
                self.arrived.notify_all()
            if line == "ok" or line.startswith(("ok ", "error: ", "{")):
                self.answers.put(line)
        self.answers.put(None)
        with self.arrived:
            self.silent = True
            self.arrived.notify_all()

    def _read_errors(self):
        self.errors = self.process.stderr.read().decode("utf-8", "replace")

    @property
    def pid(self):
        return self.process.pid

    def write(self, data):
        self.process.stdin.write(data)
        self.process.stdin.flush()

    def command(self, text, timeout=5):
        """The answer to one command."""
        while not self.answers.empty():
            self.answers.get()
        self.write(text.encode() + b"\n")
        try:
            answer = self.answers.get(timeout=timeout)
        except queue.Empty:
            raise AssertionError(f"no answer to {text!r}; the last lines were {self.texts()[-5:]}") from None
        if answer is None:
            raise AssertionError(f"the console ended at {text!r}: {self.errors}")
        return answer

    def status(self):
        return json.loads(self.command("status"))

    def texts(self, since=0):
        with self.arrived:
            return [text for _, text in self.lines[since:]]

    def wait_line(self, matches, timeout=5, since=0):
        """The time at which a line came that matches, a text or a function; looks at lines from `since` on."""
        test = matches if callable(matches) else lambda text: text == matches
        deadline = time.monotonic() + timeout
        with self.arrived:
            while True:
                for at, text in self.lines[since:]:
                    if test(text):
                        return at
                since = max(since, len(self.lines))
                left = deadline - time.monotonic()
                if left <= 0 or self.silent:
                    last = [text for _, text in self.lines[-6:]]
                    raise AssertionError(f"no line {matches!r} within {timeout} s; the last were {last} {self.errors}")
                self.arrived.wait(left)

    def wait_status(self, matches, timeout=5):
        """The first status for which the function holds."""
        deadline = time.monotonic() + timeout
        while True:
            status = self.status()
            if matches(status):
                return status
            if time.monotonic() > deadline:
                raise AssertionError(f"not within {timeout} s: {status}")
            time.sleep(0.02)

    def quit(self, timeout=8):
        """Ends the console in order; the exit code."""
        try:
            self.write(b"quit\n")
        except OSError:
            pass
        return self.ended(timeout)

    def signal(self, number, timeout=8):
        self.process.send_signal(number)
        return self.ended(timeout)

    def ended(self, timeout=8):
        code = self.process.wait(timeout)
        for reader in self._readers:
            reader.join(2)
        self.process.stdin.close() if not self.process.stdin.closed else None
        return code

    def kill(self):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGCONT)
            self.process.kill()
        self.process.wait()
        for stream in (self.process.stdin, self.process.stdout, self.process.stderr):
            try:
                stream.close()
            except OSError:
                pass

    def processor_seconds(self):
        with open(f"/proc/{self.pid}/stat", encoding="ascii") as file:
            fields = file.read().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def descriptors(self):
        return len(os.listdir(f"/proc/{self.pid}/fd"))


class Station:
    """A station folder of its own, removed at the end with everything that was started on it."""

    def __init__(self):
        self.folder = tempfile.mkdtemp(prefix="kvx-e2e-")
        self.device = os.path.join(self.folder, "rig-device")
        self.programs = []
        self.rigs = []

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for program in self.programs:
            program.kill()
        for rig in self.rigs:
            rig.stop()
        shutil.rmtree(self.folder, ignore_errors=True)

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, content):
        with open(self.path(name), "wb") as file:
            file.write(content if isinstance(content, bytes) else content.encode())

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def configure(self, rig, family, speed, stop_bits=1, extra="", port=3):
        line = f"RIGPORT= {port}\nRIGSPEED= {speed}\nRIGSTOP={stop_bits}\n"
        self.write("rig.ini", f"XRIG={rig}\nRIGTYPE={family}\n{line}{extra}")
        self.write("ports.ini", f"COM{port}={self.device}\n")

    def plug(self, rig):
        self.rigs.append(rig.plug(self.device))
        return rig

    def use(self, rig, **options):
        """Configures the station for the rig and plugs it in."""
        self.configure(rig.model, rig.family, rig.baud, rig.byte_bits - 9, **options)
        return self.plug(rig)

    def start(self, ready=True, **options):
        """Starts the console; with `ready`, waits until it says so."""
        program = Kvx("--headless", "--station", self.folder, **options)
        self.programs.append(program)
        if ready:
            program.wait_line("ready", 10)
        return program


measurements = []


def measured(name, seconds):
    """Notes a measurement for the end of the run: median and largest of some times."""
    ordered = sorted(round(time_taken * 1000) for time_taken in seconds)
    noted(f"{name}: median {ordered[len(ordered) // 2]} ms, largest {ordered[-1]} ms ({len(ordered)} times)")


def noted(text):
    measurements.append(text)
