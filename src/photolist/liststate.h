#pragma once

#include <QString>

namespace pivotel {

// The flags that tell what the window is doing, and what it shows of a run. Main thread only:
// the run's thread tells the window of its progress by the run session's signals.
struct ListState {
    bool isrunning = false;    // a run is going
    bool boliao = false;       // the run's end has yet to be handled
    bool isloading = false;    // an intake is appending rows
    bool candopreview = false; // a vanished photo may be reported by the preview
    qint64 currentrow = -1;    // the row of `filelist` in work, or the row last pressed
    QString xstatus;           // the status line of a run ("Rotating " + name)
};

} // namespace pivotel
