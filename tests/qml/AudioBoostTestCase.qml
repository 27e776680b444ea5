import QtQuick
import MediaControls
import VexoDeck

/* A test case on the microphone page's second card. */
PageTestCase {
    width: 410
    height: 760
    pageComponent: Component {
        MicrophoneTab {
            anchors.fill: parent
        }
    }

    readonly property var topics: MessageBus.messageTypes
    readonly property var userPreset: JSON.stringify({
        name: "自定义",
        value: [1, 2, 3, 4, 5, 6, 5, 4, 3, 2, 1, 0],
        img: "icons/zdy.svg"
    })

    function scenes() {
        return child("selectRowType");
    }

    function strengths() {
        return child("noiseSelect2");
    }

    function clipping() {
        return child("fanbaoYinSlider");
    }

    function compressor() {
        return child("yasuoQiSlider");
    }

    function clickScene(index) {
        mouseClick(findChild(scenes(), "tile" + index));
    }

    function clickStrength(index) {
        mouseClick(findChild(strengths(), "tile" + index));
    }

    // The settings and controls that have changed.
    function changes(before, after) {
        const changed = {};
        for (const name of Object.keys(after)) {
            if (JSON.stringify(before[name]) !== JSON.stringify(after[name]))
                changed[name] = after[name];
        }
        return changed;
    }

    function everything() {
        return Object.assign(allSettings(), {
            "scene row": scenes().selectIndex,
            "AI switch": switchOf("aiSwitch").checked,
            "strength row": strengths().selectIndex,
            "anti-clipping switch": switchOf("antiClipping").checked,
            "anti-clipping slider": clipping().value,
            "compressor switch": switchOf("compressor").checked,
            "compressor slider": compressor().value
        });
    }
}
