#pragma once

#include <QElapsedTimer>

namespace pivotel {

// Keeps the window alive through a long loop on the main thread: lets it redraw and take input
// every so often, not on every pass, so that the loop itself stays fast.
class EventYield {
  public:
    explicit EventYield(int intervalms = 30);

    // Handles pending events when the interval has passed since the last time.
    void maybe();
    // Handles pending events now.
    void now();

  private:
    QElapsedTimer clock_;
    int intervalms_;
};

} // namespace pivotel
