#include "metadata/exiftransplant.h"

#include "metadata/exiftool.h"
#include "support/fileio.h"
#include "support/places.h"

#include <QFile>

namespace pivotel {

ExifTransplant::ExifTransplant(ExifTool& tool, QString pexiffolder, int slot)
    : tool_(tool), pexiffolder_(std::move(pexiffolder)), slot_(slot) {
}

ExifTransplant::~ExifTransplant() {
    QFile::remove(dumpfile());
}

QString ExifTransplant::dumpfileof(const QString& pexiffolder, int slot) {
    return pexiffolder + QStringLiteral("/%1.xml").arg(slot + 1);
}

Status ExifTransplant::judge(const QString& step, const ToolResult& result) {
    if (result.ran())
        return Status::success();
    return Status::failure(step + QStringLiteral(": ") + result.failuretext());
}

Status ExifTransplant::extractexiftofile(const QString& photo) {
    if (Status begun = begindump(photo); !begun)
        return begun;
    return savedump();
}

Status ExifTransplant::begindump(const QString& photo) {
    // The dump holds where the photo was taken: for the owner's eyes only.
    if (!ensureprivatefolder(pexiffolder_))
        return Status::failure(QStringLiteral("the folder %1 can't be made").arg(pexiffolder_));
    // A dump left by an earlier photo must never reach this one.
    const QString dump = dumpfile();
    dumping_.reset();
    if (QFile::exists(dump) && !QFile::remove(dump))
        return Status::failure(QStringLiteral("the old metadata dump %1 can't be removed").arg(dump));
    if (tool_.exists())
        dumping_ = tool_.send({QStringLiteral("-X"), QStringLiteral("-struct"), photo});
    return Status::success();
}

Status ExifTransplant::savedump() {
    if (!dumping_)
        return Status::success(); // the tool is missing
    const ToolResult result = tool_.collect(*dumping_);
    dumping_.reset();
    if (Status judged = judge(QStringLiteral("the metadata dump failed"), result); !judged)
        return judged;
    const QByteArray text = result.out + '\n';
    if (Status written = writewholefile(dumpfile(), text.constData(), text.size(), 0600); !written)
        return Status::failure(QStringLiteral("the metadata dump can't be saved (%1)").arg(written.reason()));
    return Status::success();
}

} // namespace pivotel
