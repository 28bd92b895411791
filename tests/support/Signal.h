#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace testsupport {

// An event that happens once, on any thread, and that other threads wait for.
class Signal {
  public:
    void Set() {
        const std::lock_guard<std::mutex> lock(mutex_);
        set_ = true;
        changed_.notify_all();
    }

    // Waits for the event. Returns false when it does not happen within the time.
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
