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
        {{QStringLiteral("--reencode"), QStringLiteral("x")}, "not available"},
        {{QStringLiteral("--quality=80"), QStringLiteral("x")}, "not available"},
        {{QStringLiteral("--process-all"), QStringLiteral("x")}, "not available"},
        {{QStringLiteral("--preserve-dates=yes"), QStringLiteral("x")}, "takes no value"},
    };
    for (const auto& c : cases) {
        const auto parsed = parsearguments(c.arguments);
        ASSERT_FALSE(parsed) << qPrintable(c.arguments.join(QLatin1Char(' ')));
        EXPECT_TRUE(parsed.reason().contains(QLatin1String(c.says))) << qPrintable(parsed.reason());
    }
}
