#include "engine/roundabout.h"

#include "engine/inplacerewrite.h"
#include "engine/photorewrite.h"
#include "jpeg/probe.h"
#include "jpeg/verify.h"
#include "metadata/exiftool.h"
#include "support/fileio.h"
#include "support/nativepath.h"

#include <cerrno>
#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

namespace pivotel {

namespace {

// Every photo's output is a ".jpg", whatever the photo's own extension (".JPE" too).
QString outputfile(const QString& datafolder, int slot) {
    return slotfilename(datafolder, slot, QStringLiteral("output"), QStringLiteral(".jpg"));
}

bool exists(const QString& path) {
    struct stat st {};
    return ::lstat(nativepath(path).constData(), &st) == 0;
}

} // namespace

bool isgranted(const QStringList& granted, const QString& photo) {
    return granted.contains(folderof(photo));
}

Status updateexif(ExifTool& tool, const PhotoRewrite& rewrite, QSize size) {
    if (!tool.exists())
        return Status::success();
    const QString output = outputfile(rewrite.datafolder(), rewrite.slot());
    const QString& working = rewrite.workingpath();
    // Not ours to remove, and the tool would refuse to write over it.
    if (exists(output))
        return Status::failure(
            QStringLiteral("the metadata tool's output %1 was already there: the photo is left as it was")
                .arg(output));
    const auto before = probejpeg(working);
    if (!before)
        return before.status();
    const ToolResult result = tool.run(
        {QStringLiteral("-n"), QStringLiteral("-Orientation=1"), QStringLiteral("-o"), output, working});
    if (!exists(output))
        return Status::failure(
            QStringLiteral("the metadata tool left no new photo (%1)")
                .arg(result.ok() ? QStringLiteral("it wrote nothing") : result.failuretext()));
    const auto written = readwholefile(output);
    Status whole = written ? checkjpeg(*written, {size, before->colorspace, {}}) : written.status();
    if (whole && ::rename(nativepath(output).constData(), nativepath(working).constData()) != 0)
        whole = Status::failure(errnotext(errno));
    if (!whole) {
        ::unlink(nativepath(output).constData());
        return Status::failure(
            QStringLiteral("the metadata tool's new photo can't be used (%1)").arg(whole.reason()));
    }
    return Status::success();
}

std::optional<QString> cleanroundabout(const QString& datafolder, int slot) {
    ::unlink(nativepath(outputfile(datafolder, slot)).constData());
    return recoverinplace(datafolder, slot);
}

} // namespace pivotel
