.pragma library

/* Colours as the lights take them: texts "#rrggbb", and lists of them. */

// The breathing light takes this many.
const breathingCount = 7;

function isColor(value) {
    return /^#[0-9a-f]{6}$/i.test(String(value));
}

function same(first, second) {
    return String(first).toLowerCase() === String(second).toLowerCase();
}

// A stored list. Without enough entries it is the fallback; what is no colour counts as black.
function cleanList(list, fallback, least, most) {
    if (list.length < least)
        return Array.from(fallback);
    return Array.from(list).slice(0, most).map(entry => {
        if (isColor(entry))
            return entry;
        console.warn("Not a colour:", String(entry).slice(0, 40));
        return "#000000";
    });
}

function copies(color, count) {
    return Array(count).fill(color);
}

function padded(colors) {
    return Array.from(colors).concat(copies("#000000", breathingCount)).slice(0, breathingCount);
}

// Seven tenths of the first colour, two of the second, one of the third. Nothing for fewer colours.
function proportional(colors, count) {
    if (colors.length < 3)
        return [];
    return [].concat(...[0.7, 0.2, 0.1].map((share, index) => copies(colors[index], Math.round(share * count))));
}
