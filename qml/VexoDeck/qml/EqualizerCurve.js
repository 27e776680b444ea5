.pragma library

/* The geometry of the equaliser's curve: gains in dB, positions in logical pixels of the canvas. */

const bandCount = 12;
const paddingX = 10;
const paddingY = 30;
// dB, at the top and the bottom of the plot
const maximumGain = 6;
const minimumGain = -6;
const gainRange = 12;
// A press farther from every band than this belongs to none.
const reach = 30;
const segmentSteps = 30;

function plotWidth(width) {
    return width - 2 * paddingX;
}

function plotHeight(height) {
    return height - 2 * paddingY;
}

// Twelve numbers, whatever a record holds. Missing or invalid entries are 0.
function twelveGains(value) {
    const gains = Array.isArray(value) ? value : [];
    return Array.from({ length: bandCount }, (unused, band) => Number.isFinite(gains[band]) ? gains[band] : 0);
}

function bandX(band, width) {
    return paddingX + band / (bandCount - 1) * plotWidth(width);
}

function gainY(gain, height) {
    return paddingY + (maximumGain - gain) / gainRange * plotHeight(height);
}

function gainAt(y, height) {
    const gain = maximumGain - (y - paddingY) / plotHeight(height) * gainRange;
    return Math.max(minimumGain, Math.min(maximumGain, gain));
}

function points(gains, width, height) {
    return gains.map((gain, band) => ({ x: bandX(band, width), y: gainY(gain, height) }));
}

// The band with the nearest x, the lower of two at equal distance, or -1 beyond the reach.
function nearestBand(x, width) {
    let nearest = -1;
    let least = reach;
    for (let band = 0; band < bandCount; band++) {
        const distance = Math.abs(bandX(band, width) - x);
        if (distance < least) {
            least = distance;
            nearest = band;
        }
    }
    return nearest;
}

// One coordinate of a Catmull-Rom span between p1 and p2.
function spline(p0, p1, p2, p3, t) {
    return 0.5 * (2 * p1 + (p2 - p0) * t + (2 * p0 - 5 * p1 + 4 * p2 - p3) * t * t + (3 * p1 - p0 - 3 * p2 + p3) * t * t * t);
}

// Rounding separates the end of a span from the start of the next.
function samePosition(a, b) {
    return Math.abs(a.x - b.x) < 1e-9 && Math.abs(a.y - b.y) < 1e-9;
}

// The positions of the curve through the points, whose ends count twice.
function curve(through) {
    const last = through.length - 1;
    const positions = [];
    for (let index = 0; index < last; index++) {
        const p0 = through[Math.max(0, index - 1)];
        const p1 = through[index];
        const p2 = through[index + 1];
        const p3 = through[Math.min(last, index + 2)];
        for (let step = 0; step <= segmentSteps; step++) {
            const t = step / segmentSteps;
            const position = {
                x: spline(p0.x, p1.x, p2.x, p3.x, t),
                y: spline(p0.y, p1.y, p2.y, p3.y, t)
            };
            const before = positions[positions.length - 1];
            if (!before || !samePosition(before, position))
                positions.push(position);
        }
    }
    return positions;
}
