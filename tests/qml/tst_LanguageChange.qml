import QtQuick
import QtTest
import MediaControls
import VexoDeckTest
import VexoDeckTranslation

/* A change of the language reaches what is open, and leaves the rest as it is. */
LanguageTestCase {
    id: testCase

    name: "LanguageChange"

    function test_a_change_leaves_no_old_text_data() {
        return views();
    }

    function test_a_change_leaves_no_old_text(view) {
        TranslationManager.setLanguage("ru_RU");
        const fresh = wordsOf(view.open());
        end(view);
        TranslationManager.setLanguage("de_DE");
        initMainWindow();
        const roots = view.open();
        const before = wordsOf(roots);
        verify(before.join("\n") !== fresh.join("\n"), "the languages differ");
        speak(view, "ru_RU");
        compare(wordsOf(roots).join("\n"), fresh.join("\n"));
        end(view);
    }

    function test_a_change_leaves_the_focus_where_it_is_data() {
        return [
            {
                tag: "tab",
                info: mixdeskR2,
                item: "tab1"
            },
            {
                tag: "tile",
                info: voxmicM40,
                item: "tile0"
            }
        ];
    }

    function test_a_change_leaves_the_focus_where_it_is(row) {
        openDrawer(row.info);
        activateWindow();
        const item = child(row.item);
        item.forceActiveFocus(Qt.TabFocusReason);
        const before = item.text;
        TranslationManager.setLanguage("ru_RU");
        verify(item.text !== before, item.text);
        compare(window.activeFocusItem, item);
        compare(item.visualFocus, true);
    }

    function test_the_equalizers_name_follows_the_language_data() {
        return [
            {
                tag: "of the program",
                index: 1,
                name: "人声增强",
                expected: ["人声增强", "Vocal Boost", "Чёткий голос"]
            },
            {
                tag: "of the user",
                index: 8,
                name: "自定义",
                expected: ["自定义 2", "Custom 2", "Свой 2"]
            },
            {
                tag: "foreign",
                index: 1,
                name: "Mine",
                expected: ["Mine", "Mine", "Mine"]
            }
        ];
    }

    function test_the_equalizers_name_follows_the_language(row) {
        ConfigMgr.setValue("device_equalizer", true);
        ConfigMgr.setValue("device_equalizer_current_index", row.index);
        ConfigMgr.setValue("device_equalizer_current", JSON.stringify({
            name: row.name,
            value: []
        }));
        openDrawer(mixdeskR2);
        const shown = ["zh_CN", "en_US", "ru_RU"].map(code => {
            TranslationManager.setLanguage(code);
            return child("equalizerName").text;
        });
        compare(shown, row.expected);
    }

    function test_chinese_letters_have_the_shapes_of_the_language_data() {
        const all = ["Noto Sans CJK JP", "Noto Sans CJK SC", "Noto Sans CJK TC"];
        return [["zh_CN", all, "Noto Sans CJK SC"], ["zh_TW", all, "Noto Sans CJK TC"], ["ja_JP", all, "Noto Sans CJK JP"], ["de_DE", all, "Noto Sans CJK SC"], ["ja_JP", ["Noto Sans CJK SC"], "Noto Sans CJK SC"], ["ja_JP", ["Microsoft YaHei", "Yu Gothic UI"], "Yu Gothic UI"], ["zh_TW", ["PingFang SC", "PingFang TC"], "PingFang TC"], ["ja_JP", ["Comic"], ""]].map(([code, installed, family]) => ({
                    tag: `${code}, ${installed[0]}`,
                    code: code,
                    installed: installed,
                    family: family
                }));
    }

    function test_chinese_letters_have_the_shapes_of_the_language(row) {
        compare(VxTheme.fontFamilyFor(row.code, row.installed), row.family);
    }

    function test_what_is_open_changes_its_font_with_the_language() {
        for (const code of ["zh_TW", "ja_JP", "ru_RU"]) {
            TranslationManager.setLanguage(code);
            compare(child("title").font.family, VxTheme.fontFamilyFor(code, Qt.fontFamilies()));
        }
    }

    function test_documents_set_the_language_by_its_index() {
        for (let index = 0; index < 9; index++) {
            TranslationManager.setLanguageIndex(index);
            compare(TranslationManager.getCurrentLanguageIndex(), index);
        }
        TestLog.expect("No language has the index");
        TranslationManager.setLanguageIndex(-1);
        compare(TranslationManager.getCurrentLanguageIndex(), 8);
    }
}
