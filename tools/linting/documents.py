"""QML documents: qmlformat, qmllint, that all text is shown as plain text, since it may come from outside, and that the
value of a slider is shown by its function."""

import pathlib
import re
import shutil
import tempfile

from linting.tree import ROOT, Result, files, qt_tool, run

# These types take markup for markup unless they are told.
TEXT_OBJECT = re.compile(r"\b(?:[A-Z]\w*\.)?(Text|Label|TextArea|TextEdit)\s*\{")
PLAIN = re.compile(r"^\s*textFormat\s*:\s*(?:[A-Z]\w*\.)?[A-Z]\w*\.PlainText\s*;?\s*$", re.MULTILINE)
# A format that is bound or set, and what it is bound to.
FORMAT = re.compile(r"\btextFormat\s*(?::|=(?!=))[ \t]*([^;}\n]*)")
PLAIN_VALUE = re.compile(r"(?:[A-Z]\w*\.)*PlainText\s*")
# The style's controls that draw a text of theirs by themselves, markup included. Their templates draw nothing.
STYLED = ("Button|CheckBox|CheckDelegate|ComboBox|DelayButton|Dialog|DialogButtonBox|GroupBox|HorizontalHeaderView|"
          "ItemDelegate|Menu|MenuBar|MenuBarItem|MenuItem|RadioButton|RadioDelegate|RoundButton|SpinBox|SwipeDelegate|"
          "Switch|SwitchDelegate|TabButton|TextField|ToolButton|ToolTip|TreeViewDelegate|Tumbler|VerticalHeaderView")
STYLED_OBJECT = re.compile(rf"\b(?:([A-Z]\w*)\.)?({STYLED})\s*\{{")
TEMPLATES = re.compile(r"^[ \t]*import[ \t]+QtQuick\.Templates[ \t]+as[ \t]+(\w+)", re.MULTILINE)
# Other ways to a text that the documents do not draw: the style's shared tool tip, the system's windows and messages, and
# a document that is made of a text.
FOREIGN_TEXT = re.compile(r"\bToolTip\s*\.\s*(?:text|show|toolTip)\b|\bcreateQmlObject\b|"
                          r"^[ \t]*import[ \t]+(?:QtQuick\.Dialogs|Qt\.labs\.platform|QtWeb\w+)\b", re.MULTILINE)
# Comments and texts, in the order in which one hides the other.
HIDDEN = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\'|`(?:\\.|[^`\\])*`', re.DOTALL)


def blank(text):
    """The text with comments and strings overwritten by spaces; lines stay where they are."""
    return HIDDEN.sub(lambda match: re.sub(r"[^\n]", " ", match[0]), text)


def own_part(code, start, source=None):
    """What stands in the object whose brace opens before `start`, without the objects inside of it; as the text `source` has
    it, of which `code` is the blanked one."""
    depth, at, parts = 1, start, []
    while at < len(code) and depth:
        if code[at] == "{":
            depth += 1
        elif code[at] == "}":
            depth -= 1
        elif depth == 1:
            parts.append((source or code)[at])
        at += 1
    return "".join(parts)


def ways_around_plain_text(text):
    """Line and reason of each place where a text could be shown as more than plain text."""
    code = blank(text)
    templates = set(TEMPLATES.findall(code))
    found = [(match, f"{match[1]} without textFormat: {match[1]}.PlainText") for match in TEXT_OBJECT.finditer(code)
             if not PLAIN.search(own_part(code, match.end()))]
    found += [(match, f"another text format than PlainText: {match[1].strip()}") for match in FORMAT.finditer(code)
              if not PLAIN_VALUE.fullmatch(match[1])]
    found += [(match, f"{match[2]} of the style draws its text itself: use its template with a text of your own")
              for match in STYLED_OBJECT.finditer(code) if match[1] not in templates]
    found += [(match, f"shows a text that no document draws: {match[0].strip()}") for match in FOREIGN_TEXT.finditer(code)]
    return sorted((code.count("\n", 0, match.start()) + 1, reason) for match, reason in found)


def plain_text(root=ROOT):
    documents = files(".qml", ".js", root=root)
    result = Result(f"{len(documents)} files")
    for document in documents:
        for line, reason in ways_around_plain_text(document.read_text(encoding="utf-8")):
            result.problems.append(f"{document.relative_to(root)}:{line}: {reason}")
    return result


