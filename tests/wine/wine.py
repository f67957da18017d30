"""Programs under Wine, in a folder of Wine that belongs to the build."""

import os
import queue
import shutil
import subprocess
import threading
import time

LOADERS = ("/usr/lib/wine/wine64", "/opt/wine-stable/bin/wine64")


def loader():
    return shutil.which("wine") or shutil.which("wine64") or next(filter(os.path.exists, LOADERS), None)


def missing(binary):
    """What keeps these tests from running here; empty: nothing."""
    if loader() is None:
        return "Wine is not installed (tools/setup.sh all)"
    for name in ("kvx-dde.exe", "tests/dde_client.exe", "tests/dde_library_server.exe"):
        if not os.path.exists(os.path.join(os.path.dirname(binary), name)):
            return f"{name} has not been built: there is no compiler for Windows (tools/setup.sh all)"
    return ""


def environment(binary):
    """No display, and the graphics driver that Wine has for that."""
    kept = {name: value for name, value in os.environ.items() if name not in ("DISPLAY", "WAYLAND_DISPLAY")}
    prefix = os.path.join(os.path.dirname(binary), "wine")
    return {**kept, "WINEPREFIX": prefix, "WINEDEBUG": "-all", "WINEDLLOVERRIDES": "mscoree,mshtml="}


def prepare(binary):
    """Makes the folder of Wine, once."""
    values = environment(binary)
    if os.path.exists(os.path.join(values["WINEPREFIX"], "system.reg")):
        return
    key = [r"HKCU\Software\Wine\Drivers", "/v", "Graphics", "/d", "x11,null", "/f"]
    subprocess.run([loader(), "reg", "add", *key], env=values, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL, timeout=240, check=True)
    time.sleep(5)  # until that session has ended: the next has the driver


class Program:
    """A Windows program that is told lines and says lines."""

    def __init__(self, binary, name):
        path = os.path.join(os.path.dirname(binary), "tests", name)
        self.process = subprocess.Popen([loader(), path], env=environment(binary), stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.lines = queue.Queue()
        self.reader = threading.Thread(target=self._read, daemon=True)
        self.reader.start()

    def _read(self):
        for raw in self.process.stdout:
            self.lines.put(raw.decode("latin-1").rstrip("\r\n"))

    def next(self, timeout=10):
        try:
            return self.lines.get(timeout=timeout)
        except queue.Empty:
            raise AssertionError(f"nothing within {timeout} s") from None

    def say(self, line):
        self.process.stdin.write(line.encode() + b"\n")
        self.process.stdin.flush()

    def ask(self, line):
        """The answer to a line, and what had come before it."""
        self.say(line)
        before = []
        while True:
            came = self.next()
            if came == "ok" or came.startswith(("ok ", "no")):
                return came, before
            before.append(came)

    def close(self):
        try:
            self.process.stdin.close()
        except OSError:
            pass
        try:
            self.process.wait(5)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        self.process.stdout.close()
