"""A chapter of the manual: its fenced blocks and what stands in backticks.

What a reader does with a block is told by its language, and by a comment right before it:

    sh       commands for a shell; <!-- terminal: 2 --> stay running there; <!-- window: 1 --> they open a window
    text     what the block before it shows; "..." stands for what varies, on a line of its own for any lines
    console  a program that is talked to: "$ " starts it, "> " is typed, everything else comes out
    kvx      commands for the console that runs without a window; each is answered with "ok"
    keys     keys for the window, a chord or a text a word
    ini      lines of rig.ini or ports.ini, told by <!-- file: rig.ini -->, which make a station with their section's others
    others   <!-- file: NAME --> a file that the reader writes

<!-- first: COMMAND --> before a block of sh: what the reader has done long before, with "quit" typed to it.
<!-- needs: WHAT --> before a block of any language: it cannot be done here, and is counted; <!-- wants: PROGRAM -->: only
where that program is installed.
"""

import dataclasses
import pathlib
import re
import shutil

RUN = ("sh", "text", "console", "kvx", "keys", "ini")


@dataclasses.dataclass
class Block:
    language: str
    lines: list
    where: str  # file and line
    section: str
    notes: dict

    @property
    def text(self):
        return "\n".join(self.lines) + "\n"

    def kind(self):
        """How the block is tried; empty when nobody has said so."""
        if "wants" in self.notes and not shutil.which(self.notes["wants"]):
            self.notes["needs"] = self.notes["wants"] + ", which is not installed"
        if "needs" in self.notes:
            return "needs"
        if self.language == "ini" and self.notes.get("file") not in ("rig.ini", "ports.ini"):
            return ""
        if self.language in RUN:
            return self.language
        return "file" if self.language and "file" in self.notes else ""


def notes_of(line):
    """The words of a comment, as {name: value}."""
    comment = re.fullmatch(r"<!--(.*)-->", line.strip())
    if not comment:
        return None
    parts = [part.partition(":") for part in comment[1].split(";")]
    return {name.strip(): value.strip() for name, _, value in parts}


def blocks_of(path):
    blocks, notes, section, fence = [], {}, "", None
    for number, line in enumerate(path.read_text().splitlines(), 1):
        if fence is not None:
            if line.strip() == "```":
                fence = None
            else:
                fence.append(line)
            continue
        begin = re.fullmatch(r"```(\w*)", line.strip())
        if begin:
            fence = []
            blocks.append(Block(begin[1], fence, f"{path.name}:{number}", section, notes))
            notes = {}
        elif line.strip():
            section = line if line.startswith("#") else section
            notes = notes_of(line) or {}
    return blocks


def code_of(path):
    """What stands in backticks outside blocks: (place, text)."""
    inside = False
    for number, line in enumerate(path.read_text().splitlines(), 1):
        if line.strip().startswith("```"):
            inside = not inside
        elif not inside:
            for text in re.findall(r"`([^`]+)`", line):
                yield f"{path.name}:{number}", text.strip()


def manual(root):
    """The chapters in their order."""
    return sorted((pathlib.Path(root) / "docs" / "manual").glob("[0-9]*.md"))
