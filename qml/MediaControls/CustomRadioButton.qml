import QtQuick
import QtQuick.Templates as T

/*
    One choice of several: checking it clears the others of its parent, or of its group. The arrow keys check the one
    before or after it.
*/
Choice {
    id: radioButton

    // For choices that do not stand side by side.
    property T.ButtonGroup group: null

    // Those of a group in the order in which they stand on the screen.
    function choicesBeside(): var {
        const choices = Array.from(group ? group.buttons : parent.children).filter(item => item.visible && item.enabled && item instanceof CustomRadioButton);
        const placeOf = item => item.mapToItem(null, 0, 0);
        return group ? choices.sort((one, other) => placeOf(one).y - placeOf(other).y || placeOf(one).x - placeOf(other).x) : choices;
    }

    // The first choice follows the last.
    function checkBeside(step: int) {
        const choices = choicesBeside();
        const other = choices[(choices.indexOf(radioButton) + step + choices.length) % choices.length];
        other.forceActiveFocus(Qt.TabFocusReason);
        other.click();
    }

    autoExclusive: true
    T.ButtonGroup.group: group
    ringRadius: 8
    Accessible.role: Accessible.RadioButton

    indicator: Rectangle {
        x: radioButton.leftPadding
        y: radioButton.topPadding + Math.round((radioButton.availableHeight - height) / 2)
        width: 16
        height: 16
        radius: width / 2
        color: radioButton.hovered && radioButton.enabled ? VxTheme.veilHover : "transparent"
        border.width: 1
        border.color: VxTheme.text

        Rectangle {
            objectName: "dot"
            anchors.centerIn: parent
            width: 10
            height: 10
            radius: width / 2
            color: VxTheme.text
            opacity: radioButton.checked ? 1 : radioButton.down ? 0.4 : 0
            visible: opacity > 0
        }
    }

    Keys.onLeftPressed: checkBeside(-1)
    Keys.onUpPressed: checkBeside(-1)
    Keys.onRightPressed: checkBeside(1)
    Keys.onDownPressed: checkBeside(1)
}
