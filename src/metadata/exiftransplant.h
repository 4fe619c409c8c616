#pragma once

#include "metadata/toolrunner.h"
#include "support/status.h"

#include <QString>

namespace pivotel {

class ExifTool;

// Carries a photo's EXIF block across its rewrite: all metadata of the untouched photo is
// dumped to "1.xml" in the dump folder before the turn (extractexiftofile), and the EXIF group
// of that dump is copied into the rewritten photo after it (copycr2tojpgexif).
//
// A tool that can't run (missing aside) fails a step. A tool that runs and refuses the photo
// fails it only when the rewrite depends on the copy: when the rotator carried every marker of
// the photo already, the EXIF block is in the new photo whatever the tool says.
class ExifTransplant {
  public:
    ExifTransplant(ExifTool& tool, QString pexiffolder, bool markerscarried);

    // Removes a stale dump first, also when the tool is missing; then dumps the photo ("-X",
    // "-struct") into the dump file, the tool's output followed by a line end.
    Status extractexiftofile(const QString& photo);
    // Copies the dump's "-exif:all" into `target` in place. A dump with no EXIF in it copies
    // nothing, and that is no failure.
    Status copycr2tojpgexif(const QString& target);

    // "1.xml" in the dump folder.
    QString dumpfile() const;

  private:
    Status judge(const QString& step, const ToolResult& result) const;

    ExifTool& tool_;
    QString pexiffolder_;
    bool markerscarried_;
};

} // namespace pivotel
