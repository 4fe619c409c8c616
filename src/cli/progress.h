#pragma once

#include <QString>
#include <cstdio>

namespace pivotel::cli {

// Progress of a run on standard error: a bar with counts and the current file on a terminal,
// a plain line per photo otherwise.
class Progress {
  public:
    Progress(qint64 total, std::FILE* stream);
    void photo(qint64 index, const QString& name);
    void finish();

  private:
    qint64 total_;
    std::FILE* stream_;
    bool terminal_;
    int width_;
    bool drawn_ = false;
};

} // namespace pivotel::cli
