"""The rules of the source tree that can be read off its text: boundaries between folders, coroutine shapes, time, names, sizes.

python3 tools/check.py ROOT prints one line for each violation and exits 1 when there is one.
"""

import pathlib
import re
import sys

# What a folder of src/ may include besides itself. "app" puts everything together.
ARROWS = {
    "core": set(),
    "platform": {"core"},
    "config": {"core", "platform"},
    "sim": {"core", "platform"},
    "cat": {"core", "platform", "config"},
    "functions": {"core", "platform", "config", "cat"},
    "keyer": {"core", "platform", "config", "cat"},
    "links": {"core", "platform", "config", "cat", "keyer"},
    "audio": {"core", "platform", "config", "widgets"},
    "accessories": {"core", "platform", "config", "cat", "widgets"},
    "widgets": {"core"},
    "console": {"core", "platform", "config", "sim", "cat", "functions", "keyer", "links", "accessories", "audio", "widgets"},
    "app": {"core", "platform", "config", "sim", "cat", "functions", "keyer", "links", "accessories", "audio", "widgets", "console"},
}
# Adapters, which the program alone links, and what an adapter may use of the others.
ADAPTERS = {"posix": set(), "qt": {"posix"}, "windows": set()}

OS_HEADER = re.compile(
    r"(?:windows|winsock2|unistd|fcntl|termios|termio|poll|signal|csignal|pty|pwd|grp|dlfcn|spawn|netdb|utmp)(?:\.h)?$"
    r"|(?:sys|linux|asm|netinet|arpa|net|mach)/"
)
QT_HEADER = re.compile(r"(?:Qt?[A-Z]\w*|Q\w+/\w+)(?:\.h)?$")
WAITS = re.compile(
    r"\b(?:sleep_for|sleep_until|usleep|nanosleep|qWait|qSleep|gettimeofday|clock_gettime)\b"
    r"|(?:system|steady|high_resolution)_clock::now|\b(?:msleep|sleep|time)\s*\(\s*(?:\d+|NULL|nullptr)?\s*\)"
)
LONGEST_FILE = 600

# Everything that a reader needs is in the tree: texts that are not are not cited.
OUTSIDE_TEXT = re.compile(r"s[p]ec[.]md|\bP[a]rts? [0-9][.][0-9]|\bs[p]ecifications?\b", re.IGNORECASE)

TASK_DECLARATION = re.compile(r"\bTask\s+((?:\w+::)*\w+)\s*\(([^()]*(?:\([^()]*\)[^()]*)*)\)")
AWAIT_STATEMENT = re.compile(r"\s*(?:(?:const\s+)?[\w:<>]+\s+\w+\s*=\s*)?co_await\s[^{}?]*$")
LAMBDA = re.compile(r"\[([^\[\]]*)\]\s*(\([^{}]*\))?\s*(?:mutable\s*)?(?:noexcept\s*)?(?:->\s*[\w:]+\s*)?$")
OPERATION_ROW = re.compile(r"^\|\s*((?:`\w+`[,\s]*)+)\|\s*`?\[?`?([\w./]+)")


def without_comments(text):
    """The text with comments, strings and character literals blanked; lines keep their numbers."""
    token = re.compile(r'//[^\n]*|/\*.*?\*/|R"(\w*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"|(?<![0-9a-fA-F])\'(?:\\.|[^\'\\\n])+\'', re.DOTALL)

    def blank(match):
        piece = match.group()
        mark = '""' if piece[0] in "\"R'" else " "
        return mark + "\n" * piece.count("\n")

    return token.sub(blank, text)


