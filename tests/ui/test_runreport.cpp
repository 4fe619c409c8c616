#include "support/qtprinting.h"
#include "ui/runreport.h"

#include <gtest/gtest.h>

using namespace pivotel;

TEST(RunReport, TheFinalBoxNamesTheMissingThenTheFailedInListOrder) {
    const auto report = [](const char* name, PhotoOutcome outcome, const char* reason = "") {
        return PhotoReport{0, {QLatin1String(name), Action::AsIs, QString()}, outcome, QLatin1String(reason)};
    };
    const QString missing =
        QStringLiteral("The Following Files Could not be Processed as they may be missing or deleted\n");
    const QString unturned =
        QStringLiteral("The Following Photos Could not be Rotated and were Left Unchanged\n");
    const std::pair<std::vector<PhotoReport>, QString> cases[] = {
        {{}, QStringLiteral("All Done")},
        {{report("t.jpg", PhotoOutcome::Turned)}, QStringLiteral("All Done")},
        {{report("a.jpg", PhotoOutcome::Missing), report("t.jpg", PhotoOutcome::Turned),
          report("b.jpg", PhotoOutcome::Missing)},
         missing + QStringLiteral("\na.jpg\nb.jpg")},
        {{report("x.jpg", PhotoOutcome::Failed, "damaged"), report("a.jpg", PhotoOutcome::Missing)},
         missing + QStringLiteral("\na.jpg\n\n") + unturned + QStringLiteral("\nx.jpg: damaged")},
    };
    for (const auto& [reports, message] : cases)
        EXPECT_EQ(endofrunmessage(reports), message);
}
