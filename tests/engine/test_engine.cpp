// The rotators, and runs over photos in a temporary folder with a data folder of their own: what
// each photo becomes, what survives its turn, what a failing step leaves; and the rewrite under it.

#include "engine/finishturn.h"
#include "engine/losslessrotate.h"
#include "engine/memoryneed.h"
#include "engine/normalrotate.h"
#include "engine/photorewrite.h"
#include "engine/runsession.h"
#include "engine/turnedpicture.h"
#include "jpeg/decode.h"
#include "jpeg/encode.h"
#include "jpeg/photofixture.h"
#include "jpeg/probe.h"
#include "metadata/exiftool.h"
#include "photolist/folderscan.h"
#include "photolist/probes.h"
#include "support/fileio.h"
#include "support/machine.h"
#include "support/nativepath.h"
#include "support/othercolours.h"
#include "support/taggedphotos.h"
#include "support/testpictures.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QTemporaryDir>
#include <array>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <mutex>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>

using namespace pivotel;
using namespace pivotel::test;
using namespace Qt::StringLiterals;

namespace {

// Photos in a temporary folder, and a data folder of their own.
class Engine : public ::testing::Test {
  protected:
    Status rotate(bool lossless, Action action) {
        return lossless ? losslesstransform(source, target, action, OddSizes::Keep).status()
                        : normalrotatenew(source, action, target, 100).status();
    }
    PhotoRow row(const QString& name, Action action = Action::Rotate90Clockwise) const {
        return {name, action, dir.filePath(name)};
    }
    QStringList files(const QString& folder) const {
        return QDir(folder).entryList(QDir::Files | QDir::Hidden);
    }

    // Runs the session to its end; `stopat` asks it to stop when that photo starts.
    std::vector<PhotoReport> run(const WorkList& work, const RunOptions& options = {},
                                 const QString& toolfile = exiftoolpath(), qint64 stopat = -1) {
        RunSession session(work, options, {data.path(), toolfile});
        QObject::connect(
            &session, &RunSession::photostarted, &session,
            [&](qint64 index, const QString& name) {
                started << u"%1 %2"_s.arg(index).arg(name);
                if (index == stopat)
                    session.requeststop();
            },
            Qt::DirectConnection);
        QObject::connect(
            &session, &RunSession::photofinished, &session, [&](const PhotoReport&) { ++finished; },
            Qt::DirectConnection);
        session.start();
        EXPECT_TRUE(session.wait(QDeadlineTimer(120000)));
        return session.reports();
    }

    QTemporaryDir dir, data, otherfs{u"/dev/shm/pivotel-XXXXXX"_s};
    const QString source = dir.filePath(u"source.jpg"_s), target = dir.filePath(u"target.jpg"_s);
    QStringList started;
    int finished = 0;
    std::mutex counting;
};
using Rotators = Engine;
using Runs = Engine;

} // namespace

TEST_F(Rotators, EveryActionTurnsThePixelsExactlyAndKeepsTheColourSpace) {
    // Whole blocks, partial ones (kept: nothing may be cut or added), grey (with the mark in its channel).
    const std::tuple<int, int, Sampling, bool> sources[] = {
        {64, 48, Sampling::S444, false}, {61, 45, Sampling::S420, false}, {40, 24, Sampling::S444, true}};
    for (const bool lossless : {true, false}) {
        for (const auto& [width, height, sampling, grey] : sources) {
            Pixels pixels = pattern(width, height);
            for (size_t i = 0; grey && i < pixels.rgb.size(); i += 3)
                pixels.rgb[i] = pixels.rgb[i] / 2 + (pixels.rgb[i + 2] > 100 ? 120 : 0);
            grey ? writegrey(source, pixels) : writejpeg(source, pixels, 95, sampling);
            const Pixels original = decodejpeg(source);
            for (const Action action : allactions) {
                SCOPED_TRACE((lossless ? "lossless " : "re-encoded ") + std::to_string(width) + " " +
                             labelof(action).toStdString());
                ASSERT_TRUE(rotate(lossless, action));
                const Pixels result = decodejpeg(target);
                EXPECT_EQ(result.width, turned(original, action).width);
                EXPECT_EQ(result.height, turned(original, action).height);
                EXPECT_EQ(isprogressive(target), lossless);
                EXPECT_EQ(probejpeg(target)->colorspace, grey ? JpegColorSpace::Grey : JpegColorSpace::YCbCr);
                // No profile in, none out; no resolution in, 72 out.
                EXPECT_TRUE(lossless || (segmentbodies(target, 0xE2).isEmpty() &&
                                         readtag(target, u"JFIF:XResolution"_s) == "72"_L1));
                // The partial edge blocks of a lossless turn stay where they stood. Re-encoding at
                // quality 100 moves a pixel by a few steps; a wrong turn moves some by over 100.
                for (const Action other : allactions) {
                    const int difference = maxdifference(result, turned(original, other));
                    EXPECT_TRUE(
                        (lossless && width % 8) ||
                        (other == action ? difference <= (lossless ? idcttolerance : 8) : difference > 100))
                        << qPrintable(labelof(other)) << " " << difference;
                }
            }
        }
    }
}

TEST_F(Rotators, CarryEveryMarkerProfileAndResolutionAndReencodeAtTheQualityAsked) {
    writepattern(source, 64, 48);
    writetags(source, {u"-Make=Pivotel Test"_s, u"-XMP-dc:Title=Harbour"_s, u"-IPTC:Keywords=boats"_s,
                       u"-Comment=kept"_s, u"-JFIF:ResolutionUnit=inches"_s, u"-JFIF:XResolution=300"_s,
                       u"-JFIF:YResolution=300"_s});
    QByteArray profile(100000, Qt::Uninitialized); // two APP2 chunks
    for (qsizetype i = 0; i < profile.size(); ++i)
        profile[i] = char(i % 253);
    insertsegment(source, 0xE2, QByteArray("ICC_PROFILE\0\x02\x02", 14) + profile.mid(65519));
    insertsegment(source, 0xE2, QByteArray("ICC_PROFILE\0\x01\x02", 14) + profile.left(65519));

    ASSERT_TRUE(rotate(true, Action::Rotate90Clockwise));
    auto carried = appsegments(target), had = appsegments(source);
    std::ranges::sort(carried);
    std::ranges::sort(had);
    EXPECT_EQ(carried, had);

    // The quality as libjpeg scales the standard table's luminance DC step of 16 (more in tests/cli),
    // with optimised tables: none begins as the luminance AC table of the JPEG standard's annex K.
    const auto rotated = normalrotatenew(source, Action::Rotate90Clockwise, target, 89);
    ASSERT_TRUE(rotated) << qPrintable(rotated.reason());
    EXPECT_EQ(rotated->size, QSize(48, 64));
    EXPECT_EQ(segmentbodies(target, 0xDB).value(0).at(1), 4);
    for (const QByteArray& table : segmentbodies(target, 0xC4))
        EXPECT_FALSE(table.startsWith(QByteArray::fromHex("1000020103030204030505040400 00017d")));
    const auto result = decodepicture(target);
    EXPECT_EQ(result->colorprofile, profile);
    EXPECT_EQ(result->jpgdpi, 300);
    for (const char* tag : {"Make", "XMP-dc:Title", "IPTC:Keywords", "Comment"})
        EXPECT_EQ(readtag(target, QLatin1String(tag)), readtag(source, QLatin1String(tag))) << tag;
    // What the encoder writes anew (one JFIF header, the profile's two chunks) isn't copied as well.
    EXPECT_EQ(segmentbodies(target, 0xE0).size() * 10 + segmentbodies(target, 0xE2).size(), 12);
}

