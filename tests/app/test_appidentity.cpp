#include "shell/appidentity.h"
#include "support/qtprinting.h"

#include <gtest/gtest.h>

using namespace pivotel;

TEST(AppIdentity, NameAndVersion) {
    EXPECT_EQ(justappname(), QStringLiteral("Pivotel"));
    EXPECT_EQ(versiontext(), QStringLiteral("3.6.4"));
    // The trailing blank belongs to the title.
    EXPECT_EQ(appname(), QStringLiteral("Pivotel v3.6.4 "));
}
