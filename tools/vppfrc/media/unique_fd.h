// UniqueFd: owns one file descriptor and closes it when it goes out of scope.
#pragma once

#include <unistd.h>

#include <utility>

namespace media {

class UniqueFd {
  public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : fd_(other.release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        if (this != &other) reset(other.release());
        return *this;
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    ~UniqueFd() { reset(); }

    int get() const { return fd_; }
    bool valid() const { return fd_ >= 0; }
    int release() { return std::exchange(fd_, -1); }
    // Closes the descriptor held (if any) and takes fd. Returns close()'s result, 0 if none.
    int reset(int fd = -1) {
        const int old = std::exchange(fd_, fd);
        return old >= 0 ? close(old) : 0;
    }

  private:
    int fd_ = -1;
};

}  // namespace media
