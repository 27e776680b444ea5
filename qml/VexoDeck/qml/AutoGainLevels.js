.pragma library

const levelMessage = 0x8002;
// Steps of the live level that the device reports.
const fullScale = 30.0;

// A handler of private messages that moves the meter. It outlives the meter, since no window disconnects it.
function handlerFor(meter) {
    return (messageId, value) => {
        if (messageId !== levelMessage)
            return;
        if (typeof meter?.setLevel === "function")
            meter.setLevel(value === 0 ? 0 : value / fullScale);
        else
            console.log("AutoGainWindow: gain_view 未初始化，忽略 setLevel 调用");
    };
}
