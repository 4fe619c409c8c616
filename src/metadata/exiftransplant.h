#pragma once

#include "metadata/toolrunner.h"
#include "support/status.h"

#include <QString>

namespace pivotel {

class ExifTool;

// Carries a photo's EXIF block across its rewrite: all metadata of the untouched photo is
// dumped to "1.xml" in the dump folder (the owner's alone) before the turn (extractexiftofile),
// and the EXIF group of that dump is copied into the rewritten photo after it
// (copycr2tojpgexif). The dump lives as long as the transplant.
//
// Both rotators carry every marker segment of the photo, its EXIF block among them, into the
// new file; the transplant restates that block. So a tool that runs and refuses the photo (it
// does for EXIF blocks with minor flaws) loses nothing and fails no step; a tool that can't run
// or doesn't answer does, as it would any later step (a missing tool is skipped in silence).
class ExifTransplant {
  public:
    ExifTransplant(ExifTool& tool, QString pexiffolder);
    // The dump goes with the photo's turn, whatever its outcome.
    ~ExifTransplant();
    ExifTransplant(const ExifTransplant&) = delete;
    ExifTransplant& operator=(const ExifTransplant&) = delete;

    // Removes a stale dump first, also when the tool is missing; then dumps the photo ("-X",
    // "-struct") into the dump file, the tool's output followed by a line end.
    Status extractexiftofile(const QString& photo);
    // Copies the dump's "-exif:all" into `target` in place. A dump with no EXIF in it copies
    // nothing, and that is no failure.
    Status copycr2tojpgexif(const QString& target);

    // "1.xml" in the dump folder.
    QString dumpfile() const;

  private:
    static Status judge(const QString& step, const ToolResult& result);

    ExifTool& tool_;
    QString pexiffolder_;
};

} // namespace pivotel