# The object of a document that all others stand in.
ROOT_OBJECT = re.compile(r"^(?!\s*(?:import|pragma)\b)\s*(?:[A-Z]\w*\.)?([A-Z]\w*)\s*\{", re.MULTILINE)
OWN_ID = re.compile(r"(?:^|;)\s*id\s*:\s*(\w+)", re.MULTILINE)
BOUND_VALUE = re.compile(r"(?:^|;)\s*value\s*:|\bon\s+value\b", re.MULTILINE)
VALUE_PROPERTY = re.compile(r"\bproperty\s*:\s*[\"']value[\"']")
# An assignment of any kind behind the name of a property.
WRITTEN = r"\s*(?:(?:\*\*|<<|>>>?|\?\?|&&|\|\||[-+*/%&|^])?=(?![=>])|\+\+|--)"
SHOW = re.compile(r"\bfunction\s+show\s*\([^)]*\)[^{]*\{")


def slider_types(codes):
    """CustomSlider, and the documents that are one; `codes` has the blanked documents by the names of their types."""
    types = {"CustomSlider"}
    while True:
        more = {name for name, code in codes.items() if (root := ROOT_OBJECT.search(code)) and root[1] in types} - types
        if not more:
            return types
        types |= more


def without_show(code):
    """The code with the body of its function show() blanked."""
    found = SHOW.search(code)
    if not found:
        return code
    depth, end = 1, found.end()
    while end < len(code) and depth:
        depth += {"{": 1, "}": -1}.get(code[end], 0)
        end += 1
    return code[:found.end()] + re.sub(r"[^\n]", " ", code[found.end():end]) + code[end:]


def ways_around_show(name, text, types):
    """Line and reason of each place where the document of a name binds or writes the value of a slider. The slider takes
    whatever is not shown by its function show() for the user's hand, and sends it to the device."""
    code = blank(text)
    objects = re.compile(rf"\b(?:[A-Z]\w*\.)?({'|'.join(sorted(types))})\s*\{{")
    found, ids = [], set()
    for match in objects.finditer(code):
        part = own_part(code, match.end())
        ids.update(OWN_ID.findall(part))
        if BOUND_VALUE.search(part):
            found.append((match, f"the value of a {match[1]} is bound: show it by show()"))
    root = ROOT_OBJECT.search(code)
    if name in types and root:
        ids.update(OWN_ID.findall(own_part(code, root.end())))
        outside = without_show(code) if name == "CustomSlider" else code
        own_value = rf"(?<![\w.])(?<!const )(?<!let )(?<!var )value{WRITTEN}"
        found += [(match, "the value of this slider is written: show it by show()") for match in re.finditer(own_value, outside)]
    for slider in sorted(ids):
        found += [(match, f"the value of {slider} is written: show it by show()")
                  for match in re.finditer(rf"\b{slider}\s*\.\s*value{WRITTEN}", code)]
        found += [(match, f"others could write the value of {slider}: make the alias read-only") for match in
                  re.finditer(rf"(?<!readonly )\bproperty\s+alias\s+\w+\s*:\s*{slider}\.value\b", code)]
        found += [(match, f"the value of {slider} is bound: show it by show()") for match in
                  re.finditer(r"\bBinding\s*\{", code)
                  if re.search(rf"\btarget\s*:\s*{slider}\b", own_part(code, match.end()))
                  and VALUE_PROPERTY.search(own_part(code, match.end(), text))]
    return sorted((code.count("\n", 0, match.start()) + 1, reason) for match, reason in found)


def slider_values(root=ROOT):
    """The documents of the program; tests write values as assistive technology does."""
    documents = files(".qml", root=root / "qml")
    texts = {document: document.read_text(encoding="utf-8") for document in documents}
    types = slider_types({document.stem: blank(text) for document, text in texts.items()})
    result = Result(f"{len(documents)} files, sliders: {', '.join(sorted(types))}")
    for document, text in texts.items():
        for line, reason in ways_around_show(document.stem, text, types):
            result.problems.append(f"{document.relative_to(root)}:{line}: {reason}")
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
