#include "support/qtprinting.h"
#include "ui/runreport.h"

#include <gtest/gtest.h>

using namespace pivotel;

TEST(RunReport, TheFinalBox) {
    const std::vector<PhotoFailure> none;
    const std::vector<PhotoFailure> two{
        {QStringLiteral("x.jpg"), QStringLiteral("/p/x.jpg"), QStringLiteral("damaged")},
        {QString(), QString(), QStringLiteral("the run stopped: out of memory")}};
    struct Case {
        QString failedlist;
        const std::vector<PhotoFailure>* failures;
        QString message;
    };
    const QString missing =
        QStringLiteral("The Following Files Could not be Processed as they may be missing or deleted\n");
    const QString unturned =
        QStringLiteral("The Following Photos Could not be Rotated and were Left Unchanged\n");
    const Case cases[] = {
        {QString(), &none, QStringLiteral("All Done")},
        {QStringLiteral(" \n\t"), &none, QStringLiteral("All Done")}, // white space only counts as empty
        {QStringLiteral("\na.jpg\nb.jpg"), &none, missing + QStringLiteral("\na.jpg\nb.jpg")},
        {QString(), &two, unturned + QStringLiteral("\nx.jpg: damaged\nthe run stopped: out of memory")},
        {QStringLiteral("\na.jpg"), &two,
         missing + QStringLiteral("\na.jpg\n\n") + unturned +
             QStringLiteral("\nx.jpg: damaged\nthe run stopped: out of memory")},
    };
    for (const Case& c : cases)
        EXPECT_EQ(endofrunmessage(c.failedlist, *c.failures), c.message);
}
