#include "services/updateversion.h"

#include <gtest/gtest.h>

using namespace pivotel;

TEST(UpdateVersion, OnlyAVersionNumberIsAnAnswerAndItComparesAsNumbers) {
    const struct {
        const char* body;
        const char* own;
        UpdateAnswer::Kind kind;
        const char* offered;
    } cases[] = {
        {"3.7.0", "3.6.4", UpdateAnswer::Newer, "3.7.0"},
        {"3.6.4", "3.6.4", UpdateAnswer::UpToDate, ""},
        {"3.6.3", "3.6.4", UpdateAnswer::UpToDate, ""},
        {"3.10.0", "3.6.4", UpdateAnswer::Newer, "3.10.0"},
        {"3.6.10", "3.6.9", UpdateAnswer::Newer, "3.6.10"},
        {"4", "3.6.4", UpdateAnswer::Newer, "4"},
        {"3.6.4.0", "3.6.4", UpdateAnswer::UpToDate, ""},
        {"3.6.4.1", "3.6.4", UpdateAnswer::Newer, "3.6.4.1"},
        {" \t3.6.5\r\n", "3.6.4", UpdateAnswer::Newer, "3.6.5"},
        {"", "3.6.4", UpdateAnswer::NoAnswer, ""},
        {" \n", "3.6.4", UpdateAnswer::NoAnswer, ""},
        {"<html><body>Sign in to the network</body></html>", "3.6.4", UpdateAnswer::NoAnswer, ""},
        {"google", "3.6.4", UpdateAnswer::NoAnswer, ""},
        {"9.9.9 beta", "3.6.4", UpdateAnswer::NoAnswer, ""},
        {"3..7", "3.6.4", UpdateAnswer::NoAnswer, ""},
        {".3.7", "3.6.4", UpdateAnswer::NoAnswer, ""},
        {"3.7.", "3.6.4", UpdateAnswer::NoAnswer, ""},
    };
    for (const auto& c : cases) {
        const UpdateAnswer answer = judgeupdate(QByteArray(c.body), QString::fromLatin1(c.own));
        EXPECT_EQ(answer.kind, c.kind) << '"' << c.body << "\" against " << c.own;
        EXPECT_EQ(answer.version, QString::fromLatin1(c.offered)) << '"' << c.body << '"';
    }
}
