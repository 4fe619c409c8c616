#include "cli/cliargs.h"
#include "photolist/labels.h"
#include "support/qtprinting.h"

#include <gtest/gtest.h>

using namespace pivotel;
using namespace pivotel::cli;

TEST(CliArguments, Accepted) {
    const auto parsed = parsearguments({QStringLiteral("--no-recursive"), QStringLiteral("--action=CCW"),
                                        QStringLiteral("--dry-run"), QStringLiteral("--json"),
                                        QStringLiteral("--preserve-dates"), QStringLiteral("a"),
                                        QStringLiteral("--"), QStringLiteral("--odd-name.jpg")});
    ASSERT_TRUE(parsed) << parsed.reason().toStdString();
    EXPECT_FALSE(parsed->recursive);
    EXPECT_EQ(parsed->action, label::rotateccw);
    EXPECT_TRUE(parsed->dryrun);
    EXPECT_TRUE(parsed->json);
    EXPECT_TRUE(parsed->preservedates);
    EXPECT_EQ(parsed->paths, (QStringList{QStringLiteral("a"), QStringLiteral("--odd-name.jpg")}));
}

TEST(CliArguments, Reencoding) {
    const auto plain = parsearguments({QStringLiteral("x")});
    ASSERT_TRUE(plain);
    EXPECT_FALSE(plain->reencode);
    EXPECT_FALSE(plain->processall);

    const auto parsed = parsearguments({QStringLiteral("--reencode"), QStringLiteral("--quality=10"),
                                        QStringLiteral("--process-all"), QStringLiteral("x")});
    ASSERT_TRUE(parsed) << qPrintable(parsed.reason());
    EXPECT_TRUE(parsed->reencode);
    EXPECT_EQ(parsed->quality, 10);
    EXPECT_TRUE(parsed->processall);

    const auto quality =
        parsearguments({QStringLiteral("--quality=100"), QStringLiteral("--reencode"), QStringLiteral("x")});
    ASSERT_TRUE(quality) << qPrintable(quality.reason());
    EXPECT_EQ(quality->quality, 100);

    const auto standard = parsearguments({QStringLiteral("--reencode"), QStringLiteral("x")});
    ASSERT_TRUE(standard);
    EXPECT_EQ(standard->quality, 75);
}

TEST(CliArguments, QualityIsRefusedOutsideTenToHundred) {
    // The window corrects such a number; a command line says so instead.
    for (const char* value : {"9", "101", "0", "-50", "abc", "55.9", "", "1e2"}) {
        const auto parsed =
            parsearguments({QStringLiteral("--reencode"), QStringLiteral("--quality=") + QLatin1String(value),
                            QStringLiteral("x")});
        ASSERT_FALSE(parsed) << value;
        EXPECT_TRUE(parsed.reason().contains(QStringLiteral("--quality needs a whole number from 10 to 100")))
            << qPrintable(parsed.reason());
    }
    const auto bare =
        parsearguments({QStringLiteral("--reencode"), QStringLiteral("--quality"), QStringLiteral("x")});
    ASSERT_FALSE(bare);
    EXPECT_TRUE(bare.reason().contains(QStringLiteral("--quality"))) << qPrintable(bare.reason());
}

TEST(CliArguments, ActionsByName) {
    const struct {
        const char* name;
        QString label;
    } cases[] = {{"cw", label::rotatecw},
                 {"ccw", label::rotateccw},
                 {"180", label::rotate180},
                 {"flip", label::flipleft},
                 {"asis", label::asis}};
    for (const auto& c : cases) {
        const auto parsed =
            parsearguments({QStringLiteral("--action=") + QLatin1String(c.name), QStringLiteral("x")});
        ASSERT_TRUE(parsed) << c.name;
        EXPECT_EQ(parsed->action, c.label) << c.name;
    }
}

TEST(CliArguments, RefusedWithAReason) {
    const struct {
        QStringList arguments;
        const char* says;
    } cases[] = {
        {{}, "no photo"},
        {{QStringLiteral("--action=90"), QStringLiteral("x")}, "--action"},
        {{QStringLiteral("--action"), QStringLiteral("x")}, "--action"},
        {{QStringLiteral("--bogus"), QStringLiteral("x")}, "unknown option --bogus"},
        {{QStringLiteral("-r"), QStringLiteral("x")}, "unknown option -r"},
        {{QStringLiteral("--json=yes"), QStringLiteral("x")}, "takes no value"},
        {{QStringLiteral("--preserve-dates=yes"), QStringLiteral("x")}, "takes no value"},
        {{QStringLiteral("--quality=80"), QStringLiteral("x")}, "--quality needs --reencode"},
        {{QStringLiteral("--process-all"), QStringLiteral("x")}, "--process-all needs --reencode"},
        {{QStringLiteral("--reencode=yes"), QStringLiteral("x")}, "takes no value"},
    };
    for (const auto& c : cases) {
        const auto parsed = parsearguments(c.arguments);
        ASSERT_FALSE(parsed) << qPrintable(c.arguments.join(QLatin1Char(' ')));
        EXPECT_TRUE(parsed.reason().contains(QLatin1String(c.says))) << qPrintable(parsed.reason());
    }
}
