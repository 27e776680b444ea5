"""Answers what a screen reader meets in the running programs of this session (see stage.py).

For each line of its input it prints one line of JSON: the list of controls, in the order of the tree. Lives as long
as its input.

The questions go over the accessibility bus directly, many at once: one after the other they would take a second.
"""

import json
import sys

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, Gio, GLib  # noqa: E402

REGISTRY = ("org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root")
ACCESSIBLE = "org.a11y.atspi.Accessible"
COMPONENT = "org.a11y.atspi.Component"
VALUE = "org.a11y.atspi.Value"
PROPERTIES = "org.freedesktop.DBus.Properties"
SCREEN_COORDINATES = 0
TIMEOUT_MS = 5000
DEEPEST = 60
# Made once: there are hundreds of questions in a reading.
ARGUMENTS_OF_EXTENTS = GLib.Variant("(u)", (SCREEN_COORDINATES,))
ARGUMENTS_OF_PROPERTY = {name: GLib.Variant("(ss)", (interface, name)) for interface, name in (
    (ACCESSIBLE, "Name"), (ACCESSIBLE, "Description"),
    (VALUE, "CurrentValue"), (VALUE, "MinimumValue"), (VALUE, "MaximumValue"))}

STATES = {
    "showing": Atspi.StateType.SHOWING,
    "visible": Atspi.StateType.VISIBLE,
    "enabled": Atspi.StateType.ENABLED,
    "focused": Atspi.StateType.FOCUSED,
    "focusable": Atspi.StateType.FOCUSABLE,
    "checked": Atspi.StateType.CHECKED,
    "selected": Atspi.StateType.SELECTED,
}
WITH_VALUE = {"slider", "progress bar", "scroll bar", "spin button"}


def connect():
    session = Gio.bus_get_sync(Gio.BusType.SESSION)
    address = session.call_sync("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress", None, None,
                                Gio.DBusCallFlags.NONE, TIMEOUT_MS, None).unpack()[0]
    flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
    return Gio.DBusConnection.new_for_address_sync(address, flags, None, None)


class Questions:
    """A round of questions that are all under way at once."""

    def __init__(self, connection):
        self.connection = connection
        self.pending = 0
        self.loop = GLib.MainLoop()

    def ask(self, node, interface, method, arguments, receive):
        """`receive` is called with the answer; not at all when the object is gone."""
        self.pending += 1
        self.connection.call(node[0], node[1], interface, method, arguments, None, Gio.DBusCallFlags.NONE, TIMEOUT_MS,
                             None, self._finish, receive)

    def ask_property(self, node, name, receive):
        self.ask(node, PROPERTIES, "Get", ARGUMENTS_OF_PROPERTY[name], receive)

    def _finish(self, connection, result, receive):
        try:
            receive(connection.call_finish(result).unpack()[0])
        except GLib.Error:
            pass
        self.pending -= 1
        if self.pending == 0:
            self.loop.quit()

    def wait(self):
        if self.pending > 0:
            self.loop.run()


class Node:
    # What a control is does not change as long as it lives, and none gets the reference of another.
    roles = {}

    def __init__(self, reference):
        self.reference = reference
        self.children = []
        self.control = {"name": "", "description": "", "role": "", "states": [], "extents": [0, 0, 0, 0],
                        "value": None, "range": None}

    def set(self, member):
        return lambda answer: self.control.__setitem__(member, answer)

    def set_states(self, words):
        bits = words[0] | words[1] << 32
        self.control["states"] = [name for name, state in STATES.items() if bits >> int(state) & 1]

    def set_role(self, number):
        self.control["role"] = self.roles[self.reference] = Atspi.role_get_name(Atspi.Role(number))

    def set_children(self, references):
        self.children = [Node(reference) for reference in references]

    def ask_kind(self, questions):
        questions.ask(self.reference, ACCESSIBLE, "GetState", None, self.set_states)
        self.control["role"] = self.roles.get(self.reference, "")
        if not self.control["role"]:
            questions.ask(self.reference, ACCESSIBLE, "GetRole", None, self.set_role)
        questions.ask_property(self.reference, "Name", self.set("name"))

    def ask_rest(self, questions):
        questions.ask_property(self.reference, "Description", self.set("description"))
        questions.ask(self.reference, COMPONENT, "GetExtents", ARGUMENTS_OF_EXTENTS, self.set("extents"))
        if self.control["role"] in WITH_VALUE:
            self.control["range"] = [0, 0]
            questions.ask_property(self.reference, "CurrentValue", self.set("value"))
            for index, name in enumerate(("MinimumValue", "MaximumValue")):
                questions.ask_property(self.reference, name,
                                       lambda answer, at=index: self.control["range"].__setitem__(at, answer))

    def is_of_interest(self, depth):
        # The programs themselves have no states of these.
        return depth <= 1 or "visible" in self.control["states"]


def read(connection):
    """The tree, level by level."""
    root = Node(REGISTRY)
    level = [root]
    for depth in range(DEEPEST):
        questions = Questions(connection)
        for node in level:
            questions.ask(node.reference, ACCESSIBLE, "GetChildren", None, node.set_children)
        questions.wait()
        level = [child for node in level for child in node.children]
        if not level:
            break
        questions = Questions(connection)
        for node in level:
            node.ask_kind(questions)
        questions.wait()
        questions = Questions(connection)
        for node in level:
            if "showing" in node.control["states"]:
                node.ask_rest(questions)
        questions.wait()
        level = [node for node in level if node.is_of_interest(depth)]
    return root


def controls_below(node):
    found = []
    for child in node.children:
        found.append(child.control)
        found += controls_below(child)
    return found


def main():
    connection = connect()
    for _ in sys.stdin:
        # The first level are the programs, which are no controls.
        controls = [control for program in read(connection).children for control in controls_below(program)]
        print(json.dumps(controls), flush=True)


main()
