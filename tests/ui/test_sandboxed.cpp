// The sandboxed flavour's window: the folders it asks for before each run, and what it hides.

#include "jpeg/probe.h"
#include "ui/windowtest.h"

using namespace pivotel;
using namespace pivotel::test;

namespace {

class Sandboxed : public WindowTest {
  protected:
    void SetUp() override {
        forappstore = true;
        WindowTest::SetUp();
    }
};

const QString message =
    "Due to the Sandbox Restriction, You will Need to Grant Write Permissions to the Selected "
    "Files Folder.\n\n Folders which are denied write access would use a roundabout way of "
    "performing the Photo Rotation";

} // namespace

TEST_F(Sandboxed, KeepsThePlainTitleAndHasNoUpdateCheck) {
    EXPECT_EQ(window->windowTitle(), "Pivotel");
    EXPECT_FALSE(item("CheckforUpdatesItem")->isVisible());
}

TEST_F(Sandboxed, AsksOnceForEachFolderOfTheListNotYetGrantedAndRunsWhateverTheAnswers) {
    const struct {
        std::vector<Photo> dropped; // the first step loads the test's folder instead
        std::deque<bool> answers;   // one per panel: granted or cancelled
        QStringList asked;          // the folders the panels asked for, in order
    } steps[] = {                   // A folder that Load Folders took is granted: no message, no panel.
                 {{{"a.jpg", 6}}, {}, {}},
                 // Not its sub folders. A cancelled panel: the run starts, the photo goes the roundabout way.
                 {{{"sub/s.jpg", 6}}, {false}, {"sub"}},
                 // Denied before: asked again. Two rows of one folder: one panel. A row "As Is" counts.
                 {{{"other/b.jpg", 6}, {"other/c.jpg", 8}, {"asis/d.jpg", 0}},
                  {true, true, false},
                  {"sub", "other", "asis"}},
                 // Granted in a run of this launch: not asked again.
                 {{{"other/e.jpg", 6}}, {false}, {"asis"}}};
    for (const auto& step : steps) {
        SCOPED_TRACE(step.dropped.front().name);
        QStringList paths;
        for (const Photo& one : step.dropped)
            paths << photo(one);
        if (&step == steps) {
            loadfolder(dir.path(), false);
        } else {
            window->takepaths(paths);
            settle();
        }
        dialogs.told.clear();
        dialogs.panels.clear();
        dialogs.grants = step.answers;
        press("start");
        ASSERT_TRUE(waitforendofrun());
        QStringList asked;
        for (const FolderPanel& panel : dialogs.panels) {
            EXPECT_EQ(panel.title, "Granting Write Permissions to Change File Date");
            EXPECT_EQ(panel.message, "Due to the Sandbox Restriction, Please Select This Folder to Grant It "
                                     "Permission for the Photo Rotation");
            EXPECT_EQ(panel.prompt, "Grant Write Permissions");
            asked << QDir(dir.path()).relativeFilePath(panel.folder);
        }
        EXPECT_EQ(asked, step.asked);
        EXPECT_EQ(dialogs.told.size(), asked.isEmpty() ? 1 : 2);
        EXPECT_EQ(dialogs.told.front() == message, !asked.isEmpty());
        for (const Photo& one : step.dropped)
            EXPECT_EQ(probejpeg(path(one.name))->size.width(), one.orientation > 1 ? 32 : 48) << one.name;
    }
}
