#include "app/settingsstore.h"
#include "support/testphotos.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace pivotel;
using namespace pivotel::test;
using namespace Qt::StringLiterals;

TEST(SettingsStore, StoresEveryOptionWithItsTypeAndReadsItBack) {
    // All six changed, then each alone, so that no two keys can be swapped unnoticed.
    std::vector<Settings> stores{{true, true, true, false, false, u"55.9"_s}};
    for (int key = 0; key < 6; ++key) {
        Settings one;
        bool* flags[] = {&one.onlyloadwhenneeded, &one.preservedates,       &one.normalprocessall,
                         &one.useexiforientation, &one.uselosslessrotation, nullptr};
        flags[key] ? void(*flags[key] = !*flags[key]) : void(one.jpgquality = u"90"_s);
        stores.push_back(one);
    }
    for (const Settings& stored : stores) {
        savesettings(stored);
        EXPECT_EQ(loadsettings(), stored);
    }
    savesettings(stores[0]);
    EXPECT_EQ(QJsonDocument::fromJson(readbytes(settingslocation())).object(),
              (QJsonObject{{u"onlyloadwhenneeded"_s, true},
                           {u"preservedates"_s, true},
                           {u"normalprocessall"_s, true},
                           {u"useexiforientation"_s, false},
                           {u"uselosslessrotation"_s, false},
                           {u"jpgquality"_s, u"55.9"_s}}));
}

TEST(SettingsStore, TrustsOnlyValuesOfTheirOwnType) {
    auto quality = [](const char* text) {
        return Settings{.jpgquality = QString::fromLatin1(text)};
    };
    const struct {
        const char* stored; // the file as another program or an older version may have left it
        Settings loaded;
    } cases[] = {
        {"", Settings()}, // nothing stored
        {R"({"onlyloadwhenneeded": "true", "preservedates": 1, "normalprocessall": {"x": true},
            "useexiforientation": "false", "uselosslessrotation": 0, "jpgquality": 42})",
         Settings()},
        {R"({"jpgquality": false, "uselosslessrotation": false})", Settings{.uselosslessrotation = false}},
        {R"({"jpgquality": "0"})", quality("80")},   // stands for the old default
        {R"({"jpgquality": "0  "})", quality("80")}, // blanks on the right don't count
        {R"({"jpgquality": " 0"})", quality(" 0")},  // blanks on the left do
        {R"({"jpgquality": "00"})", quality("00")},
        {R"({"jpgquality": "150"})", quality("150")}, // held in range only where it is used
        {R"({"jpgquality": "abc"})", quality("abc")},
        {R"({"jpgquality": ""})", quality("")},
        {"{ not json", Settings()},
    };
    QDir().mkpath(QFileInfo(settingslocation()).path());
    int edit = 0;
    for (const auto& c : cases) {
        QFile::remove(settingslocation());
        if (*c.stored) {
            writebytes(settingslocation(), c.stored);
            // Each edit later than the one before, as edits are: the store reads a file again
            // when its size or time has changed, and two quick edits may share both.
            QFile file(settingslocation());
            file.open(QIODevice::ReadWrite);
            file.setFileTime(QDateTime::currentDateTime().addSecs(++edit), QFileDevice::FileModificationTime);
        }
        EXPECT_EQ(loadsettings(), c.loaded) << c.stored;
    }
    // And saving over an unreadable file gives a sound store again.
    savesettings(Settings{.preservedates = true});
    EXPECT_EQ(loadsettings(), Settings{.preservedates = true});
}
