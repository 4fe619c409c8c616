// The sandboxed flavour's window: what it leaves out, and the folders it asks for before a run.

#include "jpeg/probe.h"
#include "ui/windowtest.h"

using namespace pivotel;
using namespace pivotel::test;

namespace {

struct Sandboxed : WindowTest {
    void SetUp() override {
        forappstore = true;
        WindowTest::SetUp();
    }
};

} // namespace

TEST_F(Sandboxed, HasAPlainTitleNoUpdateCheckAndAsksOnceForEachFolderOfTheListNotYetGranted) {
    EXPECT_EQ(window->windowTitle(), "Pivotel");
    EXPECT_FALSE(item("CheckforUpdatesItem")->isVisible());
    const struct {
        std::vector<Photo> photos;         // the first step loads the test's folder, the others drop them
        std::deque<bool> grants;           // each panel's answer
        QStringList asked;                 // the folders asked for, in order
    } steps[] = {{{{"a.jpg", 6}}, {}, {}}, // Load Folders granted it
                 {{{"sub/s.jpg", 6}}, {false}, {"sub"}}, // not its sub folder; the run goes on
                 // Denied before: asked again. Two rows of a folder: one panel. "As Is" counts.
                 {{{"other/b.jpg", 6}, {"other/c.jpg", 8}, {"asis/d.jpg", 0}},
                  {true, true, false},
                  {"sub", "other", "asis"}},
                 {{{"other/e.jpg", 6}}, {false}, {"asis"}}}; // granted in this launch: not again
    for (const auto& step : steps) {
        SCOPED_TRACE(step.photos.front().name);
        QStringList paths;
        for (const Photo& one : step.photos)
            paths << photo(one);
        &step == steps ? loadfolder(dir.path(), false) : window->takepaths(paths);
        settle();
        dialogs.told.clear();
        dialogs.panels.clear();
        dialogs.grants = step.grants;
        press("start");
        ASSERT_TRUE(waitforendofrun());
        QStringList asked;
        for (const FolderPanel& panel : dialogs.panels)
            asked << QDir(dir.path()).relativeFilePath(panel.folder);
        EXPECT_EQ(asked, step.asked);
        EXPECT_EQ(dialogs.told.size(), asked.isEmpty() ? 1 : 2);
        if (!asked.isEmpty()) {
            const FolderPanel& panel = dialogs.panels.front();
            EXPECT_EQ(
                dialogs.told.front() + '|' + panel.title + '|' + panel.message + '|' + panel.prompt,
                "Due to the Sandbox Restriction, You will Need to Grant Write Permissions to the Selected "
                "Files Folder.\n\n Folders which are denied write access would use a roundabout way of "
                "performing the Photo Rotation|Granting Write Permissions to Change File Date|Due to the "
                "Sandbox Restriction, Please Select This Folder to Grant It Permission for the Photo "
                "Rotation|Grant Write Permissions");
        }
        for (const Photo& one : step.photos) // turned whatever the answers
            EXPECT_EQ(probejpeg(path(one.name))->size.width(), one.orientation ? 32 : 48) << one.name;
    }
}
