#include "platform/KeyInjection.h"
#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"

#include <QByteArray>

#include <X11/keysym.h>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <utility>
#include <vector>
#include <xcb/xcb.h>

namespace {

using Heard = std::vector<std::pair<xcb_keysym_t, bool>>; // what the key has without modifiers, isRelease

struct Free {
    void operator()(void* answer) const { std::free(answer); }
};

// A window of another program, with the keyboard focus.
class FocusedWindow {
public:
    FocusedWindow() : connection(xcb_connect(nullptr, nullptr)), setup(xcb_get_setup(connection)) {
        const xcb_screen_t* const screen = xcb_setup_roots_iterator(setup).data;
        window = xcb_generate_id(connection);
        const std::uint32_t events = XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE |
                                     XCB_EVENT_MASK_FOCUS_CHANGE | XCB_EVENT_MASK_EXPOSURE;
        xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 200, 100, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_EVENT_MASK, &events);
        xcb_map_window(connection, window);
        xcb_flush(connection);
        EXPECT_TRUE(awaitEvent(XCB_EXPOSE));
        xcb_set_input_focus(connection, XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
        xcb_flush(connection);
        EXPECT_TRUE(awaitEvent(XCB_FOCUS_IN));
    }
    ~FocusedWindow() { xcb_disconnect(connection); }
    FocusedWindow(const FocusedWindow&) = delete;
    FocusedWindow& operator=(const FocusedWindow&) = delete;

    // The next keys, as many as asked for or those that came in time.
    Heard keys(std::size_t count) {
        Heard heard;
        static_cast<void>(awaitThread([&] {
            take([&](const xcb_generic_event_t& event) {
                const int kind = event.response_type & 0x7F;
                if (kind == XCB_KEY_PRESS || kind == XCB_KEY_RELEASE) {
                    const auto& key = reinterpret_cast<const xcb_key_press_event_t&>(event);
                    heard.emplace_back(symbolOf(key.detail), kind == XCB_KEY_RELEASE);
                }
            });
            return heard.size() >= count;
        }));
        return heard;
    }

private:
    template <typename Use>
    void take(const Use& use) {
        while (xcb_generic_event_t* const event = xcb_poll_for_event(connection)) {
            use(*event);
            std::free(event);
        }
    }

    bool awaitEvent(int wanted) {
        bool found = false;
        return awaitThread([&] {
            take([&](const xcb_generic_event_t& event) { found |= (event.response_type & 0x7F) == wanted; });
            return found;
        });
    }

    xcb_keysym_t symbolOf(xcb_keycode_t code) {
        const std::unique_ptr<xcb_get_keyboard_mapping_reply_t, Free> mapping(xcb_get_keyboard_mapping_reply(
            connection, xcb_get_keyboard_mapping(connection, code, 1), nullptr));
        return *xcb_get_keyboard_mapping_keysyms(mapping.get());
    }

    xcb_connection_t* connection;
    const xcb_setup_t* setup;
    xcb_window_t window = 0;
};

Heard pressed(const std::vector<xcb_keysym_t>& symbols) {
    Heard heard;
    for (const xcb_keysym_t symbol : symbols) {
        heard.emplace_back(symbol, false);
        heard.emplace_back(symbol, true);
    }
    return heard;
}

std::vector<KeyEvent> press(const std::vector<std::uint16_t>& keys) {
    std::vector<KeyEvent> events;
    for (const std::uint16_t key : keys) {
        events.push_back({key, false});
        events.push_back({key, true});
    }
    return events;
}

} // namespace

TEST(LinuxKeyInjection, WindowWithTheFocusHearsTheKeysInOrder) {
    FocusedWindow window;
    const std::vector<KeyEvent> events{{0x11, false}, {0x10, false}, {'A', false},
                                       {'A', true},   {0x11, true},  {0x10, true}};
    EXPECT_EQ(injectKeys(events), events.size());
    EXPECT_EQ(window.keys(events.size()), (Heard{{XK_Control_L, false},
                                                 {XK_Shift_L, false},
                                                 {XK_a, false},
                                                 {XK_a, true},
                                                 {XK_Control_L, true},
                                                 {XK_Shift_L, true}}));
}

