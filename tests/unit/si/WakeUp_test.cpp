// When the event queue wakes its consumer, and when a timer wakes its worker. A separate program,
// because it replaces the wake-up functions of the C library by ones that count.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>
#include <memory>
#include <mutex>
#include <utility>

#include "SI/SectionFilter/Korvo/Src/TimerCallback.h"
#include "tests/unit/si/Call.h"
#include "tests/unit/si/EventQueuePeer.h"

namespace {

thread_local int t_signals = 0;
thread_local int t_broadcasts = 0;
thread_local const std::function<void()>* t_duringWakeUp = nullptr;

int WakeUp(int& count, const char* name, pthread_cond_t* condition) {
    ++count;
    if (const auto* const hook = std::exchange(t_duringWakeUp, nullptr)) {
        (*hook)();
    }
    return reinterpret_cast<int (*)(pthread_cond_t*)>(dlsym(RTLD_NEXT, name))(condition);
}

}  // namespace

extern "C" int pthread_cond_signal(pthread_cond_t* condition) noexcept {
    return WakeUp(t_signals, "pthread_cond_signal", condition);
}
extern "C" int pthread_cond_broadcast(pthread_cond_t* condition) noexcept {
    return WakeUp(t_broadcasts, "pthread_cond_broadcast", condition);
}

namespace {

using TORVEL_MW::EventQueue;
using TORVEL_MW::EventQueuePeer;

class EventQueueWakeUp : public testing::Test {
  protected:
    // Runs `body`. Returns whether the queue's lock was held at its first wake-up.
    bool WakesUnderTheLock(std::mutex& mutex, const std::function<void()>& body) {
        bool isLocked = false;
        const std::function<void()> look = [&] {
            Call([&] {
                isLocked = !mutex.try_lock();
                if (!isLocked) {
                    mutex.unlock();
                }
            }).Returns();
        };
        t_signals = t_broadcasts = 0;
        t_duringWakeUp = &look;
        body();
        t_duringWakeUp = nullptr;
        return isLocked;
    }

    std::unique_ptr<EventQueue<int>> queue = std::make_unique<EventQueue<int>>();
};

TEST_F(EventQueueWakeUp, PushWakesOneUnderTheLock) {
    EXPECT_TRUE(WakesUnderTheLock(EventQueuePeer::Mutex(*queue),
                                  [this] { queue->Push(std::make_unique<int>(1)); }));
    EXPECT_EQ(t_signals, 1);
    EXPECT_EQ(t_broadcasts, 0);
}

TEST_F(EventQueueWakeUp, DestructionWakesAllUnderTheLock) {
    EXPECT_TRUE(WakesUnderTheLock(EventQueuePeer::Mutex(*queue), [this] { queue.reset(); }));
    EXPECT_EQ(t_signals, 0);
    EXPECT_EQ(t_broadcasts, 1);
}

TEST(TimerCallbackWakeUp, CancelWakesTheWorkerOnlyWhenItWasArmed) {
    TORVEL_MW::TimerCallback timer;
    t_broadcasts = 0;
    timer.CancelTimer();
    EXPECT_EQ(t_broadcasts, 0);

    timer.SetTimer(3600000, [] {});
    EXPECT_EQ(t_broadcasts, 1);
    timer.CancelTimer();
    EXPECT_EQ(t_broadcasts, 2);
    timer.CancelTimer();
    EXPECT_EQ(t_broadcasts, 2);
}

}  // namespace