TEST_F(Rotators, TurnTheEdgeThatIsNotWholeBlocksAsAskedAndOnlyWhereTheTurnMovesIt) {
    // 4:2:0 blocks are 16 pixels: 203 x 157 leaves 11 columns at the right, 13 rows at the bottom.
    writepattern(source, 203, 157, Sampling::S420);
    const Pixels original = decodejpeg(source);
    const JpegCoding coding = decodepicture(source)->coding;
    const struct {
        Action action;
        QSize trimmed; // the source's part that a trimmed turn keeps
        const char* trimnote;
    } turns[] = {{Action::AsIs, {203, 157}, ""},
                 {Action::Rotate90Clockwise, {203, 144}, "trimmed 13 pixels off the width"},
                 {Action::Rotate90Counterclockwise, {192, 157}, "trimmed 11 pixels off the height"},
                 {Action::Rotate180, {192, 144}, "trimmed 11 pixels off the width and 13 off the height"},
                 {Action::FlipLeft, {192, 157}, "trimmed 11 pixels off the width"}};
    for (const auto& turn : turns) {
        const Pixels whole = turned(original, turn.action);
        const Pixels part = pixelsof(pictureof(original).copy(QRect(QPoint(), turn.trimmed)));
        const bool quarter = whole.width != original.width;
        for (const OddSizes oddsizes : {OddSizes::Trim, OddSizes::Reencode, OddSizes::Keep}) {
            SCOPED_TRACE(labelof(turn.action).toStdString() + " " + oddsizesword(oddsizes).toStdString());
            const auto rotation = losslesstransform(source, target, turn.action, oddsizes);
            ASSERT_TRUE(rotation) << qPrintable(rotation.reason());
            const QStringList* notes = &rotation->notes;
            const Pixels result = decodejpeg(target);
            EXPECT_EQ(rotation->size,
                      QSize(result.width, result.height)); // what the new file is checked against
            EXPECT_TRUE(isprogressive(target));
            if (turn.action == Action::AsIs || oddsizes == OddSizes::Trim) {
                EXPECT_EQ(notes->join(u'|'), QLatin1String(turn.trimnote));
                EXPECT_LE(maxdifference(result, turned(part, turn.action)), idcttolerance);
            } else if (oddsizes == OddSizes::Reencode) {
                // Every pixel, at the photo's own sampling and quality.
                EXPECT_EQ(*notes, QStringList{u"re-encoded: its size is not whole blocks"_s});
                EXPECT_LE(meandifference(result, whole), meantolerance);
                EXPECT_EQ(decodepicture(target)->coding, quarter ? coding.transposed() : coding);
            } else {
                EXPECT_TRUE(notes->join(u'|').endsWith("pixels left unturned"_L1))
                    << qPrintable(notes->join(u'|'));
                EXPECT_EQ(QSize(result.width, result.height), QSize(whole.width, whole.height));
            }
        }
    }
    // Partial blocks only at the right edge, which a clockwise turn takes to the bottom: no policy
    // touches that photo.
    writepattern(source, 200, 160, Sampling::S420);
    for (const OddSizes oddsizes : {OddSizes::Trim, OddSizes::Reencode, OddSizes::Keep})
        EXPECT_TRUE(losslesstransform(source, target, Action::Rotate90Clockwise, oddsizes)->notes.isEmpty());
    // Lower than a block, so a trim would leave nothing: it is re-encoded instead.
    writepattern(source, 16, 8, Sampling::S420);
    const auto tiny = losslesstransform(source, target, Action::Rotate90Clockwise, OddSizes::Trim);
    ASSERT_TRUE(tiny) << qPrintable(tiny.reason());
    EXPECT_EQ(tiny->notes, QStringList{u"re-encoded: its size is not whole blocks"_s});
    EXPECT_EQ(tiny->size, QSize(8, 16));
    // Re-encoding 128 pixels moves them by a few steps; a wrong turn by a hundred.
    EXPECT_LE(meandifference(decodejpeg(target), turned(decodejpeg(source), Action::Rotate90Clockwise)), 8);
}

TEST_F(Rotators, TurnFlawedDataAsItReadsAndCmykInItsOwnColoursAndRefuseWhatCantBeRead) {
    writepattern(source, 64, 48, Sampling::S420);
    const QByteArray sound = readbytes(source);
    const qsizetype end = sound.size() - 2, scan = sound.indexOf("\xFF\xDA"), middle = (scan + end) / 2;
    ASSERT_NE(uchar(sound[middle - 1]), 0xFF);
    QByteArray jfif3 = sound;
    jfif3[jfif3.indexOf("JFIF") + 5] = 3;
    // Early in a scan long enough for libjpeg's quick Huffman path, which reads a bad code as zero
    // without a warning: 24 one bits (0xFF, stuffed) are no code.
    writepattern(source, 640, 480, Sampling::S420);
    QByteArray huffman = readbytes(source);
    huffman.replace(huffman.indexOf("\xFF\xDA") + 300, 6, QByteArray("\xFF\0\xFF\0\xFF\0", 6));
    // YCCK with Adobe's flags set, and inks sampled in a way TurboJPEG can't name.
    writecmyk(source, pattern(64, 48));
    QByteArray inks = readbytes(source);
    inks[inks.indexOf("Adobe") + 7] = 0x40;
    EncodeSettings odd;
    odd.segments = {{0xEE, segmentbodies(source, 0xEE).value(0)}};
    odd.colorspace = JpegColorSpace::Ycck;
    odd.coding = decodepicture(source)->coding;
    odd.coding->components = {{2, 2, 0}, {1, 1, 1}, {1, 1, 1}, {2, 2, 0}};
    ASSERT_TRUE(encodejpeg(TurnedPicture(decodepicture(source)->image, Action::AsIs), odd, source));
    const Action cw = Action::Rotate90Clockwise;
    const struct {
        const char* what;
        QByteArray bytes;
        bool admitted, turns;
        const char* flaw; // the note a turn gives; null: none
    } cases[] = {         // More than the decoder's bit buffer takes in ahead of the marker.
                 {"stray bytes before the end", sound.left(end) + QByteArray(32, '\x12') + sound.mid(end),
                  true, true, "extraneous bytes"},
                 {"stray bytes between two header segments", sound.left(20) + "\x12\x34" + sound.mid(20),
                  true, true, "extraneous bytes"},
                 {"the last bytes missing", sound.chopped(12), true, true, "premature end"},
                 {"a JFIF segment of a version libjpeg doesn't know", jfif3, true, true, "JFIF revision"},
                 {"a bad Huffman code", huffman, true, true, "bad Huffman code"},
                 {"an unknown marker in the scan", sound.left(middle) + "\xFF\x37" + sound.mid(middle + 2),
                  true, false, nullptr},
                 {"cut before its scan", sound.left(scan), false, false, nullptr},
                 {"YCCK", inks, true, true, nullptr},
                 {"YCCK sampled 2x2 1x1 1x1 2x2", readbytes(source), true, true, nullptr}};
    for (const auto& c : cases) {
        const QString photo = dir.filePath(u"flawed.jpg"_s);
        writebytes(photo, c.bytes);
        EXPECT_EQ(isvalid(photo), c.admitted) << c.what;
        for (const bool lossless : {true, false}) {
            SCOPED_TRACE(std::string(c.what) + (lossless ? " lossless" : " re-encoded"));
            QFile::remove(target);
            const auto rotated = lossless ? losslessrotate(photo, cw, target, OddSizes::Trim)
                                          : normalrotatenew(photo, cw, target, 95);
            ASSERT_EQ(rotated.ok(), c.turns) << qPrintable(rotated.reason());
            if (!c.turns) {
                EXPECT_FALSE(rotated.reason().isEmpty());
                EXPECT_FALSE(QFile::exists(target));
                continue;
            }
            // The report names the flaw that was read past.
            const QString notes = rotated->notes.join(u"; "_s);
            EXPECT_TRUE(c.flaw ? notes.contains(QLatin1String(c.flaw)) : notes.isEmpty())
                << qPrintable(notes);
            if (c.flaw) {
                EXPECT_GT(decodejpeg(target).height, 0); // it reads without a flaw: decodejpeg refuses one
                continue;
            }
            // Its inks as they were, turned; its Adobe marker, which says how they are coded, as it was.
            const auto inksof = [](const QString& path) {
                return pixelsof(decodepicture(path)->image);
            };
            EXPECT_LE(meandifference(inksof(target), turned(inksof(photo), cw)), meantolerance);
            EXPECT_EQ(segmentbodies(target, 0xEE), segmentbodies(photo, 0xEE));
            EXPECT_EQ(probejpeg(target)->colorspace, JpegColorSpace::Ycck);
        }
    }
}

// The new file is written on a thread of its own while its bytes are checked: a write that
// fails is what the turn reports, though the check of the same bytes passes; where it can be
// written, it is there, whole, when the turn says so.
TEST_F(Rotators, AWriteBesideTheCheckThatFailsIsWhatTheTurnReports) {
    writetaggedphoto(source, 48, 32, 6, 300);
    writetags(source, {u"-XMP:all="_s});
    ASSERT_FALSE(willneedwriters(source)); // so that the file is written beside the check
    const auto rotated = losslessrotate(source, Action::Rotate90Clockwise, target, OddSizes::Trim, 2, true);
    ASSERT_TRUE(rotated.ok()) << qPrintable(rotated.reason());
    ASSERT_FALSE(QFile::exists(target)); // handed on in memory
    ExifTool tool(exiftoolpath());
    QStringList notes;
    const Status failed = finishturn(source, dir.filePath(u"missing/working.jpg"_s),
                                     Action::Rotate90Clockwise, *rotated, tool, notes, 2);
    EXPECT_TRUE(failed.reason().startsWith(u"the turned photo can't be written"_s))
        << qPrintable(failed.reason());
    const Status passed = finishturn(source, target, Action::Rotate90Clockwise, *rotated, tool, notes, 2);
    ASSERT_TRUE(passed.ok()) << qPrintable(passed.reason());
    EXPECT_EQ(probejpeg(target)->size, QSize(32, 48));
    EXPECT_EQ(decodejpeg(target).height, 48);
}

