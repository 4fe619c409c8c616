#include "engine/runsession.h"

#include "engine/filedates.h"
#include "engine/finishturn.h"
#include "engine/losslessrotate.h"
#include "engine/memoryneed.h"
#include "engine/normalrotate.h"
#include "engine/photolock.h"
#include "engine/photorewrite.h"
#include "engine/roundabout.h"
#include "metadata/exiftool.h"
#include "metadata/exiftransplant.h"
#include "metadata/resolutionrewrite.h"
#include "photolist/probes.h"
#include "support/machine.h"
#include "support/nativepath.h"
#include "support/places.h"

#include <QThread>
#include <algorithm>
#include <exception>
#include <map>
#include <new>
#include <optional>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace pivotel {

namespace {

// `asked` workers (0: one per core), but no more than photos: the cores a short run leaves
// go to each photo's coding and check instead.
int workercount(int asked, size_t photos) {
    const int wanted = qMin(asked > 0 ? asked : corecount(), maxjobs);
    return qMax(1, int(qMin(size_t(wanted), photos)));
}

} // namespace

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
      budget_(memorybudget(options_)), jobs_(workercount(options_.jobs, filelist_.size())),
      codingthreads_(qMax(1, corecount() / jobs_)), thread_(std::make_unique<Worker>(*this)) {
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
    // Through the lock, so that a worker about to wait for the budget sees it.
    { const std::lock_guard lock(admission_); }
    admitted_.notify_all();
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
        const auto later =
            std::upper_bound(reports_.begin(), reports_.end(), report.index,
                             [](qint64 index, const PhotoReport& r) { return index < r.index; });
        reports_.insert(later, report);
    }
    emit photofinished(report);
}

void RunSession::processall() {
    // Taken before any turn, which gives a photo a new file and so a new identity.
    const std::vector<qint64> first = firstrows();
    std::vector<std::thread> others;
    for (int worker = 1; worker < jobs_; ++worker) {
        try {
            others.emplace_back([this, worker, &first] { work(worker, first); });
        } catch (const std::system_error&) {
            break; // the system gives no more threads: the run goes on with those it has
        }
    }
    work(0, first);
    for (std::thread& other : others)
        other.join();
}

std::optional<RunSession::Admission> RunSession::admitnext(const std::vector<qint64>& first) {
    std::unique_lock lock(admission_);
    admitted_.wait(lock, [this] { return !taking_ || stop_; });
    if (stop_ || next_ >= static_cast<qint64>(filelist_.size()))
        return std::nullopt;
    Admission admission{next_++, 0, true};
    taking_ = true;
    // Only this worker admits until the photo begins, so photos begin in list order.
    lock.unlock();
    const PhotoRow& photo = filelist_[static_cast<size_t>(admission.index)];
    if (first[static_cast<size_t>(admission.index)] == admission.index) {
        // A header that can't be read is the turn's to report; its bytes are read all the same.
        admission.need = memoryneed(photo.path, options_).value_or(filesizeof(photo.path) * 3);
    }
    admission.fits = admission.need <= budget_;
    lock.lock();
    if (admission.fits)
        admitted_.wait(lock, [&] { return inuse_ + admission.need <= budget_ || stop_; });
    if (!stop_ && admission.fits)
        inuse_ += admission.need;
    const bool begins = !stop_;
    lock.unlock();
    if (begins)
        emit photostarted(admission.index, photo.name);
    lock.lock();
    taking_ = false;
    lock.unlock();
    admitted_.notify_all();
    if (!begins)
        return std::nullopt;
    return admission;
}

void RunSession::release(qint64 need) {
    {
        const std::lock_guard lock(admission_);
        inuse_ -= need;
    }
    admitted_.notify_all();
}

void RunSession::work(int worker, const std::vector<qint64>& first) {
    // The tool's process belongs to this thread, so it is made here.
    ExifTool tool(places_.toolfile);
    while (const std::optional<Admission> admission = admitnext(first)) {
        const qint64 i = admission->index;
        const PhotoRow& photo = filelist_[static_cast<size_t>(i)];
        try {
            const qint64 same = first[static_cast<size_t>(i)];
            if (same != i)
                record({i,
                        photo,
                        PhotoOutcome::Skipped,
                        QStringLiteral("same photo as %1").arg(filelist_[static_cast<size_t>(same)].path),
                        {}});
            else if (!admission->fits)
                record({i,
                        photo,
                        PhotoOutcome::Failed,
                        QStringLiteral("too large for the memory budget (needs %1)")
                            .arg(sizetext(admission->need)),
                        {}});
            else
                record(processphoto(i, photo, worker, tool));
        } catch (const std::bad_alloc&) {
            // The photo's working file went with its rewrite; the next photo may well fit.
            record(
                {i, photo, PhotoOutcome::Failed, QStringLiteral("too large for the memory available"), {}});
        } catch (const std::exception& error) {
            record({i, photo, PhotoOutcome::Failed, QString::fromLocal8Bit(error.what()), {}});
        }
        if (admission->fits)
            release(admission->need);
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

PhotoReport RunSession::processphoto(qint64 index, const PhotoRow& photo, int worker, ExifTool& tool) {
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
    const Status turned = turnphoto(index, photo, worker, tool, notes);
    if (!turned)
        return {index, photo, PhotoOutcome::Failed, turned.reason(), {}};
    return {index, photo, PhotoOutcome::Turned, QString(), notes};
}

Status RunSession::turnphoto(qint64 index, const PhotoRow& photo, int worker, ExifTool& tool,
                             QStringList& notes) {
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
    auto rewrite = PhotoRewrite::begin(photo.path, places_.datafolder, worker, roundabout);
    if (!rewrite)
        return rewrite.status();
    const QString& working = rewrite.value()->workingpath();

    ExifTransplant transplant(tool, pexiffolder(places_.datafolder), rewrite.value()->slot());
    // The metadata tool is started only for a photo whose tags need its writers: the dump is then
    // made (and the tool started, for the worker's first such photo) while the photo is turned.
    // Nothing reads the dump back, as the EXIF block crosses byte for byte, and it goes with the
    // turn: a photo that needs no writer doesn't wait for the tool's start only to dump.
    const bool dumped = !sandboxed && willneedwriters(photo.path);
    if (dumped) {
        step("dumping its metadata");
        if (Status dumping = transplant.begindump(photo.path); !dumping)
            return dumping;
        preparewriters(tool, photo.path);
    }
    step(options_.uselosslessrotation ? "turning it losslessly" : "re-encoding it");
    // The roundabout way works on the working file before the last steps; otherwise the new
    // content is written once, finished.
    Result<Rotation> rotated = options_.uselosslessrotation
                                   ? losslessrotate(photo.path, photo.action, working, options_.oddsizes,
                                                    codingthreads_, !roundabout)
                                   : normalrotatenew(photo.path, photo.action, working, options_.quality);
    if (!rotated)
        return rotated.status();
    if (dumped) {
        if (Status saved = transplant.savedump(); !saved)
            return saved;
    }
    notes = rotated->notes;
    if (roundabout) {
        step("setting it upright the roundabout way");
        if (Status upright = updateexif(tool, *rewrite.value(), rotated->size); !upright)
            return upright;
    }
    step("setting its metadata upright and checking the new file");
    if (Status finished = finishturn(photo.path, working, photo.action, std::move(rotated).value(), tool,
                                     notes, codingthreads_);
        !finished)
        return finished;
    step("putting it in place");
    if (beforereplace_)
        beforereplace_(index);
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
