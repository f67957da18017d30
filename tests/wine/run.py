"""Tests with Windows programs under Wine: the console serves them by DDE.

python3 run.py BINARY [NAME ...], as tests/e2e/run.py; `python3 run.py --check BINARY` says what is missing here and exits
with 77 then. They share one folder of Wine, build/wine beside the program, which the first run makes in some seconds.
"""

import os
import pathlib
import sys

HERE = pathlib.Path(__file__).resolve().parent
AT_A_TIME = 1  # the service has one name

sys.path[:0] = [str(HERE.parent / "e2e"), str(HERE)]
import runner  # noqa: E402
import wine  # noqa: E402


def main(arguments):
    checks = arguments[:1] == ["--check"]
    binary = next((argument for argument in arguments if not argument.startswith("--")), "")
    if arguments[:1] != ["--one"]:
        reason = wine.missing(os.path.abspath(binary))
        if reason:
            print(reason)
            return runner.SKIPPED
    if checks:
        return 0
    if arguments[:1] != ["--one"]:
        wine.prepare(os.path.abspath(binary))
    return runner.main(os.path.abspath(__file__), arguments, AT_A_TIME)


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
