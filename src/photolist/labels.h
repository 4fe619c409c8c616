#pragma once

#include <QString>
#include <QStringList>

namespace pivotel {

// The action labels a row carries. They are compared as text everywhere, ignoring case.
// "º" is U+00BA (masculine ordinal indicator), not the degree sign.
namespace label {
inline const QString asis = QStringLiteral("As Is");
inline const QString rotatecw = QStringLiteral("Rotate 90\u00BA Clockwise");
inline const QString rotateccw = QStringLiteral("Rotate 90\u00BA Counterclockwise");
inline const QString rotate180 = QStringLiteral("Rotate 180\u00BA");
inline const QString flipleft = QStringLiteral("Flip Left");
// Only the orientation probe gives this: the file can't be read as an image.
inline const QString fail = QStringLiteral("Fail");
} // namespace label

// The five labels a user can choose, in menu order.
const QStringList& actionlabels();

// What a run does to a photo, decided by its label.
enum class Action { None, Rotate90, Rotate270, Rotate180, MirrorHorizontal };

Action actionforlabel(const QString& label);
bool labelequals(const QString& a, const QString& b);

// The label for an EXIF orientation value given as text ("6" -> rotate clockwise, ...).
QString labelfororientation(const QString& orientation);

// The row counter's text: "0 Photos", "1 Photo", "n Photos".
QString countertext(qint64 count);

} // namespace pivotel
