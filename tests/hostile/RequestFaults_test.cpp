// Requests that the platform refuses, and handles that it gives to two requests.

#include "tests/hostile/HostileTest.h"

namespace testsupport {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

constexpr auto kContinuous = ISectionManager::EContinuous;

class RequestFaultsTest : public HostileTest {
  protected:
    static std::string Kept() {
        return OfSubscription(4, "~CSectionSubscription",
                              "refcount > 0, do not unsubscribe section");
    }
    static std::string Released() {
        return OfSubscription(4, "~CSectionSubscription", "refcount = 0, unsubscribe section");
    }
    // The line of a toggling subscription whose new filter was set, with any handle.
    static testing::Matcher<std::string> Toggled(const std::string& received,
                                                 const std::string& awaited) {
        const std::string line =
            OfSubscription(5, "Toggle",
                           "Toggle mode filter. Resubscribed, just received tableId: " + received +
                               ", new pattern: " + awaited + ", new mask: FF, TVS handle: ");
        return testing::StartsWith(line.substr(0, line.size() - kColourEnd));
    }
    static std::string Old(const std::string& function) {
        return OfSubscription(5, function, "Old section data from previous filter, ignore it");
    }

    const SectionList sections_ = Sections(10);
    const SectionList others_ = Sections(10, kOtherTable);
};

TEST_F(RequestFaultsTest, ARefusedSubscribeReturnsZeroAndTheNextGetsItsId) {
    Suffer({"refuse-subscribe@1"});
    EXPECT_EQ(Subscribe(inbox_), 2u);
    EXPECT_EQ(Subscribe(inbox_), 0u);
    EXPECT_THAT(TakeTrouble(), ElementsAre(NoFilter(3), SubscribeFailed(3, 139)));
    EXPECT_EQ(Subscribe(other_), 3u);
    EXPECT_THAT(Faults(), ElementsAre(Pair("refuse-subscribe", 1)));
    EXPECT_EQ(Count(Counter::kRefusedSubscriptions), 1u);
    Write(sections_).Play();
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(sections_));
    EXPECT_THAT(other_.Take(), ElementsAreArray(sections_));
    EXPECT_THAT(TakeTrouble(), IsEmpty());
}

TEST_F(RequestFaultsTest, EveryKindOfSubscribeCanBeRefused) {
    Suffer({"refuse-subscribe@0,1,2"});
    EXPECT_EQ(Manager().Subscribe(kPid, kTable, inbox_, kContinuous, kNoTimeout, true), 0u);
    EXPECT_EQ(Manager().Subscribe(kPid, kTable, 0x0005, inbox_, kContinuous, kNoTimeout), 0u);
    EXPECT_EQ(Manager().Subscribe(kPid, {kTable}, {0xFF}, {0x00}, inbox_, kContinuous, kNoTimeout),
              0u);
    EXPECT_THAT(TakeTrouble(),
                ElementsAre(NoFilter(2), SubscribeFailed(2, 139), NoFilter(2),
                            SubscribeFailed(2, 167), NoFilter(2), SubscribeFailed(2, 204)));
    EXPECT_EQ(Manager().Subscribe(kPid, kTable, 0x0005, inbox_, kContinuous, kNoTimeout), 2u);
    EXPECT_THAT(Faults(), ElementsAre(Pair("refuse-subscribe", 3)));
    Write(sections_).Play();
    EXPECT_THAT(inbox_.Take(), ElementsAre(sections_[5]));
}

TEST_F(RequestFaultsTest, ARefusedToggleIsReportedAndItsSubscriptionHearsNoMore) {
    Suffer({"refuse-subscribe@2"});
    Subscribe(other_, kOtherPid, kOtherTable);
    const unsigned id = SubscribeToggling(inbox_);
    const SectionList pair{Sections(1, 0x4E)[0], Sections(1, 0x4F)[0]};
    Write(pair).Write(others_, kOtherPid).Play(kLockStep);
    EXPECT_THAT(inbox_.Take(), ElementsAre(pair[0]));
    EXPECT_THAT(other_.Take(), ElementsAreArray(others_));
    EXPECT_THAT(Faults(), ElementsAre(Pair("refuse-subscribe", 1)));
    EXPECT_THAT(TakeTrouble(),
                ElementsAre(OfSubscription(
                    5, "Toggle",
                    "Re-subscribe section failed id: " + std::to_string(id) + ", TVS handle: -1")));
    // It keeps the old handle, which is already released.
    Manager().Unsubscribe(id);
    EXPECT_THAT(TakeTrouble(), ElementsAre(NoRelease()));
    EXPECT_EQ(Count(Counter::kRetiredHandles), 1u);
    Write(others_, kOtherPid).Play();
    EXPECT_THAT(other_.Take(), ElementsAreArray(others_));
}

TEST_F(RequestFaultsTest, ARefusedUnsubscribeIsReportedAndItsSectionsFindNobody) {
    Suffer({"refuse-unsubscribe@0"}, 2);
    const unsigned id = Subscribe(inbox_);
    Subscribe(other_, kOtherPid, kOtherTable);
    Manager().Unsubscribe(id);
    EXPECT_THAT(TakeTrouble(), ElementsAre(NoRelease()));
    EXPECT_THAT(Faults(), ElementsAre(Pair("refuse-unsubscribe", 1)));
    WriteInTurn(sections_, others_).Play();
    EXPECT_THAT(inbox_.Take(), IsEmpty());
    EXPECT_THAT(other_.Take(), ElementsAreArray(others_));
    const std::vector<std::string> trouble = TakeTrouble();
    EXPECT_THAT(trouble, SizeIs(sections_.size()));
    EXPECT_THAT(trouble, Each(NoSubscription(id)));
    // The refused release keeps its filter in use, so no filter is free any more.
    EXPECT_EQ(Subscribe(inbox_, kPid, kOtherTable), 0u);
}

