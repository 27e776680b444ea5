"""Which pictures are older than what they show.

A picture shows documents: those that pictures.py names, and the ones these are made of, down to their signs, and in other
languages their translations. shown.json keeps a digest of them for each picture, of when it was made. Comments and blanks do
not count, nor do documents that draw nothing.
"""

import hashlib
import json
import pathlib
import re
import xml.etree.ElementTree as ElementTree

from pictures import LANGUAGES, PICTURES

ROOT = pathlib.Path(__file__).resolve().parents[2]
RECORD = pathlib.Path("tools/pictures/shown.json")
FOLDERS = ("qml", "tests/qml/gallery")
COMMENT = re.compile(r"/\*.*?\*/|(?<![:\"'])//[^\n]*", re.DOTALL)
STRING = re.compile(r'"(?:\\.|[^"\\\n])*"')
TYPE = re.compile(r"\b[A-Z]\w*\b")
SIGN = re.compile(r"icons/[\w./-]+")
SCRIPT = re.compile(r'import "([\w.]+\.js)"')
ROOT_TYPE = re.compile(r"^([A-Z][\w.]*) \{", re.MULTILINE)
DRAWS_NOTHING = {"QtObject", "Timer", "Connections", "Instantiator"}
# Draws nothing itself, but every document has its colours and sizes.
THEME = "VxTheme"


class Documents:
    """The documents of a tree, by their type."""

    def __init__(self, root=ROOT):
        self.root = root
        paths = [path for folder in FOLDERS for path in sorted((root / folder).rglob("*")) if "build" not in path.parts]
        self.signs = self._signs(path for path in paths if path.is_file() and "icons" in path.parts)
        self.scripts = {path.name: path for path in paths if path.suffix == ".js"}
        self.texts = {path.stem: self._text(path) for path in paths if path.suffix == ".qml"}
        self.pages = {page for picture in PICTURES.values() for page in picture.shows}
        self.translations = {code.split("_")[0]: self._translations(code) for code in LANGUAGES}

    @staticmethod
    def _signs(paths):
        """By the name that documents call them; two modules may have one each."""
        signs = {}
        for path in paths:
            signs.setdefault("/".join(path.parts[path.parts.index("icons"):]), []).append(path)
        return signs

    @staticmethod
    def _text(path):
        return COMMENT.sub("", path.read_text(encoding="utf-8"))

    def _translations(self, code):
        path = self.root / "translations" / f"VexoDeck_{code}.ts"
        tree = ElementTree.parse(path) if path.exists() else ElementTree.ElementTree(ElementTree.Element("TS"))
        return {context.findtext("name"): "\n".join(message.findtext("translation") or "" for message in context.iter("message"))
                for context in tree.iter("context")}

    def _draws(self, name):
        root_type = ROOT_TYPE.search(self.texts[name])
        return name == THEME or not root_type or root_type[1] not in DRAWS_NOTHING

    def shown_by(self, name):
        """The documents on a picture: a page of another picture counts where this picture names it."""
        found, waiting = set(), list(PICTURES[name].shows)
        while waiting:
            document = waiting.pop()
            if document in found:
                continue
            found.add(document)
            used = set(TYPE.findall(STRING.sub("", self.texts[document])))
            waiting += [word for word in used if word in self.texts and word not in self.pages and self._draws(word)]
        return sorted(found)

    def digest(self, name):
        """Of all that a picture shows; empty where it shows no document."""
        documents = self.shown_by(name)
        if not documents:
            return ""
        digest = hashlib.sha256()
        translations = self.translations.get(name.rsplit("-", 1)[-1], {})
        for document in documents:
            text = self.texts[document]
            digest.update("".join(text.split()).encode())
            for sign in sorted(set(SIGN.findall(text)) & self.signs.keys()):
                for path in self.signs[sign]:
                    digest.update(path.read_bytes())
            for script in sorted(set(SCRIPT.findall(text)) & self.scripts.keys()):
                digest.update("".join(self._text(self.scripts[script]).split()).encode())
            digest.update(translations.get(document, "").encode())
        return digest.hexdigest()[:16]


def record_of(root=ROOT):
    path = root / RECORD
    return json.loads(path.read_text(encoding="utf-8")) if path.exists() else {}


def note(names, root=ROOT):
    """Says that these pictures were made of the documents as they are."""
    documents = Documents(root)
    record = record_of(root) | {name: documents.digest(name) for name in names}
    ordered = {name: record[name] for name in sorted(record) if name in PICTURES}
    (root / RECORD).write_text(json.dumps(ordered, indent=1) + "\n", encoding="utf-8")


def stale(root=ROOT):
    """The names of the pictures whose documents have changed since they were made."""
    documents, record = Documents(root), record_of(root)
    return [name for name in sorted(PICTURES) if record.get(name) != documents.digest(name)]
