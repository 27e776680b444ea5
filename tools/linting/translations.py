"""The files of translations/: each language has every text, finished, and reads as glossary.json says.

A text that does not fit its control is found by tests/qml/tst_Languages.qml."""

import json
import re
import subprocess
import tempfile
import xml.etree.ElementTree as ElementTree
from collections import Counter
from dataclasses import dataclass

from linting.tree import ROOT, Result, qt_tool

# Where texts stand, and the list of the languages, the source's first.
FOLDERS = ("app", "bridge", "qml")
LIST = "app/SystemLanguage.cpp"
CODES = re.compile(r"QStringList codes\{([^}]*)\}")

PLACEHOLDER = re.compile(r"%L?\d+|%n|\{\w*\}")
CHINESE = re.compile(r"[\u2e80-\u2fdf\u3001-\u303f\u3040-\u30ff\u3400-\u9fff\uf900-\ufaff]")
# A character outside of its script's own set is one of simplified Chinese.
CHARACTER_SETS = {"zh_TW": "cp950", "ja_JP": "cp932"}
# The font draws these as wide as a Chinese letter.
WIDE_QUOTE = re.compile("[\u2018-\u201d]")
CHINESE_LETTERS = {"zh_CN", *CHARACTER_SETS}
MIXED_WORD = re.compile(r"\w*(?:[A-Za-z][\u0400-\u04ff]|[\u0400-\u04ff][A-Za-z])\w*")


@dataclass(frozen=True)
class Entry:
    context: str
    source: str
    comment: str
    text: str
    state: str  # of lupdate: "" where it is finished

    def key(self):
        return self.context, self.source, self.comment

    def __str__(self):
        return f'{self.context}: "{shown(self.source)}"'


def shown(text):
    return text.replace("\n", "\\n")


def languages(root):
    found = CODES.search((root / LIST).read_text(encoding="utf-8")) if (root / LIST).exists() else None
    return re.findall(r'"(\w+)"', found[1]) if found else []


def language_file(root, code):
    return root / "translations" / f"VexoDeck_{code}.ts"


def collect(root, path, code, source_code):
    """Lets lupdate bring a file up to date with the texts of the tree; it makes the file where there is none."""
    folders = [folder for folder in FOLDERS if (root / folder).is_dir()]
    subprocess.run([str(qt_tool("lupdate")), "-silent", "-locations", "none", "-no-obsolete", "-disable-heuristic", "similartext",
                    "-source-language", source_code, "-target-language", code, *folders, "-ts", str(path)],
                   cwd=root, check=True, capture_output=True, text=True)


def entries_of(path):
    return [Entry(context.findtext("name", ""), message.findtext("source", ""), message.findtext("comment", ""),
                  message.findtext("translation", ""), message.find("translation").get("type", ""))
            for context in ElementTree.parse(path).iter("context") for message in context.iter("message")]


def texts_of_tree(root, source_code):
    with tempfile.TemporaryDirectory(prefix="vexo-texts-") as folder:
        path = f"{folder}/texts.ts"
        collect(root, path, source_code, source_code)
        return {entry.key(): entry for entry in entries_of(path)}


class Glossary:
    """What the translations have to keep to; translations/glossary.json says what each part is for."""

    def __init__(self, root):
        content = json.loads((root / "translations/glossary.json").read_text(encoding="utf-8"))
        self.names = content["names"]
        self.terms = content["terms"]
        self.same = {code: set(sources) for code, sources in content["same"].items()}
        self.contexts = {(row["source"], context) for row in content["different"] for context in row["contexts"]}
        self.english = {(row["source"], row.get("context")): row["text"] for row in content["english"]}

    def english_of(self, entry):
        """The text that is given; None where the translator is free."""
        own = self.english.get((entry.source, entry.context))
        return own if own is not None or self.differs(entry) else self.english.get((entry.source, None))

    def differs(self, entry):
        return (entry.source, entry.context) in self.contexts


def form_faults(entry, glossary):
    """What a translation shares with its source, whatever the languages."""
    if Counter(PLACEHOLDER.findall(entry.source)) != Counter(PLACEHOLDER.findall(entry.text)):
        yield "has other placeholders than its source"
    given = glossary.english_of(entry)
    if entry.text.count("\n") not in {text.count("\n") for text in (entry.source, given) if text is not None}:
        yield "has other line breaks than its source"
    for name, edge in (("begins", re.compile(r"^\s*")), ("ends", re.compile(r"\s*$"))):
        if edge.search(entry.source)[0] != edge.search(entry.text)[0]:
            yield f"{name} with other blanks than its source"
    for name in glossary.names:
        if entry.source.count(name) > entry.text.count(name):
            yield f'lacks the name "{name}"'


