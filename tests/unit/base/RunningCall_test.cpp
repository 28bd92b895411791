#include "softplatform/base/RunningCall.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "tests/support/Signal.h"

namespace tvservice {
namespace {

using testsupport::Signal;

class RunningCallTest : public testing::Test {
  protected:
    void WaitForEndOf(int key) {
        MutexLock lock(mutex_);
        isWaiting_.Set();
        call_.WaitForEnd(mutex_, [key](int running) { return running == key; });
    }

    Mutex mutex_;
    RunningCall<int> call_;
    Signal isInside_;
    Signal isWaiting_;
};

TEST_F(RunningCallTest, GivesUpTheMutexForTheCall) {
    MutexLock lock(mutex_);
    bool wasFree = false;
    call_.Make(mutex_, 1, [&] {
        if (mutex_.TryLock()) {
            wasFree = true;
            mutex_.Unlock();
        }
    });
    EXPECT_TRUE(wasFree);
    std::thread([&] {
        const bool isFree = mutex_.TryLock();
        EXPECT_FALSE(isFree) << "it holds it again";
        if (isFree) {
            mutex_.Unlock();
        }
    }).join();
}

TEST_F(RunningCallTest, WaitsForNothingWhenNoCallRuns) {
    WaitForEndOf(1);
    {
        MutexLock lock(mutex_);
        call_.Make(mutex_, 1, [] {});
    }
    WaitForEndOf(1);
}

TEST_F(RunningCallTest, WaitsForTheEndOfACallOnAnotherThread) {
    std::atomic<bool> hasEnded{false};
    std::thread caller([&] {
        MutexLock lock(mutex_);
        call_.Make(mutex_, 1, [&] {
            isInside_.Set();
            EXPECT_TRUE(isWaiting_.Wait());
            // This lock succeeds because the waiting thread gives the mutex up.
            mutex_.Lock();
            hasEnded = true;
            mutex_.Unlock();
        });
    });
    ASSERT_TRUE(isInside_.Wait());
    WaitForEndOf(1);
    EXPECT_TRUE(hasEnded);
    caller.join();
}

TEST_F(RunningCallTest, DoesNotWaitForACallThatIsForSomebodyElse) {
    Signal mayEnd;
    std::thread caller([&] {
        MutexLock lock(mutex_);
        call_.Make(mutex_, 1, [&] {
            isInside_.Set();
            EXPECT_TRUE(mayEnd.Wait());
        });
    });
    ASSERT_TRUE(isInside_.Wait());
    WaitForEndOf(2);
    mayEnd.Set();
    caller.join();
}

TEST_F(RunningCallTest, DoesNotWaitForItselfInsideTheCall) {
    MutexLock lock(mutex_);
    call_.Make(mutex_, 1, [&] { WaitForEndOf(1); });
}

TEST_F(RunningCallTest, DoesNotWaitForTheNextCallWithTheSameKey) {
    Signal hasWaited;
    std::thread caller([&] {
        MutexLock lock(mutex_);
        call_.Make(mutex_, 1, [&] {
            isInside_.Set();
            EXPECT_TRUE(isWaiting_.Wait());
            mutex_.Lock();  // the other thread waits now
            mutex_.Unlock();
        });
        call_.Make(mutex_, 1, [&] { EXPECT_TRUE(hasWaited.Wait()); });
    });
    ASSERT_TRUE(isInside_.Wait());
    WaitForEndOf(1);
    hasWaited.Set();
    caller.join();
}

}  // namespace
}  // namespace tvservice
