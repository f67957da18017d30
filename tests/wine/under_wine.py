"""python3 under_wine.py BUILD PROGRAM.exe [ARGUMENT ...]: runs a test of the engine under Wine.

Several may begin at once; the first makes the folder of Wine, BUILD/wine, that they share.
"""

import fcntl
import os
import sys

import wine


def main(build, *command):
    beside = os.path.join(build, "kvx")
    with open(os.path.join(build, "wine.lock"), "w", encoding="utf-8") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        wine.prepare(beside)
    os.execve(wine.loader(), [wine.loader(), *command], wine.environment(beside))


if __name__ == "__main__":
    main(*sys.argv[1:])
