#include "shell/settingsstore.h"
#include "support/qtprinting.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace pivotel;

namespace {

class SettingsStore : public ::testing::Test {
  protected:
    void SetUp() override { QFile::remove(settingslocation()); }

    // Writes the store's file by hand, as another program or an older version might have.
    void storeraw(const QJsonObject& values) {
        QFile file(settingslocation());
        ASSERT_TRUE(QFileInfo(file).dir().mkpath(QStringLiteral(".")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(QJsonDocument(values).toJson());
        ASSERT_TRUE(file.flush());
        // Each edit later than the one before, as edits are: the store reads a file again
        // when its size or time has changed, and two quick edits may share both.
        file.setFileTime(QDateTime::currentDateTime().addSecs(++edits_), QFileDevice::FileModificationTime);
    }

  private:
    int edits_ = 0;
};

} // namespace

TEST_F(SettingsStore, NothingStoredGivesTheDefaults) {
    const Settings settings = loadsettings();
    EXPECT_FALSE(settings.onlyloadwhenneeded);
    EXPECT_FALSE(settings.preservedates);
    EXPECT_FALSE(settings.normalprocessall);
    EXPECT_TRUE(settings.useexiforientation);
    EXPECT_TRUE(settings.uselosslessrotation);
    EXPECT_EQ(settings.jpgquality, QStringLiteral("75"));
}

TEST_F(SettingsStore, RoundTripOfEveryKey) {
    Settings stored;
    stored.onlyloadwhenneeded = true;
    stored.preservedates = true;
    stored.normalprocessall = true;
    stored.useexiforientation = false;
    stored.uselosslessrotation = false;
    stored.jpgquality = QStringLiteral("55.9");
    savesettings(stored);
    EXPECT_EQ(loadsettings(), stored);

    // Each key on its own, so that no two keys can be swapped unnoticed.
    for (int key = 0; key < 5; ++key) {
        Settings one;
        bool* flags[] = {&one.onlyloadwhenneeded, &one.preservedates, &one.normalprocessall,
                         &one.useexiforientation, &one.uselosslessrotation};
        *flags[key] = !*flags[key];
        savesettings(one);
        EXPECT_EQ(loadsettings(), one) << "key " << key;
    }
}

TEST_F(SettingsStore, ValuesAreStoredWithTheirTypes) {
    Settings stored;
    stored.preservedates = true;
    stored.jpgquality = QStringLiteral("90");
    savesettings(stored);
    QFile file(settingslocation());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QJsonObject values = QJsonDocument::fromJson(file.readAll()).object();
    EXPECT_EQ(values.size(), 6);
    EXPECT_TRUE(values.value(QStringLiteral("preservedates")).isBool());
    EXPECT_TRUE(values.value(QStringLiteral("preservedates")).toBool());
    EXPECT_TRUE(values.value(QStringLiteral("uselosslessrotation")).isBool());
    EXPECT_TRUE(values.value(QStringLiteral("jpgquality")).isString());
    EXPECT_EQ(values.value(QStringLiteral("jpgquality")).toString(), QStringLiteral("90"));
}

TEST_F(SettingsStore, QualityRules) {
    struct Case {
        const char* stored;
        const char* loaded;
    };
    const Case cases[] = {
        {"0", "80"},    // stands for the old default
        {"0  ", "80"},  // blanks on the right don't count
        {" 0", " 0"},   // blanks on the left do
        {"00", "00"},   // only the text "0"
        {"75", "75"},   //
        {"150", "150"}, // held in range only where the quality is used
        {"abc", "abc"}, //
        {"", ""},       // an empty text is a text
    };
    for (const Case& c : cases) {
        storeraw({{QStringLiteral("jpgquality"), QString::fromLatin1(c.stored)}});
        EXPECT_EQ(loadsettings().jpgquality, QString::fromLatin1(c.loaded)) << '"' << c.stored << '"';
    }
}

TEST_F(SettingsStore, AValueOfTheWrongTypeCountsAsAbsent) {
    storeraw({
        {QStringLiteral("onlyloadwhenneeded"), QStringLiteral("true")},
        {QStringLiteral("preservedates"), 1},
        {QStringLiteral("normalprocessall"), QJsonObject{{QStringLiteral("x"), true}}},
        {QStringLiteral("useexiforientation"), QStringLiteral("false")},
        {QStringLiteral("uselosslessrotation"), 0},
        {QStringLiteral("jpgquality"), 42},
    });
    EXPECT_EQ(loadsettings(), Settings());

    storeraw({{QStringLiteral("jpgquality"), false}, {QStringLiteral("uselosslessrotation"), false}});
    const Settings settings = loadsettings();
    EXPECT_EQ(settings.jpgquality, QStringLiteral("75"));
    EXPECT_FALSE(settings.uselosslessrotation);
}

TEST_F(SettingsStore, AnUnreadableFileGivesTheDefaults) {
    QFileInfo(settingslocation()).dir().mkpath(QStringLiteral("."));
    QFile file(settingslocation());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("{ not json");
    file.close();
    EXPECT_EQ(loadsettings(), Settings());

    // And saving over it gives a sound store again.
    Settings stored;
    stored.preservedates = true;
    savesettings(stored);
    EXPECT_EQ(loadsettings(), stored);
}