class Checker:
    def __init__(self, root):
        self.root = root
        self.violations = []
        self.window_files = set(self.find_window_files())

    def complain(self, path, line, what):
        self.violations.append(f"{path.relative_to(self.root)}:{line}: {what}")

    def files(self, folder, *suffixes):
        return sorted(p for p in (self.root / folder).rglob("*") if p.suffix in suffixes and p.is_file())

    def find_window_files(self):
        """The sources of the libraries named kvx_FOLDER_window: the part of a folder that is linked with Qt."""
        for lists in self.root.glob("src/*/CMakeLists.txt"):
            for library in re.finditer(r"add_library\(kvx_\w+_window\s([^)]*)\)", lists.read_text()):
                yield from (lists.parent / name for name in library.group(1).split())

    def run(self):
        for path in self.files("src", ".h", ".cpp"):
            text = path.read_text()
            code = without_comments(text)
            self.check_includes(path, text)
            self.check_waits(path, code)
            self.check_coroutines(path, code)
            if text.count("\n") > LONGEST_FILE:
                self.complain(path, LONGEST_FILE + 1, f"longer than {LONGEST_FILE} lines")
        for path in self.files("tests", ".h", ".cpp"):
            text = path.read_text()
            code = without_comments(text)
            # The engine's tests run on Windows too. Those of adapters do not.
            if '#include "platform/posix/' in text and path.parent.name not in ("platform", "platform_qt", "fakes"):
                self.complain(path, 1, "an adapter of one system (fakes/system_files.h has the files of either)")
            self.check_coroutines(path, code)
            # Adapters, and processes that a test kills, live in real time.
            if "platform" not in path.relative_to(self.root).parts[1] and "fork()" not in code:
                self.check_waits(path, code)
        self.check_operations()
        self.check_installed_pages()
        self.check_outside_texts()

    def check_includes(self, path, text):
        parts = path.relative_to(self.root / "src").parts
        folder = parts[0]
        if folder not in ARROWS:
            return self.complain(path, 1, f"src/{folder} has no row in the table of tools/check.py")
        adapter = parts[1] if folder == "platform" and len(parts) > 2 else None
        may_qt = folder == "app" or adapter == "qt" or path in self.window_files
        may_os = folder == "app" or (folder == "platform" and path.suffix == ".cpp")
        for number, line in enumerate(text.splitlines(), 1):
            match = re.match(r'\s*#\s*include\s*([<"])([^>"]+)[>"]', line)
            if not match:
                continue
            header = match.group(2)
            if QT_HEADER.match(header) and not may_qt:
                self.complain(path, number, f"Qt header {header} outside window libraries, platform/qt and app")
            if OS_HEADER.match(header) and not may_os:
                self.complain(path, number, f"system header {header} outside platform/**.cpp and app")
            if match.group(1) == '"' and "/" in header:
                self.check_arrow(path, number, folder, adapter, header)
                if self.root / "src" / header in self.window_files and not may_qt:
                    self.complain(path, number, f"{header} belongs to a window library")

    def check_arrow(self, path, number, folder, adapter, header):
        target, *rest = header.split("/")
        if target != folder and target not in ARROWS[folder]:
            self.complain(path, number, f"src/{folder} may not include {header}")
        if target == "platform" and len(rest) > 1 and folder != "app":
            if adapter is None or rest[0] not in ADAPTERS.get(adapter, set()) | {adapter}:
                self.complain(path, number, f"adapter {header} is for app alone")

    def check_waits(self, path, code):
        if "src/platform/" in path.as_posix():
            return
        for number, line in enumerate(code.splitlines(), 1):
            match = WAITS.search(line)
            if match:
                self.complain(path, number, f"{match.group().strip()}: time comes from Loop alone")

    def check_coroutines(self, path, code):
        if path.name == "task.h" and path.parent.name == "core":
            return
        self.check_awaits(path, code)
        if path.relative_to(self.root).parts[0] == "tests":
            return  # a test's procedures may refer to what the test itself keeps
        for match in TASK_DECLARATION.finditer(code):
            if re.search(r"[&*]|\b(?:string_view|span|initializer_list)\b", match.group(2)):
                line = code.count("\n", 0, match.start()) + 1
                self.complain(path, line, f"{match.group(1)} gives a Task: its parameters have to be values")

    def check_awaits(self, path, code):
        """co_await stands alone in its statement and in no lambda that captures."""
        blocks = [{"start": 0, "parens": 0, "captures": False}]
        for match in re.finditer(r"[{}();]|\bco_(?:await|return|yield)\b|\bfor\b", code):
            token, at, block = match.group(), match.start(), blocks[-1]
            if token == "{":
                intro = LAMBDA.search(code, max(0, at - 400), at)
                captures = bool(intro.group(1).strip()) if intro else block["captures"]
                if intro and intro.group(2) and not captures and re.search(r"&", intro.group(2)):
                    captures = None  # a reference parameter is as bad, once it waits
                blocks.append({"start": match.end(), "parens": 0, "captures": captures})
            elif token == "}":
                if len(blocks) > 1:
                    blocks.pop()
                blocks[-1]["start"] = match.end()
            elif token == "(":
                block["parens"] += 1
            elif token == ")":
                block["parens"] -= 1
            elif token == ";":
                if block["parens"] == 0:
                    block["start"] = match.end()
            elif token.startswith("co_"):
                self.check_wait(path, code, at, block, token)

    def check_wait(self, path, code, at, block, token):
        line = code.count("\n", 0, at) + 1
        if block["captures"] is None:
            self.complain(path, line, "coroutine lambda with a reference parameter")
        elif block["captures"]:
            self.complain(path, line, "coroutine lambda with captures")
        if token != "co_await" or re.search(r"operator\s*$", code[:at]):
            return
        statement = code[block["start"] : code.find(";", at)]
        alone = block["parens"] == 0 and AWAIT_STATEMENT.match(statement) and statement.count("co_await") == 1
        if not alone or re.search(r"&&|\|\|", statement):
            self.complain(path, line, "co_await has to stand alone: `co_await x;` or `auto y = co_await x;`")

    def check_operations(self):
        """Every operation of docs/operations.md is in the file it names, and is spelled in one way only."""
        table = self.root / "docs" / "operations.md"
        if not table.exists():
            return self.complain(table, 1, "missing")
        sources = {p: without_comments(p.read_text()) for p in self.files("src", ".h", ".cpp")}
        rows = 0
        for number, line in enumerate(table.read_text().splitlines(), 1):
            match = OPERATION_ROW.match(line)
            if not match:
                continue
            for name in re.findall(r"\w+", match.group(1)):
                rows += 1
                self.check_operation(table, number, name, self.root / match.group(2), sources)
        if rows == 0:
            self.complain(table, 1, "lists no operation")

    def check_operation(self, table, number, name, home, sources):
        if home not in sources:
            return self.complain(table, number, f"{name}: there is no source file {home.relative_to(self.root)}")
        if not re.search(rf"\b{name}\b", sources[home]):
            self.complain(table, number, f"{name} is not in {home.relative_to(self.root)}")
        for path, code in sources.items():
            for match in re.finditer(rf"\b{name}(?=\s*\()", code, re.IGNORECASE):
                if match.group() != name:
                    line = code.count("\n", 0, match.start()) + 1
                    self.complain(path, line, f"{match.group()}: the operation is spelled {name}")

    def check_installed_pages(self):
        """A link on a page that is installed leads to a file that is installed too."""
        docs, rules = self.root / "docs", self.root / "packaging" / "CMakeLists.txt"
        excluded = re.findall(r"PATTERN (\S+) EXCLUDE", rules.read_text())
        installed = {p for p in docs.rglob("*") if p.is_file() and not any(p.match(pattern) for pattern in excluded)}
        for page in sorted(p for p in installed if p.suffix == ".md"):
            for number, line in enumerate(page.read_text().splitlines(), 1):
                for target in re.findall(r"\]\(([^)#\s]+)[^)\s]*\)", line):
                    if not re.match(r"\w+:", target) and (page.parent / target).resolve() not in installed:
                        self.complain(page, number, f"{target} is not installed with this page")

    def check_outside_texts(self):
        skip = {".git", "build", ".cache", "__pycache__"}
        for path in sorted(self.root.rglob("*")):
            parts = path.relative_to(self.root).parts
            if skip & set(parts) or not path.is_file():
                continue
            if OUTSIDE_TEXT.search(path.name):
                self.complain(path, 1, "named after a text that is not in the tree")
            data = path.read_bytes()
            if b"\0" in data:
                continue
            for number, line in enumerate(data.decode(errors="replace").splitlines(), 1):
                match = OUTSIDE_TEXT.search(line)
                if match:
                    self.complain(path, number, f"cites a text that is not in the tree: {match.group()}")


def main():
    checker = Checker(pathlib.Path(sys.argv[1]).resolve())
    checker.run()
    for violation in checker.violations:
        print(violation)
    sys.exit(1 if checker.violations else 0)


main()
