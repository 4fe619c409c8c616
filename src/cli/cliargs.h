#pragma once

#include "engine/oddsizes.h"
#include "engine/runoptions.h"
#include "photolist/action.h"
#include "support/status.h"

#include <QString>
#include <QStringList>
#include <optional>

namespace pivotel::cli {

struct CliOptions {
    QStringList paths;
    bool recursive = true;
    std::optional<Action> action; // one action for every photo; none: from the EXIF orientation
    bool reencode = false;
    int quality = 75;
    OddSizes oddsizes = OddSizes::Trim; // lossless turns only
    bool processall = false;
    bool preservedates = false;
    int jobs = 0;           // photos turned at once; 0: one per core
    qint64 memorylimit = 0; // bytes; 0: half the machine's memory
    bool look = false;      // suggest an upright from the picture where the EXIF orientation gives none
    bool dryrun = false;
    bool json = false;
    bool quiet = false;   // only errors on standard error
    bool verbose = false; // each photo's steps and outcome on standard error
    bool help = false;
    bool version = false;
};

// Parses the command line (without the program name). A failure's reason is the message for
// the user; the exit code for it is 2.
[[nodiscard]] Result<CliOptions> parsearguments(const QStringList& arguments);

[[nodiscard]] QString usagetext();

// Whether the command line names a folder or more photos than `workers`, read from the raw
// arguments before anything has started: only then does a worker turn a second photo in the
// buffers of its first, which is where buffers on huge pages pay for what they cost to fault in.
// An option's value that happens to name a file counts as a photo: that only costs the huge pages.
[[nodiscard]] bool mayreusebuffers(int argc, const char* const argv[], int workers);

} // namespace pivotel::cli
