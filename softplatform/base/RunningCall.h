#pragma once

#include <cstdint>
#include <optional>
#include <thread>

#include "softplatform/base/Mutex.h"

namespace tvservice {

// The callback that runs now, so that other threads can wait for its end.
//
// One thread makes the calls, one after the other. Each has a key, which says whom it is for. The
// owner has a mutex and gives it to every operation, always the same one; it is given up while a
// call runs and while a thread waits.
template <class Key>
class RunningCall {
  public:
    RunningCall() = default;
    RunningCall(const RunningCall&) = delete;
    RunningCall& operator=(const RunningCall&) = delete;

    // Makes `call()`, which must not make another one here.
    template <class Call>
    void Make(Mutex& mutex, Key key, Call&& call) TV_REQUIRES(mutex) {
        key_ = key;
        caller_ = std::this_thread::get_id();
        ++number_;
        mutex.Unlock();
        call();
        mutex.Lock();
        key_.reset();
        if (waiting_ > 0) {
            ended_.NotifyAll();
        }
    }

    // Waits for the end of the call that runs, if `isMeant(key)` holds for its key. Returns at once
    // inside of that call, which would otherwise wait for itself.
    template <class IsMeant>
    void WaitForEnd(Mutex& mutex, IsMeant&& isMeant) TV_REQUIRES(mutex) {
        if (!key_ || caller_ == std::this_thread::get_id() || !isMeant(*key_)) {
            return;
        }
        // The next call may begin, even with the same key, before this thread wakes up: only the
        // number tells the calls apart.
        const uint64_t number = number_;
        ++waiting_;
        while (key_ && number_ == number) {
            ended_.Wait(mutex);
        }
        --waiting_;
    }

  private:
    // All under the owner's mutex.
    std::optional<Key> key_;  // none: no call runs
    std::thread::id caller_;
    uint64_t number_ = 0;  // of the last call
    unsigned waiting_ = 0;
    CondVar ended_;
};

}  // namespace tvservice
