// Deliveries that are cut, delayed, left out, empty, late or for an unknown subscription, and what
// the SI layer does with each.

#include <map>

#include "tests/hostile/HostileTest.h"

namespace testsupport {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::Gt;
using testing::IsEmpty;
using testing::Lt;
using testing::Pair;

class DeliveryFaultsTest : public HostileTest {
  protected:
    // Blocks the event thread at the first section of `inbox` until the platform has made `count`
    // deliveries.
    void HoldEventsUntil(Inbox& inbox, uint64_t count) {
        inbox.Then([this, count](unsigned) { WaitForDeliveries(count); });
    }

    static std::string Accepted(const std::string& handle, unsigned id, uint16_t pid,
                                uint8_t table_id, size_t length) {
        return OfSubscription(4, "OnCallback",
                              " TVS handle=" + handle + " id=" + std::to_string(id) + " pid=" +
                                  std::to_string(pid) + " tableid=" + std::to_string(table_id) +
                                  " mode=1 length: " + std::to_string(length));
    }
    static std::string TimerCancelled(unsigned id) {
        return OfSubscription(4, "OnCallback", "Cancel the timer for id: " + std::to_string(id));
    }
};

TEST_F(DeliveryFaultsTest, ACutSectionArrivesAsLongAsItWasDelivered) {
    Suffer({"cut@2:to=50"});
    Subscribe(inbox_);
    const SectionList sections = Sections(5);
    const std::string handle = HandleOf(2);
    Write(sections).Play();
    SectionList expected = sections;
    expected[2].resize(50);
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(expected));
    EXPECT_THAT(Faults(), ElementsAre(Pair("cut", 1)));
    const std::string whole = Accepted(handle, 2, kPid, kTable, 183);
    const std::string cancelled = TimerCancelled(2);
    std::vector<std::string> log = TakeLog();
    log.resize(10);  // the lines behind these are the barrier's
    EXPECT_THAT(
        log, ElementsAre(whole, cancelled, whole, cancelled, Accepted(handle, 2, kPid, kTable, 50),
                         cancelled, whole, cancelled, whole, cancelled));
}

TEST_F(DeliveryFaultsTest, SectionsCutAtRandomAreBeginningsAndTheOthersWhole) {
    Suffer({"cut=1/4"});
    Subscribe(inbox_);
    const SectionList sections = Sections(400);
    Write(sections).Play();
    const SectionList received = inbox_.Take();
    ASSERT_EQ(received.size(), sections.size());
    uint64_t cuts = 0;
    for (size_t i = 0; i < received.size(); ++i) {
        EXPECT_GE(received[i].size(), 1u);
        EXPECT_EQ(received[i], Slice(sections[i], 0, received[i].size()));
        cuts += received[i].size() < sections[i].size() ? 1 : 0;
    }
    EXPECT_EQ(cuts, FaultCount());
    EXPECT_THAT(cuts, AllOf(Gt(60u), Lt(140u)));
    EXPECT_THAT(TakeTrouble(), IsEmpty());
}

TEST_F(DeliveryFaultsTest, ASectionCutToNothingIsReportedAndDropped) {
    Suffer({"cut@2:to=0"});
    Subscribe(inbox_);
    const SectionList sections = Sections(5);
    Write(sections).Play();
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(Without(sections, 2)));
    EXPECT_THAT(Faults(), ElementsAre(Pair("cut", 1)));
    EXPECT_THAT(TakeTrouble(), ElementsAre(NoLength()));
}

TEST_F(DeliveryFaultsTest, ADelayedSectionArrivesBehindLaterOnes) {
    Suffer({"delay@1:by=3"});
    Subscribe(inbox_);
    const SectionList sections = Sections(6);
    Write(sections).Play();
    SectionList expected = sections;
    std::rotate(expected.begin() + 1, expected.begin() + 2, expected.begin() + 5);
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(expected));
    EXPECT_THAT(Faults(), ElementsAre(Pair("delay", 1)));
    EXPECT_THAT(TakeTrouble(), IsEmpty());
}

