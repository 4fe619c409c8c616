#include "cli/intake.h"

#include "photolist/extensions.h"
#include "photolist/folderscan.h"
#include "support/fileio.h"
#include "support/nativepath.h"

#include <QDir>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

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
        // What a folder scan meets by its name alone: a link to nothing, a loop of links, a path
        // too long for the system to follow.
        struct stat st {};
        if (::stat(nativepath(path).constData(), &st) != 0) {
            const int error = errno;
            if (error == ENOENT)
                result_.problems.push_back({path,
                                            ::lstat(nativepath(path).constData(), &st) == 0
                                                ? QStringLiteral("a symbolic link to nothing")
                                                : QStringLiteral("no such file"),
                                            QStringLiteral("missing")});
            else
                result_.problems.push_back({path,
                                            QStringLiteral("it can't be read (%1)").arg(errnotext(error)),
                                            QStringLiteral("unreadable")});
            return;
        }
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
            result_.problems.push_back({path, admission.reason, QStringLiteral("unreadable")});
            return;
        case Verdict::NotJpeg:
            result_.problems.push_back({path, admission.reason, QStringLiteral("not-jpeg")});
            return;
        }
    }

    void take(const QString& argument) {
        // Built as text, and the file looked at by its bytes: Qt's file classes would lose a name
        // that isn't UTF-8.
        const QString path = absolutepath(argument);
        const QString filename = filenameof(path);
        const QByteArray native = nativepath(path);
        struct stat st {};
        if (::stat(native.constData(), &st) != 0) {
            result_.problems.push_back(
                {argument, QStringLiteral("no such file or folder"), QStringLiteral("missing")});
        } else if (S_ISDIR(st.st_mode)) {
            if (::access(native.constData(), R_OK | X_OK) != 0) {
                result_.problems.push_back(
                    {argument, QStringLiteral("the folder can't be read"), QStringLiteral("unreadable")});
                return;
            }
            ScanCallbacks callbacks;
            callbacks.file = [this](const QString& name, const QString& file) {
                this->file(name, file);
            };
            callbacks.stop = options_.stop;
            loadrecursive(QDir::cleanPath(path), options_.recursive, callbacks);
        } else if (!hasextension(filename, extensions::drop())) {
            result_.problems.push_back({argument,
                                        QStringLiteral("not a JPEG file (.jpg, .jpeg, .jfif, .jpe)"),
                                        QStringLiteral("not-jpeg")});
        } else if (::access(native.constData(), R_OK) != 0) {
            result_.problems.push_back(
                {argument, QStringLiteral("the file can't be read"), QStringLiteral("unreadable")});
        } else {
            file(filename, path);
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
    for (const QString& path : paths) {
        if (options.stop && options.stop())
            break;
        taker.take(path);
    }
    return result;
}

} // namespace pivotel::cli
