#include "bridge/Hotkey.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace {

using Events = std::vector<KeyEvent>;

Hotkey read(const QString& text) {
    return hotkeyOf(hotkeyParts(text));
}

KeyEvent down(std::uint16_t key) {
    return {key, false};
}

KeyEvent up(std::uint16_t key) {
    return {key, true};
}

constexpr std::uint16_t kControlKey = 0x11;
constexpr std::uint16_t kAltKey = 0x12;
constexpr std::uint16_t kShiftKey = 0x10;
constexpr std::uint16_t kWindowsKey = 0x5B;

} // namespace

TEST(Hotkey, ModifiersGoDownInOrderThenTheKeyAndModifiersGoUpInTheSameOrder) {
    const Events expected{down(kControlKey), down(kShiftKey), down('A'),
                          up('A'),           up(kControlKey), up(kShiftKey)};
    EXPECT_EQ(read("ctrl+shift+a").events, expected);
    EXPECT_EQ(read("CTRL + SHIFT + A").events, expected);
    EXPECT_EQ(read("\tCtrl\n+ a +Shift").events, expected) << "a key between modifiers";
}

TEST(Hotkey, LoneLetterIsTwoEvents) {
    EXPECT_EQ(read("a").events, (Events{down(0x41), up(0x41)}));
    EXPECT_EQ(read("Z").events, (Events{down(0x5A), up(0x5A)}));
    EXPECT_EQ(read("0").events, (Events{down(0x30), up(0x30)}));
}

TEST(Hotkey, EachModifierWordHasItsKeyInAnyLetterCase) {
    const std::vector<std::pair<const char*, std::uint16_t>> words{
        {"Ctrl", kControlKey}, {"Command", kControlKey}, {"Alt", kAltKey},        {"Option", kAltKey},
        {"Shift", kShiftKey},  {"Meta", kWindowsKey},    {"Control", kWindowsKey}};
    for (const auto& [word, key] : words) {
        const Events expected{down(key), down('X'), up('X'), up(key)};
        EXPECT_EQ(read(QString(word) + "+x").events, expected) << word;
        EXPECT_EQ(read(QString(word).toUpper() + "+x").events, expected) << word;
        EXPECT_EQ(read(QString(word).toLower() + "+x").events, expected) << word;
    }
}

TEST(Hotkey, EachNamedKeyHasItsNumber) {
    const std::vector<std::pair<const char*, std::uint16_t>> names{
        {"F1", 0x70},     {"F2", 0x71},    {"F3", 0x72},     {"F4", 0x73},     {"F5", 0x74},
        {"F6", 0x75},     {"F7", 0x76},    {"F8", 0x77},     {"F9", 0x78},     {"F10", 0x79},
        {"F11", 0x7A},    {"F12", 0x7B},   {"Space", 0x20},  {"Enter", 0x0D},  {"Return", 0x0D},
        {"Tab", 0x09},    {"Esc", 0x1B},   {"Escape", 0x1B}, {"Backspace", 8}, {"Delete", 0x2E},
        {"Insert", 0x2D}, {"Home", 0x24},  {"End", 0x23},    {"PageUp", 0x21}, {"PageDown", 0x22},
        {"Left", 0x25},   {"Right", 0x27}, {"Up", 0x26},     {"Down", 0x28},   {"Minus", 0xBD},
        {"Plus", 0xBB},   {"Equal", 0xBB},
    };
    ASSERT_EQ(names.size(), 32U);
    for (const auto& [name, key] : names) {
        EXPECT_EQ(read(name).events, (Events{down(key), up(key)})) << name;
    }
}

TEST(Hotkey, NamesOfKeysAreExact) {
    for (const char* text : {"Ctrl+space", "Ctrl+F13", "f1", "ESC", "Page Up", "Ctrl+A B", "ab", "ß1"}) {
        const Hotkey hotkey = read(text);
        EXPECT_EQ(hotkey.fault, HotkeyFault::UnsupportedKey) << text;
        EXPECT_TRUE(hotkey.events.empty()) << text;
    }
    EXPECT_EQ(read("Ctrl+F13").mainKey, "F13");
    EXPECT_EQ(read("Ctrl+Space").events, (Events{down(kControlKey), down(0x20), up(0x20), up(kControlKey)}));
}

TEST(Hotkey, LastOfSeveralMainKeysWins) {
    EXPECT_EQ(read("F1+F2").events, (Events{down(0x71), up(0x71)}));
    EXPECT_EQ(read("a+Ctrl+b").events, (Events{down(kControlKey), down('B'), up('B'), up(kControlKey)}));
}

TEST(Hotkey, ModifierThatIsNamedTwiceIsPressedTwice) {
    EXPECT_EQ(read("Ctrl+Command+a").events, (Events{down(kControlKey), down(kControlKey), down('A'), up('A'),
                                                     up(kControlKey), up(kControlKey)}));
}

TEST(Hotkey, TextWithoutAMainKeyIsNone) {
    for (const char* text : {"", " ", "+", "++", "Ctrl", "Ctrl+", "Ctrl++", "a+", " + + ", "Ctrl+ Shift "}) {
        const Hotkey hotkey = read(text);
        EXPECT_EQ(hotkey.fault, HotkeyFault::NoMainKey) << '"' << text << '"';
        EXPECT_TRUE(hotkey.events.empty()) << '"' << text << '"';
    }
    EXPECT_EQ(hotkeyOf({}).fault, HotkeyFault::NoParts);
}

TEST(Hotkey, SignThatIsNoKeyTapsTheModifiers) {
    for (const char* sign : {"-", "=", "[", "]", "\\", ";", "'", ",", ".", "/"}) {
        EXPECT_EQ(read(QString("Ctrl+") + sign).events,
                  (Events{down(kControlKey), down(0), up(0), up(kControlKey)}))
            << sign;
    }
}

TEST(Hotkey, CharacterOutsideOfLatin1IsNoLetter) {
    for (const char16_t* text : {u"é", u"ÿ", u"µ", u"热", u"Ａ", u"٣"}) {
        EXPECT_EQ(read(QString(text)).events, (Events{down(0), up(0)})) << QString(text).toStdString();
    }
    EXPECT_EQ(read(QString(u"\U0001F600")).fault, HotkeyFault::UnsupportedKey) << "two units of UTF-16";
    EXPECT_EQ(read(QString(QChar(0xD800))).events, (Events{down(0), up(0)})) << "half a pair";
}

TEST(Hotkey, LongTextIsReadInOneGo) {
    const QString text = QString("Ctrl+").repeated(20000) + "a";
    EXPECT_EQ(read(text).events.size(), 40002U);
    EXPECT_EQ(read(QString(1000000, '+')).fault, HotkeyFault::NoMainKey);
}
