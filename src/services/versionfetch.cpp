#include "services/versionfetch.h"

#include "support/nativepath.h"

#include <QFile>
#include <curl/curl.h>
#include <memory>
#include <mutex>

namespace pivotel {

namespace {

struct CurlFree {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
using CurlHandle = std::unique_ptr<CURL, CurlFree>;

struct Transfer {
    QByteArray body;
    std::size_t maxbody = 0;
    const std::atomic<bool>* cancelled = nullptr;
};

std::size_t collect(char* data, std::size_t size, std::size_t count, void* userdata) {
    auto* transfer = static_cast<Transfer*>(userdata);
    const std::size_t bytes = size * count;
    if (static_cast<std::size_t>(transfer->body.size()) + bytes > transfer->maxbody)
        return 0; // anything but `bytes` ends the transfer
    transfer->body.append(data, static_cast<qsizetype>(bytes));
    return bytes;
}

// Each answer of the way (a redirect's, then the final one's) begins with its status line: only
// the last answer's body is kept.
std::size_t header(char* data, std::size_t size, std::size_t count, void* userdata) {
    if (QByteArrayView(data, qsizetype(size * count)).startsWith("HTTP/"))
        static_cast<Transfer*>(userdata)->body.clear();
    return size * count;
}

int progress(void* userdata, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
    return static_cast<Transfer*>(userdata)->cancelled->load() ? 1 : 0;
}

QByteArray readall(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The system's CA bundle with the extra CA after it: CURLOPT_CAINFO alone would replace the
// system's trust rather than add to it.
QByteArray trustwith(CURL* handle, const QString& extraca) {
    char* systemca = nullptr;
    QByteArray pem;
    if (curl_easy_getinfo(handle, CURLINFO_CAINFO, &systemca) == CURLE_OK && systemca)
        pem = readall(pathfromnative(systemca));
    return pem + '\n' + readall(extraca);
}

} // namespace

Result<QByteArray> fetchversionfile(const FetchRequest& request, const std::atomic<bool>& cancelled) {
    static std::once_flag initialised;
    std::call_once(initialised, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });

    const CurlHandle handle(curl_easy_init());
    if (!handle)
        return Status::failure(QStringLiteral("libcurl could not start"));
    CURL* curl = handle.get();
    Transfer transfer{{}, request.limits.maxbody, &cancelled};
    const QByteArray url = request.url.toEncoded();
    char error[CURL_ERROR_SIZE] = {};

    curl_easy_setopt(curl, CURLOPT_URL, url.constData());
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "https");
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 2L);
    curl_easy_setopt(curl, CURLOPT_FAILONERROR, 1L);
    // A moved file is followed, but never off HTTPS.
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(curl, CURLOPT_REDIR_PROTOCOLS_STR, "https");
    curl_easy_setopt(curl, CURLOPT_MAXREDIRS, 5L);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, header);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, &transfer);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L); // a worker thread: no SIGALRM for time-outs
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(request.limits.connect.count()));
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(request.limits.total.count()));
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, collect);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &transfer);
    curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, progress);
    curl_easy_setopt(curl, CURLOPT_XFERINFODATA, &transfer);
    curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, error);
    if (!request.extraca.isEmpty()) {
        QByteArray trust = trustwith(curl, request.extraca);
        curl_blob blob{trust.data(), static_cast<std::size_t>(trust.size()), CURL_BLOB_COPY};
        curl_easy_setopt(curl, CURLOPT_CAINFO_BLOB, &blob);
    }

    const CURLcode code = curl_easy_perform(curl);
    if (code != CURLE_OK)
        return Status::failure(QString::fromUtf8(*error ? error : curl_easy_strerror(code)));
    // Only a 200 carries the answer: any other (a redirect left unfollowed, "204 No Content")
    // is none.
    long status = 0;
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
    if (status != 200)
        return Status::failure(QStringLiteral("the server answered %1, not with the version").arg(status));
    return std::move(transfer.body);
}

} // namespace pivotel
