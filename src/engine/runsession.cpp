#include "engine/runsession.h"

#include "engine/filedates.h"
#include "engine/finishturn.h"
#include "engine/losslessrotate.h"
#include "engine/normalrotate.h"
#include "engine/photolock.h"
#include "engine/photorewrite.h"
#include "engine/roundabout.h"
#include "metadata/exiftool.h"
#include "metadata/exiftransplant.h"
#include "photolist/probes.h"
#include "support/nativepath.h"
#include "support/places.h"

#include <QThread>
#include <exception>
#include <map>
#include <new>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace pivotel {

class RunSession::Worker : public QThread {
  public:
    explicit Worker(RunSession& session) : session_(session) {
        setObjectName(QStringLiteral("processthread"));
    }

  protected:
    void run() override { session_.processall(); }

  private:
    RunSession& session_;
};

RunSession::RunSession(WorkList filelist, RunOptions options, RunPlaces places, QObject* parent)
    : QObject(parent), filelist_(std::move(filelist)), options_(options), places_(std::move(places)),
      thread_(std::make_unique<Worker>(*this)) {
    qRegisterMetaType<pivotel::PhotoReport>();
    connect(thread_.get(), &QThread::finished, this, &RunSession::finished);
}

RunSession::~RunSession() {
    requeststop();
    thread_->wait();
}

void RunSession::start() {
    thread_->start();
}

void RunSession::requeststop() {
    stop_ = true;
}

bool RunSession::wait(QDeadlineTimer deadline) {
    return thread_->wait(deadline);
}

bool RunSession::isrunning() const {
    return thread_->isRunning();
}

std::vector<PhotoReport> RunSession::reports() const {
    const std::lock_guard lock(mutex_);
    return reports_;
}

void RunSession::record(const PhotoReport& report) {
    {
        const std::lock_guard lock(mutex_);
        reports_.push_back(report);
    }
    emit photofinished(report);
}

void RunSession::processall() {
    // The tool's process belongs to this thread, so it is made here.
    ExifTool tool(places_.toolfile);
    // Taken before any turn, which gives a photo a new file and so a new identity.
    const std::vector<qint64> first = firstrows();
    for (qint64 i = 0; i < static_cast<qint64>(filelist_.size()) && !stop_; ++i) {
        const PhotoRow& photo = filelist_[static_cast<size_t>(i)];
        emit photostarted(i, photo.name);
        try {
            const qint64 same = first[static_cast<size_t>(i)];
            if (same != i)
                record({i,
                        photo,
                        PhotoOutcome::Skipped,
                        QStringLiteral("same photo as %1").arg(filelist_[static_cast<size_t>(same)].path),
                        {}});
            else
                record(processphoto(i, photo, tool));
        } catch (const std::bad_alloc&) {
            // The photo's working file went with its rewrite; the next photo may well fit.
            record(
                {i, photo, PhotoOutcome::Failed, QStringLiteral("too large for the memory available"), {}});
        } catch (const std::exception& error) {
            record({i, photo, PhotoOutcome::Failed, QString::fromLocal8Bit(error.what()), {}});
        }
    }
}

std::vector<qint64> RunSession::firstrows() const {
    std::vector<qint64> first(filelist_.size());
    std::map<std::pair<dev_t, ino_t>, qint64> seen;
    for (size_t i = 0; i < filelist_.size(); ++i) {
        first[i] = qint64(i);
        struct stat st {};
        if (::stat(nativepath(filelist_[i].path).constData(), &st) == 0)
            first[i] = seen.try_emplace({st.st_dev, st.st_ino}, qint64(i)).first->second;
    }
    return first;
}

PhotoReport RunSession::processphoto(qint64 index, const PhotoRow& photo, ExifTool& tool) {
    if (::access(nativepath(photo.path).constData(), F_OK) != 0)
        return {index, photo, PhotoOutcome::Missing, QStringLiteral("missing or deleted"), {}};
    if (photo.unreadable)
        return {index, photo, PhotoOutcome::Failed, QStringLiteral("its EXIF orientation can't be read"), {}};
    // Held until the photo's turn is over, whatever its outcome.
    const auto lock = PhotoLock::take(photo.path);
    if (!lock)
        return {index, photo, PhotoOutcome::Failed, lock.reason(), {}};
    // Another run may have turned it while this one waited or since it was listed.
    if (photo.fromexif) {
        const std::optional<Action> now = getorientation(photo.path);
        if (now && *now != photo.action)
            return {index,
                    photo,
                    PhotoOutcome::Skipped,
                    *now == Action::AsIs ? QStringLiteral("already upright")
                                         : QStringLiteral("its EXIF orientation changed since it was listed"),
                    {}};
    }
    QStringList notes;
    const Status turned = turnphoto(index, photo, tool, notes);
    if (!turned)
        return {index, photo, PhotoOutcome::Failed, turned.reason(), {}};
    return {index, photo, PhotoOutcome::Turned, QString(), notes};
}

Status RunSession::turnphoto(qint64 index, const PhotoRow& photo, ExifTool& tool, QStringList& notes) {
    const auto step = [&](const char* text) {
        emit photostep(index, QString::fromLatin1(text));
    };
    // Read before anything touches the file.
    std::optional<FileDates> dates;
    if (options_.preservedates) {
        const auto read = readfiledates(photo.path);
        if (!read)
            return Status::failure(QStringLiteral("its file dates can't be read (%1)").arg(read.reason()));
        dates = read.value();
    }

    // The sandboxed flavour: no metadata dump, and the roundabout way outside its folders.
    const bool sandboxed = places_.sandboxfolder.has_value();
    const bool roundabout = sandboxed && !isgranted(*places_.sandboxfolder, photo.path);
    auto rewrite = PhotoRewrite::begin(photo.path, places_.datafolder, 0, roundabout);
    if (!rewrite)
        return rewrite.status();
    const QString& working = rewrite.value()->workingpath();

    ExifTransplant transplant(tool, pexiffolder(places_.datafolder), rewrite.value()->slot());
    if (!sandboxed) {
        step("dumping its metadata");
        if (Status dumped = transplant.extractexiftofile(photo.path); !dumped)
            return dumped;
    }
    step(options_.uselosslessrotation ? "turning it losslessly" : "re-encoding it");
    const Result<Rotation> rotated =
        options_.uselosslessrotation ? losslessrotate(photo.path, photo.action, working, options_.oddsizes)
                                     : normalrotatenew(photo.path, photo.action, working, options_.quality);
    if (!rotated)
        return rotated.status();
    notes = rotated->notes;
    if (roundabout) {
        step("setting it upright the roundabout way");
        if (Status upright = updateexif(tool, *rewrite.value(), rotated->size); !upright)
            return upright;
    }
    step("setting its metadata upright and checking the new file");
    if (Status finished = finishturn(photo.path, working, photo.action, *rotated, tool, notes); !finished)
        return finished;
    step("putting it in place");
    if (Status committed = rewrite.value()->commit(); !committed)
        return committed;

    // The photo is turned and in place: dates that can't be put back don't undo that.
    if (dates) {
        step("restoring its dates");
        if (Status restored = restorefiledates(photo.path, *dates); !restored)
            notes << QStringLiteral("dates not kept (%1)").arg(restored.reason());
    }
    return Status::success();
}

} // namespace pivotel
