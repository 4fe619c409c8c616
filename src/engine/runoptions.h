#pragma once

#include "engine/oddsizes.h"
#include "photolist/photolistmodel.h"

#include <QString>
#include <QStringList>
#include <optional>

namespace pivotel {

// The most photos a run turns at once.
inline constexpr int maxjobs = 64;

// The options of one run, frozen when it starts: a control changed during the run has no
// effect on it.
struct RunOptions {
    bool uselosslessrotation = true;    // xuselosslessrotation
    bool normalprocessall = false;      // xnormalprocessall
    int quality = 70;                   // xquality, 10 to 100
    bool preservedates = false;         // ispreservedates
    OddSizes oddsizes = OddSizes::Trim; // lossless turns only: the re-encoding is always exact
    int jobs = 1;                       // photos turned at once, each by a worker of its own; 0: one per core
    qint64 memorybudget = 0;            // bytes the photos in work may need together; 0: half the memory

    SelectionRule selection() const { return {normalprocessall, uselosslessrotation}; }
};

// Where a run finds the metadata tool and keeps its temporary files, and where it may write.
struct RunPlaces {
    QString datafolder;
    QString toolfile;
    // The sandboxed flavour's granted folders (sandboxfolder), frozen when the run starts; none
    // in the direct build, which writes wherever a photo lies.
    std::optional<QStringList> sandboxfolder = std::nullopt;
};

} // namespace pivotel
