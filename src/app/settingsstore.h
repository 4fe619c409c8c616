#pragma once

#include "ui/settings.h"

#include <QString>

namespace pivotel {

// Reads the stored options. A key that is absent, or holds a value of another type than its
// own (Boolean, or text for "jpgquality" and "oddsizes"), gives the default, and so does an
// "oddsizes" other than "trim", "reencode" or "keep". A stored quality "0" comes back
// as "80".
[[nodiscard]] Settings loadsettings();

// Stores all seven options and writes them out.
void savesettings(const Settings& settings);

// Where the options are kept, for a user who looks for them.
[[nodiscard]] QString settingslocation();

// The store the window reads and writes: the application's preferences.
class PreferencesStore : public SettingsStore {
  public:
    Settings load() override { return loadsettings(); }
    void save(const Settings& settings) override { savesettings(settings); }
};

} // namespace pivotel
