"""What the manual and the other pages name: programs, commands, keys, settings, pages. Each has to exist."""

import pathlib
import re
import subprocess
import tempfile
import time

import chapter

# Programs of others whose commands stand in a sentence.
OUTSIDE = {"sudo", "rigctl", "ser2net", "systemctl", "ls", "apt", "python3", "wine", "ssh", "pulseaudio", "kill"}
CHORD = re.compile(r"(?:(?:Ctrl|Alt|Shift)\+)+(?:\S+)|F\d{1,2}")
SMALLEST_ALT = 20  # characters that tell somebody who cannot see a picture what is in it


def slug(heading):
    """The anchor that a heading gets."""
    text = re.sub(r"\[([^\]]*)\]\([^)]*\)|[`*]", lambda match: match[1] or "", heading)
    return re.sub(r"[^\w\- ]", "", text.lower()).replace(" ", "-")


def anchors(path):
    return {slug(line.lstrip("#").strip()) for line in path.read_text().splitlines() if line.startswith("#")}


def broken_links(root, pages):
    for page in pages:
        text = re.sub(r"```.*?```", "", page.read_text(), flags=re.S)
        for alt, target in re.findall(r"\[([^\]]*)\]\(([^)\s]+)\)", text):
            if re.match(r"\w+:", target):
                continue
            file, _, anchor = target.partition("#")
            place = (page.parent / file).resolve() if file else page
            if not place.exists():
                yield f"{page.relative_to(root)}: {target} does not exist"
            elif anchor and place.suffix == ".md" and anchor not in anchors(place):
                yield f"{page.relative_to(root)}: there is no {target}"
            if place.suffix == ".png" and page.parent == root / "docs" / "manual" and len(alt) < SMALLEST_ALT:
                yield f"{page.relative_to(root)}: {target} needs a text for those who cannot see it"


def idle_pictures(root, pages):
    text = "".join(page.read_text() for page in pages)
    for picture in sorted((root / "docs").rglob("*.png")):
        if picture.name not in text:
            yield f"{picture.relative_to(root)} stands on no page"


def program_keys(binary):
    """Every chord that a window of the program has."""
    with tempfile.TemporaryDirectory() as folder:
        command = [binary, "--demo", "--station", folder + "/station", "--grab", folder]
        environment = {"HOME": folder, "QT_QPA_PLATFORM": "offscreen", "LC_ALL": "C.UTF-8"}
        windows = subprocess.Popen(command, env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        keys, deadline = pathlib.Path(folder, "keys.txt"), time.monotonic() + 60
        while not keys.exists() and windows.poll() is None and time.monotonic() < deadline:
            time.sleep(0.2)
        time.sleep(0.2)
        windows.terminate()  # the picture that takes long comes last
        windows.wait(20)
        lines = keys.read_text().splitlines()
    return {line.split("\t")[1].replace("PgDown", "PgDn") for line in lines}


def program_commands(binary):
    with tempfile.TemporaryDirectory() as folder:
        done = subprocess.run([binary, "--headless", "--station", folder], input="help\nquit\n", text=True, check=True, timeout=30,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    return set(next(line for line in done.stdout.splitlines() if line.startswith("ok ")).split()[1:])


class Inline:
    """Judges what stands in backticks."""

    def __init__(self, root, binary):
        self.binary = binary
        self.keys = program_keys(binary)
        usage = subprocess.run([binary, "--help"], capture_output=True, text=True, check=True, timeout=20).stdout
        self.kinds = re.search(r"\(KIND: ([^)]*)\)", usage)[1].replace(",", " ").split()
        self.commands = program_commands(binary)
        self.reference = (root / "docs" / "headless.md").read_text()
        self.settings = (root / "docs" / "station-folder.md").read_text()

    def complaint(self, text):
        """Why the program does not know it; empty when it does, or when it is nothing of the program's."""
        words = text.split()
        if words[:2] == ["kvx", "rigsim"] and len(words) > 2 and words[2] not in [*self.kinds, "KIND"]:
            return "there is no such simulated rig"
        if words[0] in ("kvx", "./run.sh"):
            done = subprocess.run([self.binary, *words[1:], "--help"], capture_output=True, text=True, check=False, timeout=20)
            return done.stderr.strip()
        if CHORD.fullmatch(text):
            return "" if text in self.keys or text == "Shift+Tab" else "no window has this key"
        setting = re.fullmatch(r"([A-Za-z0-9 ]+=)\S.*|([A-Za-z0-9 ]+=)", text)
        if setting:
            key = setting[1] or setting[2]
            return "" if key in self.settings or re.fullmatch(r"(COM|LPT)\d+=", key) else "is no setting"
        if words[0] in self.commands:
            second = re.match(r"[a-z]+$", words[1]) if len(words) > 1 else None
            known = not second or f"{words[0]} {words[1]}" in self.reference or words[0] == "help" and words[1] in self.commands
            return "" if known else f"{words[0]} has no {words[1]}"
        if len(words) > 1 and re.match(r"[a-z]+$", words[0]) and words[0] not in OUTSIDE and text != "ok ...":
            return "is no command"
        return ""


def complaints(root, binary, chapters):
    pages = [root / "README.md", root / "CONTRIBUTING.md", *sorted((root / "docs").rglob("*.md"))]
    yield from broken_links(root, pages)
    yield from idle_pictures(root, pages)
    inline = Inline(root, binary)
    for path in chapters:
        for block in chapter.blocks_of(path):
            chords = block.text.split() if block.language == "keys" else []
            for chord in chords:
                if CHORD.fullmatch(chord) and chord not in inline.keys:
                    yield f"{block.where}: no window has the key {chord}"
        for where, text in chapter.code_of(path):
            why = inline.complaint(text)
            if why:
                yield f"{where}: `{text}`: {why}"
