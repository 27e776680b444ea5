"""Warnings in a program's log that are not among the few expected ones."""

import re

# For the environment of a program whose log is checked: each message begins with its type.
TYPED_LOG = {"QT_MESSAGE_PATTERN": "%{type} %{if-category}%{category}: %{endif}%{message}"}

# What a whole program may say, each with its reason.
ALLOWED = [
    # The test read the screen while a control was being deleted.
    r"^warning qt\.accessibility\.atspi: Could not find accessible on path",
    # The program logs the permission's result as a warning, whatever it is.
    r"^warning PermissionStatus::Granted $",
    # The program first removes a new device from the capture service, which may not have it.
    r"^warning SystemBridge::RemoveInputDevice: Device not found: ",
]


def warnings_of(log):
    """The warnings and errors of a typed log that are not allowed."""
    found = re.findall(r"^(?:warning|critical|fatal) .*$", log, re.MULTILINE)
    return [line for line in found if not any(re.search(pattern, line) for pattern in ALLOWED)]
