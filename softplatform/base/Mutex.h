#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "softplatform/base/ThreadAnnotations.h"

namespace tvservice {

// std::mutex with the annotations that Clang's -Wthread-safety needs.
class TV_CAPABILITY("mutex") Mutex {
  public:
    Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void Lock() TV_ACQUIRE() { mutex_.lock(); }
    void Unlock() TV_RELEASE() { mutex_.unlock(); }
    bool TryLock() TV_TRY_ACQUIRE(true) { return mutex_.try_lock(); }

  private:
    friend class CondVar;
    std::mutex mutex_;
};

// Locks a Mutex for as long as this object lives.
class TV_SCOPED_CAPABILITY MutexLock {
  public:
    explicit MutexLock(Mutex& mutex) TV_ACQUIRE(mutex) : mutex_(mutex) { mutex_.Lock(); }
    ~MutexLock() TV_RELEASE() { mutex_.Unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

  private:
    Mutex& mutex_;
};

// std::condition_variable for a Mutex. A wait may end without a notification, so it belongs in a
// loop: `while (!ready_) { changed_.Wait(mutex_); }`. Waits take no predicate, because
// -Wthread-safety would not check the members that a lambda reads.
class CondVar {
  public:
    CondVar() = default;
    CondVar(const CondVar&) = delete;
    CondVar& operator=(const CondVar&) = delete;

    // Unlocks `mutex` while it waits and locks it again before it returns.
    void Wait(Mutex& mutex) TV_REQUIRES(mutex) {
        std::unique_lock<std::mutex> lock(mutex.mutex_, std::adopt_lock);
        condition_.wait(lock);
        lock.release();
    }

    // As Wait, but returns false when `deadline` has passed.
    bool WaitUntil(Mutex& mutex, std::chrono::steady_clock::time_point deadline)
        TV_REQUIRES(mutex) {
        std::unique_lock<std::mutex> lock(mutex.mutex_, std::adopt_lock);
        const std::cv_status status = condition_.wait_until(lock, deadline);
        lock.release();
        return status == std::cv_status::no_timeout;
    }

    void NotifyOne() { condition_.notify_one(); }
    void NotifyAll() { condition_.notify_all(); }

  private:
    std::condition_variable condition_;
};

}  // namespace tvservice
