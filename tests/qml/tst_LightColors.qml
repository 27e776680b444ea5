import QtQuick
import VexoDeckTest
import "qrc:/qt/qml/VexoDeck/qml/LightColors.js" as LightColors

LoggedTestCase {
    id: testCase

    name: "LightColors"

    function lettersOf(count) {
        return Array.from("abcdefghi").slice(0, count).map(letter => "#" + letter.repeat(6).replace(/[g-i]/g, "9"));
    }

    function test_a_list_of_seven_gets_no_padding() {
        compare(LightColors.padded(lettersOf(7)), lettersOf(7));
    }

    function test_a_list_of_one_gets_six_times_black() {
        compare(LightColors.padded(["#3F2EF8"]), ["#3F2EF8", "#000000", "#000000", "#000000", "#000000", "#000000", "#000000"]);
    }

    function test_a_list_of_nine_is_cut_at_seven() {
        compare(LightColors.padded(lettersOf(9)), lettersOf(7));
    }

    function test_the_proportion_of_a_list_data() {
        return [
            {
                tag: "30",
                count: 30,
                shares: [21, 6, 3]
            },
            {
                tag: "6",
                count: 6,
                shares: [4, 1, 1]
            }
        ];
    }

    function test_the_proportion_of_a_list(row) {
        const colors = ["#00FF00", "#FF9900", "#FF0000"];
        const list = LightColors.proportional(colors, row.count);
        compare(list.length, row.count);
        compare(list, [].concat(...colors.map((color, index) => Array(row.shares[index]).fill(color))));
    }

    function test_fewer_than_three_colours_give_no_list() {
        compare(LightColors.proportional(["#00FF00", "#FF9900"], 30), []);
        compare(LightColors.proportional([], 6), []);
    }

    function test_a_colour_has_six_digits_data() {
        const rows = [["#3F2EF8", true], ["#3f2ef8", true], ["", false], ["#fff", false], ["red", false], ["#12345", false], ["#1234567", false], ["#GGGGGG", false], ["3F2EF8", false], [" #3F2EF8", false], ["#3F2EF8\n", false], ["#" + "0".repeat(10000), false]].map(([text, isColor]) => ({
                    tag: JSON.stringify(text.slice(0, 12)),
                    text: text,
                    isColor: isColor
                }));
        return rows.concat([null, undefined, 12, false,
            {},
            []].map(value => ({
                    tag: typeof value + " " + value,
                    text: value,
                    isColor: false
                })));
    }

    function test_a_colour_has_six_digits(row) {
        compare(LightColors.isColor(row.text), row.isColor);
    }

    function test_colours_are_the_same_in_both_cases() {
        verify(LightColors.same("#3F2EF8", "#3f2ef8"));
        verify(!LightColors.same("#3F2EF8", "#3F2EF9"));
        verify(!LightColors.same("#3F2EF8", null));
    }

    function test_a_clean_list_stays_as_it_is() {
        compare(LightColors.cleanList(["#AABBCC", "#ddeeff"], ["#000000"], 1, 7), ["#AABBCC", "#ddeeff"]);
    }

    function test_a_list_that_is_too_short_is_the_fallback() {
        for (const list of [[], ["#112233"], ["#112233", "#112233"]])
            compare(LightColors.cleanList(list, ["#1", "#2", "#3"], 3, 3), ["#1", "#2", "#3"]);
    }

    function test_a_list_that_is_too_long_is_cut() {
        compare(LightColors.cleanList(lettersOf(9), [], 1, 7), lettersOf(7));
    }

    function test_what_is_no_colour_is_told_of_and_counts_as_black() {
        TestLog.expect("Not a colour: red");
        TestLog.expect("Not a colour: " + "x".repeat(40));
        compare(LightColors.cleanList(["red", "#112233", "x".repeat(10000)], [], 3, 3), ["#000000", "#112233", "#000000"]);
    }
}
