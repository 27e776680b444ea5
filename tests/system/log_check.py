"""Warnings in a program's log, against the few that are known."""

import re

# For the environment of a program whose log is checked: each message begins with its type.
TYPED_LOG = {"QT_MESSAGE_PATTERN": "%{type} %{if-category}%{category}: %{endif}%{message}"}

# What a whole program may say, each with its reason.
ALLOWED = [
    # The test's own look at the screen met a control that was just going away.
    r"^warning qt\.accessibility\.atspi: Could not find accessible on path",
]


def warnings_of(log):
    """The warnings and errors of a typed log that are not allowed."""
    found = re.findall(r"^(?:warning|critical|fatal) .*$", log, re.MULTILINE)
    return [line for line in found if not any(re.search(pattern, line) for pattern in ALLOWED)]
