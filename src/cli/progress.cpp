#include "cli/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace pivotel::cli {

namespace {
int terminalwidth(int fd) {
    winsize size{};
    if (::ioctl(fd, TIOCGWINSZ, &size) == 0 && size.ws_col > 20)
        return size.ws_col;
    return 80;
}
} // namespace

Progress::Progress(qint64 total, std::FILE* stream)
    : total_(total), stream_(stream), terminal_(::isatty(::fileno(stream)) != 0),
      width_(terminal_ ? terminalwidth(::fileno(stream)) : 0) {
}

void Progress::photo(qint64 index, const QString& name) {
    const QString counts = QStringLiteral("%1/%2").arg(index + 1).arg(total_);
    if (!terminal_) {
        std::fprintf(stream_, "[%s] Rotating %s\n", qPrintable(counts), qPrintable(name));
        std::fflush(stream_);
        return;
    }
    constexpr int barwidth = 24;
    const int filled = total_ > 0 ? static_cast<int>(barwidth * index / total_) : 0;
    QString line = QStringLiteral("[") + QString(filled, QLatin1Char('#')) +
                   QString(barwidth - filled, QLatin1Char('-')) + QStringLiteral("] ") + counts +
                   QStringLiteral("  ") + name;
    if (line.size() > width_ - 1)
        line = line.left(width_ - 2) + QChar(0x2026);
    std::fprintf(stream_, "\r\033[K%s", line.toLocal8Bit().constData());
    std::fflush(stream_);
    drawn_ = true;
}

void Progress::finish() {
    if (terminal_ && drawn_) {
        std::fprintf(stream_, "\r\033[K");
        std::fflush(stream_);
    }
}

} // namespace pivotel::cli
