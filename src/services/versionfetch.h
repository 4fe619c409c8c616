#pragma once

#include "support/status.h"

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <atomic>
#include <chrono>
#include <cstddef>

namespace pivotel {

// How long a fetch may take and how much it may read: a version file is a few bytes, so
// anything bigger is not one.
struct FetchLimits {
    std::chrono::milliseconds connect{5000};
    std::chrono::milliseconds total{10000};
    std::size_t maxbody = 4096;
};

struct FetchRequest {
    QUrl url;
    QString extraca; // a CA file trusted besides the system's; empty for none
    FetchLimits limits;
};

// One HTTPS GET with the server's certificate and name verified, following redirects only to
// HTTPS. The body of a "200 OK" answer, or why there is none (no connection, a refused
// certificate, any other status, a redirect to plain HTTP, a time-out, a body over the limit, or
// `cancelled` set meanwhile). Blocks: run it off the main thread.
[[nodiscard]] Result<QByteArray> fetchversionfile(const FetchRequest& request,
                                                  const std::atomic<bool>& cancelled);

} // namespace pivotel
