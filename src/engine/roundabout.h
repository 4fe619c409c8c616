#pragma once

#include "support/status.h"

#include <QSize>
#include <QString>
#include <QStringList>
#include <optional>

namespace pivotel {

class ExifTool;
class PhotoRewrite;

// The sandboxed flavour's writers. It may write only in the folders the user granted it; a
// photo in any other folder goes "a roundabout way": its rewrite is built in the data folder and
// takes the photo's place by a rename where the folder allows one, or else by rewriting the
// photo's own content (PhotoRewrite::begin with `roundabout`).

// Whether the photo's folder, its path up to the last slash, is one of the granted folders,
// compared whole as text.
[[nodiscard]] bool isgranted(const QStringList& granted, const QString& photo);

// updateexif, the roundabout way's own pass of the metadata tool: the tool writes the working
// file with every orientation upright into the slot's "output.jpg" in the data folder, which
// replaces the working file only when it exists, is whole and reads back as a JPEG of `size`.
// A tool that left no output, or an output that was there before it, fails the photo's turn;
// the photo is untouched. A missing tool skips the pass: the rewrite's own writers set the
// orientation without it.
[[nodiscard]] Status updateexif(ExifTool& tool, const PhotoRewrite& rewrite, QSize size);

// At start, under the slot's lock: an interrupted in-place rewrite is finished or undone, and
// the tool's output that a killed run left goes. Answers the photo whose rewrite stays pending.
std::optional<QString> cleanroundabout(const QString& datafolder, int slot);

} // namespace pivotel
