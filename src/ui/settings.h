#pragma once

#include "engine/oddsizes.h"

#include <QString>

namespace pivotel {

// The eight options that outlive a launch, with their values when nothing is stored.
struct Settings {
    bool onlyloadwhenneeded = false;
    bool preservedates = false;
    bool normalprocessall = false;
    bool useexiforientation = true;
    bool uselosslessrotation = true;
    QString jpgquality = QStringLiteral("75"); // kept as text, exactly as the field holds it
    OddSizes oddsizes = OddSizes::Trim;
    int parallel = 0; // photos a run turns at once; 0: one per core

    bool operator==(const Settings&) const = default;
};

// Where the window's options are kept between launches; the application provides it.
class SettingsStore {
  public:
    virtual ~SettingsStore() = default;
    [[nodiscard]] virtual Settings load() = 0;
    virtual void save(const Settings& settings) = 0;
};

} // namespace pivotel
