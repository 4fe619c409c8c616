#pragma once

// What a run killed in the middle of a hard-linked photo's rewrite leaves, for the tests of the
// next start.

#include "engine/inplacerewrite.h"
#include "support/filestamp.h"
#include "support/testphotos.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace pivotel::test {

// Rewrites `photo` in its own file with a bigger photo, as slot `slot` of `datafolder` would,
// killed by the file size limit halfway through the photo: it is left neither old nor new, with
// the journal, the old content and the new (the slot's working file) in the data folder.
// Answers the old content and the new.
inline std::pair<QByteArray, QByteArray> killedinplacerewrite(const QString& photo, const QString& datafolder,
                                                              int slot) {
    const QString content = slotfilename(datafolder, slot, QStringLiteral("xtemp"), QStringLiteral(".jpg"));
    writepattern(content, 480, 320);
    writebytes(slotfilename(datafolder, slot, QStringLiteral("xtemp"), QStringLiteral(".lock")), {});
    const QByteArray old = readbytes(photo), fresh = readbytes(content);
    const FileStamp stamp = filestamp(photo).value();
    const pid_t child = ::fork();
    if (child == 0) {
        const rlimit size{rlim_t(fresh.size() / 2), rlim_t(fresh.size() / 2)};
        ::setrlimit(RLIMIT_FSIZE, &size);
        ::_exit(rewriteinplace(photo, content, datafolder, slot, stamp) ? 0 : 1);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    const QByteArray half = readbytes(photo);
    EXPECT_TRUE(half != old && half != fresh);
    return {old, fresh};
}

} // namespace pivotel::test
