.pragma library

// What a report of an upgrade means for its view.

const Goes = 0;
const Done = 1;
const Failed = 2;

// Kept: a refused version or checksum ends as a success, and only the very word is a failure.
const verdicts = ["升级成功", "升级失败,版本低", "升级失败,校验失败"];
const failure = "升级失败";

// The end is told by a verdict, and not by 100 percent of the blocks.
function outcomeOf(progress, message) {
    if (message === failure)
        return Failed;
    return progress === 100 && verdicts.includes(message) ? Done : Goes;
}
