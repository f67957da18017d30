"""Runs the tests of a folder, each in a process of its own, several at a time.

These tests drive real programs in real time, and a machine that is busy with something else can be late for them. So a
test that fails beside others is run once more by itself: it has failed when it fails again, and is named as unsteady, with
what went wrong the first time, when it does not.
"""

import concurrent.futures
import os
import pathlib
import subprocess
import sys
import time
import unittest

TIME_LIMIT = 300
PASSED, FAILED, SKIPPED = 0, 1, 77


def run_one(name):
    """Runs one test in this process; the exit code tells how it ended."""
    import station

    suite = unittest.defaultTestLoader.loadTestsFromName(name)
    result = unittest.TextTestRunner(stream=open(os.devnull, "w", encoding="utf-8")).run(suite)
    for _, text in result.failures + result.errors:
        print(text)
    for _, reason in result.skipped:
        print(f"    {reason}")
    for line in station.measurements:
        print(f"    {line}")
    if not result.wasSuccessful() or result.testsRun == 0:
        return FAILED
    return SKIPPED if result.skipped else PASSED


def run_apart(script, binary, name):
    """Runs one test in a process of its own: how it ended and its output."""
    begin = time.monotonic()
    try:
        done = subprocess.run([sys.executable, script, "--one", name], stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=TIME_LIMIT,
                              env={**os.environ, "KVX_BINARY": binary}, encoding="utf-8", errors="replace", check=False)
        code, output = done.returncode, done.stdout
    except subprocess.TimeoutExpired as late:
        code, output = FAILED, f"{late}\n"
    word = {PASSED: "ok", SKIPPED: "skipped"}.get(code, "FAILED")
    return word, f"{word:8}{name} ({time.monotonic() - begin:.1f} s)\n{output}"


def test_names(suite):
    for test in suite:
        if isinstance(test, unittest.TestSuite):
            yield from test_names(test)
        else:
            yield test.id()


def main(script, arguments, at_a_time):
    """Runs the tests beside `script`, which runs one of them as `script --one NAME`; the exit code."""
    if len(arguments) == 2 and arguments[0] == "--one":
        return run_one(arguments[1])
    if not arguments or not os.access(arguments[0], os.X_OK):
        print("usage: run.py BINARY [NAME ...]", file=sys.stderr)
        return 2
    suite = unittest.defaultTestLoader.discover(str(pathlib.Path(script).parent), "*_test.py")
    names = [name for name in test_names(suite) if not arguments[1:] or any(part in name for part in arguments[1:])]
    if not names:
        print("there is no such test", file=sys.stderr)
        return 2
    binary = os.path.abspath(arguments[0])
    count = dict.fromkeys(("ok", "FAILED", "skipped"), 0)
    again, unsteady = [], []
    with concurrent.futures.ThreadPoolExecutor(at_a_time) as pool:
        for name, (word, text) in zip(names, pool.map(lambda name: run_apart(script, binary, name), names)):
            print(text, end="", flush=True)
            if word == "FAILED":
                again.append(name)
            else:
                count[word] += 1
    for name in again:
        word, text = run_apart(script, binary, name)
        print(f"again, by itself: {text}", end="", flush=True)
        count[word] += 1
        if word != "FAILED":
            unsteady.append(name)
    for name in unsteady:
        print(f"unsteady: {name}")
    if count["skipped"]:
        print(f"{count['skipped']} skipped")
    print(f"{count['ok']} passed, {count['FAILED']} failed")
    return 0 if count["FAILED"] == 0 else 1

