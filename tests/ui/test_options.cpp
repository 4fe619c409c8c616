#include "ui/qualityrule.h"
#include "windowtest.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QSlider>
#include <QTest>

using namespace pivotel;
using namespace pivotel::test;

namespace {

class Options : public WindowTest {
  protected:
    // Types into the quality field as a user does: focus in, select all, type, maybe leave.
    void type(const QString& text, bool leave) {
        qualityfield()->setFocus();
        qualityfield()->selectAll();
        QTest::keyClick(qualityfield(), Qt::Key_Delete);
        QTest::keyClicks(qualityfield(), text);
        if (leave)
            checkbox("preserveDATES")->setFocus();
    }
    void expectqualityenabled(bool enabled) {
        for (QWidget* control : std::initializer_list<QWidget*>{
                 slider(), qualityfield(), checkbox("normalprocessall"), child("lbljpegquality")})
            EXPECT_EQ(control->isEnabled(), enabled) << control->objectName().toStdString();
    }
};

} // namespace

TEST_F(Options, FirstLaunchCaptionsAndDefaults) {
    const std::tuple<const char*, const char*, bool> boxes[] = {
        {"useexiforientation", "Use EXIF (Camera Settings) Orientation", true},
        {"onlyloadwhenneeded", "Only Load Photos That Needs to be Rotated", false},
        {"uselosslessrotation", "Use Lossless Rotation", true},
        {"normalprocessall", "Process All Photos on the List (Normal Rotation)", false},
        {"preserveDATES", "Preserve File Dates", false},
    };
    for (const auto& [name, caption, checked] : boxes) {
        EXPECT_EQ(checkbox(name)->text(), QLatin1String(caption));
        EXPECT_EQ(checkbox(name)->isChecked(), checked) << name;
    }
    EXPECT_EQ(child("lbljpegquality")->text(), QStringLiteral("JPEG Quality %"));
    EXPECT_EQ(qualityfield()->text(), QStringLiteral("75"));
    EXPECT_EQ(slider()->value(), 75);
    EXPECT_EQ(slider()->minimum(), 10);
    EXPECT_EQ(slider()->maximum(), 100);
    expectqualityenabled(false);
}

TEST_F(Options, LosslessGreysTheQualityControlsAndKeepsTheirValues) {
    tick("uselosslessrotation");
    expectqualityenabled(true);
    tick("normalprocessall");
    slider()->setFocus();
    slider()->setValue(42);
    EXPECT_EQ(qualityfield()->text(), QStringLiteral("42"));
    QTest::keyClick(slider(), Qt::Key_PageUp);
    EXPECT_EQ(qualityfield()->text(), QStringLiteral("62"));
    tick("uselosslessrotation");
    expectqualityenabled(false);
    EXPECT_TRUE(checkbox("normalprocessall")->isChecked());
    EXPECT_EQ(qualityfield()->text(), QStringLiteral("62"));
}

TEST_F(Options, TheQualityFieldMovesTheSliderInsideTheRangeAndIsHeldToItOnLeaving) {
    tick("uselosslessrotation");
    struct Case {
        const char* typed;
        int whiletyping;   // the slider while the field has focus (-1: not looked at)
        const char* shown; // the field once left
    };
    const Case cases[] = {
        {"42", 42, "42"},   {"10", 75, "10"},   {"100", 75, "100"}, {"11", 11, "11"},   {"abc", 75, "70"},
        {"150", 15, "100"}, {"55.9", 55, "55"}, {"9", 75, "10"},    {"101", 75, "100"}, {"", 75, "70"},
        {"-3", 75, "10"},   {"1e2", -1, "100"}, {" 60 ", -1, "60"}, {"9.99", -1, "10"}, {"0", 75, "10"},
    };
    for (const Case& c : cases) {
        slider()->setValue(75);
        type(QLatin1String(c.typed), false);
        if (c.whiletyping != -1) {
            EXPECT_EQ(slider()->value(), c.whiletyping) << c.typed;
        }
        checkbox("preserveDATES")->setFocus();
        EXPECT_EQ(qualityfield()->text(), QLatin1String(c.shown)) << '"' << c.typed << '"';
        EXPECT_EQ(slider()->value(), clampedquality(QLatin1String(c.typed))) << '"' << c.typed << '"';
    }
}

TEST_F(Options, StoredSettingsComeBack) {
    for (const auto& [stored, shown] : {std::pair{"42", "42"}, std::pair{"0", "80"}}) {
        savesettings({true, true, true, false, false, QLatin1String(stored)});
        openwindow();
        for (const char* name : {"onlyloadwhenneeded", "preserveDATES", "normalprocessall"})
            EXPECT_TRUE(checkbox(name)->isChecked()) << name;
        EXPECT_FALSE(checkbox("useexiforientation")->isChecked());
        EXPECT_FALSE(checkbox("uselosslessrotation")->isChecked());
        EXPECT_EQ(qualityfield()->text(), QLatin1String(shown));
        EXPECT_EQ(slider()->value(), QString::fromLatin1(shown).toInt());
        EXPECT_TRUE(slider()->isEnabled());
        EXPECT_TRUE(qualityfield()->isEnabled());
    }
}
