#pragma once

#include <QString>

namespace pivotel {

// The six options that outlive a launch, with their values when nothing is stored.
struct Settings {
    bool onlyloadwhenneeded = false;
    bool preservedates = false;
    bool normalprocessall = false;
    bool useexiforientation = true;
    bool uselosslessrotation = true;
    QString jpgquality = QStringLiteral("75"); // kept as text, exactly as the field holds it

    bool operator==(const Settings&) const = default;
};

// Reads the stored options. A key that is absent, or holds a value of another type than its
// own (Boolean, or text for "jpgquality"), gives the default. A stored quality "0" comes back
// as "80".
Settings loadsettings();

// Stores all six options and writes them out.
void savesettings(const Settings& settings);

// Where the options are kept, for a user who looks for them.
QString settingslocation();

} // namespace pivotel
