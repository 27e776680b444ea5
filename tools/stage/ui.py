"""Answers what a screen reader meets in the running programs of this session (see stage.py).

For each line of its input it prints one line of JSON. An empty line asks for the list of controls, in the order of the
tree. Any other line is a request in JSON about one control, named by its "reference": with "value" it sets the control's
value, with "action" it performs an action, and otherwise it asks for the names of its actions. Lives as long as its input.
"""

import json
import os
import struct
import sys

from message_bus import Bus, Question, read_number, read_text, read_variant, receiver, text_argument

REGISTRY = ("org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root")
ACCESSIBLE = "org.a11y.atspi.Accessible"
COMPONENT = "org.a11y.atspi.Component"
VALUE = "org.a11y.atspi.Value"
ACTION = "org.a11y.atspi.Action"
SCREEN_COORDINATES = 0
DEEPEST = 60

# The numbers of AT-SPI.
STATES = {"showing": 25, "visible": 30, "enabled": 8, "focused": 12, "focusable": 11, "checked": 4, "selected": 23}
ROLES = {7: "check box", 11: "combo box", 16: "dialog", 20: "filler", 23: "frame", 26: "icon", 27: "image", 29: "label",
         30: "layered pane", 31: "list", 32: "list item", 33: "menu", 34: "menu bar", 35: "menu item", 37: "page tab",
         38: "page tab list", 39: "panel", 41: "popup menu", 42: "progress bar", 43: "button", 44: "radio button",
         48: "scroll bar", 49: "scroll pane", 50: "separator", 51: "slider", 52: "spin button", 54: "status bar",
         61: "text", 62: "toggle button", 63: "tool bar", 64: "tool tip", 67: "unknown", 69: "window", 73: "paragraph",
         75: "application", 79: "entry", 83: "heading", 88: "link", 116: "static", 129: "push button menu"}
WITH_VALUE = {"slider", "progress bar", "scroll bar", "spin button"}


def read_states(body):
    _, low, high = struct.unpack_from("<III", body)
    bits = low | high << 32
    return [name for name, number in STATES.items() if bits >> number & 1]


def read_role(body):
    number = read_number(body)
    return ROLES.get(number, f"role {number}")


def read_children(body):
    """Pairs of a name on the bus and a path."""
    length, at, children = read_number(body), 8, []
    end = at + length
    while at < end:
        at += -at % 8
        name = read_text(body, at)
        at += 4 + len(name) + 1
        at += -at % 4
        path = read_text(body, at)
        at += 4 + len(path) + 1
        children.append((name, path))
    return children


def read_extents(body):
    return list(struct.unpack_from("<4i", body))


def read_actions(body):
    """The names; each action is three texts, the name first."""
    length, at, names = read_number(body), 8, []
    end = at + length
    while at < end:
        at += -at % 8
        names.append(read_text(body, at))
        for _ in range(3):
            at += -at % 4
            at += 4 + read_number(body[at:]) + 1
    return names


def property_question(interface, name):
    return Question("org.freedesktop.DBus.Properties", "Get", read_variant, "ss", text_argument(interface, name))


CHILDREN = Question(ACCESSIBLE, "GetChildren", read_children)
STATE = Question(ACCESSIBLE, "GetState", read_states)
ROLE = Question(ACCESSIBLE, "GetRole", read_role)
NAME = property_question(ACCESSIBLE, "Name")
DESCRIPTION = property_question(ACCESSIBLE, "Description")
EXTENTS = Question(COMPONENT, "GetExtents", read_extents, "u", struct.pack("<I", SCREEN_COORDINATES))
CURRENT, LOWEST, HIGHEST = (property_question(VALUE, f"{name}Value") for name in ("Current", "Minimum", "Maximum"))


def connect():
    session = Bus(os.environ["DBUS_SESSION_BUS_ADDRESS"])
    return Bus(session.call("org.a11y.Bus", "/org/a11y/bus", Question("org.a11y.Bus", "GetAddress", read_text)))


ACTIONS = Question(ACTION, "GetActions", read_actions)


def action_question(place):
    return Question(ACTION, "DoAction", read_number, "i", struct.pack("<i", place))


def value_question(value):
    body = text_argument(VALUE, "CurrentValue") + b"\1d\0"
    body += b"\0" * (-len(body) % 8) + struct.pack("<d", value)
    return Question("org.freedesktop.DBus.Properties", "Set", lambda _: True, "ssv", body)


class Node:
    # A control's role does not change, and no control reuses the reference of another.
    known = {}

    def __init__(self, reference):
        self.reference = reference
        self.children = []
        self.fields, role = self.known.setdefault(reference, (receiver(*reference), ""))
        self.control = {"reference": reference, "name": "", "description": "", "role": role, "states": [], "extents": [0, 0, 0, 0],
                        "value": None, "range": None}

    def set_children(self, references):
        self.children = [Node(reference) for reference in references]

    def set_role(self, role):
        self.control["role"] = role
        self.known[self.reference] = self.fields, role

    def set(self, member):
        return lambda answer: self.control.__setitem__(member, answer)

    def questions_of_kind(self):
        yield STATE, self.set("states")
        yield NAME, self.set("name")
        if not self.control["role"]:
            yield ROLE, self.set_role

    def questions_of_rest(self):
        yield DESCRIPTION, self.set("description")
        yield EXTENTS, self.set("extents")
        if self.control["role"] in WITH_VALUE:
            bounds = self.control["range"] = [0, 0]
            yield CURRENT, self.set("value")
            yield LOWEST, lambda answer: bounds.__setitem__(0, answer)
            yield HIGHEST, lambda answer: bounds.__setitem__(1, answer)

    def is_of_interest(self, depth):
        # The programs themselves have none of these states.
        return depth <= 1 or "visible" in self.control["states"]


def ask(bus, questions):
    """Asks triples of a node, a question and what receives its answer, all at once."""
    answers = bus.ask([(node.fields, question) for node, question, _ in questions])
    for at, answer in answers.items():
        questions[at][2](answer)


def read(bus):
    """The tree, level by level."""
    root = Node(REGISTRY)
    level = [root]
    for depth in range(DEEPEST):
        ask(bus, [(node, CHILDREN, node.set_children) for node in level])
        level = [child for node in level for child in node.children]
        if not level:
            break
        ask(bus, [(node, *question) for node in level for question in node.questions_of_kind()])
        ask(bus, [(node, *question) for node in level if "showing" in node.control["states"]
                  for question in node.questions_of_rest()])
        level = [node for node in level if node.is_of_interest(depth)]
    return root


def controls_below(node):
    found = []
    for child in node.children:
        found.append(child.control)
        found += controls_below(child)
    return found


def answer_request(bus, request):
    """True where the control has done it; the names of its actions where nothing is asked of it."""
    control = request["reference"]
    if "value" in request:
        return bus.call(*control, value_question(request["value"]))
    actions = bus.call(*control, ACTIONS)
    if "action" not in request:
        return actions
    return request["action"] in actions and bool(bus.call(*control, action_question(actions.index(request["action"]))))


def main():
    bus = connect()
    for line in sys.stdin:
        if line.strip():
            answer = answer_request(bus, json.loads(line))
        else:
            # The first level holds the programs, which are not controls.
            answer = [control for program in read(bus).children for control in controls_below(program)]
        print(json.dumps(answer), flush=True)


main()
