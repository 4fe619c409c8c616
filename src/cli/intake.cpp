#include "cli/intake.h"

#include "photolist/extensions.h"
#include "photolist/folderscan.h"

#include <QDir>
#include <QFileInfo>

namespace pivotel::cli {

namespace {

class Taker {
  public:
    Taker(const IntakeOptions& options, PhotoListModel& list, IntakeResult& result)
        : options_(options), list_(list), result_(result) {
        // An action given for every photo replaces the orientation, as with EXIF unused.
        admission_.useexiforientation = !options.action.has_value();
        admission_.onlyloadwhenneeded = !options.action.has_value() && !options.processall;
    }

    void file(const QString& name, const QString& path) {
        const Admission admission = judgephoto(path, admission_);
        switch (admission.verdict) {
        case Verdict::Admitted:
            list_.appendrow(name, options_.action.value_or(admission.action), path, !options_.action);
            ++result_.admitted;
            return;
        case Verdict::NotNeeded:
            result_.skipped.push_back({path, admission.reason});
            return;
        case Verdict::Unreadable:
        case Verdict::NotJpeg:
            result_.problems.push_back({path, admission.reason});
            return;
        }
    }

    void take(const QString& argument) {
        const QFileInfo info(argument);
        const QString path = info.absoluteFilePath();
        if (!info.exists()) {
            result_.problems.push_back({argument, QStringLiteral("no such file or folder")});
        } else if (info.isDir()) {
            if (!info.isReadable() || !info.isExecutable()) {
                result_.problems.push_back({argument, QStringLiteral("the folder can't be read")});
                return;
            }
            ScanCallbacks callbacks;
            callbacks.file = [this](const QString& name, const QString& file) { this->file(name, file); };
            loadrecursive(QDir::cleanPath(path), options_.recursive, callbacks);
        } else if (!hasextension(info.fileName(), extensions::drop())) {
            result_.problems.push_back(
                {argument, QStringLiteral("not a JPEG file (.jpg, .jpeg, .jfif, .jpe)")});
        } else if (!info.isReadable()) {
            result_.problems.push_back({argument, QStringLiteral("the file can't be read")});
        } else {
            file(info.fileName(), path);
        }
    }

  private:
    const IntakeOptions& options_;
    PhotoListModel& list_;
    IntakeResult& result_;
    AdmissionOptions admission_;
};

} // namespace

IntakeResult takephotos(const QStringList& paths, const IntakeOptions& options, PhotoListModel& list) {
    IntakeResult result;
    Taker taker(options, list, result);
    for (const QString& path : paths)
        taker.take(path);
    return result;
}

} // namespace pivotel::cli
