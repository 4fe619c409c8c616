#include "look/lookbatch.h"

#include "look/picturelook.h"

#include <QThread>
#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace pivotel {

Status lookatphotos(const QStringList& paths, int jobs,
                    const std::function<void(qsizetype, const LookVerdict&)>& ondone,
                    const std::function<bool()>& stopped) {
    Status available = lookavailable();
    if (!available)
        return available;
    const int workers =
        std::max(1, std::min(jobs > 0 ? jobs : QThread::idealThreadCount(), static_cast<int>(paths.size())));
    std::atomic<qsizetype> next{0};
    const auto work = [&] {
        auto look = PictureLook::open();
        for (qsizetype i = next++; i < paths.size(); i = next++) {
            if (stopped && stopped())
                return;
            LookVerdict verdict;
            if (!needslook(paths[i]))
                verdict.hasorientation = true;
            else if (look)
                verdict = look.value()->lookatphoto(paths[i]);
            ondone(i, verdict);
        }
    };
    std::vector<std::thread> threads;
    for (int w = 1; w < workers; ++w)
        threads.emplace_back(work);
    work();
    for (std::thread& t : threads)
        t.join();
    return Status::success();
}

} // namespace pivotel
