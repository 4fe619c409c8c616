#include "engine/memoryneed.h"

#include "jpeg/probe.h"
#include "support/machine.h"
#include "support/nativepath.h"

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
    qint64 need = 2 * coefficientbytes(*probe) + 3 * filesize;
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
