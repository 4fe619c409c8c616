#include "ui/eventyield.h"

#include <QCoreApplication>

namespace pivotel {

EventYield::EventYield(int intervalms) : intervalms_(intervalms) {
    clock_.start();
}

void EventYield::maybe() {
    if (clock_.elapsed() >= intervalms_)
        now();
}

void EventYield::now() {
    QCoreApplication::processEvents();
    clock_.restart();
}

} // namespace pivotel
