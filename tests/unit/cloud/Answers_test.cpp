// What callers get of the bodies of answers.

#include "cloud/Answers.h"

#include <QVariantList>

#include <gtest/gtest.h>

TEST(Answers, AnObjectGivesItsMembers) {
    const QVariantMap answer = answerOf(R"({"code":0,"data":{"a":[1,"2"]}})");
    EXPECT_EQ(answer.keys(), (QStringList{"code", "data"}));
    EXPECT_EQ(answer["code"].toInt(), 0);
    EXPECT_EQ(answer["data"].toMap()["a"].toList(), (QVariantList{1, "2"}));
}

TEST(Answers, AnArrayIsTheMemberData) {
    EXPECT_EQ(answerOf("[1,2]"), (QVariantMap{{"data", QVariantList{1, 2}}}));
}

TEST(Answers, AnEmptyArrayIsAnEmptyList) {
    const QVariantMap answer = answerOf("[]");
    ASSERT_TRUE(answer.contains("data"));
    EXPECT_TRUE(answer["data"].toList().isEmpty());
}

TEST(Answers, AnyOtherValueAndAnEmptyBodyGiveNothing) {
    for (const char* const body : {"", " \r\n", "42", "-1.5e3", "true", "null", "\"text\"", "{}"}) {
        EXPECT_TRUE(answerOf(body).isEmpty()) << body;
    }
}

TEST(Answers, NoJsonGivesTheParsersTextAndTheBody) {
    for (const char* const body : {"<html>", "{\"code\":0", "{]", "1,2", "1 2", "\xff\xfe", "nul"}) {
        const QVariantMap answer = answerOf(body);
        EXPECT_EQ(answer.keys(), (QStringList{"error", "raw_data"})) << body;
        EXPECT_TRUE(answer["error"].toString().startsWith("JSON parse error: ")) << body;
        EXPECT_EQ(answer["raw_data"].toString(), QString::fromUtf8(body));
    }
}

TEST(Answers, DeepNestingIsNoJson) {
    EXPECT_TRUE(answerOf(QByteArray(1000000, '[')).contains("error"));
}
