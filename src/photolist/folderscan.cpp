#include "photolist/folderscan.h"

#include "photolist/extensions.h"
#include "support/nativepath.h"

#include <algorithm>
#include <dirent.h>
#include <memory>
#include <set>
#include <sys/stat.h>
#include <utility>

namespace pivotel {

namespace {

using FolderId = std::pair<dev_t, ino_t>;

// Name order as a file browser shows it: numbers by value ("IMG_2" before "IMG_10"), letters
// ignoring case, and the exact text to settle ties.
bool naturalless(const QString& a, const QString& b) {
    qsizetype i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (a[i].isDigit() && b[j].isDigit()) {
            const qsizetype si = i, sj = j;
            while (i < a.size() && a[i].isDigit())
                ++i;
            while (j < b.size() && b[j].isDigit())
                ++j;
            QStringView da = QStringView(a).mid(si, i - si), db = QStringView(b).mid(sj, j - sj);
            while (da.size() > 1 && da.front() == u'0')
                da = da.mid(1);
            while (db.size() > 1 && db.front() == u'0')
                db = db.mid(1);
            if (da.size() != db.size())
                return da.size() < db.size();
            if (const int c = da.compare(db); c != 0)
                return c < 0;
            continue;
        }
        const QChar ca = a[i].toCaseFolded(), cb = b[j].toCaseFolded();
        if (ca != cb)
            return ca < cb;
        ++i;
        ++j;
    }
    if (i < a.size() || j < b.size())
        return j < b.size();
    return a < b;
}

// The names in a folder, read as bytes so that a name that isn't UTF-8 can be found again.
QStringList entries(const QString& path) {
    QStringList names;
    struct Close {
        void operator()(DIR* dir) const { ::closedir(dir); }
    };
    const std::unique_ptr<DIR, Close> dir(::opendir(nativepath(path).constData()));
    if (!dir)
        return names;
    while (const dirent* entry = ::readdir(dir.get())) {
        const QByteArrayView name(entry->d_name);
        if (name != "." && name != "..")
            names << pathfromnative(name);
    }
    return names;
}

bool folderid(const QString& path, FolderId& id) {
    struct stat st {};
    if (::stat(nativepath(path).constData(), &st) != 0)
        return false;
    id = {st.st_dev, st.st_ino};
    return true;
}

class Scan {
  public:
    explicit Scan(const ScanCallbacks& callbacks) : callbacks_(callbacks) {}

    void folder(const QString& path, bool recursive) {
        FolderId id;
        // The folders on the way down: a link back to one of them would never end.
        if (folderid(path, id) && ancestors_.insert(id).second) {
            items(path, recursive);
            ancestors_.erase(id);
        }
    }

  private:
    void items(const QString& path, bool recursive) {
        QStringList names = entries(path);
        std::sort(names.begin(), names.end(), naturalless);
        const QString prefix = path.endsWith(QLatin1Char('/')) ? path : path + QLatin1Char('/');

        for (const QString& name : std::as_const(names)) {
            if (stopped())
                return;
            const QString itempath = prefix + name;
            if (hasextension(name, extensions::packages()))
                continue;
            struct stat st {};
            if (::stat(nativepath(itempath).constData(), &st) == 0 && S_ISDIR(st.st_mode)) {
                if (recursive)
                    folder(itempath, true);
                continue;
            }
            if (hasextension(name, extensions::folderscan()) && callbacks_.file)
                callbacks_.file(name, itempath);
        }
    }

    bool stopped() {
        stopped_ = stopped_ || (callbacks_.stop && callbacks_.stop());
        return stopped_;
    }

    const ScanCallbacks& callbacks_;
    std::set<FolderId> ancestors_;
    bool stopped_ = false;
};

} // namespace

void loadrecursive(const QString& folder, bool recursive, const ScanCallbacks& callbacks) {
    Scan(callbacks).folder(folder, recursive);
}

} // namespace pivotel
