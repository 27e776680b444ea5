.pragma library

// From a press of keys to the text of a hotkey, as "Ctrl+Shift+A", which the program reads when it presses the keys.

// In their order in the text: the name, that on macOS, the modifier's flag, and the keys that are the modifier itself.
const modifiers = [
    { name: "Ctrl", macName: "Command", flag: Qt.ControlModifier, keys: [Qt.Key_Control] },
    { name: "Alt", macName: "Option", flag: Qt.AltModifier, keys: [Qt.Key_Alt] },
    { name: "Shift", macName: "Shift", flag: Qt.ShiftModifier, keys: [Qt.Key_Shift] },
    { name: "Meta", macName: "Control", flag: Qt.MetaModifier, keys: [Qt.Key_Meta, Qt.Key_Super_L, Qt.Key_Super_R] },
];

const namedKeys = {
    [Qt.Key_Space]: "Space",
    [Qt.Key_Enter]: "Enter",
    [Qt.Key_Return]: "Return",
    [Qt.Key_Tab]: "Tab",
    // Tab with Shift.
    [Qt.Key_Backtab]: "Tab",
    [Qt.Key_Escape]: "Esc",
    [Qt.Key_Backspace]: "Backspace",
    [Qt.Key_Delete]: "Delete",
    [Qt.Key_Insert]: "Insert",
    [Qt.Key_Home]: "Home",
    [Qt.Key_End]: "End",
    [Qt.Key_PageUp]: "PageUp",
    [Qt.Key_PageDown]: "PageDown",
    [Qt.Key_Left]: "Left",
    [Qt.Key_Right]: "Right",
    [Qt.Key_Up]: "Up",
    [Qt.Key_Down]: "Down",
};

// Keys whose number is that of their character.
const characters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-+=[]\\;',./";

// Of a key that has no name only the modifiers count. A modifier's own press may lack its flag.
function textOf(key, flags, onMac) {
    const names = modifiers.filter(modifier => (flags & modifier.flag) !== 0 || modifier.keys.includes(key));
    return names.map(modifier => onMac ? modifier.macName : modifier.name).concat(nameOf(key) ?? []).join("+");
}

function nameOf(key) {
    if (key >= Qt.Key_F1 && key <= Qt.Key_F12)
        return "F" + (key - Qt.Key_F1 + 1);
    const character = characters.indexOf(String.fromCharCode(key));
    return namedKeys[key] ?? (key < 0x80 && character >= 0 ? characters[character] : undefined);
}