TEST(TurnedPicture, MovesEveryPixelExactlyInStripsOfAnyHeight) {
    // RGB and grey are shared as they are, others taken as RGBX.
    for (const auto in : {QImage::Format_RGB888, QImage::Format_Grayscale8, QImage::Format_RGB32}) {
        for (const QSize& size : {QSize(61, 45), QSize(1, 7), QSize(7, 1)}) {
            const Pixels source = pattern(size.width(), size.height());
            const QImage picture = in == QImage::Format_Grayscale8 ? greypictureof(source)
                                                                   : pictureof(source).convertToFormat(in);
            for (const Action action : allactions) {
                const TurnedPicture t(picture, action);
                EXPECT_EQ(t.format(), in == QImage::Format_RGB32 ? QImage::Format_RGBX8888 : in);
                // In strips of 5 (61 and 7 rows leave one of 1 and 2); rows need not touch.
                const qsizetype stride = qsizetype(t.width()) * t.bytesperpixel() + 5;
                std::vector<unsigned char> rows(size_t(stride) * t.height());
                for (int first = 0; first < t.height(); first += 5)
                    t.copyrows(first, std::min(5, t.height() - first), &rows[size_t(first * stride)], stride);
                const QImage result(rows.data(), t.width(), t.height(), stride, t.format());
                EXPECT_EQ(maxdifference(pixelsof(result), turned(pixelsof(picture), action)), 0)
                    << size.width() << " " << qPrintable(labelof(action));
            }
        }
    }
}

TEST_F(Runs, ReportEveryPhotoInOrderStopAfterThePhotoInWorkAndTurnEachUprightWithItsTagsAndDatesAsked) {
    // A line break can't travel through the long-lived tool's argument stream: that photo's
    // commands go to processes of their own. The other names are odd to the tool's reader.
    const std::tuple<QString, int, Action, int> photos[] = {
        // dpi 0: no tags at all, which ends as 72
        {u"line\nbreak.jpg"_s, 6, Action::Rotate90Clockwise, 300},
        {u"-dash 'quote' \"\u00E9t\u00E9\".jpg"_s, 8, Action::Rotate90Counterclockwise, 240},
        {u"#hash.jpg"_s, 3, Action::Rotate180, 300},
        {u"mirrored.jpg"_s, 2, Action::FlipLeft, 72}, // its X resolution 72.5, which stays
        {u"upside down.jpg"_s, 4, Action::FlipUpsideDown, 300},
        {u"diagonal.jpg"_s, 5, Action::Transpose, 300},
        {u"other diagonal.jpg"_s, 7, Action::Transverse, 300},
        {u"bare.jpg"_s, 1, Action::Rotate90Clockwise, 0}};
    const qint64 count = std::size(photos);
    const timespec times[2] = {{981173106, 123456789}, {978307200, 987654321}}; // accessed, modified
    // What a turn changes, and what describes the file rather than the photo. Every other value
    // must read exactly as before, raw.
    const QStringList changes{
        u"IFD0:Orientation"_s,     u"File:ImageWidth"_s,        u"File:ImageHeight"_s,
        u"File:EncodingProcess"_s, u"Composite:ImageSize"_s,    u"SourceFile"_s,
        u"XMP-tiff:Orientation"_s, u"ExifIFD:ExifImageWidth"_s, u"ExifIFD:ExifImageHeight"_s,
        u"XMP-tiff:ImageWidth"_s,  u"XMP-tiff:ImageHeight"_s,   u"IFD1:ThumbnailOffset"_s,
        u"IFD1:ThumbnailLength"_s, u"IFD1:ThumbnailImage"_s,    u"Composite:Megapixels"_s};
    // Without the tool the XMP library rewrites the EXIF block from its own copy: these must survive.
    const QStringList kept{u"IFD0:Make"_s,
                           u"ExifIFD:ExposureTime"_s,
                           u"ExifIFD:DateTimeOriginal"_s,
                           u"Canon:SerialNumber"_s,
                           u"ICC_Profile:ProfileDescription"_s,
                           u"XMP-dc:Title"_s,
                           u"IPTC:City"_s,
                           u"XMP-x:XMPToolkit"_s};
    // With the tool losslessly, without it, and with it re-encoded at quality 100.
    for (const auto& [tool, lossless] : {std::pair{true, true}, {false, true}, {true, false}}) {
        WorkList work{row(u"gone.jpg"_s, Action::Rotate180)};
        std::vector<QMap<QString, QString>> tags;
        Pixels pixels; // the same in every photo
        for (const auto& [name, orientation, action, dpi] : photos) {
            work.push_back(row(name, action));
            writetaggedphoto(work.back().path, 48, 32, orientation, dpi ? dpi : 72);
            // An orientation in the XMP packet must not say otherwise afterwards.
            writetags(work.back().path,
                      dpi ? QStringList{u"-XMP-tiff:Orientation#=8"_s,
                                        u"-XMP-x:XMPToolkit=Another XMP Core 1.0"_s,
                                        u"-EXIF:XResolution=%1"_s.arg(dpi == 72 ? 72.5 : dpi)}
                          : QStringList{u"-all="_s});
            tags.push_back(alltags(work.back().path));
            pixels = decodejpeg(work.back().path);
            ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(work.back().path).constData(), times, 0), 0);
            (void)readwholefile(work.back().path); // as intake and the preview read it, before the run
        }
        work.push_back(row(u"after.jpg"_s));
        writepattern(work.back().path, 48, 32);
        const QByteArray untouched = readbytes(work.back().path);
        started.clear();
        // Asked to stop when the last photo but one starts.
        const RunOptions options{.uselosslessrotation = lossless, .quality = 100, .preservedates = tool};
        const int before = finished;
        const auto reports = run(work, options, tool ? exiftoolpath() : dir.filePath(u"none"_s), count);
        ASSERT_EQ(reports.size(), work.size() - 1);
        EXPECT_EQ(reports[0].outcome, PhotoOutcome::Missing);
        EXPECT_EQ(readbytes(work.back().path), untouched);
        EXPECT_EQ(started.size(), count + 1);
        EXPECT_EQ(finished - before, count + 1);
        EXPECT_EQ(files(data.path()), QStringList{u"xtemp.lock"_s});
        for (size_t i = 0; i < size_t(count); ++i) {
            const auto& [name, orientation, action, dpi] = photos[i];
            const QString& path = work[i + 1].path;
            EXPECT_EQ(reports[i + 1].index, qint64(i + 1));
            EXPECT_EQ(reports[i + 1].photo.path, path);
            EXPECT_EQ(started.value(int(i + 1)), u"%1 %2"_s.arg(i + 1).arg(name));
            SCOPED_TRACE(name.toStdString() + (tool ? " with the tool" : " without") +
                         (lossless ? "" : ", re-encoded"));
            struct stat st {}; // before anything here reads the photo
            ::stat(QFile::encodeName(path).constData(), &st);
            EXPECT_EQ(st.st_mtim.tv_sec == times[1].tv_sec && st.st_mtim.tv_nsec == times[1].tv_nsec &&
                          st.st_atim.tv_sec == times[0].tv_sec && st.st_atim.tv_nsec == times[0].tv_nsec,
                      tool);
            EXPECT_EQ(reports[i + 1].outcome, PhotoOutcome::Turned) << qPrintable(reports[i + 1].reason);
            EXPECT_LE(maxdifference(decodejpeg(path), turned(pixels, action)), lossless ? idcttolerance : 8);
            const auto after = alltags(path);
            // The size everywhere it is given, the thumbnail turned with the picture. The XMP library
            // keeps the size in EXIF alone: it drops the XMP copy.
            const QString size = swapssides(action) ? u"32 48"_s : u"48 32"_s;
            EXPECT_EQ(exiftool({u"-IFD0:Orientation"_s, u"-IFD0:XResolution"_s, u"-IFD0:YResolution"_s,
                                u"-ExifImageWidth"_s, u"-ExifImageHeight"_s, u"-XMP-tiff:ImageWidth"_s,
                                u"-XMP-tiff:ImageHeight"_s, u"-s3"_s, u"-n"_s, path})
                          .simplified(),
                      !dpi ? u"1 72 72"_s
                           : u"1 %1 %2 %3"_s.arg(dpi == 72 ? u"72.5"_s : QString::number(dpi))
                                 .arg(dpi)
                                 .arg(tool ? size + u" "_s + size : size));
            if (dpi) {
                exiftool({u"-b"_s, u"-ThumbnailImage"_s, u"-w"_s, u"_thumbnail.jpg"_s, path});
                const QString thumbnail =
                    QFileInfo(path).path() + u"/"_s + QFileInfo(path).baseName() + u"_thumbnail.jpg"_s;
                EXPECT_LE(maxdifference(decodejpeg(thumbnail), turned(pattern(32, 24), action)), 12);
                QFile::remove(thumbnail);
            }
            EXPECT_TRUE(!dpi ||
                        after.value(u"XMP-tiff:Orientation"_s) != tags[i].value(u"XMP-tiff:Orientation"_s));
            for (auto it = tags[i].begin(); it != tags[i].end(); ++it) {
                const bool changed = it.key().startsWith("System:"_L1) || changes.contains(it.key());
                const bool checked = !changed && (tool || kept.contains(it.key()));
                EXPECT_EQ(checked ? after.value(it.key(), u"(gone)"_s) : it.value(), it.value())
                    << qPrintable(it.key());
            }
            EXPECT_EQ(after.contains(u"IFD0:Make"_s), dpi != 0); // nothing of the photo before
            EXPECT_TRUE(reports[i + 1].notes.isEmpty()) << qPrintable(reports[i + 1].notes.join(u"; "_s));
        }
        // A dump holds where its photo was taken: it goes with the photo's turn, whatever the outcome,
        // and its folder is the owner's alone.
        EXPECT_FALSE(QFile::exists(data.filePath(u"pexif/1.xml"_s)));
        EXPECT_EQ(QFileInfo(data.filePath(u"pexif"_s)).permissions() & 0x0077, 0); // none for group, others
    }
}

