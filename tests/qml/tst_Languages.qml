import QtQuick
import QtTest
import VexoDeckTranslation

/* All views in all languages, in the smallest and the usual window: no text is cut off, none is left in Chinese, and the
 * tabs of the drawer stand in one row. */
LanguageTestCase {
    id: testCase

    name: "Languages"

    readonly property list<size> sizes: [Qt.size(800, 500), Qt.size(1300, 800)]
    // Names of languages, and the one text that stays Chinese in English.
    readonly property var untranslated: /^(中文|繁體中文|日本語|成功)$/
    // Letters of the source texts that neither Japanese nor Traditional Chinese writes.
    readonly property var simplified: /[为义关击则删动单压发变启围备导帮应开强态戏择损时权检测渐环电监级线络缩脑节规计让讲设访试话请调败质软载较输达过还进连迟选闭问间预频颜风饱验]/
    readonly property var chinese: /[\u3400-\u9fff]/

    function test_every_view_fits_and_is_translated_data() {
        return views();
    }

    function test_every_view_fits_and_is_translated(view) {
        const faults = [];
        const roots = view.open();
        verify(wordsOf(roots).length > 0, "the view shows texts");
        for (const size of sizes) {
            window.width = size.width;
            window.height = size.height;
            for (const code of TranslationManager.getAvailableLanguages()) {
                speak(view, code);
                const place = `${code} ${size.width}x${size.height}: `;
                faults.push(...clippedIn(roots).map(text => place + "cut off: " + text));
                if (tabsBreak())
                    faults.push(place + "the tabs of the drawer take two rows");
                faults.push(...wordsOf(roots).filter(word => isForeign(word, code)).map(word => place + "not translated: " + word));
            }
        }
        end(view);
        compare(faults.join("\n"), "");
    }

    function isForeign(word, code) {
        if (code === "zh_CN" || untranslated.test(word))
            return false;
        return (code === "zh_TW" || code === "ja_JP" ? simplified : chinese).test(word);
    }

    function tabsBreak() {
        const tabs = child("tabs");
        if (!tabs || !tabs.visible)
            return false;
        const shown = Array.from(tabs.children).filter(tab => tab.visible && tab.width > 0);
        return shown.reduce((sum, tab) => sum + tab.width, (shown.length - 1) * tabs.spacing) > tabs.width;
    }

    // The layout takes a moment to settle.
    function clippedIn(roots) {
        const clipped = () => [].concat(...roots.map(clippedTexts));
        const deadline = Date.now() + 1500;
        while (clipped().length > 0 && Date.now() < deadline)
            wait(10);
        return clipped();
    }
}
