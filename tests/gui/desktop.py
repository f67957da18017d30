"""A desktop of its own for one test: an X server without a screen, a session bus, a hand and a keyboard."""

import ctypes
import os
import shutil
import signal
import subprocess
import sys

NEEDED = ("Xvfb", "xdotool", "dbus-daemon")


def missing():
    """Why no desktop can be had here; empty when it can."""
    for program in NEEDED:
        if not shutil.which(program):
            return f"{program} is not installed"
    try:
        import gi
        gi.require_version("Atspi", "2.0")
    except (ImportError, ValueError) as reason:
        return f"no AT-SPI for {sys.executable}: {reason}"
    return ""


def end_with_parent():
    """Whatever ends the test ends what it has started."""
    set_parent_death_signal = 1
    ctypes.CDLL(None).prctl(set_parent_death_signal, signal.SIGTERM)


class Desktop:
    def __init__(self, width, height):
        self.width, self.height = width, height
        self._programs = []
        self._start_x_server(f"{width}x{height}x24")
        self._start_bus()

    def _start(self, *command, **options):
        self._programs.append(subprocess.Popen(command, stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                               preexec_fn=end_with_parent, **options))
        return self._programs[-1]

    def _start_x_server(self, geometry):
        reader, writer = os.pipe()  # the server writes the number of the display it has found free
        self._start("Xvfb", "-displayfd", str(writer), "-screen", "0", geometry, "-nolisten", "tcp", "-noreset",
                    pass_fds=[writer])
        os.close(writer)
        with os.fdopen(reader) as answer:
            number = answer.readline().strip()
        if not number:
            raise RuntimeError("the X server did not start")
        os.environ["DISPLAY"] = f":{number}"

    def _start_bus(self):
        bus = self._start("dbus-daemon", "--session", "--nofork", "--print-address=1", stdout=subprocess.PIPE)
        os.environ["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().decode().strip()
        os.environ["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1"
        os.environ.pop("AT_SPI_BUS_ADDRESS", None)

    def stop(self):
        for program in reversed(self._programs):
            program.terminate()
            program.wait(10)
            if program.stdout:
                program.stdout.close()

    # The hand.

    def _do(self, *words):
        subprocess.run(["xdotool", *map(str, words)], check=True, timeout=60)

    def point(self, x, y):
        self._do("mousemove", "--sync", x, y) if self._at() != (x, y) else None

    def _at(self):
        text = subprocess.run(["xdotool", "getmouselocation"], check=True, capture_output=True, text=True).stdout
        fields = dict(field.split(":") for field in text.split())
        return int(fields["x"]), int(fields["y"])

    def click(self, x, y, button=1, times=1):
        self.point(x, y)
        self._do("click", "--repeat", times, "--delay", 30, button)

    def wheel(self, x, y, notches, pause_ms=15):
        """Notches up, or down when negative."""
        self.point(x, y)
        self._do("click", "--repeat", abs(notches), "--delay", pause_ms, 4 if notches > 0 else 5)

    def drag(self, x, y, dx, dy, button=1, pieces=8):
        """Presses, moves in that many pieces, and lets go."""
        self.point(x, y)
        moves = []
        for piece in range(1, pieces + 1):
            moves += ["mousemove", x + dx * piece // pieces, y + dy * piece // pieces, "sleep", "0.02"]
        self._do("mousedown", button, *moves, "mouseup", button)

    def hold(self, x, y, button=1):
        self.point(x, y)
        self._do("mousedown", button)

    def release(self, button=1):
        self._do("mouseup", button)

    # The keyboard.

    def key(self, *keys):
        self._do("key", "--delay", 5, *keys)

    def chord(self, modifier, key, pause=0.3):
        """As a hand does it. Qt asks the accessibility bus about each key, not about shortcuts: in less time than that
        takes, the modifier's press is dealt with after the shortcut."""
        self._do("keydown", modifier, "sleep", pause, "key", key, "sleep", pause, "keyup", modifier)

    def type(self, text):
        self._do("type", "--delay", 20, text)

    # Windows.

    def windows(self, pid):
        found = subprocess.run(["xdotool", "search", "--all", "--onlyvisible", "--pid", str(pid), "--name", "."], check=False,
                               capture_output=True, text=True).stdout
        return [int(window) for window in found.split()]

    def resize(self, window, width, height):
        self._do("windowmove", window, 0, 0)
        self._do("windowsize", window, width, height)

    def focus(self, window):
        self._do("windowfocus", "--sync", window)

    def close(self, window):
        """What a window manager does when the window's close button is pressed."""
        x11 = ctypes.CDLL("libX11.so.6")
        x11.XOpenDisplay.restype = x11.XInternAtom.restype = ctypes.c_ulong
        x11.XOpenDisplay.argtypes = [ctypes.c_char_p]
        x11.XInternAtom.argtypes = [ctypes.c_ulong, ctypes.c_char_p, ctypes.c_int]
        x11.XSendEvent.argtypes = [ctypes.c_ulong, ctypes.c_ulong, ctypes.c_int, ctypes.c_long, ctypes.c_void_p]
        x11.XCloseDisplay.argtypes = [ctypes.c_ulong]
        display = x11.XOpenDisplay(None)
        # XClientMessageEvent: type, serial, send_event, display, window, message_type, format, data
        client_message, of_32_bits = 33, 32
        protocols, delete = (x11.XInternAtom(display, name, 0) for name in (b"WM_PROTOCOLS", b"WM_DELETE_WINDOW"))
        event = (ctypes.c_long * 24)(client_message, 0, 1, display, window, protocols, of_32_bits, delete)
        x11.XSendEvent(display, window, 0, 0, event)
        x11.XCloseDisplay(display)

    def picture(self, path):
        """For a person who looks for the cause of a failure."""
        subprocess.run(["import", "-window", "root", path], check=False)
