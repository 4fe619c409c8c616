#include "cli/progress.h"

#include <algorithm>
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

QString ratetext(qint64 done, qint64 elapsedms) {
    if (done <= 0 || elapsedms <= 0)
        return {};
    const double persecond = 1000.0 * double(done) / double(elapsedms);
    // Slow re-encodings of big photos read better as seconds per photo.
    if (persecond < 1.0)
        return QStringLiteral("%1 s/photo").arg(1.0 / persecond, 0, 'f', 1);
    return QStringLiteral("%1 photos/s").arg(persecond, 0, 'f', 1);
}

QString timelefttext(qint64 done, qint64 total, qint64 elapsedms, qint64 sincelast) {
    if (done <= 0 || elapsedms <= 0)
        return {};
    // Each photo left takes the mean so far; the one in work has already had part of its share.
    const qint64 perphoto = elapsedms / done;
    const qint64 seconds = std::max<qint64>(0, (total - done) * perphoto - sincelast) / 1000;
    const QString minutesseconds =
        QStringLiteral("%1:%2").arg(seconds / 60 % 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
    if (seconds >= 3600)
        return QStringLiteral("%1:%2 left")
            .arg(seconds / 3600)
            .arg(minutesseconds.rightJustified(5, QLatin1Char('0')));
    return minutesseconds + QStringLiteral(" left");
}

Progress::Progress(qint64 total, std::FILE* stream)
    : total_(total), stream_(stream), terminal_(::isatty(::fileno(stream)) != 0),
      width_(terminal_ ? terminalwidth(::fileno(stream)) : 0) {
    clock_.start();
}

void Progress::photo(qint64 index, const QString& name) {
    index_ = index;
    name_ = name;
    if (!terminal_) {
        std::fprintf(stream_, "[%lld/%lld] Rotating %s\n", index + 1, total_, qPrintable(name));
        std::fflush(stream_);
        return;
    }
    draw();
}

void Progress::photodone() {
    ++done_;
    doneat_ = clock_.elapsed();
    if (terminal_ && drawn_)
        draw();
}

void Progress::tick() {
    if (drawn_)
        draw();
}

void Progress::line(const QString& text) {
    if (drawn_)
        std::fprintf(stream_, "\r\033[K");
    std::fprintf(stream_, "%s\n", text.toLocal8Bit().constData());
    if (drawn_)
        draw();
    std::fflush(stream_);
}

void Progress::draw() {
    constexpr int barwidth = 24;
    const int filled = total_ > 0 ? static_cast<int>(barwidth * done_ / total_) : 0;
    QString line = QStringLiteral("[") + QString(filled, QLatin1Char('#')) +
                   QString(barwidth - filled, QLatin1Char('-')) + QStringLiteral("] ") +
                   QStringLiteral("%1/%2").arg(index_ + 1).arg(total_);
    const qint64 now = clock_.elapsed();
    for (const QString& part :
         {ratetext(done_, doneat_), timelefttext(done_, total_, doneat_, now - doneat_)}) {
        if (!part.isEmpty())
            line += QStringLiteral("  ") + part;
    }
    line += QStringLiteral("  ") + name_;
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
