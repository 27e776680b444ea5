import QtQuick

/* A gradient of the first three colours, from left to right. Where there are fewer, the last one repeats. */
Rectangle {
    id: bar

    required property var colors

    function colorAt(index: int): color {
        return colors[Math.min(index, colors.length - 1)] ?? "black";
    }

    gradient: Gradient {
        orientation: Gradient.Horizontal

        GradientStop {
            position: 0
            color: bar.colorAt(0)
        }
        GradientStop {
            position: 0.5
            color: bar.colorAt(1)
        }
        GradientStop {
            position: 1
            color: bar.colorAt(2)
        }
    }
}
