pragma Singleton

import QtQml
// Registered by the program when it starts, so that no description lies on the disk for the linter.
import VexoDeckSystemBridge // qmllint disable import

/*
    The applications and microphones that the mixer can take, in the reduced form that it keeps: name, iconFilePath,
    bundleIdentifier, processIdentifier (text), isInput, streamID. The key appList holds the JSON text of one such
    entry for each strip.
*/
QtObject {
    id: inventory

    readonly property var bridge: SystemBridge // qmllint disable unqualified

    // The answer of this turn of the event loop, null before it was asked for.
    property var answerOfTurn: null

    // What runs now.
    function running(): var {
        return Array.from(bridge.getRunningApplications() ?? []).map(record => reduced(record));
    }

    // What runs now, asked for once for all who ask in the same turn of the event loop: the strips do so together.
    function runningThisTurn(): var {
        if (!answerOfTurn) {
            answerOfTurn = running();
            Qt.callLater(() => answerOfTurn = null);
        }
        return answerOfTurn;
    }

    // What runs now and has no strip yet, but for the one that is given: it may be chosen again.
    function available(ownIdentifier: string): var {
        const taken = new Set(ConfigMgr.getStringList(ConfigMgr.keys.appList).map(text => parsed(text)?.bundleIdentifier));
        taken.delete(ownIdentifier);
        return running().filter(app => !taken.has(app.bundleIdentifier));
    }

    // The entry of a text of appList; null for a text that is none.
    function parsed(text: string): var {
        let record = null;
        try {
            record = JSON.parse(text);
        } catch (error) {
            return null;
        }
        const app = reduced(record);
        return app.bundleIdentifier === "" && app.name === "" ? null : app;
    }

    // Members of another type than theirs are left out.
    function reduced(record: var): var {
        const id = record?.processIdentifier;
        return {
            name: textOf(record?.name),
            iconFilePath: textOf(record?.iconFilePath),
            bundleIdentifier: textOf(record?.bundleIdentifier),
            processIdentifier: typeof id === "string" || typeof id === "number" ? id : undefined,
            isInput: record?.isInput === true,
            streamID: 0
        };
    }

    // What an entry is called on the screen: one without a name goes by its file.
    function displayName(app: var): string {
        return app.name || app.bundleIdentifier.split("/").pop();
    }

    function textOf(value: var): string {
        return typeof value === "string" ? value : "";
    }
}
