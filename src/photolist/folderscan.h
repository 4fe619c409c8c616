#pragma once

#include <QString>
#include <functional>

namespace pivotel {

// What a folder scan hands to its caller.
struct ScanCallbacks {
    // A file with a JPEG extension of the folder scan.
    std::function<void(const QString& name, const QString& path)> file;
    // Asked before every item: true ends the whole scan there.
    std::function<bool()> stop;
};

// Walks `folder` depth first, in name order, and hands each file to the callbacks. With
// `recursive` a sub folder is scanned where it is met, so its rows stand there; without it,
// only the files directly in the folder are taken. Packages (".app", ".bundle",
// ".photoslibrary", ...) are skipped whole, and a link back to a folder above can't loop.
void loadrecursive(const QString& folder, bool recursive, const ScanCallbacks& callbacks);

} // namespace pivotel
