#include "shell/settingsstore.h"
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
    // Types into the quality field as a user does: focus in, select all, type, and leave.
    void type(const QString& text, bool leave) {
        QLineEdit* field = qualityfield();
        field->setFocus();
        field->selectAll();
        QTest::keyClick(field, Qt::Key_Delete);
        QTest::keyClicks(field, text);
        if (leave)
            checkbox("preserveDATES")->setFocus();
    }

    std::vector<QWidget*> qualitycontrols() const {
        return {slider(), qualityfield(), checkbox("normalprocessall"), label("lbljpegquality")};
    }
};

} // namespace

TEST_F(Options, FirstLaunch) {
    EXPECT_TRUE(checkbox("useexiforientation")->isChecked());
    EXPECT_TRUE(checkbox("uselosslessrotation")->isChecked());
    EXPECT_FALSE(checkbox("onlyloadwhenneeded")->isChecked());
    EXPECT_FALSE(checkbox("normalprocessall")->isChecked());
    EXPECT_FALSE(checkbox("preserveDATES")->isChecked());
    EXPECT_EQ(qualityfield()->text(), QStringLiteral("75"));
    EXPECT_EQ(slider()->value(), 75);
    for (QWidget* control : qualitycontrols())
        EXPECT_FALSE(control->isEnabled()) << control->objectName().toStdString();
    EXPECT_EQ(rowcounter(), QStringLiteral("0 Photos"));
}

TEST_F(Options, Captions) {
    struct Case {
        const char* name;
        const char* caption;
    };
    const Case cases[] = {
        {"useexiforientation", "Use EXIF (Camera Settings) Orientation"},
        {"onlyloadwhenneeded", "Only Load Photos That Needs to be Rotated"},
        {"uselosslessrotation", "Use Lossless Rotation"},
        {"normalprocessall", "Process All Photos on the List (Normal Rotation)"},
        {"preserveDATES", "Preserve File Dates"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(checkbox(c.name)->text(), QString::fromLatin1(c.caption));
    EXPECT_EQ(label("lbljpegquality")->text(), QStringLiteral("JPEG Quality %"));
    EXPECT_EQ(slider()->minimum(), 10);
    EXPECT_EQ(slider()->maximum(), 100);
}

TEST_F(Options, LosslessGreysTheQualityControlsAndKeepsTheirValues) {
    // Free the controls, change their values, then grey them again.
    tick("uselosslessrotation");
    ASSERT_FALSE(checkbox("uselosslessrotation")->isChecked());
    for (QWidget* control : qualitycontrols())
        EXPECT_TRUE(control->isEnabled()) << control->objectName().toStdString();
    tick("normalprocessall");
    slider()->setValue(42);

    tick("uselosslessrotation");
    for (QWidget* control : qualitycontrols())
        EXPECT_FALSE(control->isEnabled()) << control->objectName().toStdString();
    EXPECT_TRUE(checkbox("normalprocessall")->isChecked());
    EXPECT_EQ(qualityfield()->text(), QStringLiteral("42"));
}

TEST_F(Options, TheFieldFollowsTheSlider) {
    tick("uselosslessrotation");
    slider()->setFocus();
    slider()->setValue(42);
    EXPECT_EQ(qualityfield()->text(), QStringLiteral("42"));
    QTest::keyClick(slider(), Qt::Key_PageUp);
    EXPECT_EQ(qualityfield()->text(), QStringLiteral("62"));
}

TEST_F(Options, TypingMovesTheSliderOnlyStrictlyInsideTheRange) {
    tick("uselosslessrotation");
    struct Case {
        const char* typed;
        int slider;       // while still in the field
        const char* text; // still in the field
    };
    const Case cases[] = {
        {"42", 42, "42"},     {"10", 75, "10"},   {"100", 75, "100"}, {"11", 11, "11"},
        {"99", 99, "99"},     {"abc", 75, "abc"}, {"150", 15, "150"}, // "15" on the way there
        {"55.9", 55, "55.9"},
    };
    for (const Case& c : cases) {
        slider()->setValue(75);
        type(QString::fromLatin1(c.typed), false);
        EXPECT_EQ(slider()->value(), c.slider) << c.typed;
        EXPECT_EQ(qualityfield()->text(), QString::fromLatin1(c.text)) << c.typed;
    }
}

TEST_F(Options, LeavingTheFieldHoldsTheQualityInRange) {
    tick("uselosslessrotation");
    struct Case {
        const char* typed;
        const char* shown;
    };
    const Case cases[] = {
        {"9", "10"},  {"101", "100"}, {"abc", "70"},  {"55.9", "55"},   {"", "70"},     {"150", "100"},
        {"5", "10"},  {"0", "10"},    {"-3", "10"},   {"10", "10"},     {"100", "100"}, {"1e2", "100"},
        {"42", "42"}, {" 60 ", "60"}, {"9.99", "10"}, {"100.9", "100"},
    };
    for (const Case& c : cases) {
        type(QString::fromLatin1(c.typed), true);
        EXPECT_EQ(qualityfield()->text(), QString::fromLatin1(c.shown)) << '"' << c.typed << '"';
        EXPECT_EQ(slider()->value(), clampedquality(QString::fromLatin1(c.typed))) << '"' << c.typed << '"';
    }
}

TEST_F(Options, StoredSettingsComeBack) {
    Settings stored;
    stored.onlyloadwhenneeded = true;
    stored.preservedates = true;
    stored.normalprocessall = true;
    stored.useexiforientation = false;
    stored.uselosslessrotation = false;
    stored.jpgquality = QStringLiteral("42");
    savesettings(stored);
    openwindow();
    EXPECT_TRUE(checkbox("onlyloadwhenneeded")->isChecked());
    EXPECT_TRUE(checkbox("preserveDATES")->isChecked());
    EXPECT_TRUE(checkbox("normalprocessall")->isChecked());
    EXPECT_FALSE(checkbox("useexiforientation")->isChecked());
    EXPECT_FALSE(checkbox("uselosslessrotation")->isChecked());
    EXPECT_EQ(qualityfield()->text(), QStringLiteral("42"));
    EXPECT_EQ(slider()->value(), 42);
    EXPECT_TRUE(slider()->isEnabled());
    EXPECT_TRUE(qualityfield()->isEnabled());
}

TEST_F(Options, StoredQualityZeroComesUpAsEighty) {
    Settings stored;
    stored.jpgquality = QStringLiteral("0");
    savesettings(stored);
    openwindow();
    EXPECT_EQ(qualityfield()->text(), QStringLiteral("80"));
    EXPECT_EQ(slider()->value(), 80);
}
