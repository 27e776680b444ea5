#include "app/StoredValues.h"

#include <QByteArrayView>
#include <QLatin1StringView>
#include <QString>
#include <QStringList>
#include <QStringView>
#include <QtEndian>

#include <algorithm>
#include <utility>

namespace {

using namespace Qt::StringLiterals;

constexpr QLatin1StringView kEncoded = "@Variant("_L1;
constexpr QLatin1StringView kDate = "@DateTime("_L1;

bool isBlank(char byte) {
    return byte == ' ' || byte == '\t';
}

bool isLineEnd(char byte) {
    return byte == '\n' || byte == '\r';
}

/// One value in the form of QDataStream::Qt_4_0, in which QSettings writes.
class EncodedValue {
public:
    explicit EncodedValue(QByteArrayView bytes) : rest(bytes) {}

    [[nodiscard]] bool isWhole() { return skipValue(kDeepestValue) && rest.isEmpty(); }

private:
    /// The type's number in front of a value.
    enum Type : quint32 {
        Invalid = 0,
        Bool = 1,
        Int = 2,
        UInt = 3,
        LongLong = 4,
        ULongLong = 5,
        Double = 6,
        Map = 8,
        List = 9,
        Text = 10,
        TextList = 11,
        Bytes = 12,
        Null = 148,
    };
    static constexpr quint32 kNullLength = 0xFFFFFFFF;

    bool skip(qsizetype count) {
        if (rest.size() < count) {
            return false;
        }
        rest = rest.sliced(count);
        return true;
    }

    bool takeNumber(quint32& number) {
        const QByteArrayView bytes = rest;
        if (!skip(sizeof number)) {
            return false;
        }
        number = qFromBigEndian<quint32>(bytes.data());
        return true;
    }

    bool skipBytes() {
        quint32 length = 0;
        return takeNumber(length) && (length == kNullLength || skip(length));
    }

    bool skipText() {
        quint32 length = 0;
        return takeNumber(length) && (length == kNullLength || (length % 2 == 0 && skip(length)));
    }

    /// A count, which is no larger than the bytes can hold, and as many items.
    template <typename SkipItem>
    bool skipItems(SkipItem skipItem) {
        quint32 count = 0;
        if (!takeNumber(count) || std::cmp_greater(count, rest.size() / qsizetype{sizeof count})) {
            return false;
        }
        while (count > 0 && skipItem()) {
            --count;
        }
        return count == 0;
    }

    // NOLINTNEXTLINE(misc-no-recursion): as deep as the limit, at most
    bool skipValue(int depth) {
        quint32 type = 0;
        if (depth == 0 || !takeNumber(type)) {
            return false;
        }
        switch (type) {
        case Null:
            return true;
        case Bool:
            return skip(1);
        case Int:
        case UInt:
            return skip(4);
        case LongLong:
        case ULongLong:
        case Double:
            return skip(8);
        case Bytes:
            return skipBytes();
        case Invalid:
        case Text:
            return skipText();
        case TextList:
            return skipItems([this] { return skipText(); });
        case List:
            return skipItems([this, depth] { return skipValue(depth - 1); });
        case Map:
            return skipItems([this, depth] { return skipText() && skipValue(depth - 1); });
        default:
            return false;
        }
    }

    QByteArrayView rest;
};

/// What stands after the "=" of a setting, as QSettings reads it: one text, or several with commas between.
class SettingValue {
public:
    explicit SettingValue(QByteArrayView text) : rest(text) {}

    QStringList texts() {
        skipBlanks();
        while (!rest.isEmpty()) {
            takePart();
        }
        taken.append(current);
        return taken;
    }

private:
    char take() {
        const char byte = rest.front();
        rest = rest.sliced(1);
        return byte;
    }

    void skipBlanks() {
        while (!rest.isEmpty() && isBlank(rest.front())) {
            rest = rest.sliced(1);
        }
    }

    void takePart() {
        const char byte = rest.front();
        if (byte == '\\') {
            take();
            takeEscape();
        } else if (byte == '"') {
            take();
            quoted = !quoted;
            if (!quoted) {
                skipBlanks();
            }
        } else if (byte == ',' && !quoted) {
            take();
            taken.append(std::exchange(current, {}));
            skipBlanks();
        } else {
            const auto* const end = std::find_if(rest.begin() + 1, rest.end(), [](char next) {
                return next == '\\' || next == '"' || next == ',';
            });
            const qsizetype length = end - rest.begin();
            current += QString::fromUtf8(rest.first(length));
            rest = rest.sliced(length);
        }
    }

