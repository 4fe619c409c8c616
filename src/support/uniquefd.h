#pragma once

#include <unistd.h>
#include <utility>

namespace pivotel {

// Owns a POSIX file descriptor.
class UniqueFd {
  public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        if (this != &other) {
            reset();
            fd_ = std::exchange(other.fd_, -1);
        }
        return *this;
    }
    ~UniqueFd() { reset(); }

    int get() const { return fd_; }
    bool valid() const { return fd_ >= 0; }
    int release() { return std::exchange(fd_, -1); }
    // Closes now and says whether the close succeeded (a failed close can mean lost data).
    bool close() {
        if (fd_ < 0)
            return true;
        return ::close(std::exchange(fd_, -1)) == 0;
    }
    void reset() {
        if (fd_ >= 0)
            ::close(std::exchange(fd_, -1));
    }

  private:
    int fd_ = -1;
};

} // namespace pivotel
