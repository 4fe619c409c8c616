#pragma once

#include <QString>
#include <QStringList>
#include <vector>

namespace pivotel::cli {

// The end of a pivotel-cli run: what was turned, left alone and not done.
struct Entry {
    Entry(QString path, QString code, QString text = {}, QString action = {}, QStringList notes = {})
        : path(std::move(path)), code(std::move(code)), text(std::move(text)), action(std::move(action)),
          notes(std::move(notes)) {}

    QString path;
    QString code;      // what became of it, for scripts: stable words listed in the README
    QString text;      // the reason for a photo left alone or not done, for people
    QString action;    // the action as the command line's token (cw, ccw, 180, flip, ..., asis)
    QStringList notes; // for a turned photo: what else became of it
    QString cue;       // the picture's cue, when the action came from a look at it
};

struct RunReport {
    bool dryrun = false;
    bool reencode = false; // the summary says "re-encoded": "As Is" photos aren't turned
    int stopsignal = 0;    // the signal that stopped the run, if one did
    // An end before any photo was turned (bad usage, no photo, a stop during the intake, a
    // pending rewrite in a dry run): the exit status, and why in words.
    int earlyexit = 0;
    QString message{};
    std::vector<Entry> turned{}; // in a dry run: the photos that would be turned
    std::vector<Entry> skipped{};
    std::vector<Entry> failed{};

    // 0 when everything asked for was done, 1 when anything failed, 128 + the signal when one
    // stopped the run; else the early exit's.
    [[nodiscard]] int exitcode() const;
    // With `errorsonly`, only what was not done (for --quiet).
    [[nodiscard]] QString summarytext(bool errorsonly = false) const;
    [[nodiscard]] QByteArray json() const;
};

} // namespace pivotel::cli
