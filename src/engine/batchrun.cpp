#include "engine/batchrun.h"

#include "engine/filedates.h"
#include "engine/losslessrotate.h"
#include "engine/normalrotate.h"
#include "engine/photorewrite.h"
#include "metadata/exiftool.h"
#include "metadata/exiftransplant.h"
#include "metadata/resolutionrewrite.h"
#include "support/places.h"

#include <QFileInfo>
#include <exception>
#include <optional>

namespace pivotel {

BatchRun::BatchRun(WorkList filelist, RunOptions options, RunPlaces places, ListState& state, QObject* parent)
    : QThread(parent), filelist_(std::move(filelist)), options_(options), places_(std::move(places)),
      state_(state) {
    qRegisterMetaType<pivotel::PhotoReport>();
    setObjectName(QStringLiteral("processthread"));
}

BatchRun::~BatchRun() {
    requeststop();
    wait();
}

void BatchRun::run() {
    try {
        processall();
    } catch (const std::exception& error) {
        // Nothing may leave the run stuck: record why it stopped and go back to idle.
        state_.addfailure({QString(), QString(), QStringLiteral("the run stopped: %1").arg(error.what())});
    }
    state_.boliao = true;
    state_.isrunning = false;
}

void BatchRun::processall() {
    state_.isrunning = true;
    state_.boliao = false;
    // The tool's process belongs to this thread, so it is made here.
    ExifTool tool(places_.toolfile);
    reports_.reserve(filelist_.size());
    for (qint64 r = 0; r < static_cast<qint64>(filelist_.size()) && !stop_; ++r) {
        const PhotoRow& photo = filelist_[static_cast<size_t>(r)];
        emit photostarted(r, photo.name);
        PhotoReport report = processphoto(r, photo, tool);
        reports_.push_back(report);
        emit photofinished(report);
    }
}

PhotoReport BatchRun::processphoto(qint64 row, const PhotoRow& photo, ExifTool& tool) {
    state_.currentrow = row;
    state_.setstatus(QStringLiteral("Rotating ") + photo.name);
    state_.isrunning = true;

    const QFileInfo item(photo.path);
    if (!item.exists()) {
        state_.appendmissing(item.fileName());
        return {row, photo, PhotoOutcome::Missing, QStringLiteral("missing or deleted")};
    }

    state_.candopreview = false;
    const Status turned = turnphoto(photo, tool);
    if (!turned) {
        state_.addfailure({photo.name, photo.path, turned.reason()});
        return {row, photo, PhotoOutcome::Failed, turned.reason()};
    }
    return {row, photo, PhotoOutcome::Turned, QString()};
}

Status BatchRun::turnphoto(const PhotoRow& photo, ExifTool& tool) {
    // Read before anything touches the file.
    std::optional<FileDates> dates;
    if (options_.preservedates) {
        const auto read = readfiledates(photo.path);
        if (!read)
            return Status::failure(QStringLiteral("its file dates can't be read (%1)").arg(read.reason()));
        dates = read.value();
    }

    auto rewrite = PhotoRewrite::begin(photo.path, places_.datafolder);
    if (!rewrite)
        return rewrite.status();
    const QString& working = rewrite.value()->workingpath();

    ExifTransplant transplant(tool, pexiffolder(places_.datafolder));
    if (const Status dumped = transplant.extractexiftofile(photo.path); !dumped)
        return dumped;
    if (const Status rotated = rotate(photo, working, tool); !rotated)
        return rotated;
    if (const Status copied = transplant.copycr2tojpgexif(working); !copied)
        return copied;
    if (const Status upright = updatedpinonstore(tool, working, jpgdpi_); !upright)
        return upright;
    if (const Status committed = rewrite.value()->commit(); !committed)
        return committed;

    if (dates) {
        if (const Status restored = restorefiledates(photo.path, *dates); !restored)
            return Status::failure(
                QStringLiteral("turned, but its file dates could not be kept (%1)").arg(restored.reason()));
    }
    return Status::success();
}

Status BatchRun::rotate(const PhotoRow& photo, const QString& working, ExifTool& tool) {
    if (options_.uselosslessrotation)
        return losslessrotate(photo.path, photo.label, working, tool, jpgdpi_);
    return normalrotatenew(photo.path, photo.label, working, options_.quality, jpgdpi_);
}

} // namespace pivotel
