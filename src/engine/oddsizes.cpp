#include "engine/oddsizes.h"

namespace pivotel {

QString oddsizesword(OddSizes oddsizes) {
    switch (oddsizes) {
    case OddSizes::Reencode:
        return QStringLiteral("reencode");
    case OddSizes::Keep:
        return QStringLiteral("keep");
    case OddSizes::Trim:
        break;
    }
    return QStringLiteral("trim");
}

std::optional<OddSizes> oddsizesfromword(const QString& word) {
    for (const OddSizes oddsizes : {OddSizes::Trim, OddSizes::Reencode, OddSizes::Keep}) {
        if (word == oddsizesword(oddsizes))
            return oddsizes;
    }
    return std::nullopt;
}

} // namespace pivotel
