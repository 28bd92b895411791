#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace testsupport {

// Something that happens once, on some thread, and that others wait for.
class Signal {
  public:
    void Set() {
        const std::lock_guard<std::mutex> lock(mutex_);
        set_ = true;
        changed_.notify_all();
    }

    // Whether it happened, or does so within that time.
    bool Wait(std::chrono::milliseconds atMost = std::chrono::seconds(30)) {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, atMost, [this] { return set_; });
    }

    bool IsSet() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return set_;
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool set_ = false;
};

}  // namespace testsupport
