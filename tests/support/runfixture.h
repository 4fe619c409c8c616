#pragma once

// A batch run over photos in a temporary folder, with its own data folder, as the engine tests
// drive it.

#include "engine/batchrun.h"
#include "support/testphotos.h"

#include <QDeadlineTimer>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace pivotel::test {

class RunFixture : public ::testing::Test {
  protected:
    QString file(const QString& name) const { return dir.filePath(name); }

    // A pattern photo in the folder.
    QString photo(const QString& name, int width = 48, int height = 32) {
        const QString path = file(name);
        writepattern(path, width, height);
        return path;
    }

    std::vector<PhotoReport> run(const WorkList& work, const RunOptions& options = {},
                                 const QString& toolfile = exiftoolpath()) {
        BatchRun batch(work, options, {data.path(), toolfile}, state);
        batch.start();
        EXPECT_TRUE(batch.wait(QDeadlineTimer(120000)));
        return batch.reports();
    }

    QTemporaryDir dir, data;
    ListState state;
};

} // namespace pivotel::test