TEST(LinuxKeyInjection, EachKeyIsThatOfTheKeyboard) {
    FocusedWindow window;
    const std::vector<std::uint16_t> keys{0x08, 0x09, 0x0D, 0x10, 0x11, 0x12, 0x1B, 0x20, 0x21,
                                          0x22, 0x23, 0x24, 0x25, 0x26, 0x27, 0x28, 0x2D, 0x2E,
                                          0x5B, 0xBB, 0xBD, '0',  '9',  'Q',  'M',  0x70, 0x7B};
    const std::vector<xcb_keysym_t> symbols{
        XK_BackSpace, XK_Tab,   XK_Return, XK_Shift_L, XK_Control_L, XK_Alt_L, XK_Escape,
        XK_space,     XK_Prior, XK_Next,   XK_End,     XK_Home,      XK_Left,  XK_Up,
        XK_Right,     XK_Down,  XK_Insert, XK_Delete,  XK_Super_L,   XK_equal, XK_minus,
        XK_0,         XK_9,     XK_q,      XK_m,       XK_F1,        XK_F12};
    ASSERT_EQ(keys.size(), symbols.size());
    EXPECT_EQ(injectKeys(press(keys)), 2 * keys.size());
    EXPECT_EQ(window.keys(2 * keys.size()), pressed(symbols));
}

TEST(LinuxKeyInjection, NoKeyCountsAndDoesNothing) {
    FocusedWindow window;
    EXPECT_EQ(injectKeys(press({0, 0x11})), 4U);
    EXPECT_EQ(window.keys(2), pressed({XK_Control_L}));
}

TEST(LinuxKeyInjection, WithAKeyThatTheKeyboardLacksNoneIsPressedAndALineSaysSo) {
    FocusedWindow window;
    const LogCapture log;
    EXPECT_EQ(injectKeys(std::vector<KeyEvent>{{0x5B, false}, {0xFE, false}, {0xFE, true}, {0x5B, true}}),
              0U);
    EXPECT_EQ(log.count("The keyboard has no key of number 254"), 1);
    EXPECT_EQ(injectKeys(press({'A'})), 2U);
    EXPECT_EQ(window.keys(2), pressed({XK_a})) << "first";
}

TEST(LinuxKeyInjection, UnderWaylandOneLineSaysWhoHearsTheKeys) {
    const LogCapture log;
    const QString line = "Wayland";
    EXPECT_EQ(injectKeys(press({'A'})), 2U);
    EXPECT_EQ(log.count(line), 0);
    qputenv("WAYLAND_DISPLAY", "wayland-0");
    EXPECT_EQ(injectKeys(press({'A', 'B'})), 4U);
    EXPECT_EQ(injectKeys(press({'A'})), 2U);
    qunsetenv("WAYLAND_DISPLAY");
    EXPECT_EQ(log.count(line), 1);
    EXPECT_EQ(injectKeys(press({'A'})), 2U);
    qputenv("WAYLAND_DISPLAY", "wayland-0");
    EXPECT_EQ(injectKeys(press({'A'})), 2U);
    qunsetenv("WAYLAND_DISPLAY");
    EXPECT_EQ(log.count(line), 2) << "a desktop that comes later is told again, as on each run of this test";
}

TEST(LinuxKeyInjection, WithoutADisplayNothingIsPressedAndALineSaysSo) {
    const QByteArray display = qgetenv("DISPLAY");
    const LogCapture log;
    for (const char* name : {":4711", "", "nonsense"}) {
        qputenv("DISPLAY", name);
        EXPECT_EQ(injectKeys(press({'A'})), 0U) << name;
    }
    qputenv("DISPLAY", display);
    EXPECT_EQ(log.count("Keys cannot be pressed: no X11 display"), 3);
}
