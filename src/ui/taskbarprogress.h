#pragma once

#include <QtGlobal>

namespace pivotel {

// A run's progress on the program's taskbar entry, where the desktop reads the launcher entry
// signal over the session bus (Unity's dock, KDE's task manager, Plank, Dash to Dock and
// others); with no session bus nothing is sent.
class TaskbarProgress {
  public:
    // `done` of `total` photos; shown once a run begins.
    void show(qint64 done, qint64 total);
    void hide();

  private:
    void send(double progress, bool visible);
    double last_ = -1;
};

} // namespace pivotel
