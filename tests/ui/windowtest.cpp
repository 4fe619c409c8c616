#include "windowtest.h"

#include "shell/settingsstore.h"
#include "support/testphotos.h"
#include "ui/maintoolbar.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QSlider>
#include <QTest>
#include <QToolButton>

namespace pivotel::test {

QStringList ScriptedDialogs::choosefiles(QWidget*, const QString& title, const QString& folder,
                                         const QStringList& types) {
    filerequests.push_back({title, folder, types});
    if (files.empty()) {
        ADD_FAILURE() << "a file dialog that the script didn't expect";
        return {};
    }
    QStringList answer = files.front();
    files.pop_front();
    return answer;
}

QString ScriptedDialogs::choosefolder(QWidget*, const QString& prompt, const QString& folder) {
    folderrequests.push_back({prompt, folder});
    if (folders.empty()) {
        ADD_FAILURE() << "a folder dialog that the script didn't expect";
        return {};
    }
    QString answer = folders.front();
    folders.pop_front();
    return answer;
}

bool ScriptedDialogs::ask(QWidget*, const Question& question) {
    questions.push_back(question);
    if (whileasking)
        std::exchange(whileasking, nullptr)();
    if (answers.empty()) {
        ADD_FAILURE() << "a question that the script didn't expect: " << question.message.toStdString();
        return false;
    }
    const bool answer = answers.front();
    answers.pop_front();
    return answer;
}

void ScriptedDialogs::tell(QWidget*, const QString& message) {
    told << message;
}

void WindowTest::SetUp() {
    QFile::remove(settingslocation());
    openwindow();
}

void WindowTest::TearDown() {
    window.reset();
}

void WindowTest::openwindow() {
    window.reset();
    window = std::make_unique<MainModule>(dialogs);
    window->show();
    // Focus moves, and leaving a field is seen, only in the active window.
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
}

QAction* WindowTest::action(const QString& identifier) const {
    QAction* found = window->toolbar()->item(identifier);
    EXPECT_NE(found, nullptr) << identifier.toStdString();
    return found;
}

void WindowTest::press(const QString& identifier) {
    auto* button = qobject_cast<QToolButton*>(window->toolbar()->widgetForAction(action(identifier)));
    ASSERT_NE(button, nullptr);
    QTest::mouseClick(button, Qt::LeftButton);
}

QLabel* WindowTest::label(const char* name) const {
    auto* found = window->findChild<QLabel*>(QLatin1String(name));
    EXPECT_NE(found, nullptr) << name;
    return found;
}

QCheckBox* WindowTest::checkbox(const char* name) const {
    auto* found = window->findChild<QCheckBox*>(QLatin1String(name));
    EXPECT_NE(found, nullptr) << name;
    return found;
}

void WindowTest::tick(const char* name) {
    QCheckBox* box = checkbox(name);
    ASSERT_NE(box, nullptr);
    const bool before = box->isChecked();
    QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
    EXPECT_NE(box->isChecked(), before) << name;
}

QSlider* WindowTest::slider() const {
    return window->findChild<QSlider*>(QStringLiteral("qualityslider"));
}

QLineEdit* WindowTest::qualityfield() const {
    return window->findChild<QLineEdit*>(QStringLiteral("jpgquality"));
}

QString WindowTest::rowcounter() const {
    return label("rowcounter")->text();
}

QStringList WindowTest::rows() const {
    QStringList all;
    const PhotoListModel& list = window->photolist();
    for (qint64 r = 0; r < list.count(); ++r)
        all << list.row(r).name + QLatin1Char('|') + list.row(r).label;
    return all;
}

void WindowTest::loadfolder(const QString& folder, bool subfolders) {
    dialogs.folders.push_back(folder);
    dialogs.answers.push_back(subfolders);
    press(QStringLiteral("loadfolders"));
}

bool WindowTest::waitforendofrun() {
    const qsizetype before = dialogs.told.size();
    return QTest::qWaitFor([&] { return dialogs.told.size() > before; }, 120000);
}

} // namespace pivotel::test
