#pragma once

#include <QElapsedTimer>
#include <QString>
#include <cstdio>

namespace pivotel::cli {

// Progress of a run on standard error: on a terminal a bar with the count, the rate and the time
// left, and the current file; a plain line per photo otherwise.
class Progress {
  public:
    Progress(qint64 total, std::FILE* stream);
    void photo(qint64 index, const QString& name);
    // A photo has ended; with photos turned at once they end in any order.
    void photodone();
    // Redraws the bar so that the time left counts down between photos.
    void tick();
    // A line of its own (--verbose), above the bar on a terminal.
    void line(const QString& text);
    void finish();

  private:
    void draw();

    qint64 total_;
    std::FILE* stream_;
    bool terminal_;
    int width_;
    bool drawn_ = false;
    qint64 index_ = 0; // the photo begun last
    qint64 done_ = 0;
    QString name_;
    QElapsedTimer clock_;
    qint64 doneat_ = 0; // ms into the run when the last photo ended
};

// "1.5 photos/s" and "2:05 left" for `done` photos in `elapsedms` with `total` in all; empty before
// the first photo is done.
[[nodiscard]] QString ratetext(qint64 done, qint64 elapsedms);
[[nodiscard]] QString timelefttext(qint64 done, qint64 total, qint64 elapsedms, qint64 sincelast);

} // namespace pivotel::cli
