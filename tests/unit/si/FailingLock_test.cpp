// Locks that the system refuses: the caller gets the error, and nothing else has changed. A
// separate program without ThreadSanitizer, which would report the refused lock as an error of the
// test.

#include <pthread.h>

#include <memory>
#include <mutex>
#include <system_error>
#include <vector>

#include "SI/SectionFilter/Korvo/Src/EventQueue.h"
#include "tests/support/Forever.h"
#include "tests/unit/si/EventQueuePeer.h"
#include "tests/unit/si/SectionManagerFixture.h"

namespace {

using TORVEL_MW::EventQueue;
using TORVEL_MW::EventQueuePeer;

// Turns `mutex` into one that refuses a second lock by the same thread, and locks it.
template <class Mutex>
void Hold(Mutex& mutex) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
    pthread_mutex_destroy(mutex.native_handle());
    ASSERT_EQ(pthread_mutex_init(mutex.native_handle(), &attributes), 0);
    mutex.lock();
}

TEST(EventQueueFailingLock, IsASystemErrorAndTheItemIsDestroyed) {
    struct Item {
        int* ends;
        ~Item() { ++*ends; }
    };
    auto& queue = Forever<EventQueue<Item>>();
    Hold(EventQueuePeer::Mutex(queue));
    int ends = 0;
    EXPECT_THROW(queue.Push(std::unique_ptr<Item>(new Item{&ends})), std::system_error);
    EXPECT_EQ(ends, 1);
    EXPECT_THROW(queue.Pop(), std::system_error);
}

class SectionManagerFailingLock : public SectionManagerTest {};

TEST_F(SectionManagerFailingLock, IsASystemErrorAndNothingIsAskedOfThePlatform) {
    auto& manager = Forever<CKorvoSectionManager>();
    Hold(KorvoSectionManagerPeer::Mutex(manager));
    platform.TakeLog();
    constexpr auto kMode = ISectionManager::EContinuous;
    EXPECT_THROW(manager.Subscribe(0x11, 0x42, observer, kMode, kNoTimeout, false),
                 std::system_error);
    EXPECT_THROW(manager.Subscribe(0x11, 0x42, 5, observer, kMode, kNoTimeout), std::system_error);
    EXPECT_THAT(platform.TakeLog(), testing::SizeIs(2)) << "their traces come before the lock";
    EXPECT_THROW(manager.Subscribe(0x12, {0x4E}, {0xFE}, {}, observer, kMode, kNoTimeout),
                 std::system_error);
    EXPECT_THROW(manager.Unsubscribe(1), std::system_error);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
    EXPECT_THAT(platform.Requests(), IsEmpty());
}

}  // namespace
