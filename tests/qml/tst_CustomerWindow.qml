import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckSystemBridge
import VexoDeckTest
import VexoDeckTranslation

/* The ways to the support. */
ScreenTestCase {
    id: testCase

    name: "CustomerWindow"

    property CustomerWindow window: null
    readonly property var languages: ["zh_CN", "zh_TW", "en_US", "ja_JP", "ru_RU", "de_DE", "fr_FR", "es_ES", "it_IT"]

    visible: true
    screen: window ? window.contentItem : null

    Component {
        id: windowComponent

        CustomerWindow {}
    }

    function init() {
        TranslationManager.setLanguage("zh_CN");
        initConfig();
    }

    function cleanup() {
        if (window)
            discard(window);
        window = null;
        TranslationManager.setLanguage("zh_CN");
        compare(TestLog.takeFaults(), []);
    }

    // As the program starts in a language, and shows the window later.
    function open(language) {
        TranslationManager.setLanguage(language);
        window = createTemporaryObject(windowComponent, testCase);
        compare(window.visible, false);
        window.show();
        tryCompare(window, "opacity", 1);
    }

    function shownPages() {
        return ["contactPage0", "contactPage1"].filter(name => child(name).visible);
    }

    // The texts of a page, from the top.
    function textsOf(page) {
        const texts = [];
        const collect = item => {
            if (item.text && item.contentWidth !== undefined)
                texts.push(item.text);
            for (const inner of item.children)
                collect(inner);
        };
        collect(page);
        return texts;
    }

    function test_the_window_has_one_size() {
        open("zh_CN");
        compare([window.title, window.modality, window.isDestroy], ["客服", Qt.ApplicationModal, false]);
        compare([window.width, window.height, window.minimumWidth, window.minimumHeight, window.maximumWidth, window.maximumHeight], [540, 430, 540, 430, 540, 430]);
    }

    // Wanted: at the start the index of the language is that of the page, and there are two pages.
    function test_at_the_start_only_the_first_two_languages_have_a_page_data() {
        return languages.map((language, index) => ({
                    tag: language,
                    pages: index === 0 ? ["contactPage0"] : index === 1 ? ["contactPage1"] : []
                }));
    }

    function test_at_the_start_only_the_first_two_languages_have_a_page(data) {
        open(data.tag);
        compare(shownPages(), data.pages);
    }

    function test_after_a_change_each_language_has_its_page_data() {
        return languages.map((language, index) => ({
                    tag: language,
                    start: index === 0 ? "en_US" : "zh_CN",
                    pages: [index === 0 ? "contactPage0" : "contactPage1"]
                }));
    }

    function test_after_a_change_each_language_has_its_page(data) {
        open(data.start);
        TranslationManager.setLanguage(data.tag);
        compare(shownPages(), data.pages);
    }

    function test_the_page_for_china() {
        open("zh_CN");
        compare(textsOf(child("contactPage0")), ["联系我们", "周一到周日：9:00-12:00，13:00-18:00 (GMT+8)", "电话", Operator.phone, "企业微信（请扫码添加客服）", "邮箱", Operator.mail]);
        const code = child("supportCode");
        compare([code.width, code.height, code.status], [100, 100, Image.Ready]);
        verify(String(code.source).endsWith("icons/erweima.png"));
        compare(code.Accessible.name, "企业微信（请扫码添加客服）");
    }

    function test_the_page_for_all_others() {
        open("zh_TW");
        TranslationManager.setLanguage("zh_CN");
        // The page is hidden now, with its source texts.
        compare(textsOf(child("contactPage1")), ["Support", "Mon to Sun.9:00-12:00,13:00-18:30 (GMT+8)", "Online Support", "WhatsApp", Operator.internationalPhone, "Email", Operator.mail]);
    }

    function test_the_chat_opens_in_the_browser() {
        open("zh_TW");
        SystemBridge.clearCalls();
        mouseClick(child("onlineSupport"));
        compare(SystemBridge.calls.map(call => call.url), [NetworkMgr.custome_url]);
    }

    function test_a_double_click_on_the_chat_opens_one_page() {
        open("zh_TW");
        SystemBridge.clearCalls();
        mouseDoubleClickSequence(child("onlineSupport"));
        compare(SystemBridge.calls.map(call => call.url), [NetworkMgr.custome_url]);
    }
}
