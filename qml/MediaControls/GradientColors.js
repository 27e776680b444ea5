.pragma library

// [red, green, blue], 0 to 255, of "#rrggbb".
function channels(color) {
    const digits = /^#([0-9a-f]{6})$/i.exec(String(color));
    if (!digits) {
        console.warn("Not a colour:", color);
        return [0, 0, 0];
    }
    const number = parseInt(digits[1], 16);
    return [number >> 16, (number >> 8) & 0xff, number & 0xff];
}

// The colour between two others. A share of 0 returns the first one.
function between(first, second, share) {
    const t = Math.max(0, Math.min(1, share));
    const to = channels(second);
    return "#" + channels(first).map((from, index) => Math.round(from + (to[index] - from) * t).toString(16).padStart(2, "0")).join("");
}

function sampleThree(gradient, steps) {
    const middle = Math.floor((steps - 1) / 2);
    const last = steps - 1;
    return Array.from({ length: steps }, (_, index) => {
        if (index === 0)
            return gradient[0];
        if (index === middle)
            return gradient[1];
        if (index === last)
            return gradient[2];
        return index < middle ? between(gradient[0], gradient[1], index / middle)
                              : between(gradient[1], gradient[2], (index - middle) / (last - middle));
    });
}

// A gradient as a list of that many colours. The middle one of three is always among them.
function generateGradientColors(gradient, steps) {
    if (gradient.length < 2) {
        console.warn("A gradient wants two colours, not", gradient.length);
        return [];
    }
    if (gradient.length === 3 && steps >= 3)
        return sampleThree(gradient, steps);
    const segments = gradient.length - 1;
    return Array.from({ length: steps }, (_, index) => {
        const position = steps > 1 ? index / (steps - 1) * segments : 0;
        const segment = Math.floor(position);
        return segment >= segments ? gradient[segments] : between(gradient[segment], gradient[segment + 1], position - segment);
    });
}
