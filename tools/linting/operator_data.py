"""Hosts, telephone numbers and mail addresses belong to whom operates the program: app/operator.json alone has them."""

import re

from linting.tree import ROOT, Result, files

OPERATOR = "app/operator.json"
# Of the program and what is installed with it.
FOLDERS = ("app", "audio", "bridge", "cmake", "device", "inventory", "mixer", "packaging", "platform", "qml")
SUFFIXES = (".cmake", ".conf", ".cpp", ".desktop", ".h", ".in", ".js", ".json", ".qml", ".rc", ".rules", ".svg", ".txt", ".xml")
FOUND = {
    # Namespaces name no place, and this machine is nobody's.
    "host": re.compile(r"""xmlns(?::\w+)?=["'][^"']*["']|://127\.0\.0\.1\b|(://[\w\[]|\b[\w-]+\.(?:cn|com|example|io|net|org)\b(?!\.))""",
                       re.IGNORECASE),
    "mail address": re.compile(r"([\w.+-]+@[\w-]+\.[A-Za-z])"),
    "telephone number": re.compile(r"(\+\d[\d ()-]{6,}\d|\b\d{3,4}-\d{3,4}-?\d{4}\b)"),
}


def problems_in(text):
    """(line number, what) of each value that the text should not hold."""
    found = []
    for number, line in enumerate(text.splitlines(), 1):
        found += [(number, what) for what, pattern in FOUND.items()
                  if any(match[1] for match in pattern.finditer(line))]
    return found


def check(root=ROOT):
    paths = [path for folder in FOLDERS for path in files(*SUFFIXES, root=root / folder)
             if path.relative_to(root).as_posix() != OPERATOR]
    problems = [f"{path.relative_to(root)}:{number}: a {what} stands outside of {OPERATOR}"
                for path in paths for number, what in problems_in(path.read_text(encoding="utf-8", errors="replace"))]
    return Result(f"{len(paths)} files", problems)