TEST_F(DeliveryFaultsTest, WhatIsStillDelayedArrivesAtTheEndOfTheInput) {
    Suffer({"delay@2,3:by=1000"});
    Subscribe(inbox_);
    const SectionList sections = Sections(6);
    Write(sections).Play();
    SectionList expected = sections;
    std::rotate(expected.begin() + 2, expected.begin() + 4, expected.end());
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(expected));
    EXPECT_THAT(Faults(), ElementsAre(Pair("delay", 2)));
    EXPECT_THAT(TakeTrouble(), IsEmpty());
}

TEST_F(DeliveryFaultsTest, ADelayedSectionOfAReleasedIdIsNotDelivered) {
    Suffer({"delay@1:by=5"});
    const unsigned id = Subscribe(inbox_);
    Subscribe(other_, kOtherPid, kOtherTable);
    // The second section of its table is delayed. Meanwhile the first section of the other table
    // releases the subscription.
    bool isReleased = false;
    other_.Then([&](unsigned) {
        if (!std::exchange(isReleased, true)) {
            Manager().Unsubscribe(id);
        }
    });
    const SectionList sections = Sections(2), others = Sections(10, kOtherTable);
    Write(sections).Write(others, kOtherPid).Play(kLockStep);
    EXPECT_THAT(inbox_.Take(), ElementsAre(sections[0]));
    EXPECT_THAT(other_.Take(), ElementsAreArray(others));
    EXPECT_THAT(Faults(), ElementsAre(Pair("delay", 1)));
    EXPECT_THAT(TakeTrouble(), IsEmpty());
}

TEST_F(DeliveryFaultsTest, AfterASilenceSectionsArriveAgain) {
    Suffer({"silent@5:for=10"});
    Subscribe(inbox_);
    const SectionList sections = Sections(20);
    Write(sections).Play();
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(Without(sections, 5, 10)));
    EXPECT_THAT(Faults(), ElementsAre(Pair("silent", 10)));
    EXPECT_THAT(TakeTrouble(), IsEmpty());
}

TEST_F(DeliveryFaultsTest, ASilenceOfOneTableDoesNotTouchAnother) {
    Suffer({"silent@0:for=1000:table=0x42"});
    Subscribe(inbox_);
    Subscribe(other_, kOtherPid, kOtherTable);
    const SectionList sections = Sections(50), others = Sections(50, kOtherTable);
    WriteInTurn(sections, others).Play();
    EXPECT_THAT(inbox_.Take(), IsEmpty());
    EXPECT_THAT(other_.Take(), ElementsAreArray(others));
    EXPECT_THAT(Faults(), ElementsAre(Pair("silent", 50)));
    EXPECT_THAT(TakeTrouble(), IsEmpty());
}

TEST_F(DeliveryFaultsTest, ASilenceFromTheStartIsReportedByTheTimeoutAndEndsAllTheSame) {
    Suffer({"silent@0:for=3"});
    const unsigned id = Subscribe(inbox_, kPid, kTable, ISectionManager::EContinuous, 20);
    const SectionList sections = Sections(6);
    Write(Sublist(sections, 0, 3)).Play();
    ASSERT_TRUE(inbox_.WaitForTimeout());
    Write(Sublist(sections, 3, 3)).Play();
    EXPECT_THAT(inbox_.Timeouts(), ElementsAre(id));
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(Sublist(sections, 3, 3)));
    EXPECT_THAT(Faults(), ElementsAre(Pair("silent", 3)));
    EXPECT_THAT(TakeTrouble(), IsEmpty());
}

TEST_F(DeliveryFaultsTest, AnEmptyDeliveryIsReportedAndTheSectionsArrive) {
    Suffer({"zero-length@3,7"});
    Subscribe(inbox_);
    const SectionList sections = Sections(10);
    Write(sections).Play();
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(sections));
    EXPECT_THAT(Faults(), ElementsAre(Pair("zero-length", 2)));
    EXPECT_THAT(TakeTrouble(), ElementsAre(NoLength(), NoLength()));
}

