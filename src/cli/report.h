#pragma once

#include <QString>
#include <QStringList>
#include <vector>

namespace pivotel::cli {

// The end of a pivotel-cli run: what was turned, left alone and not done.
struct Entry {
    Entry(QString path, QString text, QStringList notes = {})
        : path(std::move(path)), text(std::move(text)), notes(std::move(notes)) {}

    QString path;
    QString text; // the action for a turned photo, the reason otherwise
    QStringList notes; // for a turned photo: what else became of it
};

struct RunReport {
    bool dryrun = false;
    bool reencode = false;     // the summary says "re-encoded": "As Is" photos aren't turned
    std::vector<Entry> turned; // in a dry run: the photos that would be turned
    std::vector<Entry> skipped;
    std::vector<Entry> failed;

    // 0 when everything asked for was done, 1 when anything failed.
    int exitcode() const { return failed.empty() ? 0 : 1; }
    QString summarytext() const;
    QByteArray json() const;
};

} // namespace pivotel::cli
