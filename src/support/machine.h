#pragma once

#include <QString>
#include <functional>
#include <optional>

namespace pivotel {

// The processor cores this process may run on, at least 1.
[[nodiscard]] int corecount();

// Runs `work` on the calling thread and at once on up to `threads` - 1 more (fewer where the
// system gives no more), and returns when each has returned. `work` takes its tasks from a share
// of its own until none are left.
void runonthreads(int threads, const std::function<void()>& work);

// Whether the processor has BMI2 with quick pdep and pext: one instruction each, except on AMD's
// first two Zen generations, which run them in microcode at up to hundreds of cycles.
[[nodiscard]] bool quickbitdeposit();

// The machine's physical memory in bytes.
[[nodiscard]] qint64 physicalmemory();

// A size in bytes as people read it: "512 KB", "1.5 GB" (units of 1024).
[[nodiscard]] QString sizetext(qint64 bytes);

// A size as people write it: a number of bytes, or a number with K, M, G or T, with or without a
// following B or iB, in any case ("800M", "1.5g", "2 GiB"). None for anything else, zero or less.
[[nodiscard]] std::optional<qint64> sizefromtext(const QString& text);

} // namespace pivotel
