#include "photolist/extensions.h"
#include "photolist/labels.h"
#include "support/qtprinting.h"

#include <gtest/gtest.h>

using namespace pivotel;

TEST(Labels, UseTheMasculineOrdinalIndicatorNotTheDegreeSign) {
    for (const QString& text : actionlabels()) {
        EXPECT_FALSE(text.contains(QChar(0x00B0))) << qPrintable(text);
    }
    EXPECT_EQ(label::rotatecw.toUtf8(), QByteArray("Rotate 90\xC2\xBA Clockwise"));
    EXPECT_EQ(label::rotate180.toUtf8(), QByteArray("Rotate 180\xC2\xBA"));
}

TEST(Labels, MapToActionsIgnoringCase) {
    const struct {
        QString text;
        Action action;
    } cases[] = {
        {QStringLiteral("Rotate 90\u00BA Clockwise"), Action::Rotate90},
        {QStringLiteral("rotate 90\u00BA clockwise"), Action::Rotate90},
        {QStringLiteral("ROTATE 90\u00BA COUNTERCLOCKWISE"), Action::Rotate270},
        {QStringLiteral("Rotate 180\u00BA"), Action::Rotate180},
        {QStringLiteral("flip left"), Action::MirrorHorizontal},
        {QStringLiteral("As Is"), Action::None},
        {QStringLiteral("Fail"), Action::None},
        {QStringLiteral("Rotate 90\u00B0 Clockwise"), Action::None}, // degree sign: not a label
    };
    for (const auto& c : cases)
        EXPECT_EQ(actionforlabel(c.text), c.action) << qPrintable(c.text);
}

TEST(Labels, CounterText) {
    const struct {
        qint64 count;
        const char* text;
    } cases[] = {{0, "0 Photos"}, {1, "1 Photo"}, {2, "2 Photos"}, {12345, "12345 Photos"}};
    for (const auto& c : cases)
        EXPECT_EQ(countertext(c.count), QString::fromLatin1(c.text));
}

TEST(Extensions, ComparedWholeAtTheEndIgnoringCase) {
    const struct {
        const char* name;
        const QStringList& set;
        bool expected;
    } cases[] = {
        {"a.jpg", extensions::folderscan(), true},
        {"a.JPG", extensions::folderscan(), true},
        {"a.JpEg", extensions::folderscan(), true},
        {"a.jfif", extensions::folderscan(), true},
        {"a.jpe", extensions::folderscan(), true},
        {"a.png", extensions::folderscan(), false},
        {"a.jpg.png", extensions::folderscan(), false},
        {"ajpg", extensions::folderscan(), false},
        {"a.heic", extensions::folderscan(), false},
        {"a.heic", extensions::loadfiles(), true},
        {"a.jpe", extensions::loadpicturefast(), false},
        {"a.JPE", extensions::loadpicture(), true},
        {"Photos.photoslibrary", extensions::packages(), true},
        {"Viewer.app", extensions::packages(), true},
    };
    for (const auto& c : cases)
        EXPECT_EQ(hasextension(QString::fromLatin1(c.name), c.set), c.expected) << c.name;
}
