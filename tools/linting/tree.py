"""What all checks share: the files of the tree, commands that are run, the result of a check."""

import os
import pathlib
import subprocess
from dataclasses import dataclass, field

ROOT = pathlib.Path(__file__).resolve().parents[2]
SKIPPED = {"build", ".git", "__pycache__"}


@dataclass
class Result:
    """`problems` is printed line by line; a check without problems is clean. `notes` is printed always."""

    checked: str
    problems: list = field(default_factory=list)
    notes: list = field(default_factory=list)


def files(*suffixes, root=ROOT):
    found = []
    for folder, folders, names in os.walk(root):
        folders[:] = [name for name in folders if name not in SKIPPED]
        found += [pathlib.Path(folder) / name for name in names if pathlib.Path(name).suffix in suffixes]
    return sorted(found)


def scripts(language, root=ROOT):
    """Files without a suffix whose first line names an interpreter of the language."""
    found = []
    for path in files("", root=root):
        if path.is_file():
            with path.open("rb") as stream:
                first = stream.readline(80)
            if first.startswith(b"#!") and language in first:
                found.append(path)
    return found


def run(*command, **words):
    return subprocess.run([str(word) for word in command], cwd=ROOT, capture_output=True, text=True, **words)


def qt_tool(name):
    """Qt's tools are not on the path in every distribution."""
    return pathlib.Path(run("qtpaths6", "--query", "QT_INSTALL_BINS").stdout.strip()) / name
