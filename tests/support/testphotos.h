#pragma once

#include "photolist/action.h"
#include "support/qtprinting.h"

#include <QByteArray>
#include <QStringList>
#include <vector>

namespace pivotel::test {

// Decoded RGB pixels, row by row.
struct Pixels {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> rgb;

    const unsigned char* at(int x, int y) const { return &rgb[(static_cast<size_t>(y) * width + x) * 3]; }
};

// A picture in which every turn and flip gives a different image.
Pixels pattern(int width, int height);
enum class Sampling { S444, S420 };
// Baseline JPEGs, of the pixels or of a pattern.
void writejpeg(const QString& path, const Pixels& pixels, int quality = 95,
               Sampling sampling = Sampling::S444);
void writepattern(const QString& path, int width, int height, Sampling sampling = Sampling::S444);
Pixels decodejpeg(const QString& path, int channels = 3); // throws for a flawed one; 4: CMYK
// The exact pixel result of an action.
Pixels turned(const Pixels& pixels, Action action);
// Decoding a losslessly turned JPEG differs from turning the decoded pixels only by rounding:
// the inverse DCT's two passes run the other way round after a quarter turn, and the colour
// conversion can widen a step of one to three. A wrong turn differs by a hundred and more.
constexpr int idcttolerance = 4;
// The largest difference of any channel of any pixel; images of other sizes give 255.
int maxdifference(const Pixels& a, const Pixels& b);

QByteArray readbytes(const QString& path);
void writebytes(const QString& path, const QByteArray& bytes);

// The marker segments (APPn, COM) of a JPEG file, each with its marker bytes.
QList<QByteArray> appsegments(const QString& path);
// The bodies of the marker segments with the marker, in order.
QList<QByteArray> segmentbodies(const QString& path, unsigned char marker);
bool isprogressive(const QString& path);
// Puts a marker segment right after SOI, or with `afterfirst` after the segment there.
void insertsegment(const QString& path, unsigned char marker, const QByteArray& body,
                   bool afterfirst = false);

// The bundle's copy of the metadata tool, and a stand-in for it: a shell script with the body.
QString exiftoolpath();
QString writefaketool(const QString& path, const QByteArray& body);
// Runs the tool and returns its standard output; fails the test on error. Every call goes to one
// long-lived tool process, the program's own stay-open runner.
QString exiftool(const QStringList& arguments);
// Writes tags in place, e.g. {"-n", "-Orientation=6"}.
void writetags(const QString& path, const QStringList& assignments);
// One tag's value as the tool prints it with -s3 (with "-n" when numeric).
QString readtag(const QString& path, const QString& tag, bool numeric = false);

} // namespace pivotel::test
