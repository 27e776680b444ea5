.pragma library

/* The fixed tables of the configuration: colour rows, sample rates and equaliser presets. */

// "#RRGGBB" of three numbers, each rounded and held within 0 to 255.
function rgbToHex(red, green, blue) {
    return "#" + [red, green, blue].map(number => {
        const byte = Math.min(255, Math.max(0, Math.round(number)));
        return byte.toString(16).padStart(2, "0");
    }).join("").toUpperCase();
}

function colorRow(triples) {
    return triples.map(triple => rgbToHex(...triple));
}

const rainbowColors = [
    colorRow([[253, 231, 37], [39, 255, 222], [253, 231, 37]]),
    colorRow([[93, 54, 250], [231, 32, 249], [93, 54, 250]]),
    colorRow([[224, 41, 3], [253, 231, 37], [224, 41, 3]])
];

// The input level lights run from green to red first.
const inputLevelColors = [
    colorRow([[0, 255, 0], [255, 153, 0], [255, 0, 0]]),
    rainbowColors[1],
    rainbowColors[2]
];

// kHz, as text
const sampleRates = ["44.1", "48", "88.2", "96", "176.4", "192"];

// Names are source texts, translated where they are shown. Values are dB, from the lowest band to the highest.
const equalizerPresets = [
    { name: "原声", value: [2, 1, 0, 0, 0, 0, 0, 1, 2, 1, 0, 0], img: "icons/gbz.svg" },
    { name: "人声增强", value: [4, 2, 0, 0, -2, 0, 4, 2, 0, -3, -2, 1], img: "icons/rs.svg" },
    { name: "低切75Hz", value: [-3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0], img: "icons/dq.svg" },
    { name: "低切150Hz", value: [-6, -3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0], img: "icons/dq.svg" },
    { name: "平坦", value: [0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0], img: "icons/pt.svg" },
    { name: "中频增强", value: [0, 0, 1, 2, 3, 3, 2, 1, 1, 0, 0, 0], img: "icons/zp.svg" },
    { name: "低中频增强", value: [-1, 0, 4, 2, 0, 0, 0, 1, 1, 0, 0, 0], img: "icons/dzp.svg" }
].map(preset => JSON.stringify(preset));
