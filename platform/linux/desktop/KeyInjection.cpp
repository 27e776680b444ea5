#include "platform/KeyInjection.h"

#include <QDebug>

#include <X11/keysym.h>
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <sys/uio.h>
#include <utility>
#include <vector>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>

namespace {

struct Release {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    template <typename Answer>
    void operator()(Answer* answer) const {
        std::free(answer); // the library's own way
    }
};
using Connection = std::unique_ptr<xcb_connection_t, Release>;
template <typename Answer>
using Reply = std::unique_ptr<Answer, Release>;

xcb_extension_t testExtension = {"XTEST", 0};

// FakeInput of the XTEST extension, which has no header everywhere. The library fills in the first four
// bytes.
struct FakeInput {
    std::uint8_t majorOpcode = 0;
    std::uint8_t minorOpcode = 0;
    std::uint16_t length = 0; // of the request in units of four bytes
    std::uint8_t type = 0;    // XCB_KEY_PRESS or XCB_KEY_RELEASE
    std::uint8_t detail = 0;  // key code
    std::uint16_t unused0 = 0;
    std::uint32_t delayMs = 0;
    std::uint32_t rootWindow = 0;
    std::array<std::uint32_t, 2> unused1{};
    std::array<std::int16_t, 2> position{};
    std::array<std::uint8_t, 7> unused2{};
    std::uint8_t device = 0;
};
static_assert(sizeof(FakeInput) == 36);
constexpr std::uint8_t kFakeInputOpcode = 2;

xcb_void_cookie_t sendKey(xcb_connection_t* connection, std::uint8_t keyCode, bool isRelease) {
    FakeInput request;
    request.type = isRelease ? XCB_KEY_RELEASE : XCB_KEY_PRESS;
    request.detail = keyCode;
    // The library writes into the two entries before the first one.
    std::array<iovec, 3> parts{};
    parts[2] = {&request, sizeof(request)};
    const xcb_protocol_request_t protocol{1, &testExtension, kFakeInputOpcode, 1};
    return {xcb_send_request(connection, XCB_REQUEST_CHECKED, &parts[2], &protocol)};
}

// ---- from the number of a key to the key of this keyboard

using KeySymbols = std::array<xcb_keysym_t, 2>;

struct NamedSymbols {
    std::uint16_t key;
    KeySymbols symbols; // the first that the keyboard has; 0: no second one
};

constexpr std::array<NamedSymbols, 21> kSymbols = {{
    {virtualKey::kBackspace, {XK_BackSpace, 0}},
    {virtualKey::kTab, {XK_Tab, 0}},
    {virtualKey::kReturn, {XK_Return, XK_KP_Enter}},
    {virtualKey::kShift, {XK_Shift_L, XK_Shift_R}},
    {virtualKey::kControl, {XK_Control_L, XK_Control_R}},
    {virtualKey::kMenu, {XK_Alt_L, XK_Alt_R}},
    {virtualKey::kEscape, {XK_Escape, 0}},
    {virtualKey::kSpace, {XK_space, 0}},
    {virtualKey::kPageUp, {XK_Page_Up, 0}},
    {virtualKey::kPageDown, {XK_Page_Down, 0}},
    {virtualKey::kEnd, {XK_End, 0}},
    {virtualKey::kHome, {XK_Home, 0}},
    {virtualKey::kLeft, {XK_Left, 0}},
    {virtualKey::kUp, {XK_Up, 0}},
    {virtualKey::kRight, {XK_Right, 0}},
    {virtualKey::kDown, {XK_Down, 0}},
    {virtualKey::kInsert, {XK_Insert, 0}},
    {virtualKey::kDelete, {XK_Delete, 0}},
    {virtualKey::kLeftWindows, {XK_Super_L, XK_Super_R}},
    {virtualKey::kPlus, {XK_equal, XK_plus}},
    {virtualKey::kMinus, {XK_minus, XK_underscore}},
}};

KeySymbols symbolsOf(std::uint16_t key) {
    if (key >= '0' && key <= '9') {
        return {key, 0};
    }
    if (key >= 'A' && key <= 'Z') {
        return {static_cast<xcb_keysym_t>(XK_a + (key - 'A')), key};
    }
    if (key >= virtualKey::kF1 && key < virtualKey::kF1 + 12) {
        return {static_cast<xcb_keysym_t>(XK_F1 + (key - virtualKey::kF1)), 0};
    }
    const auto* const found = std::ranges::find(kSymbols, key, &NamedSymbols::key);
    return found != kSymbols.end() ? found->symbols : KeySymbols{};
}

// Where a key lies on an English keyboard: the key codes of X11 on Linux, row by row. A keyboard without
// Latin letters has the same keys with other letters.
std::optional<std::uint8_t> placeOf(std::uint16_t key) {
    struct Row {
        std::string_view keys;
        std::uint8_t firstCode;
    };
    constexpr std::array<Row, 4> kRows = {
        {{"1234567890", 10}, {"QWERTYUIOP", 24}, {"ASDFGHJKL", 38}, {"ZXCVBNM", 52}}};
    for (const Row& row : kRows) {
        const std::size_t at = key <= 'Z' ? row.keys.find(static_cast<char>(key)) : std::string_view::npos;
        if (at != std::string_view::npos) {
            return static_cast<std::uint8_t>(row.firstCode + at);
        }
    }
    return std::nullopt;
}

// The display's keyboard.
class Keyboard {
public:
    explicit Keyboard(xcb_connection_t* connection) : setup(xcb_get_setup(connection)) {
        const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
        mapping.reset(xcb_get_keyboard_mapping_reply(
            connection, xcb_get_keyboard_mapping(connection, setup->min_keycode, count), nullptr));
    }

