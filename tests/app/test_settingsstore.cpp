#include "app/settingsstore.h"
#include "support/testphotos.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace pivotel;
using namespace Qt::StringLiterals;

TEST(SettingsStore, StoresEveryOptionWithItsTypeAndReadsItBack) {
    // All eight changed, then each alone, so that no two keys can be swapped unnoticed.
    std::vector<Settings> stores{{true, true, true, false, false, u"55.9"_s, OddSizes::Keep, 3}};
    for (int key = 0; key < 6; ++key) {
        Settings one;
        bool* flags[] = {&one.onlyloadwhenneeded, &one.preservedates,       &one.normalprocessall,
                         &one.useexiforientation, &one.uselosslessrotation, nullptr};
        // The two texts change together: swapped, each would hold the other's value.
        flags[key] ? void(*flags[key] = !*flags[key])
                   : void(one = {.jpgquality = u"90"_s, .oddsizes = OddSizes::Reencode, .parallel = 1});
        stores.push_back(one);
    }
    for (const Settings& stored : stores) {
        savesettings(stored);
        EXPECT_EQ(loadsettings(), stored);
    }
    savesettings(stores[0]);
    EXPECT_EQ(
        QJsonDocument::fromJson(test::readbytes(settingslocation())).toJson(QJsonDocument::Compact),
        R"({"jpgquality":"55.9","normalprocessall":true,"oddsizes":"keep","onlyloadwhenneeded":true,"parallel":3,)"
        R"("preservedates":true,)"
        R"("useexiforientation":false,"uselosslessrotation":false})");
}

TEST(SettingsStore, TrustsOnlyValuesOfTheirOwnType) {
    // The file as another program or an older version may have left it, and what loads from it.
    const std::pair<const char*, Settings> cases[] = {
        {"", {}}, // nothing stored
        {R"({"onlyloadwhenneeded": "true", "preservedates": 1, "normalprocessall": {"x": true},
            "useexiforientation": "false", "uselosslessrotation": 0, "jpgquality": 42, "oddsizes": 1})",
         {}},
        {R"({"oddsizes": "crop"})", {}}, // a policy this version doesn't know
        {R"({"oddsizes": "reencode"})", {.oddsizes = OddSizes::Reencode}},
        {R"({"parallel": "2"})", {}}, // a count is a whole number from 0 to the most jobs
        {R"({"parallel": 2.5})", {}},
        {R"({"parallel": 65})", {}},
        {R"({"parallel": 4})", {.parallel = 4}},
        {R"({"jpgquality": false, "uselosslessrotation": false})", {.uselosslessrotation = false}},
        {R"({"jpgquality": "0"})", {.jpgquality = u"80"_s}},   // stands for the old default
        {R"({"jpgquality": "0  "})", {.jpgquality = u"80"_s}}, // blanks on the right don't count
        {R"({"jpgquality": " 0"})", {.jpgquality = u" 0"_s}},  // blanks on the left do
        {R"({"jpgquality": "00"})", {.jpgquality = u"00"_s}},
        {R"({"jpgquality": "150"})", {.jpgquality = u"150"_s}}, // held in range only where it is used
        {R"({"jpgquality": "abc"})", {.jpgquality = u"abc"_s}},
        {R"({"jpgquality": ""})", {.jpgquality = u""_s}},
        {"{ not json", {}}};
    QDir().mkpath(QFileInfo(settingslocation()).path());
    int edit = 0;
    for (const auto& [stored, loaded] : cases) {
        QFile::remove(settingslocation());
        QFile file(settingslocation());
        // Each edit later than the one before, as edits are: the store reads a file again when its
        // size or time has changed, and two quick edits may share both.
        if (*stored && file.open(QIODevice::WriteOnly) && file.write(stored) > 0 && file.flush())
            file.setFileTime(QDateTime::currentDateTime().addSecs(++edit), QFileDevice::FileModificationTime);
        file.close();
        EXPECT_EQ(loadsettings(), loaded) << stored;
    }
    // And saving over an unreadable file gives a sound store again.
    savesettings({.preservedates = true});
    EXPECT_EQ(loadsettings(), Settings{.preservedates = true});
}
