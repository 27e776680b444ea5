import MediaControls

/* The page "话筒" of the device drawer: the input side of the device. One document for all models. */
SettingsPage {
    objectName: "microphoneTab"
    scrollBarShown: !HIDDeviceMgr.isR2()

    MicrophoneInput {
        objectName: "microphoneInput"
    }

    AudioBoost {
        objectName: "audioBoost"
        onEqualizerRequested: {
            equalizerWindow.show();
            equalizerWindow.requestActivate();
        }
    }

    EqualizerWindow {
        id: equalizerWindow
    }
}
