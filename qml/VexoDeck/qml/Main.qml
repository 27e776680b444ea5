pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls
import MediaControls

/* The main window: a stack with the welcome page, and the main layout above it while a device is in use. */
WindowFrame {
    id: windowFrame

    component FadeIn: Transition {
        PropertyAnimation {
            property: "opacity"
            from: 0
            to: 1
            duration: VxTheme.fadeMs
            easing.type: VxTheme.easing
        }
    }
    component FadeOut: Transition {
        PropertyAnimation {
            property: "opacity"
            from: 1
            to: 0
            duration: VxTheme.fadeMs
            easing.type: VxTheme.easing
        }
    }

    // On every page, with the drawer open or not.
    readonly property ButtonAction buttonAction: ButtonAction {}
    readonly property ConsentQuestion consentQuestion: ConsentQuestion {}

    title: "Vexo Deck"
    visible: true
    rightView: Component {
        MoreButton {
            macStyle: windowFrame.macStyle
        }
    }

    StackView {
        id: stackView

        objectName: "stackView"
        initialItem: WelcomeLayout {}
        pushEnter: FadeIn {}
        pushExit: FadeOut {}
        popEnter: FadeIn {}
        popExit: FadeOut {}
    }

    Component.onCompleted: {
        MessageDialogMgr.setParent(windowFrame);
        consentQuestion.ask();
        NetworkMgr.getTrackId(() => NetworkMgr.startApp());
    }
}
