#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <memory>
#include <mutex>
#include <new>
#include <numeric>
#include <thread>
#include <type_traits>
#include <vector>

#include "tests/support/Forever.h"
#include "tests/unit/si/Call.h"
#include "tests/unit/si/EventQueuePeer.h"

namespace {

using TORVEL_MW::EternalCondition;
using TORVEL_MW::EventQueue;
using TORVEL_MW::EventQueuePeer;

/// An item that records its destruction.
struct Item {
    Item(int theNumber, std::vector<int>& theEnds) : number(theNumber), ends(theEnds) {}
    ~Item() { ends.push_back(number); }
    Item(const Item&) = delete;
    Item& operator=(const Item&) = delete;
    int number;
    std::vector<int>& ends;
};

class EventQueueTest : public testing::Test {
  protected:
    void Push(EventQueue<Item>& queue, int number) {
        queue.Push(std::make_unique<Item>(number, ends));
    }

    std::vector<int> ends;
};

TEST_F(EventQueueTest, ItemsComeOutInTheOrderInWhichTheyWentIn) {
    EventQueue<Item> queue;
    for (const int number : {1, 2, 3}) {
        Push(queue, number);
    }
    for (const int number : {1, 2, 3}) {
        EXPECT_EQ(queue.Pop()->number, number);
    }
}

TEST_F(EventQueueTest, ItemsWaitInAnyNumber) {
    constexpr int kItems = 100000;
    EventQueue<int> queue;
    for (int i = 0; i < kItems; ++i) {
        queue.Push(std::make_unique<int>(i));
    }
    for (int i = 0; i < kItems; ++i) {
        ASSERT_EQ(*queue.Pop(), i);
    }
}

TEST_F(EventQueueTest, ItemBelongsToWhoeverPoppedIt) {
    EventQueue<Item> queue;
    Push(queue, 1);
    std::unique_ptr<Item> item = queue.Pop();
    EXPECT_TRUE(ends.empty());
    item.reset();
    EXPECT_EQ(ends, std::vector<int>({1}));
}

TEST_F(EventQueueTest, NullGoesThroughLikeAnyItem) {
    EventQueue<Item> queue;
    queue.Push(nullptr);
    Push(queue, 1);
    EXPECT_EQ(queue.Pop(), nullptr);
    EXPECT_NE(queue.Pop(), nullptr);
}

TEST_F(EventQueueTest, PopWaitsUntilAnotherThreadPushes) {
    auto& queue = Forever<EventQueue<Item>>();
    auto& item = Forever<std::unique_ptr<Item>>();
    auto& consumer = Forever<Call>([&] { item = queue.Pop(); });
    ASSERT_TRUE(consumer.Blocks());
    Push(queue, 5);
    ASSERT_TRUE(consumer.Returns());
    EXPECT_EQ(item->number, 5);
}

TEST_F(EventQueueTest, ManyProducersLoseNothing) {
    constexpr int kProducers = 4;
    constexpr int kItems = 2000;
    EventQueue<int> queue;
    std::vector<std::thread> producers;
    for (int producer = 0; producer < kProducers; ++producer) {
        producers.emplace_back([&queue, producer] {
            for (int i = 0; i < kItems; ++i) {
                queue.Push(std::make_unique<int>(producer * kItems + i));
            }
        });
    }
    std::vector<int> next(kProducers, 0);
    for (int i = 0; i < kProducers * kItems; ++i) {
        const int number = *queue.Pop();
        const auto producer = static_cast<std::size_t>(number / kItems);
        EXPECT_EQ(number % kItems, next[producer]++);  // the items of one producer keep their order
    }
    for (std::thread& producer : producers) {
        producer.join();
    }
}

TEST_F(EventQueueTest, DestructionDestroysTheQueuedItemsFrontToBack) {
    // Enough items to fill several blocks of the deque.
    constexpr int kLast = 1000;
    auto queue = std::make_unique<EventQueue<Item>>();
    for (int number = 1; number <= kLast; ++number) {
        Push(*queue, number);
    }
    queue->Pop();
    ends.clear();
    queue.reset();
    std::vector<int> inOrder(kLast - 1);
    std::iota(inOrder.begin(), inOrder.end(), 2);
    EXPECT_EQ(ends, inOrder);
}

TEST_F(EventQueueTest, MembersStandInTheirOrder) {
    const EventQueue<Item> queue;
    const auto members = EventQueuePeer::Members(queue);
    EXPECT_TRUE(std::is_sorted(members.begin(), members.end()));
}

TEST_F(EventQueueTest, AWakeUpWithoutAnItemIsWaitedOver) {
    auto& queue = Forever<EventQueue<Item>>();
    auto& consumer = Forever<Call>([&queue] { queue.Pop(); });
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(consumer.Blocks());
        EventQueuePeer::NotifyAll(queue);
    }
    Push(queue, 1);
    EXPECT_TRUE(consumer.Returns());
}

/// A queue whose memory is still there after its destruction, like that of a static object.
template <class T>
class InPlace {
  public:
    T* Make() { return new (&memory_) T; }

  private:
    std::aligned_storage_t<sizeof(T), alignof(T)> memory_;
};

TEST_F(EventQueueTest, ConditionEndsWhileSomebodyStillWaitsOnIt) {
    auto& memory = Forever<InPlace<EternalCondition>>();
    EternalCondition& condition = *memory.Make();
    auto& mutex = Forever<std::mutex>();
    auto& waiter = Forever<Call>([&] {
        std::unique_lock<std::mutex> lock(mutex);
        for (;;) {
            condition.Wait(lock);
        }
    });
    ASSERT_TRUE(waiter.Blocks());
    EXPECT_TRUE(ReturnsElsewhere([&condition] { condition.~EternalCondition(); }));
}

TEST_F(EventQueueTest, DestructionWaitsForNoConsumerAndLateComersBlockForEver) {
    auto& memory = Forever<InPlace<EventQueue<Item>>>();
    EventQueue<Item>& queue = *memory.Make();
    auto& consumer = Forever<Call>([&queue] { queue.Pop(); });
    ASSERT_TRUE(consumer.Blocks());
    ASSERT_TRUE(ReturnsElsewhere([&queue] { queue.~EventQueue(); }));

    auto& late = Forever<std::vector<int>>();
    auto& producer =
        Forever<Call>([&queue, &late] { queue.Push(std::make_unique<Item>(1, late)); });
    auto& secondConsumer = Forever<Call>([&queue] { queue.Pop(); });
    EXPECT_TRUE(producer.Blocks());
    EXPECT_TRUE(secondConsumer.Blocks());
    EXPECT_TRUE(consumer.Blocks());
}

TEST_F(EventQueueTest, SecondQueueAtTheSamePlaceWorks) {
    InPlace<EventQueue<Item>> memory;
    for (int round = 0; round < 3; ++round) {
        EventQueue<Item>& queue = *memory.Make();
        Push(queue, round);
        EXPECT_EQ(queue.Pop()->number, round);
        queue.~EventQueue();
    }
}

TEST_F(EventQueueTest, HasNoMemberMore) {
    struct Mirror {
        std::deque<std::unique_ptr<Item>> queue;
        std::mutex mutex;
        EternalCondition condition;
    };
    EXPECT_EQ(sizeof(EventQueue<Item>), sizeof(Mirror));
}

}  // namespace
