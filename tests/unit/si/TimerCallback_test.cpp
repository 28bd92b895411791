#include "SI/SectionFilter/Korvo/Src/TimerCallback.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

#include "tests/unit/si/SiFixture.h"

namespace {

using TORVEL_MW::TimerCallback;
using Peer = TORVEL_MW::TimerCallbackPeer;
using Clock = std::chrono::steady_clock;

constexpr std::uint32_t kAnHour = 3600000;

void Unexpected() {
    ADD_FAILURE() << "a callback that was replaced or cancelled was called";
}

TEST(TimerCallbackTest, IsIdleAfterConstruction) {
    TimerCallback timer;
    EXPECT_EQ(Peer::Of(timer), (Peer::Flags{false, false, false, false}));
    EXPECT_FALSE(Peer::HasCallback(timer));
    EXPECT_EQ(Peer::Deadline(timer), Clock::time_point());
}

TEST(TimerCallbackTest, EndsBeforeItsDeadlineAndCallsNothing) {
    TimerCallback timer;
    timer.SetTimer(kAnHour, Unexpected);
    EXPECT_EQ(Peer::Of(timer), (Peer::Flags{false, false, true, false}));
}

TEST(TimerCallbackTest, FiresOnceAtItsDeadlineOnAnotherThread) {
    TimerCallback timer;
    Signal fired;
    std::atomic<int> calls{0};
    std::thread::id thread;
    Clock::time_point at;
    const auto begin = Clock::now();
    timer.SetTimer(30, [&] {
        ++calls;
        thread = std::this_thread::get_id();
        at = Clock::now();
        EXPECT_EQ(Peer::Of(timer), (Peer::Flags{false, true, false, false}));
        EXPECT_FALSE(Peer::HasCallback(timer));
        fired.Set();
    });
    ASSERT_TRUE(fired.Wait());
    EXPECT_GE(at - begin, std::chrono::milliseconds(30));
    EXPECT_NE(thread, std::this_thread::get_id());

    Signal second;  // the timer can be armed again, and does not call the first callback again
    timer.SetTimer(0, [&] { second.Set(); });
    ASSERT_TRUE(second.Wait());
    EXPECT_EQ(calls, 1);
}

TEST(TimerCallbackTest, MillisecondsAreSigned32Bits) {
    for (const std::uint32_t past : {0u, 0x80000000u, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
        TimerCallback timer;
        Signal fired;
        timer.SetTimer(past, [&] { fired.Set(); });
        EXPECT_TRUE(fired.Wait()) << past;
    }
    TimerCallback timer;
    const auto begin = Clock::now();
    timer.SetTimer(0x7FFFFFFF, Unexpected);
    EXPECT_GE(Peer::Deadline(timer) - begin, std::chrono::milliseconds(0x7FFFFFFF));
    EXPECT_LT(Peer::Deadline(timer) - begin, std::chrono::milliseconds(0x7FFFFFFFll + 60000));
    timer.SetTimer(0x80000000u, [] {});
    EXPECT_LT(Peer::Deadline(timer), begin - std::chrono::hours(24 * 20));
}

TEST(TimerCallbackTest, RearmingReplacesDeadlineAndCallback) {
    TimerCallback timer;
    Signal fired;
    timer.SetTimer(kAnHour, Unexpected);
    timer.SetTimer(0, [&] { fired.Set(); });
    EXPECT_TRUE(fired.Wait());

    // Now a later deadline replaces an earlier one. The lock keeps the earlier one from passing in
    // between.
    Signal later;
    Clock::time_point at;
    Clock::time_point begin;
    {
        const std::lock_guard<std::recursive_mutex> lock(Peer::Mutex(timer));
        timer.SetTimer(1, Unexpected);
        begin = Clock::now();
        timer.SetTimer(50, [&] {
            at = Clock::now();
            later.Set();
        });
    }
    EXPECT_TRUE(later.Wait());
    EXPECT_GE(at - begin, std::chrono::milliseconds(50));
}

TEST(TimerCallbackTest, CancelledTimerCallsNothing) {
    TimerCallback timer;
    {
        const std::lock_guard<std::recursive_mutex> lock(Peer::Mutex(timer));
        timer.SetTimer(1, Unexpected);
        timer.CancelTimer();
    }
    EXPECT_EQ(Peer::Of(timer), (Peer::Flags{true, false, false, false}));
    EXPECT_FALSE(Peer::HasCallback(timer));
    TimerCallback other;
    Signal passed;
    other.SetTimer(60, [&] { passed.Set(); });
    EXPECT_TRUE(passed.Wait());  // the cancelled deadline has passed
}

TEST(TimerCallbackTest, CancelAfterFiringChangesOnlyItsFlag) {
    TimerCallback timer;
    Signal fired;
    timer.SetTimer(0, [&] { fired.Set(); });
    ASSERT_TRUE(fired.Wait());
    timer.CancelTimer();
    EXPECT_EQ(Peer::Of(timer), (Peer::Flags{true, true, false, false}));
    timer.SetTimer(kAnHour, Unexpected);
    EXPECT_EQ(Peer::Of(timer), (Peer::Flags{false, false, true, false}));
}

TEST(TimerCallbackTest, CallbackRunsWithTheLockHeldAndACancelElsewhereWaitsForIt) {
    TimerCallback timer;
    Signal inside;
    Signal leave;
    std::atomic<bool> left{false};
    timer.SetTimer(0, [&] {
        inside.Set();
        EXPECT_TRUE(leave.Wait());
        left = true;
    });
    ASSERT_TRUE(inside.Wait());
    EXPECT_FALSE(Peer::Mutex(timer).try_lock());
    std::thread canceller([&] {
        timer.CancelTimer();
        EXPECT_TRUE(left);
    });
    leave.Set();
    canceller.join();
}

TEST(TimerCallbackTest, CallbackMayArmAndCancelItsOwnTimer) {
    TimerCallback timer;
    Signal second;
    timer.SetTimer(0, [&] {
        timer.CancelTimer();
        timer.SetTimer(0, [&] { second.Set(); });
    });
    EXPECT_TRUE(second.Wait());
}

TEST(TimerCallbackTest, CopyOfTheCallbackIsDestroyedUnderTheLock) {
    TimerCallback timer;
    Signal destroyed;
    std::atomic<bool> locked{false};
    struct Token {
        ~Token() {
            std::thread([this] { locked = !Peer::Mutex(timer).try_lock(); }).join();
            destroyed.Set();
        }
        TimerCallback& timer;
        std::atomic<bool>& locked;
        Signal& destroyed;
    };
    // Once the timer is armed, only its callback owns the token.
    timer.SetTimer(20, [token = std::shared_ptr<Token>(new Token{timer, locked, destroyed})] {});
    ASSERT_TRUE(destroyed.Wait());
    EXPECT_TRUE(locked);
}

TEST(TimerCallbackTest, EmptyCallbackEndsTheProcess) {
    EXPECT_DEATH(
        {
            TimerCallback timer;
            timer.SetTimer(0, nullptr);
            Signal never;
            never.Wait();
        },
        "");
}

TEST(TimerCallbackTest, DestructionFromInsideItsOwnCallbackEndsTheProcess) {
    EXPECT_DEATH(
        {
            auto* const timer = new TimerCallback;
            timer->SetTimer(0, [timer] { delete timer; });
            Signal never;
            never.Wait();
        },
        "");
}

TEST(TimerCallbackTest, SurvivesArmingAndCancellingFromManyThreads) {
    TimerCallback timer;
    std::atomic<int> fired{0};
    std::vector<std::thread> threads;
    for (unsigned thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            for (unsigned i = 0; i < 500; ++i) {
                timer.SetTimer((i + thread) % 3, [&] { ++fired; });
                if (i % 5 == thread) {
                    timer.CancelTimer();
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    Signal last;
    timer.SetTimer(0, [&] { last.Set(); });
    EXPECT_TRUE(last.Wait());
    EXPECT_LE(fired, 2000);
}

TEST(TimerCallbackTest, MembersStandInOrder) {
    const TimerCallback timer;
    const auto members = Peer::Members(timer);
    EXPECT_TRUE(std::is_sorted(members.begin(), members.end(), std::less<const void*>()));
}

/// Arms the timer on the timer's own thread. That thread keeps the lock until it waits for the new
/// deadline. So when this returns with the lock, the thread waits.
std::unique_lock<std::recursive_mutex> WhileItWaits(TimerCallback& timer,
                                                    std::uint32_t milliseconds,
                                                    const std::function<void()>& callback) {
    Signal armed;
    timer.SetTimer(0, [&] {
        timer.SetTimer(milliseconds, callback);
        armed.Set();
    });
    EXPECT_TRUE(armed.Wait());
    return std::unique_lock<std::recursive_mutex>(Peer::Mutex(timer));
}

void Pass(std::uint32_t milliseconds) {
    Signal passed;
    TimerCallback clock;
    clock.SetTimer(milliseconds, [&] { passed.Set(); });
    EXPECT_TRUE(passed.Wait());
}

TEST(TimerCallbackTest, WakeUpBeforeTheDeadlineIsNoExpiry) {
    Signal fired;
    Clock::time_point begin;
    Clock::time_point at;
    TimerCallback timer;
    {
        const auto lock = WhileItWaits(timer, kAnHour, Unexpected);
        begin = Clock::now();
        timer.SetTimer(100, [&] {  // this wakes the thread before its deadline
            at = Clock::now();
            fired.Set();
        });
    }
    ASSERT_TRUE(fired.Wait());
    EXPECT_GE(at - begin, std::chrono::milliseconds(100));
}

TEST(TimerCallbackTest, EarlierDeadlineEndsALongWait) {
    Signal fired;
    TimerCallback timer;
    {
        const auto lock = WhileItWaits(timer, kAnHour, Unexpected);
        timer.SetTimer(0, [&] { fired.Set(); });
    }
    EXPECT_TRUE(fired.Wait());
}

TEST(TimerCallbackTest, CancelThatTakesTheLockFirstAfterTheDeadlineWins) {
    TimerCallback timer;  // its destructor joins the thread, so a late call would be seen
    const auto lock = WhileItWaits(timer, 500, Unexpected);
    Pass(600);  // the deadline has passed, and the thread waits for the lock
    timer.CancelTimer();
    EXPECT_EQ(Peer::Of(timer), (Peer::Flags{true, false, false, false}));
}

TEST(TimerCallbackTest, RearmingAfterTheDeadlineFiresTheNewCallbackAtOnce) {
    Signal fired;
    TimerCallback timer;
    {
        const auto lock = WhileItWaits(timer, 500, Unexpected);
        Pass(600);
        timer.SetTimer(kAnHour, [&] { fired.Set(); });
    }
    EXPECT_TRUE(fired.Wait());
}

TEST(TimerCallbackTest, OneThreadRunsFromConstructionOnAndCalls) {
    Signal fired;
    std::thread::id caller;
    TimerCallback timer;
    const std::thread::id worker = Peer::ThreadId(timer);
    EXPECT_NE(worker, std::thread::id());
    timer.SetTimer(0, [&] {
        caller = std::this_thread::get_id();
        fired.Set();
    });
    ASSERT_TRUE(fired.Wait());
    EXPECT_EQ(caller, worker);
    EXPECT_EQ(Peer::ThreadId(timer), worker);
}

TEST(TimerCallbackTest, CallbackThatIsReplacedCancelledOrLeftIsDestroyedUnderTheLock) {
    struct Token {
        std::recursive_mutex& mutex;
        bool& isLocked;

        Token(std::recursive_mutex& of, bool& result) : mutex(of), isLocked(result) {}
        ~Token() {
            std::thread([this] {
                isLocked = !mutex.try_lock();
                if (!isLocked) {
                    mutex.unlock();
                }
            }).join();
        }
    };
    const std::function<void(std::unique_ptr<TimerCallback>&)> ways[] = {
        [](std::unique_ptr<TimerCallback>& timer) { timer->SetTimer(kAnHour, Unexpected); },
        [](std::unique_ptr<TimerCallback>& timer) { timer->CancelTimer(); },
        [](std::unique_ptr<TimerCallback>& timer) { timer.reset(); }};
    for (const auto& end : ways) {
        bool isLocked = false;
        auto timer = std::make_unique<TimerCallback>();
        timer->SetTimer(kAnHour,
                        [token = std::make_shared<Token>(Peer::Mutex(*timer), isLocked)] {});
        end(timer);
        EXPECT_TRUE(isLocked);
    }
}

/// A callback whose copies can fail.
struct CopyFails {
    explicit CopyFails(const bool& doesFail) : fails(doesFail) {}
    CopyFails(const CopyFails& other) : fails(other.fails) {
        if (fails) {
            throw std::bad_alloc();
        }
    }
    void operator()() const { Unexpected(); }

    const bool& fails;
};

TEST(TimerCallbackTest, CallbackThatCannotBeCopiedArmsNothing) {
    bool fails = false;
    const std::function<void()> callback = CopyFails(fails);
    fails = true;
    TimerCallback timer;
    // The lock keeps the worker from changing the flags before they are compared.
    const std::lock_guard<std::recursive_mutex> lock(Peer::Mutex(timer));
    EXPECT_THROW(timer.SetTimer(0, callback), std::bad_alloc);
    EXPECT_EQ(Peer::Of(timer), (Peer::Flags{false, false, false, false}));
    EXPECT_EQ(Peer::Deadline(timer), Clock::time_point());
}

TEST(TimerCallbackTest, CallbackThatCannotBeCopiedLeavesTheArmedOneAndItsDeadline) {
    bool fails = false;
    const std::function<void()> callback = CopyFails(fails);
    fails = true;
    TimerCallback timer;
    timer.SetTimer(kAnHour, Unexpected);
    const Clock::time_point deadline = Peer::Deadline(timer);
    EXPECT_THROW(timer.SetTimer(0, callback), std::bad_alloc);
    EXPECT_EQ(Peer::Of(timer), (Peer::Flags{false, false, true, false}));
    EXPECT_EQ(Peer::Deadline(timer), deadline);
    EXPECT_TRUE(Peer::HasCallback(timer));
}

TEST(TimerCallbackTest, CallbackIsCopiedBeforeTheLockIsTaken) {
    TimerCallback timer;
    bool isLocked = true;
    struct Looks {
        Looks(std::recursive_mutex& of, bool& result) : mutex(of), isLocked(result) {}
        Looks(const Looks& other) : mutex(other.mutex), isLocked(other.isLocked) {
            std::thread([this] {
                isLocked = !mutex.try_lock();
                if (!isLocked) {
                    mutex.unlock();
                }
            }).join();
        }
        void operator()() const { Unexpected(); }

        std::recursive_mutex& mutex;
        bool& isLocked;
    };
    const std::function<void()> callback = Looks(Peer::Mutex(timer), isLocked);
    isLocked = true;
    timer.SetTimer(kAnHour, callback);
    EXPECT_FALSE(isLocked);
}

}  // namespace
