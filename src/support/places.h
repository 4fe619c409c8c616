#pragma once

#include <QString>

namespace pivotel {

// Where Pivotel keeps and finds its files. Computed at each use, never cached, so tests can
// point them elsewhere (XDG_DATA_HOME moves the data folder).

// The folder of the program's own files: <executable>/../share/pivotel in an install,
// otherwise the bundle's Resources folder, <executable>/../Resources.
QString resourcesfolder();
// The metadata tool: the copy in that folder, else the system's exiftool (a package that
// depends on it instead of carrying one).
QString toolfile();
// The application's data folder, holding the temporary files of a run.
QString datafolder();
// The folder of the metadata dump, in the data folder or in the one given.
QString pexiffolder();
QString pexiffolder(const QString& datafolder);

// Makes the folder (and its parents) when it is missing; true when it exists afterwards.
bool ensurefolder(const QString& path);
// The same for a folder only its owner may enter (0700), also when it was there already.
bool ensureprivatefolder(const QString& path);

} // namespace pivotel
