"""Does what the manual says: every block of its chapters, on a home of its own for each chapter.

python3 run.py BINARY [CHAPTER ...] does the chapters whose name contains one of the words ("contact", "05"); all without
one, and looks then also whether every command, key, setting, page and picture that is named exists. The last line is
"N passed, N failed" and the exit code 0 when none failed. What is not done here is told at the end, with the reason.
"""

import collections
import concurrent.futures
import fcntl
import os
import socket
import struct
import subprocess
import sys

import chapter
import reader
import references

sys.path[:0] = [str(reader.ROOT / "tests" / "gui"), str(reader.ROOT / "tests" / "e2e")]
TIME_LIMIT = 240
OWN_NETWORK = "KVX_MANUAL_OWN_NETWORK"


def own_network():
    """The command before a program that gives it a network of its own, where the manual's port numbers are free."""
    for command in (["unshare", "-n"], ["unshare", "-rn"]):
        if subprocess.run([*command, "true"], capture_output=True, check=False).returncode == 0:
            return command
    return []


def raise_loopback():
    """With a second address: some programs look names up only where there is more than the loopback's."""
    set_flags, up_and_running, set_address = 0x8914, 0x41, 0x8916
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as any_socket:
        fcntl.ioctl(any_socket, set_flags, struct.pack("16sh14x", b"lo", up_and_running))
        fcntl.ioctl(any_socket, set_address, struct.pack("16sHH4s16x", b"lo:1", socket.AF_INET, 0, bytes([192, 0, 2, 1])))


def do_chapter(path, binary):
    """Prints a line for each block that fails, or is not done; the exit code."""
    if os.environ.get(OWN_NETWORK):
        raise_loopback()
    counts, failed = collections.Counter(), False
    person = reader.Reader(binary)
    try:
        for block in chapter.blocks_of(path):
            kind = block.kind()
            counts[kind] += 1
            if kind == "needs":
                print(f"not done: {block.where}: {block.notes['needs']}")
                continue
            try:
                if not kind:
                    raise reader.Failure(f"nothing says how a block \"{block.language}\" is tried")
                person.do(block)
            except (reader.Failure, OSError, subprocess.SubprocessError) as why:
                print(f"{block.where}: {block.lines[:2]}: {why}", flush=True)
                failed = True
                break  # the later ones build on it
    finally:
        person.close()
    done = sum(counts.values()) - counts["needs"]
    print(f"{done} blocks done, {counts['needs']} not")
    return failed


def do_apart(path, binary, network):
    environment = {**os.environ, **({OWN_NETWORK: "1"} if network else {})}
    command = [*network, sys.executable, os.path.abspath(__file__), "--chapter", str(path), binary]
    try:
        done = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              env=environment, timeout=TIME_LIMIT, check=False)
    except subprocess.TimeoutExpired as late:
        return False, f"{late}\n"
    return done.returncode == 0, done.stdout


def main(arguments):
    if len(arguments) == 3 and arguments[0] == "--chapter":
        return do_chapter(chapter.pathlib.Path(arguments[1]), arguments[2])
    if not arguments or not os.access(arguments[0], os.X_OK):
        print("usage: run.py BINARY [CHAPTER ...]", file=sys.stderr)
        return 2
    binary = os.path.abspath(arguments[0])
    chosen = [path for path in chapter.manual(reader.ROOT) if not arguments[1:] or any(word in path.name for word in arguments[1:])]
    network = own_network()
    count = collections.Counter()
    with concurrent.futures.ThreadPoolExecutor(3 if network else 1) as pool:
        for path, (good, text) in zip(chosen, pool.map(lambda path: do_apart(path, binary, network), chosen)):
            print(f"{'ok' if good else 'FAILED':8}{path.name}: {text.strip()}", flush=True)
            count[good] += 1
    if not arguments[1:]:
        wrong = list(references.complaints(reader.ROOT, binary, [*chosen, reader.ROOT / "docs" / "manual" / "README.md"]))
        print("".join(f"{line}\n" for line in wrong) + f"{'FAILED' if wrong else 'ok':8}what is named exists")
        count[not wrong] += 1
    print(f"{count[True]} passed, {count[False]} failed")
    return 1 if count[False] or not chosen else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
