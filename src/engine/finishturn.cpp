#include "engine/finishturn.h"

#include "engine/losslessrotate.h"
#include "jpeg/exifpatch.h"
#include "jpeg/probe.h"
#include "jpeg/segments.h"
#include "jpeg/trailer.h"
#include "jpeg/verify.h"
#include "jpeg/xmptoolkit.h"
#include "metadata/resolutionrewrite.h"
#include "support/fileio.h"

#include <system_error>
#include <thread>

namespace pivotel {

namespace {

Status writeworking(const QString& working, const QByteArray& bytes) {
    if (Status written = writewholefile(working, bytes.constData(), bytes.size()); !written)
        return Status::failure(
            QStringLiteral("the turned photo can't be written (%1)").arg(written.reason()));
    return Status::success();
}

// Writes the new file, where it is to be written, and starts it on its way to the disk, on a
// thread of its own while the bytes are checked in memory: the write waits now and then for the
// system to find pages for it, and the fsync before the rename then finds little left to do.
class WorkingWrite {
  public:
    WorkingWrite(const QString& working, const QByteArray& bytes, bool write) {
        const auto work = [this, working, &bytes, write] {
            if (write)
                status_ = writeworking(working, bytes);
            if (status_)
                startwriteback(working);
        };
        try {
            thread_ = std::thread(work);
        } catch (const std::system_error&) {
            work(); // no thread to be had: first the one, then the other
        }
    }
    ~WorkingWrite() {
        if (thread_.joinable())
            thread_.join();
    }
    WorkingWrite(const WorkingWrite&) = delete;
    WorkingWrite& operator=(const WorkingWrite&) = delete;

    Status finish() {
        if (thread_.joinable())
            thread_.join();
        return status_;
    }

  private:
    Status status_ = Status::success();
    std::thread thread_;
};

} // namespace

Status finishturn(const QString& photo, const QString& working, Action action, Rotation rotated,
                  ExifTool& tool, QStringList& notes, int threads) {
    const auto original =
        !rotated.source.isEmpty() ? Result<QByteArray>(std::move(rotated.source)) : readwholefile(photo);
    if (!original)
        return Status::failure(QStringLiteral("can't be read (%1)").arg(original.reason()));
    // A photo whose picture can't be walked to its end (data cut short, which the rotators read
    // past) has nothing after it to carry.
    const QByteArrayView trailer = trailerof(*original).value_or(QByteArrayView());
    const auto before = probejpeg(photo);
    if (!before)
        return before.status();

    auto read =
        !rotated.bytes.isEmpty() ? Result<QByteArray>(std::move(rotated.bytes)) : readwholefile(working);
    if (!read)
        return Status::failure(QStringLiteral("the turned photo can't be read back (%1)").arg(read.reason()));
    QByteArray turned = std::move(read.value());
    const auto patch = setupright(turned, transformfor(action));
    if (!patch)
        return patch.status();
    if (!patch->thumbnailnote.isEmpty())
        notes << patch->thumbnailnote;
    // Most photos need no other writer, and their new content is written once, below.
    const bool others = patch->needswriters();
    bool retouched = false; // by us, after the writers
    if (others) {
        if (Status written = writeworking(working, turned); !written)
            return written;
        if (Status upright = updatedpinonstore(tool, working, *patch, notes); !upright)
            return upright;
        auto tagged = readwholefile(working);
        if (!tagged)
            return Status::failure(
                QStringLiteral("the turned photo can't be read back (%1)").arg(tagged.reason()));
        turned = std::move(tagged.value());
        // The writers sign the XMP packet with their own toolkit's name.
        retouched = keepxmptoolkit(*original, turned);
    }
    // The trailer comes last: the tool, rewriting the file, would leave an MPF index pointing
    // where the pictures stood before it.
    if (!trailer.isEmpty()) {
        if (Status carried = carrytrailer(*original, trailer, turned); !carried)
            return carried;
    }
    WorkingWrite write(working, turned, !others || retouched || !trailer.isEmpty());
    Status checked = checkjpeg(turned, {rotated.size, before->colorspace, trailer}, threads);
    if (Status written = write.finish(); !written)
        return written;
    return checked;
}

bool willneedwriters(const QString& photo) {
    auto header = readjpegheader(photo);
    if (!header)
        return false;
    // The turn changes the picture's size and thumbnail, not which tags the photo has.
    const auto patch = setupright(header.value(), JpegTransform::None);
    return patch && patch->needswriters();
}

} // namespace pivotel
