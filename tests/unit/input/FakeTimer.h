#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/eventfd.h>

#include <chrono>
#include <cstdint>

#include "softplatform/input/FileDescriptor.h"
#include "softplatform/input/Timer.h"

namespace testsupport {

inline bool IsReadable(int descriptor) {
    pollfd ready{descriptor, POLLIN, 0};
    return ::poll(&ready, 1, 0) == 1;
}

// A timer whose time passes only when a test lets it pass.
class FakeTimer final : public tvservice::Timer {
  public:
    std::chrono::nanoseconds Now() override { return now_; }
    void WakeAt(std::chrono::nanoseconds time) override {
        due_ = time;
        Show();
    }
    int descriptor() const override { return event_.get(); }

    void Pass(std::chrono::nanoseconds time) {
        now_ += time;
        Show();
    }
    std::chrono::nanoseconds due() const { return due_; }

  private:
    void Show() {
        uint64_t count = 1;
        const auto size = static_cast<ssize_t>(sizeof count);
        if (now_ >= due_) {
            EXPECT_EQ(::write(event_.get(), &count, sizeof count), size);
        } else if (IsReadable(event_.get())) {
            EXPECT_EQ(::read(event_.get(), &count, sizeof count), size);
        }
    }

    const tvservice::FileDescriptor event_{::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)};
    std::chrono::nanoseconds now_{std::chrono::hours(1)};
    std::chrono::nanoseconds due_{std::chrono::nanoseconds::max()};
};

}  // namespace testsupport
