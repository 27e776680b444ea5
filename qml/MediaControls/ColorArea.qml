import QtQuick

/* The area of all hues, left to right, and saturations, from full at the top, at one lightness. */
DragSurface {
    id: area

    // 0 to 360, 0 to 1, 0 to 1.
    required property real hue
    required property real saturation
    required property real lightness

    signal picked(real hue, real saturation)

    function pickAt(x: real, y: real) {
        const column = Math.max(0, Math.min(width, x));
        const row = Math.max(0, Math.min(height, y));
        picked(column / width * 360, 1 - row / height);
    }

    function pickBeside(hueSteps: int, saturationSteps: int) {
        picked(Math.max(0, Math.min(360, hue + stepSize * hueSteps)), Math.max(0, Math.min(1, saturation + 0.02 * saturationSteps)));
    }

    current: hue
    maximumValue: 360
    stepSize: 3
    Accessible.name: qsTr("色相和饱和度")
    Accessible.description: Math.round(hue) + "°, " + Math.round(saturation * 100) + "%"

    Canvas {
        id: canvas

        property real paintedLightness: -1

        function isOutdated(): bool {
            return Math.abs(area.lightness - paintedLightness) >= 0.001;
        }

        objectName: "canvas"
        anchors.fill: parent

        onPaint: {
            paintedLightness = area.lightness;
            const context = getContext("2d");
            const columns = Math.floor(width);
            const rows = Math.floor(height);
            if (!context || columns < 1 || rows < 1)
                return;
            context.clearRect(0, 0, columns, rows);
            context.fillStyle = "black";
            context.beginPath();
            context.roundedRect(0, 0, columns, rows, VxTheme.radiusLarge, VxTheme.radiusLarge);
            context.fill();
            // Stays inside of the rounded corners.
            context.globalCompositeOperation = "source-atop";
            for (let x = 0; x < columns; x++) {
                context.fillStyle = Qt.hsla(x / columns, 1, area.lightness, 1);
                // Reaches into the next column, so that no gap shows on a scaled display.
                context.fillRect(x, 0, 2, rows);
            }
            // At one lightness each channel runs straight from a full hue to the grey. Begins in the middle of the first row.
            const greys = context.createLinearGradient(0, 0.5, 0, rows + 0.5);
            greys.addColorStop(0, Qt.hsla(0, 0, area.lightness, 0));
            greys.addColorStop(1, Qt.hsla(0, 0, area.lightness, 1));
            context.fillStyle = greys;
            context.fillRect(0, 0, columns, rows);
            context.globalCompositeOperation = "source-over";
        }
        onVisibleChanged: {
            if (visible)
                requestPaint();
        }
    }

    // At most once a frame, and only when the lightness has changed.
    Timer {
        id: repaintTimer

        interval: 16
        onTriggered: {
            if (canvas.isOutdated())
                canvas.requestPaint();
        }
    }

    ColorSelector {
        objectName: "selector"
        x: Math.max(0, Math.min(area.width - width, area.hue / 360 * area.width - width / 2))
        y: Math.max(0, Math.min(area.height - height, (1 - area.saturation) * area.height - height / 2))
        fill: Qt.hsla(area.hue / 360, area.saturation, area.lightness, 1)
    }

    FocusRing {
        inner: VxTheme.radiusLarge
        visible: area.focusShown
    }

    onPressedAt: (x, y) => pickAt(x, y)
    onDraggedTo: (x, y) => pickAt(x, y)
    onStepped: (right, up) => pickBeside(right, up)
    onLightnessChanged: {
        if (canvas.isOutdated() && !repaintTimer.running)
            repaintTimer.start();
    }
}