TEST_F(DeliveryFaultsTest, AnEmptyDeliveryDoesNotEndTheWaitForTheFirstSection) {
    Suffer({"zero-length@0", "cut@0:to=0"});
    const unsigned id = Subscribe(inbox_, kPid, kTable, ISectionManager::EContinuous, 100);
    TakeLog();
    Write(Sections(1)).Play();
    EXPECT_TRUE(inbox_.WaitForTimeout());
    EXPECT_THAT(inbox_.Timeouts(), ElementsAre(id));
    EXPECT_THAT(inbox_.Take(), IsEmpty());
    EXPECT_THAT(Faults(), ElementsAre(Pair("cut", 1), Pair("zero-length", 1)));
    const std::vector<std::string> log = TakeLog();
    EXPECT_THAT(log, testing::Not(Contains(TimerCancelled(id))));
    EXPECT_THAT(TroubleIn(log), ElementsAre(NoLength(), NoLength()));
}

TEST_F(DeliveryFaultsTest, AnEmptyDeliveryUsesUpAOneShotAndItsSectionFindsNobody) {
    Suffer({"zero-length@0:table=0x42"});
    Subscribe(other_, kOtherPid, kOtherTable);
    const unsigned id = Subscribe(inbox_, kPid, kTable, ISectionManager::EOneShot);
    HoldEventsUntil(other_, 2);  // the section comes before the platform learns of the end
    const SectionList others = Sections(1, kOtherTable);
    Write(others, kOtherPid).Write(Sections(1)).Play();
    EXPECT_THAT(inbox_.Take(), IsEmpty());
    EXPECT_THAT(other_.Take(), ElementsAreArray(others));
    EXPECT_THAT(Faults(), ElementsAre(Pair("zero-length", 1)));
    EXPECT_THAT(TakeTrouble(), ElementsAre(NoLength(), OneShotCompleted(), NoSubscription(id)));
}

TEST_F(DeliveryFaultsTest, AnEmptyDeliveryDoesNotToggleAFilter) {
    Suffer({"zero-length@0,1"});
    SubscribeToggling(inbox_);
    const SectionList present = Sections(4, 0x4E), other = Sections(4, 0x4F);
    const SectionList inTurn{present[0], other[1], present[2], other[3]};
    Write(inTurn).Play(kLockStep);
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(inTurn));
    EXPECT_THAT(Faults(), ElementsAre(Pair("zero-length", 2)));
    EXPECT_THAT(TakeTrouble(), Contains(NoLength()).Times(2));
}

TEST_F(DeliveryFaultsTest, ASectionForAnUnknownIdIsReportedAndAllArriveWhereTheyShould) {
    Suffer({"unknown-id@3", "unknown-id@5:id=77"});
    Subscribe(inbox_);
    Subscribe(other_, kOtherPid, kOtherTable);
    const SectionList sections = Sections(10), others = Sections(10, kOtherTable);
    WriteInTurn(sections, others).Play();
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(sections));
    EXPECT_THAT(other_.Take(), ElementsAreArray(others));
    EXPECT_THAT(Faults(), ElementsAre(Pair("unknown-id", 2)));
    EXPECT_THAT(TakeTrouble(), ElementsAre(NoSubscription(65535), NoSubscription(77)));
}

TEST_F(DeliveryFaultsTest, ASectionForTheIdOfAnotherReachesThatOneOnTop) {
    Suffer({"unknown-id@3:id=2"});
    ASSERT_EQ(Subscribe(other_, kOtherPid, kOtherTable), 2u);
    ASSERT_EQ(Subscribe(inbox_), 3u);
    const SectionList sections = Sections(10), others = Sections(10, kOtherTable);
    Write(Sublist(others, 0, 2), kOtherPid).Write(sections);
    Write(Sublist(others, 2, 8), kOtherPid).Play();
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(sections));
    // The fourth delivery is the second section of the first table.
    SectionList expected = others;
    expected.insert(expected.begin() + 2, sections[1]);
    EXPECT_THAT(other_.Take(), ElementsAreArray(expected));
    EXPECT_THAT(Faults(), ElementsAre(Pair("unknown-id", 1)));
    EXPECT_THAT(TakeTrouble(), IsEmpty());
}

