"""Prints what a screen reader meets in the running programs of this session, as JSON (see stage.py)."""

import json
import sys

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

STATES = {
    Atspi.StateType.SHOWING: "showing",
    Atspi.StateType.VISIBLE: "visible",
    Atspi.StateType.ENABLED: "enabled",
    Atspi.StateType.FOCUSED: "focused",
    Atspi.StateType.FOCUSABLE: "focusable",
    Atspi.StateType.CHECKED: "checked",
    Atspi.StateType.SELECTED: "selected",
}


def describe(node):
    found = node.get_state_set()
    control = {
        "name": node.get_name() or "",
        "description": node.get_description() or "",
        "role": node.get_role_name(),
        "states": [word for state, word in STATES.items() if found.contains(state)],
        "extents": [0, 0, 0, 0],
        "value": None,
    }
    component = node.get_component_iface()
    if component is not None:
        box = component.get_extents(Atspi.CoordType.SCREEN)
        control["extents"] = [box.x, box.y, box.width, box.height]
    value = node.get_value_iface()
    if value is not None:
        control["value"] = value.get_current_value()
    return control


def walk(node, out, depth=0):
    if node is None or depth > 60:
        return
    try:
        if depth > 0:
            out.append(describe(node))
        for index in range(node.get_child_count()):
            walk(node.get_child_at_index(index), out, depth + 1)
    except GLib.Error:
        # The object went away while it was read.
        return


def main():
    Atspi.init()
    Atspi.set_timeout(2000, 5000)
    out = []
    desktop = Atspi.get_desktop(0)
    for index in range(desktop.get_child_count()):
        walk(desktop.get_child_at_index(index), out)
    json.dump(out, sys.stdout)


main()
