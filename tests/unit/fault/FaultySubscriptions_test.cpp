#include "softplatform/fault/FaultySubscriptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/unit/fault/FaultFixture.h"

namespace tvservice {
namespace {

using testing::ElementsAre;
using testsupport::Plan;

class FaultySubscriptionsTest : public testing::Test {
  protected:
    static constexpr int kRefused = -1;

    void Faults(const std::vector<std::string>& specs, uint64_t seed = 1) {
        plan_ = Plan(specs, seed);
        subscriptions_ = std::make_unique<FaultySubscriptions>(plan_);
    }

    // A request that the engine answers with `handle`; returns what the client is told.
    int Subscribe(int handle) {
        const SubscribeFault fault = subscriptions_->NextSubscribe();
        return fault.isRefused ? kRefused : subscriptions_->HandOut(handle, fault);
    }

    uint64_t Count(FaultKind kind) const { return plan_->count(kind); }

    std::shared_ptr<FaultPlan> plan_;
    std::unique_ptr<FaultySubscriptions> subscriptions_;
};

TEST_F(FaultySubscriptionsTest, ChangesNothingWithoutFaults) {
    Faults({"drop=1/1", "silent=1/1"});
    EXPECT_EQ(Subscribe(5), 5);
    EXPECT_EQ(Subscribe(6), 6);
    EXPECT_FALSE(subscriptions_->NextUnsubscribe(5));
    EXPECT_THAT(subscriptions_->TakeBack(5), ElementsAre(5));
}

TEST_F(FaultySubscriptionsTest, RefusesTheSubscribeNamed) {
    Faults({"refuse-subscribe@1,3"});
    EXPECT_EQ(Subscribe(1), 1);
    EXPECT_EQ(Subscribe(2), kRefused);
    EXPECT_EQ(Subscribe(2), 2);
    EXPECT_EQ(Subscribe(3), kRefused);
    EXPECT_EQ(Subscribe(3), 3);
    EXPECT_EQ(Count(FaultKind::kRefuseSubscribe), 2u);
}

TEST_F(FaultySubscriptionsTest, RefusesTheUnsubscribeNamed) {
    Faults({"refuse-unsubscribe@1"});
    Subscribe(1);
    Subscribe(2);
    EXPECT_FALSE(subscriptions_->NextUnsubscribe(1));
    EXPECT_TRUE(subscriptions_->NextUnsubscribe(2));
    EXPECT_FALSE(subscriptions_->NextUnsubscribe(2)) << "the client tries again";
    EXPECT_THAT(subscriptions_->TakeBack(2), ElementsAre(2));
    EXPECT_EQ(Count(FaultKind::kRefuseUnsubscribe), 1u);
}

TEST_F(FaultySubscriptionsTest, GivesAHandleThatIsInUse) {
    Faults({"old-handle@1"});
    EXPECT_EQ(Subscribe(10), 10);
    EXPECT_EQ(Subscribe(11), 10);
    EXPECT_EQ(Subscribe(12), 12);
    EXPECT_EQ(Count(FaultKind::kOldHandle), 1u);
    EXPECT_THAT(subscriptions_->TakeBack(10), ElementsAre(10, 11)) << "released together";
    EXPECT_THAT(subscriptions_->TakeBack(12), ElementsAre(12));
}

TEST_F(FaultySubscriptionsTest, GivesAHandleThatWasGivenUp) {
    Faults({"old-handle@2:back=2"});
    Subscribe(10);
    Subscribe(11);
    EXPECT_THAT(subscriptions_->TakeBack(10), ElementsAre(10));
    EXPECT_EQ(Subscribe(12), 10);
    EXPECT_THAT(subscriptions_->TakeBack(10), ElementsAre(12));
}

TEST_F(FaultySubscriptionsTest, GivesNoOldHandleWhenThereIsNone) {
    Faults({"old-handle@0,2:back=2"});
    EXPECT_EQ(Subscribe(10), 10) << "the first of all";
    EXPECT_EQ(Subscribe(11), 11);
    EXPECT_EQ(Subscribe(10), 10) << "its own";
    EXPECT_EQ(Count(FaultKind::kOldHandle), 0u);
}

TEST_F(FaultySubscriptionsTest, ARefusalGoesBeforeAnOldHandle) {
    Faults({"refuse-subscribe@1", "old-handle@1"});
    Subscribe(10);
    EXPECT_EQ(Subscribe(11), kRefused);
    EXPECT_EQ(Count(FaultKind::kRefuseSubscribe), 1u);
    EXPECT_EQ(Count(FaultKind::kOldHandle), 0u);
}

TEST_F(FaultySubscriptionsTest, ReleasesASharedFilterOnce) {
    Faults({});
    EXPECT_EQ(Subscribe(4), 4);
    EXPECT_EQ(Subscribe(4), 4);
    EXPECT_THAT(subscriptions_->TakeBack(4), ElementsAre(4));
}

TEST_F(FaultySubscriptionsTest, LeavesAStaleHandleToTheEngine) {
    Faults({});
    Subscribe(4);
    subscriptions_->TakeBack(4);
    EXPECT_THAT(subscriptions_->TakeBack(4), ElementsAre(4));
    EXPECT_THAT(subscriptions_->TakeBack(-1), ElementsAre(-1));
}

TEST_F(FaultySubscriptionsTest, DoesNotTouchWhatIsExempt) {
    Faults({"refuse-unsubscribe=1/1", "refuse-unsubscribe@0", "old-handle@1"});
    Subscribe(1);
    subscriptions_->Exempt(9);
    EXPECT_FALSE(subscriptions_->NextUnsubscribe(9));
    EXPECT_EQ(Subscribe(2), 1) << "not the exempt one's";
    EXPECT_THAT(subscriptions_->TakeBack(9), ElementsAre(9));
    EXPECT_EQ(Count(FaultKind::kRefuseUnsubscribe), 0u);
    EXPECT_TRUE(subscriptions_->NextUnsubscribe(9)) << "no longer exempt";
}

TEST_F(FaultySubscriptionsTest, DecidesTheSameForASeed) {
    const auto run = [&](uint64_t seed) {
        Faults({"refuse-subscribe=1/4", "old-handle=1/4:back=3"}, seed);
        std::vector<int> told;
        for (int handle = 1; handle <= 200; ++handle) {
            told.push_back(Subscribe(handle));
        }
        return told;
    };
    const std::vector<int> told = run(1);
    EXPECT_GT(Count(FaultKind::kRefuseSubscribe), 0u);
    EXPECT_GT(Count(FaultKind::kOldHandle), 0u);
    EXPECT_EQ(run(1), told);
    EXPECT_NE(run(2), told);
}

TEST_F(FaultySubscriptionsTest, DecidesOnManyThreads) {
    Faults({"refuse-subscribe@5,500,5000", "old-handle=1/10", "refuse-unsubscribe@3000"});
    std::atomic<int> refusedSubscribes{0};
    std::atomic<int> refusedUnsubscribes{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 2000; ++i) {
                const int told = Subscribe(1 + t * 2000 + i);
                if (told == kRefused) {
                    ++refusedSubscribes;
                } else if (subscriptions_->NextUnsubscribe(told)) {
                    ++refusedUnsubscribes;
                } else {
                    subscriptions_->TakeBack(told);
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(refusedSubscribes, 3);
    EXPECT_EQ(refusedUnsubscribes, 1);
    EXPECT_EQ(Count(FaultKind::kRefuseSubscribe), 3u);
    EXPECT_GT(Count(FaultKind::kOldHandle), 0u);
}

}  // namespace
}  // namespace tvservice
