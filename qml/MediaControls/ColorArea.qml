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

        function hueChannel(hue: real, offset: real): real {
            // 1 around the channel's own hue, 0 opposite, straight in between.
            const distance = Math.abs((hue + offset) % 360 - 180);
            return Math.max(0, Math.min(1, distance / 60 - 1));
        }

        // How much of a pixel lies inside of the rounded corners.
        function coverage(x: int, y: int, columns: int, rows: int): real {
            const radius = VxTheme.radiusLarge;
            const dx = Math.max(radius - x - 0.5, x + 0.5 - (columns - radius), 0);
            const dy = Math.max(radius - y - 0.5, y + 0.5 - (rows - radius), 0);
            return dx > 0 && dy > 0 ? Math.max(0, Math.min(1, radius + 0.5 - Math.hypot(dx, dy))) : 1;
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
            const image = context.createImageData(columns, rows);
            const bytes = image.data;
            const hues = [];
            for (let x = 0; x < columns; x++) {
                const hue = x / columns * 360;
                hues.push(hueChannel(hue, 0) - 0.5, hueChannel(hue, 240) - 0.5, hueChannel(hue, 120) - 0.5);
            }
            let at = 0;
            for (let y = 0; y < rows; y++) {
                const chroma = (1 - Math.abs(2 * area.lightness - 1)) * (1 - y / rows);
                for (let x = 0; x < columns; x++) {
                    for (let channel = 0; channel < 3; channel++)
                        bytes[at++] = Math.round(255 * (area.lightness + chroma * hues[3 * x + channel]));
                    bytes[at++] = Math.round(255 * coverage(x, y, columns, rows));
                }
            }
            context.clearRect(0, 0, columns, rows);
            // putImageData() draws nothing without the rectangle.
            context.putImageData(image, 0, 0, 0, 0, columns, rows);
        }
        onVisibleChanged: {
            if (visible)
                requestPaint();
        }
    }

    // Painting is expensive: at most once a frame, and only when the lightness has changed.
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
