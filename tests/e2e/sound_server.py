"""A sound server of a test's own: what is played to it can be captured from its monitor."""

import os
import shutil
import subprocess
import tempfile

from station import wait_until

NEEDED = ("pulseaudio", "paplay")


def missing():
    """The programs that are not installed."""
    return [name for name in NEEDED if shutil.which(name) is None]


class SoundServer:
    """Samples of 48000 a second, mono, pass it bit by bit from the sink "receiver" to "receiver.monitor"."""

    def __init__(self):
        self.folder = tempfile.mkdtemp(prefix="kvx-sound-")
        self.socket = os.path.join(self.folder, "native")
        self.environment = {"PULSE_SERVER": f"unix:{self.socket}", "PULSE_RUNTIME_PATH": self.folder, "HOME": self.folder}
        self.server = None

    def start(self):
        sink = "module-null-sink sink_name=receiver norewinds=1 rate=48000 channels=1 format=s16le"
        modules = (f"module-native-protocol-unix auth-anonymous=1 socket={self.socket}", sink)
        arguments = ["pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "--log-level=error"]
        for module in modules:
            arguments += ["-L", module]
        self.server = subprocess.Popen(arguments, env={**os.environ, **self.environment}, stdin=subprocess.DEVNULL,
                                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        if not wait_until(lambda: os.path.exists(self.socket), 10):
            raise AssertionError("the sound server does not start")

    def play(self, path):
        """The player, which ends with the recording."""
        return subprocess.Popen(["paplay", "--device=receiver", path], env={**os.environ, **self.environment},
                                stderr=subprocess.DEVNULL)

    def kill(self):
        """Without a farewell."""
        self.server.kill()
        self.server.wait()
        for name in ("native", "pid"):
            if os.path.exists(os.path.join(self.folder, name)):
                os.remove(os.path.join(self.folder, name))

    def __enter__(self):
        self.start()
        return self

    def __exit__(self, *_):
        self.kill()
        shutil.rmtree(self.folder, ignore_errors=True)
