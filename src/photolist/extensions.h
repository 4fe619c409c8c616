#pragma once

#include <QString>
#include <QStringList>

namespace pivotel {

// The extension sets of every way a file comes in or is decoded, in one place.
// A test compares the end of a name or path with an entry, whole and ignoring case.
namespace extensions {
// Types the Load Files dialog offers (no dot, lower case).
const QStringList& dialogtypes();
// Files chosen in the Load Files dialog that go on to admission.
const QStringList& loadfiles();
// Files found by the folder scan.
const QStringList& folderscan();
// Dropped files.
const QStringList& drop();
// Full decoding for a re-encoding run.
const QStringList& loadpicture();
// Preview decoding by the JPEG decoder.
const QStringList& loadpicturefast();
// Preview decoding's second way: the file's content decides how it is decoded.
const QStringList& heic();
// Folder names that the desktop shows as a single item: never scanned into.
const QStringList& packages();
} // namespace extensions

bool hasextension(const QString& nameorpath, const QStringList& set);

} // namespace pivotel
