#include "softplatform/fault/FaultPlan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/unit/fault/FaultFixture.h"

namespace tvservice {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testsupport::Plan;

std::vector<std::pair<std::string, uint64_t>> Rows(const FaultPlan& plan) {
    std::vector<std::pair<std::string, uint64_t>> rows;
    for (const FaultCount& row : plan.counts()) {
        rows.emplace_back(row.name, row.count);
    }
    return rows;
}

// Which of the first `count` events the fault happens to.
std::vector<int> Hits(FaultTrigger trigger, int count) {
    std::vector<int> hits;
    for (int i = 0; i < count; ++i) {
        if (trigger.Next()) {
            hits.push_back(i);
        }
    }
    return hits;
}

TEST(FaultPlan, NamesTheSpecThatIsWrong) {
    std::string error;
    EXPECT_EQ(FaultPlan::Parse({"drop@1", "drip@1"}, 1, error), nullptr);
    EXPECT_EQ(error.substr(0, 26), "fault \"drip@1\", offset 0: ");
}

TEST(FaultPlan, WithoutSpecsPlansNothing) {
    const auto plan = Plan({});
    EXPECT_FALSE(plan->Has(FaultEvent::kPacket));
    EXPECT_FALSE(plan->Has(FaultKind::kDrop));
    EXPECT_THAT(plan->Triggers(FaultEvent::kPacket), IsEmpty());
    EXPECT_THAT(plan->counts(), IsEmpty());
}

TEST(FaultPlan, SortsFaultsByWhatTheyHappenTo) {
    const auto plan = Plan({"cut@1", "drop@1", "late@1", "drop=1/7"});
    EXPECT_EQ(plan->Triggers(FaultEvent::kPacket).size(), 2u);
    EXPECT_EQ(plan->Triggers(FaultEvent::kDelivery).size(), 1u);
    EXPECT_TRUE(plan->Has(FaultEvent::kRelease));
    EXPECT_FALSE(plan->Has(FaultEvent::kSubscribe));
    EXPECT_TRUE(plan->Has(FaultKind::kDrop));
    EXPECT_FALSE(plan->Has(FaultKind::kDelay));
}

TEST(FaultPlan, CountsWhatIsPlannedByName) {
    const auto plan = Plan({"zero-length@1", "drop@1", "drop@2"});
    EXPECT_THAT(Rows(*plan), ElementsAre(Pair("drop", 0), Pair("zero-length", 0)));
    plan->Count(FaultKind::kZeroLength, 3);
    plan->Count(FaultKind::kDrop);
    EXPECT_THAT(Rows(*plan), ElementsAre(Pair("drop", 1), Pair("zero-length", 3)));
}

TEST(FaultPlan, CountsOnManyThreads) {
    const auto plan = Plan({"drop@1"});
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < 10'000; ++n) {
                plan->Count(FaultKind::kDrop);
                if (n % 1000 == 0) {
                    EXPECT_EQ(plan->counts().size(), 1u);
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(plan->count(FaultKind::kDrop), 40'000u);
}

TEST(FaultTrigger, HitsExactlyTheIndexesGiven) {
    const auto plan = Plan({"drop@0,3,8,9"});
    EXPECT_THAT(Hits(plan->Triggers(FaultEvent::kPacket)[0], 20), ElementsAre(0, 3, 8, 9));
}

TEST(FaultTrigger, HitsAboutOneInSoMany) {
    const auto plan = Plan({"drop=1/100"});
    const size_t hits = Hits(plan->Triggers(FaultEvent::kPacket)[0], 100'000).size();
    EXPECT_GT(hits, 850u);
    EXPECT_LT(hits, 1150u);
}

TEST(FaultTrigger, HitsAlwaysAtARateOfOne) {
    const auto plan = Plan({"drop=1/1"});
    EXPECT_EQ(Hits(plan->Triggers(FaultEvent::kPacket)[0], 1000).size(), 1000u);
}

TEST(FaultTrigger, HitsTheSameForASeedAndOthersForAnother) {
    const auto hits = [](uint64_t seed) {
        return Hits(Plan({"drop=1/10"}, seed)->Triggers(FaultEvent::kPacket)[0], 1000);
    };
    EXPECT_EQ(hits(5), hits(5));
    EXPECT_NE(hits(5), hits(6));
}

TEST(FaultTrigger, HitsTheSameOnEveryMachine) {
    const auto plan = Plan({"drop=1/10"}, 2024);
    EXPECT_THAT(Hits(plan->Triggers(FaultEvent::kPacket)[0], 60),
                ElementsAre(9, 28, 33, 35, 39, 47, 49));
}

TEST(FaultTrigger, OfOneSpecIsNotMovedByOneBehindIt) {
    const auto alone = Plan({"drop=1/10"});
    const auto two = Plan({"drop=1/10", "drop=1/10"});
    const auto first = Hits(two->Triggers(FaultEvent::kPacket)[0], 1000);
    EXPECT_EQ(Hits(alone->Triggers(FaultEvent::kPacket)[0], 1000), first);
    EXPECT_NE(Hits(two->Triggers(FaultEvent::kPacket)[1], 1000), first);
}

}  // namespace
}  // namespace tvservice
