#pragma once

// A batch run over photos in a temporary folder, with its own data folder, as the engine tests
// drive it.

#include "engine/runsession.h"
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
        RunSession session(work, options, {data.path(), toolfile});
        session.start();
        EXPECT_TRUE(session.wait(QDeadlineTimer(120000)));
        return session.reports();
    }

    QTemporaryDir dir, data;
};

} // namespace pivotel::test