TEST_F(RequestFaultsTest, ARefusedUnsubscribeOfOneShotsIsReported) {
    Suffer({"refuse-unsubscribe@0"});
    const unsigned id = Subscribe(inbox_, kPid, kTable, ISectionManager::EOneShot);
    Write(sections_).Play(kLockStep);
    EXPECT_THAT(inbox_.Take(), ElementsAre(sections_[0]));
    std::vector<std::string> expected{OneShotCompleted(), NoRelease()};
    expected.resize(2 + 9, NoSubscription(id));
    EXPECT_EQ(TakeTrouble(), expected);
    EXPECT_THAT(Faults(), ElementsAre(Pair("refuse-unsubscribe", 1)));
}

TEST_F(RequestFaultsTest, AToggleGoesOnWhenItsOldFilterIsNotReleased) {
    Suffer({"refuse-unsubscribe@0"});
    SubscribeToggling(inbox_);
    // The first section with 0x4E matches one filter only. Each section behind it also matches the
    // filter that stayed, so it is delivered twice, both times before the first subscription
    // toggles.
    inbox_.Then([this, received = uint64_t{0}](unsigned) mutable {
        ++received;
        WaitForDeliveries(2 * received - 1);
    });
    const SectionList present = Sections(2, 0x4E), other = Sections(2, 0x4F);
    const SectionList inTurn{present[0], other[0], present[1], other[1]};
    Write(inTurn).Play(kLockStep);
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(inTurn));
    EXPECT_THAT(Faults(), ElementsAre(Pair("refuse-unsubscribe", 1)));
    // The second delivery is recognised as old, because its table_id is not the one expected then.
    EXPECT_THAT(TakeTrouble(),
                ElementsAre(OfSubscription(5, "Toggle", "Unsubscribe section failed"),
                            Toggled("4E", "4F"),                                    //
                            Toggled("4F", "4E"), Old("OnCallback"), Old("Toggle"),  //
                            Toggled("4E", "4F"), Old("OnCallback"), Old("Toggle"),  //
                            Toggled("4F", "4E"), Old("OnCallback"), Old("Toggle")));
}

TEST_F(RequestFaultsTest, AHandleGivenTwiceIsHeldUntilBothAreReleased) {
    Suffer({"old-handle@1"});
    const unsigned first = Subscribe(inbox_);
    const std::string handle = HandleOf(first);
    const unsigned second = Subscribe(other_, kOtherPid, kOtherTable);
    EXPECT_EQ(HandleOf(second), handle);
    EXPECT_THAT(Faults(), ElementsAre(Pair("old-handle", 1)));
    WriteInTurn(sections_, others_).Play();
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(sections_));
    EXPECT_THAT(other_.Take(), ElementsAreArray(others_));
    EXPECT_THAT(TakeTrouble(), IsEmpty());

    Manager().Unsubscribe(first);
    std::vector<std::string> log = TakeLog();
    EXPECT_THAT(log, Contains(Kept()));
    EXPECT_THAT(log, testing::Not(Contains(Released())));
    WriteInTurn(sections_, others_).Play();
    EXPECT_THAT(inbox_.Take(), IsEmpty());
    EXPECT_THAT(other_.Take(), ElementsAreArray(others_));
    std::vector<std::string> trouble = TakeTrouble();
    EXPECT_THAT(trouble, SizeIs(sections_.size()));
    EXPECT_THAT(trouble, Each(NoSubscription(first)));

    Manager().Unsubscribe(second);
    EXPECT_THAT(TakeLog(), Contains(Released()));
    WriteInTurn(sections_, others_).Play();
    EXPECT_THAT(other_.Take(), IsEmpty());
    EXPECT_THAT(TakeTrouble(), IsEmpty()) << "nothing may be delivered any more";
    EXPECT_EQ(Count(Counter::kDeliveredSections), 0u);
}

TEST_F(RequestFaultsTest, AHandleOfAReleasedFilterServesANewOne) {
    Suffer({"old-handle@1"});
    const unsigned first = Subscribe(inbox_);
    const std::string handle = HandleOf(first);
    Manager().Unsubscribe(first);
    const unsigned second = Subscribe(other_, kOtherPid, kOtherTable);
    EXPECT_EQ(HandleOf(second), handle);
    WriteInTurn(sections_, others_).Play();
    EXPECT_THAT(inbox_.Take(), IsEmpty());
    EXPECT_THAT(other_.Take(), ElementsAreArray(others_));
    TakeLog();
    Manager().Unsubscribe(second);
    EXPECT_THAT(TakeLog(), Contains(Released()));
    WriteInTurn(sections_, others_).Play();
    EXPECT_EQ(Count(Counter::kDeliveredSections), 0u);
    EXPECT_EQ(Count(Counter::kRetiredHandles), 0u);
    EXPECT_THAT(Faults(), ElementsAre(Pair("old-handle", 1)));
    EXPECT_THAT(TakeTrouble(), IsEmpty());
}

}  // namespace
}  // namespace testsupport
