#include "app/StoredValues.h"

#include <QByteArray>

#include <gtest/gtest.h>
#include <initializer_list>
#include <utility>

namespace {

const QByteArray kText("\\0\\0\\0\\n\\0\\0\\0\\x2\\0x");

/// Settings before and after one of this value.
QByteArray fileWith(const QByteArray& value) {
    return "[General]\na=1\nv=" + value + "\nb=\"2;=\"\n";
}

void expectStays(const QByteArray& value) {
    EXPECT_EQ(withoutUnreadableValues(fileWith(value)), fileWith(value)) << value.toStdString();
}

void expectGoes(const QByteArray& value) {
    EXPECT_EQ(withoutUnreadableValues(fileWith(value)), "[General]\na=1\n\nb=\"2;=\"\n")
        << value.toStdString();
}

/// Lists, one in the other.
QByteArray listsInLists(int depth) {
    return "@Variant(" + QByteArray("\\0\\0\\0\\t\\0\\0\\0\\x1").repeated(depth - 1) + kText + ')';
}

} // namespace

TEST(StoredValuesTest, ValuesOfTheProgramsTypesStay) {
    for (const char* const value :
         {"@Variant(\\0\\0\\0\\0\\xff\\xff\\xff\\xff)", "@Variant(\\0\\0\\0\\x1\\x1)",
          "@Variant(\\0\\0\\0\\x2\\0\\0\\0\\a)", "@Variant(\\0\\0\\0\\x3\\0\\0\\0\\a)",
          "@Variant(\\0\\0\\0\\x4\\0\\0\\0\\0\\0\\0\\0\\a)",
          "@Variant(\\0\\0\\0\\x5\\0\\0\\0\\0\\0\\0\\0\\a)",
          "@Variant(\\0\\0\\0\\x6?\\xe0\\0\\0\\0\\0\\0\\0)", "@Variant(\\0\\0\\0\\b\\0\\0\\0\\0)",
          "\"@Variant(\\0\\0\\0\\b\\0\\0\\0\\x1\\0\\0\\0\\x2\\0,\\0\\0\\0\\x2\\0\\0\\0\\a)\"",
          "@Variant(\\0\\0\\0\\n\\xff\\xff\\xff\\xff)",
          "@Variant(\\0\\0\\0\\v\\0\\0\\0\\x1\\0\\0\\0\\x2\\0x)",
          "@Variant(\\0\\0\\0\\f\\0\\0\\0\\x2\\\"\\\\)", "@Variant(\\0\\0\\0\\x94)  ",
          "a, @Variant(\\0\\0\\0\\x94), \"@Variant(\\0\\0\\0\\x94)\""}) {
        expectStays(value);
    }
    expectStays(listsInLists(kDeepestValue));
}

TEST(StoredValuesTest, ValuesOfOtherFormsStay) {
    for (const char* const value :
         {"", "@", "@@Variant(\\0)", "@ByteArray(\\0\\v)", "@Rect(1 2 3 4)", "@Size(1 2)", "@Point(1 2)",
          "@Invalid()", "@String(\\0)", "@Other(x)", "Variant(\\0)", "\" @Variant(\\0)\"", "a@Variant(x)",
          "\\x4e2d", "\"\xe4\xb8\xad\"", "1 ; v=@Variant(x)"}) {
        expectStays(value);
    }
}

TEST(StoredValuesTest, ValuesThatDoNotEndWithTheirBytesGo) {
    for (const char* const value :
         {"@Variant()", "@Variant(\\0\\0\\0)", "@Variant(\\0\\0\\0\\x2\\0\\0\\a)", "@Variant(\\0\\0\\0\\x1)",
          "@Variant(\\0\\0\\0\\x2\\0\\0\\0\\a\\0)", "@Variant(\\0\\0\\0\\x94 )", "@Variant(\\0\\0\\0\\x94",
          "@Variant(\\0\\0\\0\\x6\\0\\0\\0\\0)", "@Variant(\\0\\0\\0\\n\\0\\0\\0\\x1x)"}) {
        expectGoes(value);
    }
}

