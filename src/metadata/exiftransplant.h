#pragma once

#include "metadata/exiftool.h"
#include "support/status.h"

#include <QString>
#include <optional>

namespace pivotel {

// The record of a photo's metadata before its turn: all of it is dumped to "1.xml" in the dump
// folder ("2.xml" and on for the further photos a run turns at once) (the owner's alone, since it holds where
// the photo was taken) before the turn (extractexiftofile). The dump lives as long as the transplant.
//
// The EXIF block itself crosses the rewrite byte for byte: both rotators carry every marker
// segment of the photo into the new file. Copying it back from the dump would pass every value
// through the tool's text form, which rounds rationals (a shutter speed of 189/32 came back as
// 23917/4049), so nothing is copied back.
class ExifTransplant {
  public:
    // `slot`: which of the photos in work at once this one is, from 0.
    ExifTransplant(ExifTool& tool, QString pexiffolder, int slot = 0);
    // The dump goes with the photo's turn, whatever its outcome.
    ~ExifTransplant();
    ExifTransplant(const ExifTransplant&) = delete;
    ExifTransplant& operator=(const ExifTransplant&) = delete;

    // Removes a stale dump first, also when the tool is missing; then dumps the photo ("-X",
    // "-struct") into the dump file, the tool's output followed by a line end.
    Status extractexiftofile(const QString& photo);

    // extractexiftofile in two halves, so that the tool starts and dumps while the photo is
    // turned: begindump() removes the stale dump and hands the tool its command; savedump()
    // waits for it and writes the dump. The photo must stay as it is until savedump() returns.
    Status begindump(const QString& photo);
    Status savedump();

    // "1.xml" in the dump folder for slot 0, "2.xml" for slot 1, ...
    QString dumpfile() const { return dumpfileof(pexiffolder_, slot_); }
    static QString dumpfileof(const QString& pexiffolder, int slot);

  private:
    static Status judge(const QString& step, const ToolResult& result);

    ExifTool& tool_;
    QString pexiffolder_;
    int slot_ = 0;
    std::optional<ExifTool::Sent> dumping_;
};

} // namespace pivotel
