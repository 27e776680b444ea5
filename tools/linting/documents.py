"""QML documents: qmlformat, qmllint, and that every object that shows text shows it as plain text."""

import pathlib
import re
import shutil
import tempfile

from linting.tree import ROOT, Result, files, qt_tool, run

# These types take markup for markup unless they are told; what is shown may come from outside.
TEXT_OBJECT = re.compile(r"\b(?:[A-Z]\w*\.)?(Text|Label|TextArea|TextEdit)\s*\{")
PLAIN = re.compile(r"^\s*textFormat\s*:\s*(?:[A-Z]\w*\.)?[A-Z]\w*\.PlainText\s*;?\s*$", re.MULTILINE)
# Comments and texts, in the order in which one hides the other.
HIDDEN = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\'|`(?:\\.|[^`\\])*`', re.DOTALL)


def blank(text):
    """The text with comments and strings overwritten by spaces; lines stay where they are."""
    return HIDDEN.sub(lambda match: re.sub(r"[^\n]", " ", match[0]), text)


def own_part(code, start):
    """What stands in the object whose brace opens before `start`, without the objects inside of it."""
    depth, at, parts = 1, start, []
    while at < len(code) and depth:
        if code[at] == "{":
            depth += 1
        elif code[at] == "}":
            depth -= 1
        elif depth == 1:
            parts.append(code[at])
        at += 1
    return "".join(parts)


def texts_without_format(text):
    """Line and type of each object of a document that shows text and does not say that it is plain."""
    code = blank(text)
    return [(code.count("\n", 0, match.start()) + 1, match[1]) for match in TEXT_OBJECT.finditer(code)
            if not PLAIN.search(own_part(code, match.end()))]


def plain_text(root=ROOT):
    documents = files(".qml", root=root)
    result = Result(f"{len(documents)} files")
    for document in documents:
        for line, kind in texts_without_format(document.read_text(encoding="utf-8")):
            name = document.relative_to(root)
            result.problems.append(f"{name}:{line}: {kind} without textFormat: {kind}.PlainText")
    return result


def qmlformat(fix):
    """One start for all documents, on copies unless they shall be rewritten."""
    documents = files(".qml")
    result = Result(f"{len(documents)} files")
    tool = qt_tool("qmlformat")
    if fix:
        done = run(tool, "-i", *documents)
        if done.returncode != 0:
            result.problems.append(done.stdout + done.stderr)
        return result
    with tempfile.TemporaryDirectory(prefix="vexo-qmlformat-") as folder:
        copies = [pathlib.Path(folder) / document.relative_to(ROOT) for document in documents]
        for document, copy in zip(documents, copies):
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(document, copy)
        done = run(tool, "-i", *copies)
        if done.returncode != 0:
            result.problems.append(done.stdout + done.stderr)
        for document, copy in zip(documents, copies):
            if document.read_bytes() != copy.read_bytes():
                result.problems.append(f"{document.relative_to(ROOT)}: not formatted (tools/lint --fix)")
    return result


def qmllint():
    done = run("cmake", "--build", "build/dev", "--target", "all_qmllint")
    return Result("all modules", [] if done.returncode == 0 else [done.stdout + done.stderr])
