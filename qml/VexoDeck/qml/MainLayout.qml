import QtQuick
import QtQuick.Controls
import QtQuick.Templates as T
import MediaControls
import VexoDeckSystemBridge // qmllint disable import

/*
    The main screen: the mixer, and beside it the drawer with the device's settings. It exists from the press on the
    welcome page's button to the loss of the device.
*/
Page {
    id: mainLayout

    // True once the display is monitored. Never returns to false.
    property bool screenPowerMonitor: false

    function startScreenPowerMonitor() {
        if (screenPowerMonitor || !ConfigMgr.getValue(ConfigMgr.keys.color_bg_other_close_lighting))
            return;
        screenPowerMonitor = true;
        SystemBridge.startPowerEventMonitor(); // qmllint disable unqualified
    }

    // Turns the device's lights off and on with the display, if the user has chosen so.
    function handleScreenPowerStateChanged(screenOn: bool) {
        if (!ConfigMgr.getValue(ConfigMgr.keys.color_bg_other_close_lighting))
            return;
        const brightness = screenOn ? ConfigMgr.getValue(ConfigMgr.keys.color_bg_other_brightness) : 0;
        HIDDeviceMgr.sendMessage(HIDDeviceMgr.attrs.rgb_light_brightness, [brightness * 100]);
    }

    // A measurement of the automatic gain has begun, here or at the device.
    function handleAutoGain(value: var) {
        // true, from the button, counts as 1.
        if (value == 1 && (!autoGain.window?.visible || autoGain.window.isClosing))
            autoGain.window = VxConfig.createWindow("AutoGainWindow.qml", mainLayout);
    }

    objectName: "mainLayout"
    Accessible.role: Accessible.Pane
    background: Rectangle {
        color: VxTheme.background
    }

    // From the first start of the monitor on.
    Connections {
        target: SystemBridge // qmllint disable unqualified
        enabled: mainLayout.screenPowerMonitor

        function onScreenPowerStateChanged(screenOn: bool) {
            mainLayout.handleScreenPowerStateChanged(screenOn);
        }
    }

    MessageListener {
        messageTypes: [MessageBus.messageTypes.SCREEN_POWER_STATE_CHANGED]
        onMessage: () => mainLayout.startScreenPowerMonitor()
    }

    QtObject {
        id: autoGain

        property WindowFrame window: null
    }

    MessageListener {
        messageTypes: [MessageBus.messageTypes.UPDATE_AUTO_GAIN]
        onMessage: (topic, value) => mainLayout.handleAutoGain(value)
    }

    MainSettings {
        anchors.left: parent.left
        anchors.right: deviceSettingsDrawer.left
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        onDeviceSettingsRequested: deviceSettingsDrawer.open()
    }

    Rectangle {
        id: deviceSettingsDrawer

        property bool isOpen: false
        // Had the focus when the drawer opened, and gets it back.
        property Item opener: null

        function open() {
            isOpen = true;
            opener = mainLayout.Window.activeFocusItem;
            passFocus(deviceSettings);
        }

        function close() {
            isOpen = false;
            if (opener && deviceSettings.activeFocus)
                passFocus(opener);
            opener = null;
        }

        // Moves the focus; a visible focus stays visible.
        function passFocus(item: Item) {
            const holder = mainLayout.Window.activeFocusItem as T.AbstractButton;
            item.forceActiveFocus(holder && holder.visualFocus ? Qt.TabFocusReason : Qt.OtherFocusReason);
        }

        objectName: "deviceSettingsDrawer"
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        width: isOpen ? 450 : 0
        visible: isOpen || width > 0
        clip: true
        color: VxTheme.surface

        Behavior on width {
            NumberAnimation {
                duration: VxTheme.fadeMs
                easing.type: Easing.OutCubic
            }
        }

        DeviceSettings {
            id: deviceSettings

            width: 450
            height: parent.height
            onBackClicked: deviceSettingsDrawer.close()
        }
    }

    Component.onCompleted: startScreenPowerMonitor()
}
