#pragma once

// Runs calls that may block on threads of their own. A test can see that such a thread sleeps.

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <utility>

#include "tests/support/Forever.h"
#include "tests/unit/si/Signal.h"

/// The system's number of the calling thread; never 0.
inline int ThreadNumber() {
    return static_cast<int>(syscall(SYS_gettid));
}

/// Whether a thread of this process sleeps, for example because it waits for a lock.
inline bool IsAsleep(int thread) {
    std::string stat;
    std::getline(std::ifstream("/proc/self/task/" + std::to_string(thread) + "/stat"), stat);
    const std::size_t name = stat.rfind(')');
    return name != std::string::npos && stat.compare(name + 2, 1, "S") == 0;
}

/// A call on a thread of its own, which the destructor joins.
class Call {
  public:
    explicit Call(std::function<void()> call)
        : thread_([this, body = std::move(call)] {
              number_ = ThreadNumber();
              body();
              isOver_ = true;
              over_.Set();
          }) {}
    ~Call() { thread_.join(); }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    /// Waits until the call sleeps or has returned. True when it sleeps.
    bool Blocks() {
        while (!isOver_ && (number_ == 0 || !IsAsleep(number_))) {
            std::this_thread::yield();
        }
        return !isOver_;
    }

    /// Waits until the call has returned; false when it does not within `kPatience`.
    bool Returns() { return over_.Wait(); }

  private:
    std::atomic<int> number_{0};
    std::atomic<bool> isOver_{false};
    Signal over_;
    std::thread thread_;
};

/// Whether a call on another thread returns while the calling thread waits for it.
inline bool ReturnsElsewhere(std::function<void()> call) {
    return Forever<Call>(std::move(call)).Returns();
}
