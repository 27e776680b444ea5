pragma Singleton

import QtQml
import QtQuick

/* The way of the documents to pages of the web, which the user's browser shows. */
QtObject {
    id: webPages

    property string followed: ""

    // From the last click on the way to a page on: clicks on the same one within it are one.
    readonly property Timer clicking: Timer {
        interval: Application.styleHints.mouseDoubleClickInterval
    }

    // An address that is none would reach the browser as an empty one.
    function isAddress(address: string): bool {
        try {
            return new URL(address).href !== "";
        } catch (error) {
            return false;
        }
    }

    function open(address: string) {
        if (!isAddress(address) || !Qt.openUrlExternally(address))
            console.warn("The page cannot be opened:", address);
    }

    // Of a click, of which two may come where one was meant.
    function follow(address: string) {
        const again = clicking.running && address === followed;
        followed = address;
        clicking.restart();
        if (!again)
            open(address);
    }
}
