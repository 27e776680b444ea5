pragma Singleton

import QtQml
// The program registers this module when it starts: qmllint finds no description of it.
import VexoDeckSystemBridge // qmllint disable import

/*
    The applications and microphones that the mixer can add, reduced to what it keeps: name, iconFilePath,
    bundleIdentifier, processIdentifier (text), isInput and streamID. The key appList holds the JSON text of one such
    entry for each strip.
*/
QtObject {
    id: inventory

    readonly property var bridge: SystemBridge // qmllint disable unqualified

    // The list of this turn of the event loop. Null until it is needed.
    property var answerOfTurn: null

    // What runs now.
    function running(): var {
        return Array.from(bridge.getRunningApplications() ?? []).map(record => reduced(record));
    }

    // What is installed: the whole records, of which one is kept for the button of the device.
    function installed(): var {
        return Array.from(bridge.getRunningApplicationsByQt() ?? []);
    }

    // What runs now, read once per turn of the event loop: all strips ask in the same turn.
    function runningThisTurn(): var {
        if (!answerOfTurn) {
            answerOfTurn = running();
            Qt.callLater(() => answerOfTurn = null);
        }
        return answerOfTurn;
    }

    // What runs now and has no strip yet, and the given one, which may be chosen again.
    function available(ownIdentifier: string): var {
        const taken = new Set(ConfigMgr.getStringList(ConfigMgr.keys.appList).map(text => parsed(text)?.bundleIdentifier));
        taken.delete(ownIdentifier);
        return running().filter(app => !taken.has(app.bundleIdentifier));
    }

    // The address of the icon that an entry names. Empty while its file is not there, and for any file but the icons
    // that the inventory makes.
    function iconSource(iconFilePath: string): string {
        return iconFilePath === "" ? "" : bridge.iconSource(iconFilePath);
    }

    // Parses the JSON text of a record. Null for any other text.
    function recordIn(text: string): var {
        try {
            return JSON.parse(text);
        } catch (error) {
            return null;
        }
    }

    // Parses a text of appList. Null for a text that is no entry.
    function parsed(text: string): var {
        const app = reduced(recordIn(text));
        return app.bundleIdentifier === "" && app.name === "" ? null : app;
    }

    // Leaves out members of the wrong type.
    function reduced(record: var): var {
        return {
            name: textOf(record?.name),
            iconFilePath: textOf(record?.iconFilePath),
            bundleIdentifier: textOf(record?.bundleIdentifier),
            processIdentifier: identifierOf(record),
            isInput: record?.isInput === true,
            streamID: 0
        };
    }

    // In the engine, ids below 10 are those of the device and of inputs, and the last two those of the buses: an
    // application with such a one, as from a damaged or foreign store, would take their place.
    function identifierOf(record: var): var {
        const id = record?.processIdentifier;
        if (typeof id !== "string" && typeof id !== "number")
            return undefined;
        const number = Number(id);
        return record.isInput === true || (Number.isInteger(number) && number >= 10 && number < 0xFFFFFFFE) ? id : undefined;
    }

    // The name of an entry on the screen. Without a name, that of its file.
    function displayName(app: var): string {
        return app.name || app.bundleIdentifier.split("/").pop();
    }

    function textOf(value: var): string {
        return typeof value === "string" ? value : "";
    }
}
