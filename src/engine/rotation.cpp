#include "engine/rotation.h"

namespace pivotel {

QString flawnote(const QString& warning) {
    return QStringLiteral("its JPEG data has a flaw, read past as viewers do (%1)").arg(warning);
}

} // namespace pivotel