    /// Behind the backslash. One that means nothing takes its byte with it.
    void takeEscape() {
        static constexpr QByteArrayView kNames = R"(abfnrtv"?'\)";
        static constexpr QByteArrayView kMeanings = "\a\b\f\n\r\t\v\"?'\\";
        if (rest.isEmpty()) {
            return;
        }
        const char name = take();
        if (const qsizetype at = kNames.indexOf(name); at >= 0) {
            current += QLatin1Char(kMeanings[at]);
        } else if (name == 'x') {
            takeCode(16, 0, false);
        } else if (name >= '0' && name <= '7') {
            takeCode(8, static_cast<unsigned>(name - '0'), true);
        } else if (isLineEnd(name) && !rest.isEmpty() && isLineEnd(rest.front()) && rest.front() != name) {
            take();
        }
    }

    void takeCode(unsigned base, unsigned code, bool isStarted) {
        while (!rest.isEmpty()) {
            const int digit = digitOf(rest.front());
            if (digit < 0 || std::cmp_greater_equal(digit, base)) {
                break;
            }
            take();
            code = code * base + static_cast<unsigned>(digit);
            isStarted = true;
        }
        if (isStarted) {
            current += QChar(static_cast<char16_t>(code));
        }
    }

    static int digitOf(char byte) {
        if (byte >= '0' && byte <= '9') {
            return byte - '0';
        }
        const int letter = byte | 0x20;
        return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
    }

    QByteArrayView rest;
    QString current;
    QStringList taken;
    bool quoted = false;
};

bool isReadableText(const QString& text) {
    if (text.startsWith(kDate)) {
        return false;
    }
    if (!text.startsWith(kEncoded)) {
        return true;
    }
    QStringView encoded = QStringView(text).sliced(kEncoded.size());
    while (encoded.endsWith(u' ') || encoded.endsWith(u'\t')) {
        encoded.chop(1);
    }
    const bool isBytes = std::ranges::all_of(encoded, [](QChar unit) { return unit.unicode() <= 0xFF; });
    return isBytes && encoded.endsWith(u')') && EncodedValue(encoded.chopped(1).toLatin1()).isWhole();
}

/// The lengths of the next setting, remark or section: of all of it, and up to its "=", -1 where it has none.
struct Extent {
    qsizetype length = 0;
    qsizetype equals = -1;
};

/// `text` begins with no line's end. A quotation mark and a backslash take lines' ends into the setting.
Extent nextExtent(QByteArrayView text) {
    const auto remarkEnd = [text](qsizetype from) {
        return std::find_if(text.begin() + from, text.end(), isLineEnd) - text.begin();
    };
    if (text.front() == ';') {
        return {remarkEnd(0)};
    }
    Extent extent;
    bool quoted = false;
    qsizetype at = 0;
    for (; at < text.size(); ++at) {
        const char byte = text[at];
        if (byte == '\\') {
            ++at;
            const bool isPair = at + 1 < text.size() && isLineEnd(text[at]) && isLineEnd(text[at + 1]) &&
                                text[at] != text[at + 1];
            at += isPair ? 1 : 0;
        } else if (byte == '"') {
            quoted = !quoted;
        } else if (byte == '=' && extent.equals < 0) {
            extent.equals = at;
        } else if (!quoted && (byte == ';' || isLineEnd(byte))) {
            break;
        }
    }
    extent.length = std::min(at, text.size());
    return extent;
}

bool isReadable(QByteArrayView setting, qsizetype equals) {
    // Nearly all are: what begins like one that is not has one of these two bytes.
    if (equals < 0 || setting.front() == '[' ||
        std::none_of(
            setting.begin() + equals, setting.end(), [](char byte) { return byte == '@' || byte == '\\'; })) {
        return true;
    }
    return std::ranges::all_of(SettingValue(setting.sliced(equals + 1)).texts(), isReadableText);
}

} // namespace

QByteArray withoutUnreadableValues(const QByteArray& text) {
    QByteArray readable;
    readable.reserve(text.size());
    QByteArrayView rest(text);
    while (!rest.isEmpty()) {
        if (isLineEnd(rest.front()) || isBlank(rest.front())) {
            readable += rest.front();
            rest = rest.sliced(1);
            continue;
        }
        const Extent extent = nextExtent(rest);
        const QByteArrayView setting = rest.first(extent.length);
        if (isReadable(setting, extent.equals)) {
            readable += setting;
        }
        rest = rest.sliced(extent.length);
    }
    return readable;
}
