#pragma once

#include "engine/turnedpicture.h"
#include "preview/loadpicture.h"
#include "support/status.h"

#include <QByteArray>
#include <QString>
#include <vector>

namespace pivotel {

// What a re-encoded photo carries besides its pixels.
struct EncodeSettings {
    int quality = 70;        // 10 to 100
    qint64 dpi = 72;         // written as the JFIF density in dots per inch
    QByteArray colorprofile; // written when not empty
    // Written in order, except those this encoder writes anew: the JFIF header, the colour
    // profile and Adobe's colour transform marker.
    std::vector<MarkerSegment> segments;
};

// Encodes the picture as a baseline JPEG with optimised Huffman tables and writes it to
// `target`. Grey pictures stay grey. Chroma is halved both ways below quality 90 and kept whole
// from 90 up, where a user asks for the most the format can keep.
Status encodejpeg(const TurnedPicture& picture, const EncodeSettings& settings, const QString& target);

} // namespace pivotel
