#pragma once

#include "support/filestamp.h"
#include "support/status.h"
#include "support/uniquefd.h"

#include <QString>
#include <memory>
#include <sys/types.h>

namespace pivotel {

// A photo's new content is built in a working file, and commit() puts it at the photo's path
// with a single rename(2). At every instant the photo's path holds either the whole old photo
// or the whole new one, whatever stops the program.
//
// The working file is "xtemp.jpg" in the data folder when that lies on the photo's file system;
// otherwise a hidden file beside the photo, since rename(2) can't cross file systems, named
// after the photo's inode rather than its name, so that any name the file system allows can be
// turned.
// Rewrites that run at once, in one process or several, each take a slot of their own, whose
// lock is held for the rewrite's life: slot 0 works in "xtemp.jpg", slot 1 in "xtemp2.jpg", and
// so on. The metadata dump of the photo in work takes the slot's number too.
//
// The working file, and the files the tool and the XMP library name after it while they write
// it, go when the rewrite ends; only a killed program leaves them, and cleanleftovers() removes
// them at the next start. A working file beside a photo is named in a journal in the data
// folder for as long as it may exist, so that it can be found then.
// The most rewrites that can run at once in one data folder.
inline constexpr int rewriteslots = 64;

class PhotoRewrite {
  public:
    // Prepares the rewrite of `photo` (of the file it names, through any symbolic links); fails
    // when the photo or its folder can't be written, when the photo is read-only (its owner may
    // not write it), and when the new file would not keep the photo's owner (another user's photo,
    // and a process that can't give files away). A photo with several names (hard links)
    // has its own content rewritten, so that every name shows the turned photo.
    // A free slot is taken, `preferredslot` first; when all are busy, it waits for that one.
    // `roundabout` (the sandboxed flavour, in a folder it wasn't granted): the working file is
    // always the data folder's, and a photo whose folder can't take the renamed file (read-only,
    // or on another file system) has its own content rewritten too (rewriteinplace).
    static Result<std::unique_ptr<PhotoRewrite>> begin(const QString& photo, const QString& datafolder,
                                                       int preferredslot = 0, bool roundabout = false);

    PhotoRewrite(const PhotoRewrite&) = delete;
    PhotoRewrite& operator=(const PhotoRewrite&) = delete;
    // An uncommitted working file is removed: the photo stays as it was.
    ~PhotoRewrite();

    const QString& photo() const { return photo_; }
    const QString& workingpath() const { return working_; }
    int slot() const { return slot_; }
    const QString& datafolder() const { return datafolder_; }

    // Flushes the working file, gives it the photo's owner, exact permission bits, extended
    // attributes and ACLs, and renames it over the photo. A photo that is no longer as begin()
    // found it (another program saved it meanwhile) is left as it is, and the new file goes.
    Status commit();

  private:
    PhotoRewrite() = default;

    QString photo_;
    QString working_;
    mode_t mode_ = 0644;
    uid_t uid_ = 0;
    gid_t gid_ = 0;
    FileStamp stamp_; // the photo when its rewrite began
    QString datafolder_;
    bool beside_ = false;
    bool inplace_ = false;
    int slot_ = 0;
    UniqueFd lock_;
    bool committed_ = false;
};

// The failure of a rewrite whose photo another program saved during the turn.
inline constexpr const char* changedduringturn = "changed by another program during the turn; left as it is";

// At every start of the window and of pivotel-cli, before anything else: finishes or undoes each
// rewrite a killed run left in its own file (a hard-linked photo's), and removes the working files
// and metadata dumps such a run left, in every slot not in use by a run in another process. Only
// the slots' own files are looked at. With `finish` false (a dry run, which changes no photo),
// such a rewrite is left pending with the files it needs. Answers the photos whose rewrite is
// still pending.
QStringList cleanleftovers(const QString& datafolder, bool finish = true);

} // namespace pivotel
