"""End-to-end tests of the built program, with simulated rigs on pseudo-terminals.

python3 run.py BINARY [NAME ...] runs the tests whose full name contains one of the names ("follow", "kill", ...); all
without a name. Each test runs in a process of its own, several at a time. The last line is "N passed, N failed" and the
exit code 0 when none failed. KVX_E2E_LONG=1 runs the longer form of some tests.
"""

import os
import sys

import runner

AT_A_TIME = 4  # they mostly wait

if __name__ == "__main__":
    sys.exit(runner.main(os.path.abspath(__file__), sys.argv[1:], AT_A_TIME))
