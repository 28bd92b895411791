#include "SI/SectionFilter/Korvo/Src/EventQueue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <new>
#include <numeric>
#include <thread>
#include <type_traits>
#include <vector>

#include "tests/support/Forever.h"

namespace TORVEL_MW {

struct EventQueuePeer {
    template <class Item>
    static std::vector<const void*> Members(const EventQueue<Item>& queue) {
        return {&queue.m_queue, &queue.m_mutex, &queue.m_condition};
    }
    template <class Item>
    static void NotifyAll(EventQueue<Item>& queue) {
        queue.m_condition.NotifyAll();
    }
};

}  // namespace TORVEL_MW

namespace {

using TORVEL_MW::EventQueue;
using TORVEL_MW::EventQueuePeer;

/// An item that writes down its end.
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
    EventQueue<Item> queue;
    std::atomic<bool> popped{false};
    std::unique_ptr<Item> item;
    std::thread consumer([&] {
        item = queue.Pop();
        popped = true;
    });
    EXPECT_FALSE(popped);  // nothing is there that it could have got
    Push(queue, 5);
    consumer.join();
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
        EXPECT_EQ(number % kItems, next[producer]++);  // each producer's in its order
    }
    for (std::thread& producer : producers) {
        producer.join();
    }
}

TEST_F(EventQueueTest, DestructionDestroysTheQueuedItemsFrontToBack) {
    // Enough of them to fill several of the deque's blocks.
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
    std::atomic<bool> isPopped{false};
    std::thread consumer([&] {
        queue.Pop();
        isPopped = true;
    });
    for (int i = 0; i < 1000; ++i) {
        EventQueuePeer::NotifyAll(queue);
        std::this_thread::yield();
    }
    EXPECT_FALSE(isPopped);
    Push(queue, 1);
    consumer.join();
    EXPECT_TRUE(isPopped);
}

/// A queue whose memory stays, as that of a static object does.
template <class T>
class InPlace {
  public:
    T* Make() { return new (&memory_) T; }

  private:
    std::aligned_storage_t<sizeof(T), alignof(T)> memory_;
};

TEST_F(EventQueueTest, DestructionWaitsForNoConsumerAndLateComersBlockForEver) {
    auto& memory = Forever<InPlace<EventQueue<Item>>>();
    EventQueue<Item>& queue = *memory.Make();
    static std::atomic<int> returned{0};
    std::atomic<bool> entered{false};
    std::thread([&queue, &entered] {
        entered = true;
        queue.Pop();
        ++returned;
    }).detach();
    while (!entered) {
        std::this_thread::yield();
    }
    queue.~EventQueue();  // with the consumer in Pop, or on its way into it

    std::atomic<bool> pushing{false};
    std::vector<int>& late = Forever<std::vector<int>>();
    std::thread([&queue, &pushing, &late] {
        auto item = std::make_unique<Item>(1, late);
        pushing = true;
        queue.Push(std::move(item));
        ++returned;
    }).detach();
    while (!pushing) {
        std::this_thread::yield();
    }
    EXPECT_EQ(returned, 0);
    EXPECT_TRUE(late.empty());
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

}  // namespace
