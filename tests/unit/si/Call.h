#pragma once

// Calls that wait for something: a test that says "it blocks" sees the thread asleep inside it.

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

/// The number of the calling thread in the system, never 0.
inline int ThreadNumber() {
    return static_cast<int>(syscall(SYS_gettid));
}

/// Whether a thread of this process sleeps, as one does that waits for a lock or a condition.
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

    /// Waits until the call sleeps or is over. True when it sleeps.
    bool Blocks() {
        while (!isOver_ && (number_ == 0 || !IsAsleep(number_))) {
            std::this_thread::yield();
        }
        return !isOver_;
    }

    /// Waits for its end; false when that does not come.
    bool Returns() { return over_.Wait(); }

  private:
    std::atomic<int> number_{0};
    std::atomic<bool> isOver_{false};
    Signal over_;
    std::thread thread_;
};

/// Whether a call on another thread comes to its end while the caller waits.
inline bool ReturnsElsewhere(std::function<void()> call) {
    return Forever<Call>(std::move(call)).Returns();
}