TEST_F(DeliveryFaultsTest, ASectionAfterTheReleaseIsReportedAndDropped) {
    Suffer({"late@0:by=2"});
    const unsigned id = Subscribe(inbox_);
    Subscribe(other_, kOtherPid, kOtherTable);
    const SectionList sections = Sections(3), others = Sections(5, kOtherTable);
    Write(sections).Play();
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(sections));
    Manager().Unsubscribe(id);
    EXPECT_THAT(Faults(), ElementsAre(Pair("late", 0)));
    TakeLog();
    Write(others, kOtherPid).Play();
    EXPECT_THAT(inbox_.Take(), IsEmpty());
    EXPECT_THAT(other_.Take(), ElementsAreArray(others));
    EXPECT_THAT(Faults(), ElementsAre(Pair("late", 1)));
    std::vector<std::string> log = TakeLog();
    EXPECT_THAT(log, Contains(NoSubscription(id)).Times(1));
    // The late section comes behind the second of the five sections; each of those leaves two
    // lines.
    ASSERT_GT(log.size(), 4u);
    EXPECT_EQ(log[4], NoSubscription(id));
}

TEST_F(DeliveryFaultsTest, ALateSectionReachesNoneOfThoseThatCameSince) {
    Suffer({"late=1/1"});
    Subscribe(other_, kOtherPid, kOtherTable);
    const SectionList sections = Sections(1), others = Sections(1, kOtherTable);
    constexpr unsigned kRounds = 30;
    std::vector<std::string> trouble;
    for (unsigned round = 0; round < kRounds; ++round) {
        const unsigned id = Subscribe(inbox_);
        ASSERT_EQ(id, 3 + round);
        Write(sections).Play();
        Manager().Unsubscribe(id);
        EXPECT_THAT(inbox_.Take(), ElementsAreArray(sections));
        Write(others, kOtherPid).Play();
        trouble.push_back(NoSubscription(id));
    }
    EXPECT_EQ(other_.Take().size(), kRounds);
    EXPECT_THAT(Faults(), ElementsAre(Pair("late", kRounds)));
    EXPECT_EQ(TakeTrouble(), trouble);
}

TEST_F(DeliveryFaultsTest, WhateverIsDoneToDeliveriesAtOnceTheAccountsBalance) {
    Suffer({"cut=1/5:to=20", "delay=1/5:by=7", "silent=1/50:for=4", "zero-length=1/6",
            "unknown-id=1/7"});
    Subscribe(inbox_);
    Subscribe(other_, kOtherPid, kOtherTable);
    const SectionList sections = Sections(1000), others = Sections(1000, kOtherTable);
    WriteInTurn(sections, others).Play();
    const std::vector<std::string> trouble = TakeTrouble();
    std::map<std::string, size_t> faults;
    for (const auto& [name, count] : Faults()) {
        EXPECT_GT(count, 0u) << name;
        faults[name] = static_cast<size_t>(count);
    }
    EXPECT_THAT(trouble, Contains(NoSubscription(65535)).Times(faults["unknown-id"]));
    EXPECT_THAT(trouble, Contains(NoLength()).Times(faults["zero-length"]));
    EXPECT_EQ(trouble.size(), faults["unknown-id"] + faults["zero-length"]);

    // Every section that was not dropped came once, to its own observer: whole, or 20 bytes of it.
    uint64_t received = 0, cuts = 0;
    const auto check = [&](SectionList all, const SectionList& some) {
        for (const Bytes& section : some) {
            const auto found = std::find_if(all.begin(), all.end(), [&](const Bytes& sent) {
                return sent == section || Slice(sent, 0, 20) == section;
            });
            ASSERT_NE(found, all.end());
            cuts += section.size() == 20 ? 1 : 0;
            ++received;
            all.erase(found);
        }
    };
    check(sections, inbox_.Take());
    check(others, other_.Take());
    EXPECT_EQ(cuts, faults["cut"]);
    EXPECT_EQ(received, 2000 - faults["silent"]);
}

}  // namespace
}  // namespace testsupport
