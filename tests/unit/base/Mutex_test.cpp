#include "softplatform/base/Mutex.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

namespace tvservice {
namespace {

class Mailbox {
  public:
    void Put(int letter) TV_EXCLUDES(mutex_) {
        MutexLock lock(mutex_);
        letters_.push_back(letter);
        filled_.NotifyOne();
    }

    int Take() TV_EXCLUDES(mutex_) {
        MutexLock lock(mutex_);
        while (letters_.empty()) {
            filled_.Wait(mutex_);
        }
        const int letter = letters_.back();
        letters_.pop_back();
        return letter;
    }

    // Whether a letter came before `deadline`.
    bool WaitForLetter(std::chrono::steady_clock::time_point deadline) TV_EXCLUDES(mutex_) {
        MutexLock lock(mutex_);
        while (letters_.empty()) {
            if (!filled_.WaitUntil(mutex_, deadline)) {
                return !letters_.empty();
            }
        }
        return true;
    }

    bool IsLockedElsewhere() {
        if (!mutex_.TryLock()) {
            return true;
        }
        mutex_.Unlock();
        return false;
    }

    Mutex& mutex() TV_RETURN_CAPABILITY(mutex_) { return mutex_; }

  private:
    Mutex mutex_;
    CondVar filled_;
    std::vector<int> letters_ TV_GUARDED_BY(mutex_);
};

TEST(Mutex, ALockHoldsUntilItsEnd) {
    Mailbox mailbox;
    bool lockedInside = false;
    {
        MutexLock lock(mailbox.mutex());
        std::thread([&] { lockedInside = mailbox.IsLockedElsewhere(); }).join();
    }
    EXPECT_TRUE(lockedInside);
    EXPECT_FALSE(mailbox.IsLockedElsewhere());
}

TEST(Mutex, AWaiterGivesTheLockUpAndHoldsItAgainAfterwards) {
    Mailbox mailbox;
    int taken = 0;
    std::thread reader([&] { taken = mailbox.Take(); });
    mailbox.Put(42);
    reader.join();
    EXPECT_EQ(taken, 42);
}

TEST(Mutex, AWaitEndsAtItsDeadline) {
    Mailbox mailbox;
    EXPECT_FALSE(mailbox.WaitForLetter(std::chrono::steady_clock::now()));
    mailbox.Put(1);
    EXPECT_TRUE(mailbox.WaitForLetter(std::chrono::steady_clock::time_point::max()));
}

}  // namespace
}  // namespace tvservice
