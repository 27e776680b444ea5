import QtQuick
import MediaControls
import "EqualizerCurve.js" as Curve

/* Draws the equaliser's curve through its twelve points. */
Canvas {
    id: canvas

    // dB, twelve numbers.
    required property list<real> gains

    // Once, after all changes of this turn of the event loop.
    function repaint() {
        Qt.callLater(requestPaint);
    }

    function repaintWithSize() {
        if (width > 0 && height > 0)
            repaint();
    }

    function paintGrid(context: var) {
        context.save();
        context.strokeStyle = VxTheme.grid;
        context.lineWidth = 1;
        context.setLineDash([3, 3]);
        for (let band = 0; band < Curve.bandCount; band++) {
            const x = Curve.bandX(band, width);
            context.beginPath();
            context.moveTo(x, 0);
            context.lineTo(x, height);
            context.stroke();
        }
        context.restore();
    }

    function paintArea(context: var, positions: var) {
        const bottom = Curve.paddingY + Curve.plotHeight(height);
        context.save();
        context.beginPath();
        context.moveTo(positions[0].x, positions[0].y);
        context.lineTo(positions[0].x, bottom);
        context.lineTo(positions[positions.length - 1].x, bottom);
        for (const position of positions.slice().reverse())
            context.lineTo(position.x, position.y);
        context.closePath();
        context.clip();
        const fill = context.createLinearGradient(0, -50, 0, bottom);
        fill.addColorStop(0, VxTheme.curveArea);
        fill.addColorStop(1, "transparent");
        context.fillStyle = fill;
        context.fillRect(0, 0, width, height);
        context.restore();
    }

    function paintLine(context: var, positions: var) {
        context.beginPath();
        positions.forEach(position => context.lineTo(position.x, position.y));
        context.strokeStyle = VxTheme.accent;
        context.lineWidth = 1;
        context.stroke();
    }

    function paintPoints(context: var, points: var) {
        context.fillStyle = VxTheme.text;
        context.strokeStyle = VxTheme.accent;
        context.lineWidth = 2;
        for (const point of points) {
            context.beginPath();
            context.arc(point.x, point.y, 6, 0, 2 * Math.PI);
            context.fill();
            context.stroke();
        }
    }

    Accessible.ignored: true
    onPaint: {
        if (width <= 0 || height <= 0) {
            console.warn("Canvas size is invalid:", width, height);
            return;
        }
        const context = getContext("2d");
        if (!context) {
            console.warn("Failed to get 2d context");
            return;
        }
        context.reset();
        const points = Curve.points(Array.from(gains), width, height);
        const positions = Curve.curve(points);
        paintGrid(context);
        paintArea(context, positions);
        paintLine(context, positions);
        paintPoints(context, points);
    }
    onGainsChanged: repaint()
    onWidthChanged: repaintWithSize()
    onHeightChanged: repaintWithSize()
    Component.onCompleted: {
        if (width <= 0 || height <= 0)
            Qt.callLater(repaintWithSize);
        else
            repaint();
    }
}
