import QtQuick
import MediaControls
import VexoDeckTest

/* A test case on a screen that each test creates anew: its parts and sliders, and the messages that it publishes. */
ConfigTestCase {
    id: testCase

    // The screen's item.
    property Item screen: null
    // Of MessageBus.
    property var heardTopics: Object.values(MessageBus.messageTypes)
    // The messages on these topics: maps with "topic" and "payload".
    property var published: []

    function payloadsOf(topic) {
        return published.filter(news => news.topic === topic).map(news => news.payload);
    }

    function part(item, name) {
        const found = findChild(item, name);
        verify(found, name + " exists");
        return found;
    }

    function child(name) {
        return part(screen, name);
    }

    // Destroys a screen and waits until it is gone.
    function discard(object) {
        let gone = false;
        object.Component.destruction.connect(() => gone = true);
        object.destroy();
        tryVerify(() => gone);
    }

    // As JSON, with the members sorted by name.
    function textOf(data) {
        const sorted = value => Object.keys(value).sort().reduce((members, name) => Object.assign(members, {
                    [name]: value[name]
                }), {});
        return JSON.stringify(data, (name, value) => value && typeof value === "object" && !Array.isArray(value) ? sorted(value) : value);
    }

    // A failure prints both texts.
    function compareData(actual, expected, message) {
        compare(textOf(actual), textOf(expected), message);
    }

    // Where the handle's middle stands for a value.
    function placeOf(slider, value) {
        const share = (value - slider.from) / (slider.to - slider.from);
        const half = slider.handle.width / 2;
        if (slider.horizontal)
            return Qt.point(half + share * (slider.width - 2 * half), slider.height / 2);
        return Qt.point(slider.width / 2, slider.height - half - share * (slider.height - 2 * half));
    }

    function press(slider) {
        const place = placeOf(slider, slider.value);
        mousePress(slider, place.x, place.y);
    }

    function moveTo(slider, value) {
        const place = placeOf(slider, value);
        mouseMove(slider, place.x, place.y);
    }

    function release(slider) {
        const place = placeOf(slider, slider.value);
        mouseRelease(slider, place.x, place.y);
    }

    function drag(slider, value) {
        press(slider);
        moveTo(slider, value);
        release(slider);
    }

    MessageListener {
        messageTypes: testCase.heardTopics
        onMessage: (topic, payload) => testCase.published.push({
                topic: topic,
                payload: payload
            })
    }
}
