// What happens when memory runs out between the platform's callback and the event thread, and while
// the manager stores a subscription. A separate program, because it replaces operator new.

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

#include "SI/SectionFilter/Korvo/Src/EventQueue.h"
#include "SI/SectionFilter/Korvo/Src/SectionData.h"
#include "tests/support/FailingNew.h"
#include "tests/unit/si/Call.h"
#include "tests/unit/si/EventQueuePeer.h"
#include "tests/unit/si/SectionManagerFixture.h"

namespace {

using testsupport::t_heap;
using TORVEL_MW::EventQueue;
using TORVEL_MW::EventQueuePeer;
using TORVEL_MW::SectionData;

/// Runs `body`; after `successes` allocations the next one fails. Returns whether `body` ended with
/// std::bad_alloc.
template <class Body>
bool RunsOutOfMemory(int successes, const Body& body) {
    t_heap.failAfter = successes;
    try {
        body();
    } catch (const std::bad_alloc&) {
        t_heap.failAfter = -1;
        return true;
    }
    t_heap.failAfter = -1;
    return false;
}

TEST(SectionDataMemoryTest, BytesAreOneAllocationOfExactlyTheirLength) {
    std::vector<unsigned char> bytes(4096, 0x42);
    const int before = t_heap.allocations;
    const SectionData record(1, bytes.data(), 4096);
    EXPECT_EQ(t_heap.allocations - before, 1);
    EXPECT_EQ(t_heap.lastSize, 4096u);
}

TEST(SectionDataMemoryTest, RecordOfLength0AllocatesNothing) {
    EXPECT_FALSE(RunsOutOfMemory(0, [] { const SectionData record(1, nullptr, 0); }));
}

TEST(SectionDataMemoryTest, RecordThatFailsLeavesNothing) {
    std::vector<unsigned char> bytes(4096, 0x42);
    const int blocks = t_heap.blocks;
    const auto make = [&bytes] { std::make_unique<SectionData>(1, bytes.data(), 4096); };
    EXPECT_TRUE(RunsOutOfMemory(0, make)) << "the record";
    EXPECT_EQ(t_heap.blocks, blocks);
    EXPECT_TRUE(RunsOutOfMemory(1, make)) << "its bytes";
    EXPECT_EQ(t_heap.blocks, blocks);
    EXPECT_FALSE(RunsOutOfMemory(2, make));
    EXPECT_EQ(t_heap.blocks, blocks);
}

TEST(EventQueueMemoryTest, PushThatFailsDestroysItsItemReleasesTheLockAndLosesNoOther) {
    constexpr int kItems = 2000;  // enough for the deque to enlarge its table of blocks too
    const int blocks = t_heap.blocks;
    int failures = 0;
    int mostFailuresOfOne = 0;
    {
        EventQueue<int> queue;
        for (int number = 0; number < kItems; ++number) {
            int failed = 0;
            for (;;) {
                auto item = std::make_unique<int>(number);
                const int before = t_heap.blocks;
                if (!RunsOutOfMemory(failed, [&] { queue.Push(std::move(item)); })) {
                    break;
                }
                ASSERT_EQ(t_heap.blocks, before - 1)
                    << "the item is gone, and nothing else has come";
                ASSERT_TRUE(EventQueuePeer::Mutex(queue).try_lock());
                EventQueuePeer::Mutex(queue).unlock();
                ++failed;
            }
            failures += failed;
            mostFailuresOfOne = std::max(mostFailuresOfOne, failed);
        }
        for (int number = 0; number < kItems / 2; ++number) {
            ASSERT_EQ(*queue.Pop(), number);
        }
    }
    EXPECT_GT(failures, 10);
    EXPECT_GE(mostFailuresOfOne, 2);
    EXPECT_EQ(t_heap.blocks, blocks);
}

TEST(EventQueueMemoryTest, PopAllocatesNothing) {
    EventQueue<int> queue;
    for (int number = 0; number < 500; ++number) {
        queue.Push(std::make_unique<int>(number));
    }
    EXPECT_FALSE(RunsOutOfMemory(0, [&queue] {
        for (int number = 0; number < 500; ++number) {
            queue.Pop();
        }
    }));
}

// --- The manager

class ManagerMemoryTest : public SectionManagerTest {
  protected:
    static bool IsFree(std::recursive_mutex& mutex) {
        bool isFree = false;
        Call([&] {
            isFree = mutex.try_lock();
            if (isFree) {
                mutex.unlock();
            }
        }).Returns();
        return isFree;
    }
};

TEST_F(ManagerMemoryTest, SectionThatFindsNoMemoryFailsToItsSenderAndTheNextOneArrives) {
    SubscribeTable(observer);
    Settle();
    std::size_t arrived = 0;
    int failures = 0;
    for (int round = 0; round < 200; ++round) {
        for (int successes = 0;; ++successes) {
            unsigned char section[] = {0x42, 0xF0, static_cast<unsigned char>(round)};
            const int blocks = t_heap.blocks;
            if (!RunsOutOfMemory(successes, [&] {
                    CKorvoSectionManager::s_OnSectionData(false, sizeof(section), section, 1);
                })) {
                ASSERT_GE(successes, 2) << "the record and its bytes";
                break;
            }
            ASSERT_EQ(t_heap.blocks, blocks);
            ++failures;
        }
        ++arrived;
    }
    ASSERT_TRUE(observer.WaitForSections(arrived));
    Settle();
    const auto sections = observer.Sections();
    ASSERT_EQ(sections.size(), arrived);
    for (std::size_t i = 0; i < arrived; ++i) {
        EXPECT_EQ(sections[i].data.at(2), i);
    }
    EXPECT_GT(failures, 2 * 200) << "the queue's own memory too";
}

TEST_F(ManagerMemoryTest, SubscriptionThatFindsNoPlaceInTheTableIsReleasedAndConsumesNoId) {
    // After the subscription's last line its control block is allocated, then its table entry.
    platform.duringLog = [](const std::string& line) {
        if (line.find("Subscribed successfully") != std::string::npos) {
            t_heap.failAfter = 1;
        }
    };
    EXPECT_THROW(SubscribeTable(observer), std::bad_alloc);
    platform.duringLog = nullptr;
    EXPECT_THAT(platform.Released(), ElementsAre(100));
    EXPECT_EQ(SectionSubscriptionPeer::HandleCount(100), 0);
    EXPECT_FALSE(KorvoSectionManagerPeer::Holds(manager(), 1));
    EXPECT_TRUE(IsFree(KorvoSectionManagerPeer::Mutex(manager())));

    EXPECT_EQ(SubscribeTable(observer), 1u);
    platform.Deliver(1, {0x42});
    EXPECT_TRUE(observer.WaitForSections(1));
    ISectionManager::Instance()->Unsubscribe(1);
    Settle();  // until now the event thread may have kept it alive
    EXPECT_THAT(platform.Released(), ElementsAre(100, 101));
}

TEST_F(ManagerMemoryTest, TextOfAPatternThatFindsNoMemoryAsksThePlatformForNothing) {
    const std::vector<unsigned char> pattern(20, 0x42);
    ISectionManager& m = *ISectionManager::Instance();
    EXPECT_TRUE(RunsOutOfMemory(0, [&] {
        m.Subscribe(0x12, pattern, pattern, {}, observer, ISectionManager::EContinuous, kNoTimeout);
    }));
    EXPECT_THAT(platform.Requests(), IsEmpty());
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
    EXPECT_TRUE(IsFree(KorvoSectionManagerPeer::Mutex(manager())));
    EXPECT_EQ(
        m.Subscribe(0x12, pattern, pattern, {}, observer, ISectionManager::EContinuous, kNoTimeout),
        1u);
}

}  // namespace