namespace {

// An XMP segment's body: the packet's signature, then a packet holding `rdf`.
QByteArray xmpsegment(const QByteArray& rdf) {
    return QByteArray("http://ns.adobe.com/xap/1.0/\0", 29) +
           "<?xpacket begin='' id='W5M0MpCehiHzreSzNTczkc9d'?><x:xmpmeta xmlns:x='adobe:ns:meta/'>"
           "<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>" +
           rdf + "</rdf:RDF></x:xmpmeta><?xpacket end='w'?>";
}

void append16(QByteArray& bytes, quint16 value) {
    bytes.append(char(value & 0xFF)).append(char(value >> 8));
}
void append32(QByteArray& bytes, quint32 value) {
    append16(bytes, quint16(value & 0xFFFF));
    append16(bytes, quint16(value >> 16));
}

// A little-endian EXIF block whose IFD0 holds `entries` (tag, type, count, value or offset) and
// then `data`, which value offsets count from the block's start.
QByteArray exifblock(const std::vector<std::array<quint32, 4>>& entries, const QByteArray& data = {}) {
    QByteArray tiff("II*\0\x08\0\0\0", 8);
    append16(tiff, quint16(entries.size()));
    for (const auto& [tag, type, count, value] : entries) {
        append16(tiff, quint16(tag));
        append16(tiff, quint16(type));
        append32(tiff, count);
        append32(tiff, value);
    }
    append32(tiff, 0);
    return QByteArray("Exif\0\0", 6) + tiff + data;
}

// A multi-picture file: `primary` with an MPF index after its SOI that points at `second`, which
// follows the primary picture, and then `trailer` (a motion photo's video, say).
QByteArray multipicture(const QByteArray& primary, const QByteArray& second, const QByteArray& trailer) {
    QByteArray tiff("II*\0\x08\0\0\0", 8);
    append16(tiff, 3);
    for (const std::array<quint32, 4>& e :
         {std::array<quint32, 4>{0xB000, 7, 4, 0x30303130}, std::array<quint32, 4>{0xB001, 4, 1, 2},
          std::array<quint32, 4>{0xB002, 7, 32, 50}}) {
        append16(tiff, quint16(e[0]));
        append16(tiff, quint16(e[1]));
        append32(tiff, e[2]);
        append32(tiff, e[3]);
    }
    append32(tiff, 0);
    const qsizetype segment = 2 + 2 + 4 + tiff.size() + 32, base = 2 + 2 + 2 + 4;
    const quint32 primarysize = quint32(primary.size() + segment);
    for (const auto& [attribute, size, offset] :
         {std::array<quint32, 3>{0x20030000, primarysize, 0},
          std::array<quint32, 3>{0x00010000, quint32(second.size()), quint32(primarysize - base)}}) {
        append32(tiff, attribute);
        append32(tiff, size);
        append32(tiff, offset);
        append32(tiff, 0);
    }
    QByteArray app2("\xFF\xE2", 2);
    app2.append(char((segment - 2) >> 8)).append(char((segment - 2) & 0xFF)).append("MPF\0", 4).append(tiff);
    return primary.left(2) + app2 + primary.mid(2) + second + trailer;
}

} // namespace

