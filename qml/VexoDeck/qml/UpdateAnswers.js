.pragma library

// What the service's answers about updates offer: the address of the new version, "" where it has none, null where nothing
// is offered. An answer may be anything that JSON can say.

// A newer firmware of the connected device.
function firmwareAddress(response) {
    const offered = response?.code === 0 && isOne(response.data?.isUpgrade);
    return offered ? addressOf(response.data.newVersion?.filePath) : null;
}

// A newer version of this program.
function applicationAddress(response) {
    const offered = response?.code === 0 && isOne(response.data?.upgradeFlag);
    return offered ? addressOf(response.data.upgradeDate?.fileUrl) : null;
}

function isOne(flag) {
    return flag === 1 || flag === "1";
}

function addressOf(value) {
    return typeof value === "string" ? value : "";
}

// Calls a function of an object, unless the object is gone: an answer may come late.
function tell(object, name, ...words) {
    if (typeof object?.[name] === "function")
        object[name](...words);
}
