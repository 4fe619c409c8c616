#include "support/appidentity.h"
#include "support/qtprinting.h"

#include <gtest/gtest.h>

TEST(AppIdentity, NameAndVersion) {
    EXPECT_EQ(pivotel::justappname(), QStringLiteral("Pivotel"));
    EXPECT_EQ(pivotel::versiontext(), QStringLiteral("3.6.4"));
    EXPECT_EQ(pivotel::appname(),
              QStringLiteral("Pivotel v3.6.4 ")); // the trailing blank belongs to the title
}
