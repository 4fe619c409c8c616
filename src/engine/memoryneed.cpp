#include "engine/memoryneed.h"

#include "jpeg/probe.h"
#include "support/machine.h"
#include "support/nativepath.h"

#include <algorithm>

namespace pivotel {

namespace {

// The libraries' own tables, buffers of rows and the like, whatever the photo's size.
constexpr qint64 fixedpart = 16LL * 1024 * 1024;

qint64 reencodeneed(const JpegProbe& probe, qint64 filesize) {
    const qint64 pixelbytes = probe.colorspace == JpegColorSpace::Grey ? 1 : 4;
    // The encoder codes in several passes (optimised tables, progressive scans), so it holds
    // the coefficients of the whole picture beside the decoded pixels.
    return qint64(probe.size.width()) * probe.size.height() * pixelbytes + coefficientbytes(probe) +
           2 * filesize;
}

} // namespace

Result<qint64> memoryneed(const QString& path, const RunOptions& options) {
    const auto probe = probejpeg(path);
    if (!probe)
        return probe.status();
    const qint64 filesize = filesizeof(path);
    if (!options.uselosslessrotation)
        return fixedpart + reencodeneed(*probe, filesize);
    // The source's arrays and the turned copy of them, whatever the turn; the photo as read, the
    // new file as written (its scans, then the whole), and the new file read back for its check.
    // While the scans are coded only the turned copy is left, beside the photo as read, the scans
    // and the symbols of those being coded, recorded for writing: 4 bytes a symbol, which comes
    // to 3 to 5 times the file's size for the two largest scans of a photo (6 allowed). That
    // passes the first count for a photo whose file is large beside its arrays, such as noise
    // at quality 100.
    const qint64 arrays = coefficientbytes(*probe);
    qint64 need = std::max(2 * arrays + 3 * filesize, arrays + 8 * filesize);
    // A photo the turn doesn't fit may be re-encoded instead, with the photo still read. (A trim
    // re-encodes only a photo smaller than a block, whose need is small.)
    if (options.oddsizes == OddSizes::Reencode)
        need = qMax(need, reencodeneed(*probe, filesize) + filesize);
    return fixedpart + need;
}

qint64 memorybudget(const RunOptions& options) {
    return options.memorybudget > 0 ? options.memorybudget : physicalmemory() / 2;
}

} // namespace pivotel
