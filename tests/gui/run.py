"""Tests of the windows: real pointer and keys on an X server without a screen, AT-SPI to look at the controls.

python3 run.py BINARY [NAME ...], as tests/e2e/run.py; `python3 run.py --check` says why no desktop can be had here and
exits with 77 then. KVX_GUI_PICTURES=FOLDER keeps a picture of the screen of each test that failed.
"""

import os
import pathlib
import sys

HERE = pathlib.Path(__file__).resolve().parent
SYSTEM_PYTHON = "/usr/bin/python3"  # has the distribution's bindings, when the first python3 on the path has not
AT_A_TIME = 2

sys.path[:0] = [str(HERE.parent / "e2e"), str(HERE)]
import desktop  # noqa: E402
import runner  # noqa: E402


def main(arguments):
    reason = desktop.missing()
    if reason and sys.executable != SYSTEM_PYTHON and os.access(SYSTEM_PYTHON, os.X_OK):
        os.execv(SYSTEM_PYTHON, [SYSTEM_PYTHON, __file__, *arguments])
    if reason:
        print(reason)
        return runner.SKIPPED
    return 0 if arguments == ["--check"] else runner.main(os.path.abspath(__file__), arguments, AT_A_TIME)


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