    [[nodiscard]] std::optional<std::uint8_t> codeOf(std::uint16_t key) const {
        for (const xcb_keysym_t symbol : symbolsOf(key)) {
            if (const std::optional<std::uint8_t> code = symbol != 0 ? codeWith(symbol) : std::nullopt) {
                return code;
            }
        }
        return placeOf(key);
    }

private:
    // What a key gives without modifiers counts before what it gives with them.
    [[nodiscard]] std::optional<std::uint8_t> codeWith(xcb_keysym_t symbol) const {
        if (!mapping || mapping->keysyms_per_keycode == 0) {
            return std::nullopt;
        }
        const std::span symbols(
            xcb_get_keyboard_mapping_keysyms(mapping.get()),
            static_cast<std::size_t>(xcb_get_keyboard_mapping_keysyms_length(mapping.get())));
        const std::size_t columns = mapping->keysyms_per_keycode;
        for (std::size_t column = 0; column < columns; ++column) {
            for (std::size_t row = 0; (row + 1) * columns <= symbols.size(); ++row) {
                if (symbols[row * columns + column] == symbol) {
                    return static_cast<std::uint8_t>(setup->min_keycode + row);
                }
            }
        }
        return std::nullopt;
    }

    const xcb_setup_t* setup;
    Reply<xcb_get_keyboard_mapping_reply_t> mapping;
};

// What a desktop under Wayland gives the keys to cannot be found out from here.
void warnOfWayland() {
    static bool isTold = false; // since the last keys that went to no such desktop
    const bool isWayland = !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    if (isWayland && !isTold) {
        qWarning() << "Under Wayland only programs on the X11 server hear the keys that are pressed for them";
    }
    isTold = isWayland;
}

bool canPressKeys(xcb_connection_t* connection) {
    if (xcb_connection_has_error(connection) != 0) {
        qWarning() << "Keys cannot be pressed: no X11 display";
        return false;
    }
    const xcb_query_extension_reply_t* const extension = xcb_get_extension_data(connection, &testExtension);
    if (extension == nullptr || extension->present == 0) {
        qWarning() << "Keys cannot be pressed: the X11 display has no XTEST extension";
        return false;
    }
    return true;
}

// By event; nothing for one of no key. Nothing at all where the keyboard lacks a key: the others alone, as
// modifiers without the key that they belong to, may mean something else.
std::optional<std::vector<std::optional<std::uint8_t>>> codesOf(const Keyboard& keyboard,
                                                                std::span<const KeyEvent> keys) {
    std::vector<std::optional<std::uint8_t>> codes;
    for (const KeyEvent& event : keys) {
        codes.push_back(event.key != virtualKey::kNone ? keyboard.codeOf(event.key) : std::nullopt);
        if (event.key != virtualKey::kNone && !codes.back()) {
            qWarning() << "The keyboard has no key of number" << event.key;
            return std::nullopt;
        }
    }
    return codes;
}

} // namespace

std::size_t injectKeys(std::span<const KeyEvent> keys) {
    // A connection of its own: an error on it is no error of the program's windows.
    const Connection connection(xcb_connect(nullptr, nullptr));
    if (!canPressKeys(connection.get())) {
        return 0;
    }
    const auto codes = codesOf(Keyboard(connection.get()), keys);
    if (!codes) {
        return 0;
    }
    warnOfWayland();
    std::size_t taken = 0;
    std::vector<xcb_void_cookie_t> sent;
    for (std::size_t at = 0; at < keys.size(); ++at) {
        if (const std::optional<std::uint8_t> code = (*codes)[at]) {
            sent.push_back(sendKey(connection.get(), *code, keys[at].isRelease));
        } else {
            ++taken;
        }
    }
    for (const xcb_void_cookie_t cookie : sent) {
        const Reply<xcb_generic_error_t> error(xcb_request_check(connection.get(), cookie));
        const bool isTaken = error == nullptr && xcb_connection_has_error(connection.get()) == 0;
        taken += isTaken ? 1U : 0U;
    }
    return taken;
}
