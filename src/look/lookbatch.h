#pragma once

#include "look/lookverdict.h"
#include "support/status.h"

#include <QString>
#include <QStringList>
#include <functional>

namespace pivotel {

// Looks at the photos whose EXIF orientation leaves the upright open, `jobs` at once (0: one
// per core), each worker with its own models. `ondone(index, verdict)` is called from the
// workers as each photo is done, in no set order; `stopped` is asked before each photo. Fails,
// looking at nothing, when the check is unavailable: its module or a model is missing. The
// check runs in its own module, loaded on first use (look/lookentry.h).
Status lookatphotos(const QStringList& paths, int jobs,
                    const std::function<void(qsizetype, const LookVerdict&)>& ondone,
                    const std::function<bool()>& stopped = {});

} // namespace pivotel
