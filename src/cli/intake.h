#pragma once

#include "photolist/admission.h"
#include "photolist/photolistmodel.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <optional>
#include <vector>

namespace pivotel::cli {

// An input that could not be taken, and why.
struct InputProblem {
    QString path;
    QString reason;
    QString code; // for the JSON report: "missing", "unreadable" or "not-jpeg"
};

// A photo that is left alone, and why.
struct SkippedPhoto {
    QString path;
    QString reason;
};

struct IntakeResult {
    std::vector<InputProblem> problems;
    std::vector<SkippedPhoto> skipped; // refused by the "needs no turn" rule
    qint64 admitted = 0;               // rows put on the list
};

struct IntakeOptions {
    bool recursive = true;
    std::optional<Action> action; // overrides every admitted photo's action
    bool processall = false;      // photos that need no turn are taken too, as "As Is"
    // Asked before every item: true ends the intake there (a Ctrl-C during a long scan).
    std::function<bool()> stop;
};

// Puts the photos named by `paths` (files, and folders scanned as the window scans them) on
// `list` through the same admission as the window's intake. With no action the labels come
// from the EXIF orientation and, unless every photo is to be processed, photos that need no turn
// are left off.
[[nodiscard]] IntakeResult takephotos(const QStringList& paths, const IntakeOptions& options,
                                      PhotoListModel& list);

} // namespace pivotel::cli
