import QtQuick
import QtTest
import "qrc:/qt/qml/VexoDeck/qml/UpdateAnswers.js" as UpdateAnswers

/* What the service's answers about updates offer. */
LoggedTestCase {
    name: "UpdateAnswers"

    readonly property string address: "https://x.example/new.bin"

    function firmwareAnswer(code, flag, newVersion) {
        return {
            code: code,
            data: {
                isUpgrade: flag,
                newVersion: newVersion
            }
        };
    }

    function applicationAnswer(code, flag, upgradeDate) {
        return {
            code: code,
            data: {
                upgradeFlag: flag,
                upgradeDate: upgradeDate
            }
        };
    }

    function test_an_offer_has_its_address() {
        for (const flag of [1, "1"]) {
            compare(UpdateAnswers.firmwareAddress(firmwareAnswer(0, flag, {
                filePath: address
            })), address);
            compare(UpdateAnswers.applicationAddress(applicationAnswer(0, flag, {
                fileUrl: address
            })), address);
        }
    }

    function test_an_offer_without_an_address_is_empty() {
        for (const text of ["null", "{}", "[]", '"x"', "5", '{"filePath":5,"fileUrl":5}', '{"filePath":"","fileUrl":""}', '{"filePath":["a"],"fileUrl":{}}']) {
            const place = JSON.parse(text);
            compare(UpdateAnswers.firmwareAddress(firmwareAnswer(0, "1", place)), "", text);
            compare(UpdateAnswers.applicationAddress(applicationAnswer(0, 1, place)), "", text);
        }
        compare(UpdateAnswers.firmwareAddress(firmwareAnswer(0, "1", undefined)), "");
    }

    function test_another_code_or_flag_offers_nothing() {
        const pairs = '[[1,1], ["0",1], [false,1], [null,1], [0,0], [0,"0"], [0,2], [0,true], [0,[1]], [0,{}], [0,null], [0,""]]';
        for (const [code, flag] of JSON.parse(pairs)) {
            const what = JSON.stringify([code, flag]);
            compare(UpdateAnswers.firmwareAddress(firmwareAnswer(code, flag, {
                filePath: address
            })), null, what);
            compare(UpdateAnswers.applicationAddress(applicationAnswer(code, flag, {
                fileUrl: address
            })), null, what);
        }
    }

    function test_nonsense_offers_nothing() {
        for (const text of ["null", "[]", "[0]", '"x"', '""', "0", "5", "true", "{}", '{"code":0}', '{"code":0,"data":null}', '{"code":0,"data":"1"}', '{"code":0,"data":[1]}']) {
            compare(UpdateAnswers.firmwareAddress(JSON.parse(text)), null, text);
            compare(UpdateAnswers.applicationAddress(JSON.parse(text)), null, text);
        }
        compare(UpdateAnswers.firmwareAddress(undefined), null);
    }
}