def script_faults(entry, code, glossary):
    """Letters that do not belong to the language."""
    allowed = entry.source in glossary.same.get(code, ())
    if entry.source == entry.text and CHINESE.search(entry.source) and not allowed:
        yield "is the same as its source"
    elif code not in CHINESE_LETTERS and CHINESE.search(entry.text) and not allowed:
        yield f'has Chinese letters: "{shown(entry.text)}"'
    if code not in CHINESE_LETTERS and WIDE_QUOTE.search(entry.text):
        yield f'has quotation marks that are drawn wide: "{shown(entry.text)}"'
    for letter in sorted(set(entry.text)) if code in CHARACTER_SETS else ():
        if CHINESE.match(letter) and not letter.encode(CHARACTER_SETS[code], "ignore"):
            yield f'has the letter "{letter}", which the language does not write'
    for word in MIXED_WORD.findall(entry.text):
        yield f'mixes two alphabets in "{word}"'


def glossary_faults(entry, code, glossary):
    """Fixed English texts and terms."""
    given = glossary.english_of(entry)
    if code == "en_US" and given is not None and entry.text != given:
        yield f'is "{shown(entry.text)}" and shall be "{shown(given)}"'
    for term in glossary.terms:
        wanted = term["texts"].get(code)
        stem = term.get("stems", {}).get(code)
        if wanted and entry.source == term["source"] and not glossary.differs(entry) and entry.text != wanted:
            yield f'is "{shown(entry.text)}", and "{wanted}" in the glossary'
        elif stem and term["source"] in entry.source and stem.lower() not in entry.text.lower():
            yield f'lacks the glossary\'s word for "{term["source"]}" ("{stem}"): "{shown(entry.text)}"'


def variant_faults(entries, glossary):
    """The same source is one text everywhere, unless the glossary names the context."""
    first = {}
    for entry in entries:
        usual = first.setdefault(entry.source, entry) if not glossary.differs(entry) else entry
        if entry.text != usual.text:
            yield entry, f'is "{shown(entry.text)}", and "{shown(usual.text)}" in {usual.context}'


def text_faults(entries, code, source_code, glossary):
    finished = [entry for entry in entries if not entry.state and entry.text]
    for entry in finished:
        if code == source_code:
            faults = ["differs from its source"] if entry.text != entry.source else []
        else:
            faults = [*form_faults(entry, glossary), *script_faults(entry, code, glossary), *glossary_faults(entry, code, glossary)]
        yield from ((entry, fault) for fault in faults)
    yield from variant_faults(finished, glossary)


def completeness_faults(entries, wanted):
    present = {entry.key() for entry in entries}
    for key, entry in wanted.items():
        if key not in present:
            yield entry, "is missing"
    for entry in entries:
        if entry.key() not in wanted or entry.state in ("vanished", "obsolete"):
            yield entry, "is stale: no document has it"
        elif entry.state or not entry.text:
            yield entry, "is unfinished"


def file_problems(root, code, source_code, wanted, glossary):
    path = language_file(root, code)
    name = path.relative_to(root)
    if not path.exists():
        return [f"{name}: is missing"]
    said = ElementTree.parse(path).getroot().get("language")
    problems = [] if said == code else [f"{name}: is written for the language {said}"]
    entries = entries_of(path)
    faults = [*completeness_faults(entries, wanted), *text_faults(entries, code, source_code, glossary)]
    return problems + [f"{name}: {entry}: {fault}" for entry, fault in faults]


def glossary_problems(wanted, glossary):
    """Rows that nothing meets any more."""
    sources = {source for _, source, _ in wanted}
    places = {(source, context) for context, source, _ in wanted}
    for code, same in glossary.same.items():
        yield from (f'"{shown(source)}" is no text that could be the same in {code}' for source in sorted(same - sources))
    yield from (f'"{shown(source)}" does not stand in {context}' for source, context in sorted(glossary.contexts - places))


def check(root=ROOT):
    codes = languages(root)
    if not codes:
        return Result("no languages", [f"{LIST}: no list of codes"])
    wanted = texts_of_tree(root, codes[0])
    glossary = Glossary(root)
    result = Result(f"{len(wanted)} texts in {len(codes)} languages")
    for code in codes:
        result.problems += file_problems(root, code, codes[0], wanted, glossary)
    known = {language_file(root, code) for code in codes}
    for path in sorted((root / "translations").glob("*.ts")):
        if path not in known:
            result.problems.append(f"{path.relative_to(root)}: is no language of {LIST}")
    result.problems += [f"translations/glossary.json: {problem}" for problem in glossary_problems(wanted, glossary)]
    return result


def update(root=ROOT):
    """Brings all files up to date with the tree. Returns how many texts each language lacks, by its code."""
    codes = languages(root)
    for code in codes:
        collect(root, language_file(root, code), code, codes[0])
    finish_source(language_file(root, codes[0]))
    return {code: sum(1 for entry in entries_of(language_file(root, code)) if entry.state or not entry.text) for code in codes}


def finish_source(path):
    """The source language repeats its texts."""
    text = path.read_text(encoding="utf-8")
    pair = re.compile(r'(<source>(.*?)</source>\s*(?:<comment>.*?</comment>\s*)?)<translation(?: type="\w+")?(?:/>|>.*?</translation>)', re.DOTALL)
    path.write_text(pair.sub(r"\1<translation>\2</translation>", text), encoding="utf-8")
