"""The pictures of the documentation show the program as it is."""

import sys

from linting.tree import ROOT, Result

sys.path.insert(0, str(ROOT / "tools" / "pictures"))

from freshness import stale  # noqa: E402
from pictures import PICTURES  # noqa: E402


def check(root=ROOT):
    problems = [f"docs/pictures/{name}.png is older than what it shows: tools/env tools/pictures/make {name}"
                for name in stale(root)]
    return Result(f"{len(PICTURES)} pictures", problems)