TEST_F(Runs, TurnedPhotosKeepTheirFurtherPicturesTrailerResolutionAndAnOrientationNoWriterRefuses) {
    const QByteArray video = QByteArray("ftypmp42 motion photo video ") + QByteArray(3000, 'v');
    writepattern(dir.filePath(u"second.jpg"_s), 40, 24);
    const QByteArray second = readbytes(dir.filePath(u"second.jpg"_s));
    const QString trailerout = dir.filePath(u"trailer.bin"_s);
    struct Case {
        QString name;
        std::function<void(const QString&)> make;
        QString tags;         // what exiftool -n reads back, in order, of these:
        QString notes;        // beside the turned photo
        QSize thumbnail = {}; // the EXIF thumbnail's, when it is made anew
    };
    // A thumbnail of noise, with tables fitted to it, turns into more than the EXIF block holds.
    Pixels noise = pattern(368, 240);
    for (size_t i = 0; i < noise.rgb.size(); ++i)
        noise.rgb[i] = uchar((i * 2654435761u) >> 13);
    const QString bigthumbnail = dir.filePath(u"big.jpg"_s);
    EncodeSettings fitted;
    fitted.quality = 89;
    ASSERT_TRUE(encodejpeg(TurnedPicture(pictureof(noise), Action::AsIs), fitted, bigthumbnail));
    writepattern(dir.filePath(u"small.jpg"_s), 32, 24);
    const QByteArray small = readbytes(dir.filePath(u"small.jpg"_s));
    const auto withthumbnail = [](const QString& path, const QString& thumbnail) {
        writepattern(path, 48, 32);
        writetags(path,
                  {u"-n"_s, u"-EXIF:Orientation=6"_s, u"-EXIF:XResolution=300"_s, u"-EXIF:YResolution=300"_s,
                   u"-EXIF:ResolutionUnit=2"_s, u"-EXIF:ImageDescription="_s + QString(1300, u'd'),
                   u"-ThumbnailImage<="_s + thumbnail});
    };
    // A tagged photo whose only XMP is a packet of `descriptions`, first in the file.
    const auto withpacket = [](const QString& path, const QByteArray& descriptions) {
        writetaggedphoto(path, 48, 32, 6, 300);
        writetags(path, {u"-XMP:all="_s});
        insertsegment(path, 0xE1, xmpsegment(descriptions));
    };
    const QStringList read{u"-IFD0:Orientation"_s, u"-XMP-tiff:Orientation"_s,  u"-IFD0:XResolution"_s,
                           u"-IFD0:YResolution"_s, u"-IFD0:ResolutionUnit"_s,   u"-JFIF:ResolutionUnit"_s,
                           u"-JFIF:XResolution"_s, u"-MPImage2:MPImageLength"_s};
    const Case cases[] = {
        {u"motion.jpg"_s,
         [&](const QString& path) {
             writetaggedphoto(path, 48, 32, 6, 300);
             writebytes(path, multipicture(readbytes(path), second, video));
         },
         u"1 300 300 2 1 300 %1"_s.arg(second.size()),
         {}},
        // The JFIF density follows EXIF's, in the same unit.
        {u"centimetres.jpg"_s,
         [](const QString& path) {
             writepattern(path, 48, 32);
             writetags(path, {u"-n"_s, u"-EXIF:Orientation=6"_s, u"-EXIF:XResolution=118"_s,
                              u"-EXIF:YResolution=119"_s, u"-EXIF:ResolutionUnit=3"_s});
         },
         u"1 118 119 3 2 118"_s,
         {}},
        {u"unitless.jpg"_s,
         [](const QString& path) {
             writepattern(path, 48, 32);
             writetags(path, {u"-n"_s, u"-EXIF:Orientation=6"_s, u"-EXIF:XResolution=240"_s,
                              u"-EXIF:YResolution=240"_s, u"-EXIF:ResolutionUnit=1"_s});
         },
         u"1 240 240 1 0 240"_s,
         {}},
        {u"zero.jpg"_s,
         [](const QString& path) {
             writepattern(path, 48, 32);
             writetags(path, {u"-n"_s, u"-EXIF:Orientation=6"_s, u"-EXIF:XResolution=0"_s,
                              u"-EXIF:YResolution=0"_s});
         },
         u"1 72 72 2 1 72"_s,
         {}},
        // The tool refuses to rewrite a block with a bad entry; it only sets the XMP packet.
        {u"badentry.jpg"_s,
         [](const QString& path) {
             writepattern(path, 48, 32);
             writetags(path, {u"-n"_s, u"-XMP-tiff:Orientation=6"_s});
             insertsegment(
                 path, 0xE1,
                 exifblock(
                     {{0x010F, 2, 50, 0x7FFF0000}, {0x0112, 3, 1, 6}, {0x011A, 5, 1, 62}, {0x011B, 5, 1, 62}},
                     QByteArray("\x2c\x01\0\0\x01\0\0\0", 8)));
         },
         u"1 1 300 300 1 300"_s,
         {}},
        // Where the block needs the tool too (a width of one byte can't hold the new one), the
        // tool refuses: the orientation is set all the same.
        {u"badentrywidth.jpg"_s,
         [](const QString& path) {
             writepattern(path, 48, 32);
             writetags(path, {u"-n"_s, u"-XMP-tiff:Orientation=6"_s});
             insertsegment(path, 0xE1,
                           exifblock({{0x010F, 2, 50, 0x7FFF0000},
                                      {0x0112, 3, 1, 6},
                                      {0x011A, 5, 1, 74},
                                      {0x011B, 5, 1, 74},
                                      {0x8769, 4, 1, 82}},
                                     QByteArray("\x2c\x01\0\0\x01\0\0\0"
                                                "\x01\0\x02\xa0\x01\0\x01\0\0\0\x30\0\0\0\0\0\0\0",
                                                26)));
         },
         u"1 300 300 1 300"_s, u"refused"_s}, // the XMP library keeps the orientation in EXIF alone
        // A packet giving its orientation twice, which the tool reads in part and doesn't write:
        // the XMP library sets the orientation instead.
        {u"twice.jpg"_s,
         [&](const QString& path) {
             withpacket(path, "<rdf:Description rdf:about='' xmlns:tiff='http://ns.adobe.com/tiff/1.0/'>"
                              "<tiff:Orientation>6</tiff:Orientation><tiff:Orientation>6</tiff:Orientation>"
                              "</rdf:Description>");
         },
         u"1 300 300 2 1 300"_s, u"couldn't set it upright (its XMP orientation still reads 6)"_s},
        // Another schema's property of the same name is not the photo's orientation: no note.
        {u"otherschema.jpg"_s,
         [&](const QString& path) {
             withpacket(path, "<rdf:Description rdf:about='' xmlns:my='http://example.com/my/1.0/' "
                              "my:Orientation='landscape'/>");
         },
         u"1 300 300 2 1 300"_s,
         {}},
        // An EXIF block that isn't TIFF: no orientation to set, and no tags can be added.
        {u"garbage.jpg"_s,
         [](const QString& path) {
             writepattern(path, 48, 32);
             insertsegment(path, 0xE1, QByteArray("Exif\0\0XX\0\x2a\0\0\0\x08", 14));
         },
         u"1 72"_s, u"could not be added"_s},
        // A thumbnail never stops a turn: one that doesn't fit once turned, or isn't a JPEG, is made
        // anew from the turned photo, at the size it had (EXIF's 160 by 120 for one that can't tell).
        {u"bigthumbnail.jpg"_s, [&](const QString& path) { withthumbnail(path, bigthumbnail); },
         u"1 300 300 2 1 300"_s, u"thumbnail made anew"_s, QSize(240, 368)},
        {u"junkthumbnail.jpg"_s,
         [&](const QString& path) {
             withthumbnail(path, dir.filePath(u"small.jpg"_s));
             writebytes(path, readbytes(path).replace(small, QByteArray(small.size(), 'x')));
         },
         u"1 300 300 2 1 300"_s, u"thumbnail made anew"_s, QSize(120, 160)},
        // Two EXIF blocks, the first damaged: the second's orientation is the photo's.
        {u"twoexif.jpg"_s,
         [](const QString& path) {
             writepattern(path, 48, 32);
             writetags(path, {u"-n"_s, u"-EXIF:Orientation=6"_s, u"-EXIF:XResolution=300"_s,
                              u"-EXIF:YResolution=300"_s, u"-EXIF:ResolutionUnit=2"_s});
             insertsegment(path, 0xE1, QByteArray("Exif\0\0II*\0\x08\0\0\0\xFF\xFF", 16) + QByteArray(40, 0));
         },
         u"1 300 300 2 1 300"_s,
         {}},
    };
    for (const bool lossless : {true, false}) {
        for (const Case& c : cases) {
            SCOPED_TRACE(c.name.toStdString() + (lossless ? " lossless" : " re-encoded"));
            const QString path = dir.filePath(c.name);
            c.make(path);
            const Pixels before = decodejpeg(path);
            const auto reports = run({row(c.name)}, {.uselosslessrotation = lossless, .quality = 100});
            ASSERT_EQ(reports.size(), 1u);
            EXPECT_EQ(reports[0].outcome, PhotoOutcome::Turned) << qPrintable(reports[0].reason);
            EXPECT_EQ(reports[0].notes.join(u"; "_s).contains(c.notes), true)
                << qPrintable(reports[0].notes.join(u"; "_s));
            EXPECT_EQ(reports[0].notes.isEmpty(), c.notes.isEmpty());
            EXPECT_LE(maxdifference(decodejpeg(path), turned(before, Action::Rotate90Clockwise)),
                      lossless ? idcttolerance : 8);
            EXPECT_EQ(exiftool(read + QStringList{u"-s3"_s, u"-n"_s, path}).simplified(), c.tags);
            EXPECT_EQ(probejpeg(path)->orientation.value_or(1), 1); // our own reader agrees
            if (c.thumbnail.isEmpty())
                continue;
            // The whole turned picture, fitted in the thumbnail's size between black bars.
            exiftool({u"-b"_s, u"-ThumbnailImage"_s, u"-w!"_s, u"%d%f.thumbnail"_s, path});
            const QImage made = pictureof(decodejpeg(path.chopped(3) + u"thumbnail"_s));
            EXPECT_EQ(made.size(), c.thumbnail);
            const QSize fits = QSize(32, 48).scaled(c.thumbnail, Qt::KeepAspectRatio);
            const QPoint corner((c.thumbnail.width() - fits.width()) / 2, 0);
            const QRect inner = QRect(QPoint(), fits).adjusted(2, 2, -2, -2); // the bars' edges blur
            const QImage photo = QImage(path).scaled(fits, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
            EXPECT_LE(
                meandifference(pixelsof(made.copy(inner.translated(corner))), pixelsof(photo.copy(inner))),
                6);
        }
    }
    // The further picture and the video come over byte for byte, where the index says.
    const QString motion = dir.filePath(u"motion.jpg"_s);
    EXPECT_TRUE(readbytes(motion).endsWith(second + video));
    const qsizetype start = readtag(motion, u"MPImage2:MPImageStart"_s, true).toLongLong();
    EXPECT_EQ(readbytes(motion).mid(start, second.size()), second);
}

namespace {

// Every extended attribute of a file, ACLs among them.
QMap<QByteArray, QByteArray> attributes(const QString& path) {
    const QByteArray native = QFile::encodeName(path);
    QByteArray names(4096, '\0');
    names.truncate(std::max<ssize_t>(::listxattr(native.constData(), names.data(), size_t(names.size())), 0));
    QMap<QByteArray, QByteArray> all;
    for (const QByteArray& name : names.split('\0')) {
        QByteArray value(4096, '\0');
        if (!name.isEmpty())
            all[name] = value.left(
                std::max<ssize_t>(::getxattr(native.constData(), name.constData(), value.data(), 4096), 0));
    }
    return all;
}

} // namespace

TEST_F(Runs, ALinkedPhotoTurnsThroughItsLinkOrUnderEveryNameAndAttributesComeOver) {
    for (const char* name : {"real.jpg", "hard.jpg", "attributes.jpg"})
        writetaggedphoto(dir.filePath(QLatin1String(name)), 48, 32, 6, 300);
    QFile::link(dir.filePath(u"real.jpg"_s), dir.filePath(u"link.jpg"_s));
    ::link(QFile::encodeName(dir.filePath(u"hard.jpg"_s)).constData(),
           QFile::encodeName(dir.filePath(u"hard2.jpg"_s)).constData());
    const QByteArray attributed = QFile::encodeName(dir.filePath(u"attributes.jpg"_s));
    ::chmod(attributed.constData(), 0604);
    // An access ACL (owner rw, user 12345 r, group none, mask r, others r) and a note of the user's.
    QByteArray acl;
    const auto entry = [&](quint16 tag, quint16 permissions, quint32 id) {
        append16(acl, tag);
        append16(acl, permissions);
        append32(acl, id);
    };
    append32(acl, 2);
    entry(0x01, 6, 0xFFFFFFFF), entry(0x02, 4, 12345), entry(0x04, 0, 0xFFFFFFFF), entry(0x10, 4, 0xFFFFFFFF),
        entry(0x20, 4, 0xFFFFFFFF);
    ASSERT_EQ(
        ::setxattr(attributed.constData(), "system.posix_acl_access", acl.constData(), size_t(acl.size()), 0),
        0);
    ASSERT_EQ(::setxattr(attributed.constData(), "user.note", "harbour", 7, 0), 0);
    struct stat before {};
    ::stat(attributed.constData(), &before);
    const auto had = attributes(dir.filePath(u"attributes.jpg"_s));

    const mode_t umask = ::umask(077); // the new file's mode mustn't come from the umask
    const auto reports = run({row(u"link.jpg"_s), row(u"hard2.jpg"_s), row(u"attributes.jpg"_s)});
    ::umask(umask);
    ASSERT_EQ(reports.size(), 3u);
    EXPECT_EQ(reports[0].outcome, PhotoOutcome::Turned) << qPrintable(reports[0].reason);
    EXPECT_TRUE(QFileInfo(dir.filePath(u"link.jpg"_s)).isSymLink());
    EXPECT_EQ(decodejpeg(dir.filePath(u"real.jpg"_s)).width, 32);
    // Every name of a photo with several shows it turned.
    EXPECT_EQ(reports[1].outcome, PhotoOutcome::Turned) << qPrintable(reports[1].reason);
    EXPECT_EQ(decodejpeg(dir.filePath(u"hard.jpg"_s)).width, 32);
    EXPECT_EQ(reports[2].outcome, PhotoOutcome::Turned) << qPrintable(reports[2].reason);
    struct stat after {};
    ::stat(attributed.constData(), &after);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(attributes(dir.filePath(u"attributes.jpg"_s)), had);
    EXPECT_EQ(had.size(), 2);
}

TEST_F(Runs, AnotherProgramsSaveDuringATurnIsKeptAndTheTurnThrownAway) {
    // Saved while the turn waits to take the photo's place: over the photo's content or as a new
    // file renamed into its place; a photo alone, or hard-linked and so rewritten in its own file.
    const QString photo = dir.filePath(u"p.jpg"_s), link = dir.filePath(u"link.jpg"_s),
                  other = dir.filePath(u"other.jpg"_s);
    for (const bool renamed : {false, true}) {
        for (const bool linked : {false, true}) {
            SCOPED_TRACE(testing::Message() << "renamed " << renamed << ", linked " << linked);
            writetaggedphoto(photo, 48, 32, 6, 300);
            QFile::remove(link);
            if (linked) {
                ASSERT_EQ(::link(QFile::encodeName(photo).constData(), QFile::encodeName(link).constData()),
                          0);
            }
            writetaggedphoto(other, 64, 48, 8, 72);
            const QByteArray saved = readbytes(other);
            RunSession session({row(u"p.jpg"_s)}, {}, {data.path(), exiftoolpath()});
            session.setbeforereplace([&](qint64) {
                if (renamed)
                    ::rename(QFile::encodeName(other).constData(), QFile::encodeName(photo).constData());
                else
                    writebytes(photo, saved);
            });
            session.start();
            ASSERT_TRUE(session.wait(QDeadlineTimer(60000)));
            const PhotoReport report = session.reports().at(0);
            EXPECT_EQ(report.outcome, PhotoOutcome::Failed);
            EXPECT_EQ(report.reason, QLatin1String(changedduringturn));
            EXPECT_EQ(readbytes(photo), saved);
            if (linked) {
                EXPECT_EQ(readbytes(link) == saved, !renamed);
            }
            EXPECT_EQ(files(data.path()).filter(u".jpg"_s) + files(data.path()).filter(u".journal"_s),
                      QStringList());
        }
    }
}

TEST_F(Runs, APhotoIsTurnedOnceWhenListedTwiceOrByTwoRunsAtOnce) {
    writetaggedphoto(dir.filePath(u"p.jpg"_s), 48, 32, 6, 300);
    const Pixels before = decodejpeg(dir.filePath(u"p.jpg"_s));
    QFile::link(dir.path(), dir.filePath(u"alias"_s)); // a folder and a symlinked alias of it
    PhotoRow p = row(u"p.jpg"_s),
             alias{u"p.jpg"_s, Action::Rotate90Clockwise, dir.filePath(u"alias/p.jpg"_s)};
    p.fromexif = alias.fromexif = true;
    const auto reports = run({p, alias, p});
    ASSERT_EQ(reports.size(), 3u);
    EXPECT_EQ(reports[0].outcome, PhotoOutcome::Turned);
    for (const PhotoReport& later : {reports[1], reports[2]}) {
        EXPECT_EQ(later.outcome, PhotoOutcome::Skipped);
        EXPECT_EQ(later.reason, u"same photo as "_s + p.path);
    }
    EXPECT_LE(maxdifference(decodejpeg(p.path), turned(before, Action::Rotate90Clockwise)), idcttolerance);

    // Two runs at once, each with a data folder of its own as two users' runs would have: one
    // turns the photo, the other finds it upright. A chosen action is carried out as chosen.
    writetaggedphoto(p.path, 48, 32, 6, 300);
    QTemporaryDir otherdata;
    RunSession one({p}, {}, {data.path(), exiftoolpath()}), two({p}, {}, {otherdata.path(), exiftoolpath()});
    one.start();
    two.start();
    ASSERT_TRUE(one.wait(QDeadlineTimer(60000)) && two.wait(QDeadlineTimer(60000)));
    QStringList outcomes{one.reports().at(0).reason, two.reports().at(0).reason};
    outcomes.sort();
    EXPECT_EQ(outcomes, (QStringList{QString(), u"already upright"_s}));
    EXPECT_LE(maxdifference(decodejpeg(p.path), turned(before, Action::Rotate90Clockwise)), idcttolerance);
    p.fromexif = false;
    EXPECT_EQ(run({p}).at(0).outcome, PhotoOutcome::Turned);
}

TEST_F(Runs, SeveralWorkersTurnAsOneDoesWithinTheBudgetAndAStopLeavesEveryPhotoWhole) {
    // name, orientation (0: a pattern without tags), size; "gone" is missing, "big" needs more
    // than the budget, and the last row names "a" again.
    const std::tuple<QString, int, int, int> photos[] = {
        {u"a"_s, 6, 48, 32}, {u"big"_s, 8, 1600, 1200}, {u"b"_s, 3, 40, 30}, {u"gone"_s, 6, 0, 0},
        {u"c"_s, 8, 64, 48}, {u"d"_s, 0, 48, 32},       {u"e"_s, 6, 56, 40}, {u"a"_s, 6, 0, 0}};
    QMap<QString, QByteArray> before;
    for (const auto& [name, orientation, width, height] : photos) {
        const QString path = dir.filePath(name + u".jpg"_s);
        if (width && orientation)
            writetaggedphoto(path, width, height, orientation, 300);
        else if (width)
            writepattern(path, width, height);
        if (width)
            before[name] = readbytes(path);
    }
    const qint64 small = memoryneed(dir.filePath(u"e.jpg"_s), {}).value();
    const RunOptions options{.memorybudget = memoryneed(dir.filePath(u"big.jpg"_s), {}).value() - 1};
    ASSERT_LT(options.memorybudget, 3 * small); // so three small photos never run at once
    const auto bytes = [](const QString& path) {
        return QFile::exists(path) ? readbytes(path) : QByteArray();
    };
    // Each run on a copy of the folder of its own. Only the photos that are turned hold memory.
    const auto holdsmemory = [](qint64 index) {
        return index != 1 && index != 3 && index != 7;
    };
    int begun = 0;
    const auto runin = [&](const QString& folder, int jobs, qint64 stopat) {
        QDir().mkpath(folder);
        WorkList work;
        for (const auto& [name, orientation, width, height] : photos) {
            work.push_back({name, orientation ? actionfororientation(orientation) : Action::FlipLeft,
                            folder + u"/"_s + name + u".jpg"_s});
            if (width)
                writebytes(work.back().path, before[name]);
        }
        int inwork = 0, most = 0;
        begun = 0;
        RunOptions ran = options;
        ran.jobs = jobs;
        RunSession session(work, ran, {data.path(), exiftoolpath()});
        QObject::connect(
            &session, &RunSession::photostarted, &session,
            [&](qint64 index, const QString&) {
                const std::lock_guard lock(counting);
                ++begun;
                if (holdsmemory(index))
                    most = std::max(most, ++inwork);
                if (index == stopat)
                    session.requeststop();
            },
            Qt::DirectConnection);
        QObject::connect(
            &session, &RunSession::photofinished, &session,
            [&](const PhotoReport& report) {
                const std::lock_guard lock(counting);
                inwork -= holdsmemory(report.index) ? 1 : 0;
            },
            Qt::DirectConnection);
        session.start();
        EXPECT_TRUE(session.wait(QDeadlineTimer(120000)));
        EXPECT_LE(most, std::min(jobs, 2));
        EXPECT_EQ(QDir(data.path()).entryList(QDir::Files | QDir::NoDotAndDotDot).filter(u".jpg"_s),
                  QStringList());
        return session.reports();
    };
    const auto one = runin(dir.filePath(u"one"_s), 1, -1), three = runin(dir.filePath(u"three"_s), 3, -1);
    ASSERT_EQ(one.size(), std::size(photos));
    ASSERT_EQ(three.size(), one.size());
    for (size_t i = 0; i < one.size(); ++i) {
        SCOPED_TRACE(one[i].photo.name.toStdString());
        EXPECT_EQ(three[i].index, qint64(i));
        EXPECT_EQ(three[i].outcome, one[i].outcome);
        EXPECT_EQ(QString(three[i].reason).replace(u"/three/"_s, u"/one/"_s), one[i].reason);
        EXPECT_EQ(three[i].notes, one[i].notes);
        EXPECT_EQ(bytes(three[i].photo.path), bytes(one[i].photo.path));
    }
    EXPECT_EQ(one[1].reason,
              u"too large for the memory budget (needs %1)"_s.arg(sizetext(options.memorybudget + 1)));
    EXPECT_EQ(one[3].outcome, PhotoOutcome::Missing);
    EXPECT_EQ(one[7].outcome, PhotoOutcome::Skipped);
    EXPECT_EQ(one[2].notes, QStringList{u"trimmed 6 pixels off the height"_s});
    for (const size_t turned : {0, 2, 4, 5, 6})
        EXPECT_EQ(one[turned].outcome, PhotoOutcome::Turned) << one[turned].reason.toStdString();

    // Stopped while the first photos are in work: those end whole, turned; no other is begun.
    const auto stopped = runin(dir.filePath(u"stopped"_s), 3, 2);
    EXPECT_EQ(int(stopped.size()), begun);
    EXPECT_LT(stopped.size(), std::size(photos) - 1);
    for (const PhotoReport& report : stopped)
        EXPECT_EQ(bytes(report.photo.path), bytes(one[size_t(report.index)].photo.path));
    for (size_t i = std::max<size_t>(stopped.size(), 4); i + 1 < std::size(photos);
         ++i) // the last is the first
        EXPECT_EQ(readbytes(dir.filePath(u"stopped/%1.jpg"_s.arg(get<0>(photos[i])))),
                  before.value(get<0>(photos[i])));
}

TEST_F(Runs, APhotoWhoseNameIsNotUtf8IsFoundByTheScanAndTurned) {
    // A Latin-1 name from an old camera card: "caf\xE9.jpg".
    writetaggedphoto(dir.filePath(u"utf8.jpg"_s), 48, 32, 6, 300);
    const QByteArray latin1 = QFile::encodeName(dir.path()) + "/caf\xE9.jpg";
    ASSERT_EQ(::rename(QFile::encodeName(dir.filePath(u"utf8.jpg"_s)).constData(), latin1.constData()), 0);
    QStringList found;
    loadrecursive(dir.path(), false, {[&](const QString&, const QString& path) { found << path; }, {}});
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(nativepath(found[0]), latin1);
    const auto reports = run({{u"caf\u00E9.jpg"_s, Action::Rotate90Clockwise, found[0]}});
    EXPECT_EQ(reports.at(0).outcome, PhotoOutcome::Turned) << qPrintable(reports.at(0).reason);
    EXPECT_EQ(probejpeg(found[0])->size, QSize(32, 48));
    EXPECT_EQ(readtag(found[0], u"IFD0:Orientation"_s, true), u"1"_s); // the tool found it too
}

TEST_F(Runs, AFailingStepLeavesThePhotoAsItWasAndSaysWhy) {
    const QString dying = writefaketool(dir.filePath(u"dying-tool"_s), "kill -9 $$\n");
    writetaggedphoto(dir.filePath(u"tagged.jpg"_s), 48, 32, 6, 300);
    writepattern(dir.filePath(u"jpeg.HEIC"_s), 256, 256); // JPEG data that a file dialog let in
    QByteArray garbled = readbytes(dir.filePath(u"jpeg.HEIC"_s));
    writebytes(dir.filePath(u"truncated.jpg"_s),
               garbled.left(garbled.indexOf("\xFF\xDA"))); // cut before its scan
    writebytes(dir.filePath(u"garbled.jpg"_s),
               garbled.replace(garbled.size() / 2, 64, QByteArray(64, '\xFF')));

    const RunOptions lossless, reencode{.uselosslessrotation = false};
    const std::tuple<QString, QString, RunOptions, QString> cases[] = {
        {u"tagged.jpg"_s, dying, lossless,
         u"the metadata dump failed: the metadata tool stopped unexpectedly"_s},
        {u"truncated.jpg"_s, exiftoolpath(), lossless, u"damaged"_s},
        {u"garbled.jpg"_s, exiftoolpath(), lossless, u""_s},
        {u"truncated.jpg"_s, exiftoolpath(), reencode, u"can't be decoded"_s},
        {u"jpeg.HEIC"_s, exiftoolpath(), reencode, u"isn't named as a JPEG file"_s}};
    const QStringList before = files(dir.path());
    for (const auto& [name, toolfile, options, says] : cases) {
        const QByteArray bytes = readbytes(dir.filePath(name));
        const auto reports = run({row(name)}, options, toolfile);
        ASSERT_EQ(reports.size(), 1u) << qPrintable(name);
        EXPECT_EQ(reports[0].outcome, PhotoOutcome::Failed) << qPrintable(name);
        EXPECT_TRUE(reports[0].reason.contains(says) && !reports[0].reason.isEmpty())
            << qPrintable(reports[0].reason);
        EXPECT_EQ(readbytes(dir.filePath(name)), bytes) << qPrintable(name);
        EXPECT_EQ(files(dir.path()), before) << qPrintable(name);
        EXPECT_FALSE(QFile::exists(data.filePath(u"xtemp.jpg"_s))) << qPrintable(name);
    }
}

namespace {

// An XMP segment with one description of `properties`, the schemas the cases use declared.
QByteArray xmpwith(const QByteArray& properties) {
    return xmpsegment("<rdf:Description rdf:about='' xmlns:dc='http://purl.org/dc/elements/1.1/'"
                      " xmlns:tiff='http://ns.adobe.com/tiff/1.0/' xmlns:t='http://ns.adobe.com/tiff/1.0/'"
                      " xmlns:exif='http://ns.adobe.com/exif/1.0/'" +
                      properties + "</rdf:Description>");
}

const QByteArray titleonly = "><dc:format>image/jpeg</dc:format>";

// A photo with orientation 6 whose EXIF block comes from the tool and has nothing after its
// last value, plus XMP `xmp` (none when empty).
void writeexifphoto(const QString& path, const QByteArray& xmp) {
    writetaggedphoto(path, 48, 32, 6, 300);
    writetags(path, {u"-XMP:all="_s});
    if (!xmp.isEmpty()) // after the EXIF segment, which a turn treats apart when it comes first
        insertsegment(path, 0xE1, xmp, true);
}

// The body of the photo's first EXIF segment.
QByteArray exifsegment(const QString& path) {
    for (const QByteArray& body : segmentbodies(path, 0xE1)) {
        if (body.startsWith("Exif"))
            return body;
    }
    return {};
}

} // namespace

// The tool starts only for a photo whose tags need its writers: one whose XMP packet may give an
// orientation or a size, in any form. For one that needs none, a tool that would die never runs,
// and the photo turns as with a sound one.
TEST_F(Runs, OnlyAPhotoWhoseTagsNeedTheToolStartsIt) {
    const QString started = dir.filePath(u"started"_s);
    const QString dying = writefaketool(dir.filePath(u"dying-tool"_s),
                                        "touch '" + QFile::encodeName(started) + "'\nkill -9 $$\n");
    QByteArray utf16 = QByteArray("http://ns.adobe.com/xap/1.0/\0", 29);
    for (const char c : xmpwith(titleonly).sliced(29))
        utf16.append(c).append('\0');
    const struct {
        const char* name;
        QByteArray xmp;
        bool needs;
    } cases[] = {
        {"exif only", {}, false},
        {"title only", xmpwith(titleonly), false},
        {"orientation element", xmpwith("><tiff:Orientation>6</tiff:Orientation>"), true},
        {"orientation attribute, another prefix", xmpwith(" t:Orientation='6'>"), true},
        {"height only", xmpwith("><tiff:ImageLength>32</tiff:ImageLength>"), true},
        {"pixel width only", xmpwith(" exif:PixelXDimension='48'>"), true},
        {"a name in another case", xmpwith("><tiff:orientation>6</tiff:orientation>"), true},
        // What a search for the names can't read through: another encoding, a packet in pieces.
        {"UTF-16 title", utf16, true},
        {"extension",
         QByteArray("http://ns.adobe.com/xmp/extension/\0", 35) + QByteArray(40, '0') + "<x:xmpmeta/>", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        QFile::remove(started);
        const QString name = u"photo.jpg"_s;
        writeexifphoto(dir.filePath(name), c.xmp);
        const auto reports = run({row(name)}, {}, dying);
        ASSERT_EQ(reports.size(), 1u);
        EXPECT_EQ(reports[0].outcome, c.needs ? PhotoOutcome::Failed : PhotoOutcome::Turned)
            << qPrintable(reports[0].reason);
        EXPECT_EQ(QFile::exists(started), c.needs);
        EXPECT_EQ(probejpeg(dir.filePath(name))->size, c.needs ? QSize(48, 32) : QSize(32, 48));
    }
}

// Where the tool sets the XMP packet upright, it writes nothing else: the EXIF block stays as our
// own setting upright leaves it, as in the same photo without XMP, even what no entry points at
// (the tool, laying the block out anew, would drop that and move the thumbnail).
TEST_F(Runs, TheToolSetsOnlyTheXmpPacketAndTheExifBlockStaysOurs) {
    const QByteArray padding(200, char(0xEE));
    const auto pad = [&](const QString& path) {
        QByteArray jpeg = readbytes(path);
        const QByteArray exif = exifsegment(path);
        const qsizetype at = jpeg.indexOf(exif); // after the marker and the length
        ASSERT_GT(at, 4);
        const qsizetype length = exif.size() + padding.size() + 2;
        jpeg.insert(at + exif.size(), padding);
        jpeg[at - 2] = char(length >> 8);
        jpeg[at - 1] = char(length & 0xFF);
        writebytes(path, jpeg);
    };
    const QString plain = dir.filePath(u"plain.jpg"_s);
    writeexifphoto(plain, {});
    pad(plain);
    for (const QByteArray& properties :
         {QByteArray(
              "><tiff:Orientation>6</tiff:Orientation><tiff:ImageWidth>48</tiff:ImageWidth>"
              "<tiff:ImageLength>32</tiff:ImageLength><exif:PixelXDimension>48</exif:PixelXDimension>"),
          titleonly}) {
        SCOPED_TRACE(properties.toStdString());
        const QString name = u"xmp.jpg"_s;
        QFile::remove(dir.filePath(name));
        QFile::copy(plain, dir.filePath(name));
        insertsegment(dir.filePath(name), 0xE1, xmpwith(properties), true);
        const QString plaincopy = dir.filePath(u"plaincopy.jpg"_s);
        QFile::remove(plaincopy);
        QFile::copy(plain, plaincopy);
        const auto reports = run({row(name), row(u"plaincopy.jpg"_s)});
        ASSERT_EQ(reports.size(), 2u);
        for (const PhotoReport& report : reports)
            EXPECT_EQ(report.outcome, PhotoOutcome::Turned) << qPrintable(report.reason);
        const QByteArray exif = exifsegment(dir.filePath(name));
        EXPECT_TRUE(exif.contains(padding));
        EXPECT_EQ(exif, exifsegment(plaincopy));
        EXPECT_EQ(exiftool({u"-n"_s, u"-s3"_s, u"-IFD0:Orientation"_s, u"-XMP-tiff:Orientation"_s,
                            u"-XMP-tiff:ImageWidth"_s, u"-XMP-tiff:ImageHeight"_s,
                            u"-XMP-exif:ExifImageWidth"_s, u"-ExifIFD:ExifImageWidth"_s, dir.filePath(name)})
                      .simplified(),
                  properties == titleonly ? u"1 32"_s : u"1 1 32 48 32 32"_s);
    }
}

TEST_F(Runs, ARewriteTouchesThePhotoOnlyByACompleteCommitKeepsItsModeAndOutlivesACleaning) {
    const QString photo = dir.filePath(u"p.jpg"_s);
    EXPECT_FALSE(PhotoRewrite::begin(photo, data.path()));      // missing
    EXPECT_FALSE(PhotoRewrite::begin(dir.path(), data.path())); // a folder
    // The working file lies in the data folder on the photo's file system, else beside the photo.
    for (const QString& datafolder : {data.path(), otherfs.path()}) {
        writebytes(photo, "old content");
        ::chmod(QFile::encodeName(photo).constData(), 0640);
        QString working;
        {
            auto rewrite = PhotoRewrite::begin(photo, datafolder);
            ASSERT_TRUE(rewrite) << qPrintable(rewrite.reason());
            working = rewrite.value()->workingpath();
            EXPECT_EQ(QFileInfo(working).path(), datafolder == data.path() ? datafolder : dir.path());
            EXPECT_FALSE(rewrite.value()->commit()); // a working file that never got content
            writebytes(working, "half");
        } // ended uncommitted
        EXPECT_FALSE(QFile::exists(working));
        EXPECT_EQ(readbytes(photo), "old content");

        auto rewrite = PhotoRewrite::begin(photo, datafolder);
        writebytes(rewrite.value()->workingpath(), "new content");
        EXPECT_EQ(readbytes(photo), "old content");
        ASSERT_TRUE(rewrite.value()->commit());
        EXPECT_EQ(readbytes(photo), "new content");
        struct stat st {};
        EXPECT_EQ(::stat(QFile::encodeName(photo).constData(), &st) == 0 ? st.st_mode & 07777 : 0, 0640u);
        EXPECT_EQ(files(dir.path()), QStringList{u"p.jpg"_s});
    }
    // Any name the file system allows, the working file beside it being named otherwise.
    const QString longname = QString(246, u'n') + u".jpg"_s;
    writetaggedphoto(dir.filePath(u"t.jpg"_s), 48, 32, 6, 300); // the tool needs room for its own name
    ASSERT_TRUE(QFile::rename(dir.filePath(u"t.jpg"_s), dir.filePath(longname)));
    RunSession session({row(longname)}, {}, {otherfs.path(), exiftoolpath()});
    session.start();
    ASSERT_TRUE(session.wait(QDeadlineTimer(60000)));
    EXPECT_EQ(session.reports().at(0).outcome, PhotoOutcome::Turned)
        << qPrintable(session.reports()[0].reason);
    EXPECT_EQ(files(dir.path()), (QStringList{longname, u"p.jpg"_s}));
    QFile::remove(dir.filePath(longname));
    // Cleaning leftovers leaves the working file of a run still going (another process's).
    writebytes(photo, "old content");
    int ready[2], done[2];
    ASSERT_EQ(::pipe(ready) | ::pipe(done), 0);
    char byte = 0;
    const pid_t child = ::fork();
    if (child == 0) {
        auto rewrite = PhotoRewrite::begin(photo, data.path());
        writebytes(rewrite.value()->workingpath(), "new content");
        (void)!::write(ready[1], &byte, 1);
        (void)!::read(done[0], &byte, 1); // until the parent has tried to clean
        ::_exit(rewrite.value()->commit() ? 0 : 1);
    }
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    cleanleftovers(data.path());
    EXPECT_TRUE(QFile::exists(data.filePath(u"xtemp.jpg"_s)));
    ASSERT_EQ(::write(done[1], &byte, 1), 1);
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(readbytes(photo), "new content");

    // Nor may a photo that vanished meanwhile come back.
    auto rewrite = PhotoRewrite::begin(photo, data.path());
    writebytes(rewrite.value()->workingpath(), "new content");
    QFile::remove(photo);
    EXPECT_FALSE(rewrite.value()->commit());
    EXPECT_FALSE(QFile::exists(photo));
}
