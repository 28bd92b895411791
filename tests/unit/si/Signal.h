#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

/// How long a test waits for an event before it fails.
constexpr std::chrono::seconds kPatience(20);

/// An event that one thread waits for and another thread reports.
class Signal {
  public:
    void Set() {
        std::lock_guard<std::mutex> lock(mutex_);
        set_ = true;
        changed_.notify_all();
    }
    bool Wait() {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, kPatience, [&] { return set_; });
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool set_ = false;
};
