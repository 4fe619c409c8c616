#pragma once

#include "support/filestamp.h"
#include "support/status.h"

#include <QString>
#include <optional>

namespace pivotel {

// A file of a rewrite's slot in the data folder: slot 0 has the plain name ("output.jpg"),
// slot k the name with k + 1 ("output2.jpg" for slot 1).
[[nodiscard]] QString slotfilename(const QString& datafolder, int slot, const QString& stem,
                                   const QString& ending);

// Rewrites the content of `photo` with that of `content`, a complete file, keeping the photo's
// file itself: for a photo whose folder can't take a new entry, so that no rename can put a new
// file in its place. The photo keeps its owner, mode, attributes and every name it has.
//
// Before the first byte of the photo is written, its old content is saved in the data folder
// ("original.jpg" of the slot) and a journal ("inplace.journal") names the photo, the old and
// the new content, all flushed to the disk. The journal and the saved copy go once the new
// content is on the disk. A write that fails puts the old content back; a program killed
// meanwhile leaves the journal, and recoverinplace() at the next start finishes the rewrite.
// A photo that is no longer as `expected` (another program saved it) is not written at all.
// The caller holds the slot's lock.
[[nodiscard]] Status rewriteinplace(const QString& photo, const QString& content, const QString& datafolder,
                                    int slot, const FileStamp& expected);

// At start, under the slot's lock: an in-place rewrite that a killed program left is finished
// from the new content, or undone from the old one when the new is not whole; a photo that has
// been replaced by another file since is left alone. The slot's saved copy goes. Answers the
// photo when its rewrite could be neither finished nor undone, and stays pending.
std::optional<QString> recoverinplace(const QString& datafolder, int slot);

// The photo of the slot's in-place rewrite that a killed program left, if there is one; nothing
// is changed.
[[nodiscard]] std::optional<QString> pendinginplace(const QString& datafolder, int slot);

} // namespace pivotel
