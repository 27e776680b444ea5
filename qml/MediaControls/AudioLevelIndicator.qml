import QtQuick

/* The meter of a mixer strip: left and right side by side. */
Row {
    id: indicator

    // Whose level it is, for a screen reader.
    property string owner: ""

    function setLevels(levelLeft: real, levelRight: real) {
        left.setLevel(levelLeft);
        right.setLevel(levelRight);
    }

    function clearClipping() {
        left.clearClipping();
        right.clearClipping();
    }

    height: 160
    spacing: 10

    AudioChannelIndicator {
        id: left

        objectName: "left"
        width: 9
        height: parent.height
        channelName: "L"
        owner: indicator.owner
    }
    AudioChannelIndicator {
        id: right

        objectName: "right"
        width: 9
        height: parent.height
        channelName: "R"
        owner: indicator.owner
    }
}
