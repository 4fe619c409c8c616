#include "look/lookentry.h"
#include "look/picturelook.h"

#include <QThread>
#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace pivotel {

Status lookatphotoshere(const QStringList& paths, int jobs,
                        const std::function<void(qsizetype, const LookVerdict&)>& ondone,
                        const std::function<bool()>& stopped) {
    // The calling thread's own models tell whether the check can run at all: Tesseract's model is
    // loaded once per thread, not once more to ask.
    auto first = PictureLook::open();
    if (!first)
        return first.status();
    const int workers =
        std::max(1, std::min(jobs > 0 ? jobs : QThread::idealThreadCount(), static_cast<int>(paths.size())));
    std::atomic<qsizetype> next{0};
    const auto work = [&](std::unique_ptr<PictureLook> look) {
        for (qsizetype i = next++; i < paths.size(); i = next++) {
            if (stopped && stopped())
                return;
            LookVerdict verdict;
            if (!needslook(paths[i]))
                verdict.hasorientation = true;
            else if (look)
                verdict = look->lookatphoto(paths[i]);
            ondone(i, verdict);
        }
    };
    std::vector<std::thread> threads;
    for (int w = 1; w < workers; ++w)
        threads.emplace_back([&] {
            auto look = PictureLook::open();
            work(look ? std::move(look).value() : nullptr);
        });
    work(std::move(first).value());
    for (std::thread& t : threads)
        t.join();
    return Status::success();
}

} // namespace pivotel
