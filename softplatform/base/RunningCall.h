#pragma once

#include <cstdint>
#include <optional>
#include <thread>

#include "softplatform/base/Mutex.h"

namespace tvservice {

// Knows which callback runs now, so that other threads can wait for its end.
//
// One thread makes the calls, one after the other. Each call has a key, which says whom it is for.
// The owner passes the same locked mutex to every operation. The mutex is unlocked while a call
// runs and while a thread waits.
template <class Key>
class RunningCall {
  public:
    RunningCall() = default;
    RunningCall(const RunningCall&) = delete;
    RunningCall& operator=(const RunningCall&) = delete;

    // Makes `call()`, which must not make another call here.
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

    // Waits for the end of the running call if `isMeant(key)` is true for its key. Returns at once
    // when it is called from inside that call, which would otherwise wait for itself.
    template <class IsMeant>
    void WaitForEnd(Mutex& mutex, IsMeant&& isMeant) TV_REQUIRES(mutex) {
        if (!key_ || caller_ == std::this_thread::get_id() || !isMeant(*key_)) {
            return;
        }
        // Before this thread wakes up, the next call may begin, even with the same key. Only the
        // number tells the two calls apart.
        const uint64_t number = number_;
        ++waiting_;
        while (key_ && number_ == number) {
            ended_.Wait(mutex);
        }
        --waiting_;
    }

  private:
    // All members are protected by the owner's mutex.
    std::optional<Key> key_;  // none: no call runs
    std::thread::id caller_;
    uint64_t number_ = 0;  // of the last call
    unsigned waiting_ = 0;
    CondVar ended_;
};

}  // namespace tvservice