TEST(StoredValuesTest, CountsAndLengthsThatAreLargerThanTheBytesGo) {
    for (const char* const value :
         {"@Variant(\\0\\0\\0\\v=@0\\0\\0\\a)", "@Variant(\\0\\0\\0\\b\\xff\\xff\\xff\\xf0)",
          "@Variant(\\0\\0\\0\\t\\x7f\\xff\\xff\\xff)", "@Variant(\\0\\0\\0\\n\\0\\0\\0\\x4\\0x)",
          "@Variant(\\0\\0\\0\\f\\xff\\xff\\xff\\xfe)", "@Variant(\\0\\0\\0\\t\\0\\0\\0\\x2\\0\\0\\0\\x94)",
          "@Variant(\\0\\0\\0\\b\\0\\0\\0\\x1\\0\\0\\0\\0\\0\\0\\0\\v=@0\\0)"}) {
        expectGoes(value);
    }
}

TEST(StoredValuesTest, TypesThatTheProgramDoesNotStoreGo) {
    for (int type = 0; type <= 0xFF; ++type) {
        const bool isStored = type <= 12 || type == 148;
        if (!isStored || type == 7) {
            const QByteArray number = QByteArray::number(type, 16);
            expectGoes("@Variant(\\0\\0\\0\\x" + number + "\\0\\0\\0\\0)");
            expectGoes("@Variant(\\0\\0\\0\\x" + number + ")");
        }
    }
    expectGoes("@Variant(\\0\\0\\0\\x7f\\0\\0\\0\\x2x\\0)");
    expectGoes("@DateTime(\\0\\0\\0\\x10\\0\\0\\0\\0\\0\\0%\\x87\\x6c\\0\\0\\0\\0\\x1)");
    expectGoes("@DateTime(\\0\\0\\0\\t\\0\\xff\\xff\\xff\\xf0)");
}

TEST(StoredValuesTest, ListsThatLieTooDeepInEachOtherGo) {
    expectGoes(listsInLists(kDeepestValue + 1));
    expectGoes(listsInLists(100000));
}

TEST(StoredValuesTest, ValueIsFoundHoweverItIsWritten) {
    for (const char* const value :
         {"\"@Variant(\\0)\"", "  @Variant(\\0)\t", "a, @Variant(\\0)",
          "\"a\"@Variant(\\0), \"@Variant(\\0)\"", "\\x40Variant(\\0)", "\\100Variant(\\0)",
          "\\x10040Variant(\\0)", "@\\x56\\141riant(\\0)", "\\q@Variant(\\0)", "\"@Var\"iant(\\0)",
          "\"\"@Variant(\\0)", "\\\n@Variant(\\0)", "\\\r\n@Variant(\\0)", "\"@Variant(\n\\0)\"",
          "\"@Variant(\xc4\x80)\"", "\"@Variant(\xff)\""}) {
        expectGoes(value);
    }
}

TEST(StoredValuesTest, SettingEndsWhereTheNextOneBegins) {
    const QByteArray bad = "v=@Variant(\\0)";
    for (const auto& [text, readable] : std::initializer_list<std::pair<QByteArray, QByteArray>>{
             {bad, ""},
             {bad + "\r\n" + "a=1", "\r\na=1"},
             {" \t" + bad + ";remark\"\n" + bad, " \t;remark\"\n"},
             {"; \"\n" + bad + "\n", "; \"\n\n"},
             {"a=\"\n" + bad + "\n\"\n" + bad, "a=\"\n" + bad + "\n\"\n"},
             {"[v=@Variant(x)]\n" + bad, "[v=@Variant(x)]\n"},
             {"\xef\xbb\xbf" + bad, ""},
             {"a\\=b=@Variant(x)", ""},
             {"a=@@=@Variant(x)\\", "a=@@=@Variant(x)\\"}}) {
        EXPECT_EQ(withoutUnreadableValues(text), readable) << text.toStdString();
    }
}
