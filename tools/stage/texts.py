"""What the program's controls are called in each language: from source texts to their translations."""

import pathlib
import xml.etree.ElementTree as ElementTree

FILES = pathlib.Path(__file__).resolve().parents[2] / "translations"


def texts_of(code):
    """The translations of each source text, one for each meaning; empty where there is no such language."""
    path = FILES / f"VexoDeck_{code}.ts"
    texts = {}
    for message in ElementTree.parse(path).iter("message") if path.exists() else ():
        texts.setdefault(message.findtext("source"), set()).add(message.findtext("translation"))
    return texts
