#include "jpeg/progressivewriter.h"

#include "jpeg/jpegerror.h"
#include "support/machine.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <numeric>
#include <optional>

namespace pivotel {

std::vector<ScanPlan> simpleprogression(int components, int colorspace) {
    JpegError error;
    jpeg_compress_struct info{};
    info.err = error.install();
    std::vector<ScanPlan> script;
    if (setjmp(error.jump)) {
        jpeg_destroy_compress(&info);
        return {};
    }
    jpeg_create_compress(&info);
    // The script depends on nothing else.
    info.num_components = components;
    info.jpeg_color_space = static_cast<J_COLOR_SPACE>(colorspace);
    jpeg_simple_progression(&info);
    for (int i = 0; i < info.num_scans; ++i) {
        const jpeg_scan_info& scan = info.scan_info[i];
        ScanPlan plan;
        plan.components.assign(scan.component_index, scan.component_index + scan.comps_in_scan);
        plan.first = scan.Ss;
        plan.last = scan.Se;
        plan.high = scan.Ah;
        plan.low = scan.Al;
        script.push_back(std::move(plan));
    }
    jpeg_destroy_compress(&info);
    return script;
}

namespace {

// About how long a scan takes, to start the longest ones first: nanoseconds a block for each
// kind of scan, its sweep and its writing, as a 24-megapixel camera photo's scans take them. A
// block's time hardly depends on the band's width: the first pass of a band of 5 takes longer
// than one of 58, whose coefficients are mostly zero at that point.
long long weight(const CoefficientPlanes& planes, const ScanPlan& plan) {
    long long blocks = 0;
    for (int index : plan.components) {
        const ComponentPlane& c = planes.components[std::size_t(index)];
        blocks += (long long)c.widthblocks * c.heightblocks;
    }
    const bool dc = plan.first == 0;
    return blocks * (dc ? (plan.high ? 3 : 10) : (plan.high ? 100 : 45));
}

} // namespace

Result<QByteArray> writeprogressive(QByteArray head, CoefficientPlanes planes,
                                    const std::vector<ScanPlan>& script, int threads) {
    std::vector<std::size_t> order(script.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return weight(planes, script[a]) > weight(planes, script[b]);
    });

    std::vector<std::optional<Result<QByteArray>>> coded(script.size());
    std::atomic<std::size_t> next{0};
    const int workers = std::min(threads, int(script.size()));
    std::vector<ScanRecords> records(std::size_t(std::max(workers, 1)));
    std::atomic<std::size_t> worker{0};
    const auto work = [&] {
        ScanRecords& mine = records[worker++];
        for (std::size_t i = next++; i < order.size(); i = next++) {
            // Nothing may leave a helper thread: a scan that can't get its memory fails alone.
            try {
                coded[order[i]].emplace(codescan(planes, script[order[i]], mine));
            } catch (const std::bad_alloc&) {
                coded[order[i]].emplace(Status::failure(QStringLiteral("out of memory for a scan")));
            }
        }
    };
    runonthreads(workers, work);
    records.clear();
    // The file takes the heap's pages the coefficients had, already faulted in, not fresh ones.
    planes.components.clear();

    qsizetype total = head.size() + 2;
    for (const auto& scan : coded) {
        if (!*scan)
            return scan->status();
        total += scan->value().size();
    }
    head.reserve(total);
    for (auto& scan : coded) {
        head.append(scan->value());
        scan.reset(); // each scan's bytes go as soon as they are in the file's
    }
    head.append(char(0xFF));
    head.append(char(0xD9));
    return head;
}

} // namespace pivotel
