#include "cli/picturecheck.h"

#include "look/lookbatch.h"
#include "photolist/lookjob.h"

#include <mutex>
#include <vector>

namespace pivotel::cli {

Result<std::map<qint64, QString>> suggestfrompictures(PhotoListModel& list, int jobs,
                                                      const std::function<bool()>& stopped) {
    QStringList paths;
    std::vector<qint64> rows;
    for (qint64 r = 0; r < list.count(); ++r) {
        if (list.row(r).action == Action::AsIs && !list.row(r).unreadable) {
            paths << list.row(r).path;
            rows.push_back(r);
        }
    }
    std::mutex guard;
    std::vector<LookVerdict> verdicts(rows.size());
    const Status looked = lookatphotos(
        paths, jobs,
        [&](qsizetype index, const LookVerdict& verdict) {
            const std::lock_guard lock(guard);
            verdicts[static_cast<size_t>(index)] = verdict;
        },
        stopped);
    if (!looked)
        return looked;
    std::map<qint64, QString> cues;
    for (size_t i = 0; i < rows.size(); ++i) {
        if (!verdicts[i].suggests())
            continue;
        list.setaction(rows[i], actionforturns(verdicts[i].turns));
        cues[rows[i]] = verdicts[i].cue;
    }
    return cues;
}

} // namespace pivotel::cli
