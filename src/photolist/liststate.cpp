#include "photolist/liststate.h"

namespace pivotel {

void ListState::setstatus(const QString& text) {
    std::lock_guard lock(mutex_);
    xstatus_ = text;
}

QString ListState::status() const {
    std::lock_guard lock(mutex_);
    return xstatus_;
}

void ListState::appendmissing(const QString& displayname) {
    std::lock_guard lock(mutex_);
    failedlist_ += QLatin1Char('\n') + displayname;
}

QString ListState::failedlist() const {
    std::lock_guard lock(mutex_);
    return failedlist_;
}

void ListState::clearfailedlist() {
    std::lock_guard lock(mutex_);
    failedlist_.clear();
}

void ListState::addfailure(PhotoFailure failure) {
    std::lock_guard lock(mutex_);
    failures_.push_back(std::move(failure));
}

std::vector<PhotoFailure> ListState::failures() const {
    std::lock_guard lock(mutex_);
    return failures_;
}

void ListState::clearfailures() {
    std::lock_guard lock(mutex_);
    failures_.clear();
}

} // namespace pivotel
