// A receiver with few section filters.

#include <array>

#include "tests/hostile/HostileTest.h"

namespace testsupport {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

// Twelve clients share four filters: six ask for the same table, six for a table of their own each.
class ScarceFiltersTest : public HostileTest {
  protected:
    static constexpr auto kContinuous = ISectionManager::EContinuous;
    static constexpr unsigned kSlots = 4;
    static constexpr size_t kAlike = 6, kSingle = 6;
    static constexpr uint8_t kFirstSingleTable = 0x60;
    // The clients with a table of their own get all filters but the one that the others share.
    static constexpr size_t kServed = kSlots - 1;

    static uint8_t TableOf(size_t single) {
        return static_cast<uint8_t>(kFirstSingleTable + single);
    }

    // A filter is shared only when none is free: the first four requests take all filters; after
    // that, requests for the shared table succeed and the others are refused.
    void SubscribeAll() {
        Ask(alike_[0], kPid, kTable);
        for (size_t i = 0; i < kServed; ++i) {
            Ask(single_[i], kOtherPid, TableOf(i));
        }
        for (size_t i = 1; i < kAlike; ++i) {
            Ask(alike_[i], kPid, kTable);
            if (kServed + i - 1 < kSingle) {
                Ask(single_[kServed + i - 1], kOtherPid, TableOf(kServed + i - 1));
            }
        }
    }

    void WriteAll() {
        Write(sections_);
        for (size_t i = 0; i < kSingle; ++i) {
            Write(Sections(3, TableOf(i)), kOtherPid);
        }
    }

    struct Client {
        Inbox* inbox = nullptr;
        unsigned id = 0;
    };

    // A refused request does not use up its id: the next one gets it.
    void Ask(Client& client, uint16_t pid, uint8_t table_id) {
        client.inbox = &Forever<Inbox>();
        client.id = Subscribe(*client.inbox, pid, table_id);
        if (client.id != 0) {
            EXPECT_EQ(client.id, nextId_);
            ++nextId_;
        } else {
            refusals_.push_back(NoFilter(nextId_));
            refusals_.push_back(SubscribeFailed(nextId_, 139));
        }
    }

    static SectionList PresentAndOther() {
        const SectionList present = Sections(4, 0x4E), other = Sections(4, 0x4F);
        return {present[0], other[1], present[2], other[3]};
    }
    static std::string NoNextFilter(unsigned id) {
        return OfSubscription(
            5, "Toggle",
            "Re-subscribe section failed id: " + std::to_string(id) + ", TVS handle: -1");
    }

    unsigned nextId_ = 2;
    std::vector<std::string> refusals_;
    std::array<Client, kAlike> alike_;
    std::array<Client, kSingle> single_;
    const SectionList sections_ = Sections(5);
};

TEST_F(ScarceFiltersTest, ThoseThatShareGetEverySectionAndTheRestIsRefused) {
    Suffer({}, kSlots);
    SubscribeAll();
    for (size_t i = 0; i < kAlike; ++i) {
        EXPECT_NE(alike_[i].id, 0u) << i;
    }
    for (size_t i = 0; i < kSingle; ++i) {
        EXPECT_EQ(single_[i].id == 0, i >= kServed) << i;
    }
    EXPECT_THAT(TakeTrouble(), ElementsAreArray(refusals_));
    EXPECT_EQ(Count(Counter::kRefusedSubscriptions), kSingle - kServed);

    WriteAll();
    Play();
    for (const Client& client : alike_) {
        EXPECT_THAT(client.inbox->Take(), ElementsAreArray(sections_)) << client.id;
    }
    for (size_t i = 0; i < kSingle; ++i) {
        const SectionList expected = i < kServed ? Sections(3, TableOf(i)) : SectionList();
        EXPECT_EQ(single_[i].inbox->Take(), expected) << i;
    }
    EXPECT_THAT(TakeTrouble(), IsEmpty());
}

TEST_F(ScarceFiltersTest, TheLastSharerToGoMakesRoomAndUntilThenSectionsOfThoseGoneFindNobody) {
    Suffer({}, kSlots);
    SubscribeAll();
    Inbox& late = Forever<Inbox>();
    std::vector<std::string> orphans;
    for (size_t gone = 1; gone < kAlike; ++gone) {
        Manager().Unsubscribe(alike_[gone - 1].id);
        orphans.push_back(NoSubscription(alike_[gone - 1].id));
        EXPECT_EQ(Subscribe(late, kOtherPid, TableOf(kServed)), 0u) << "no filter is free yet";
        TakeLog();
        Write(Sublist(sections_, 0, 1)).Play();
        for (size_t i = 0; i < kAlike; ++i) {
            EXPECT_THAT(alike_[i].inbox->Take(), SizeIs(i < gone ? 0u : 1u)) << i;
        }
        EXPECT_EQ(TakeTrouble(), orphans);
    }

    Manager().Unsubscribe(alike_[kAlike - 1].id);
    EXPECT_NE(Subscribe(late, kOtherPid, TableOf(kServed)), 0u);
    TakeLog();
    WriteAll();
    Play();
    EXPECT_THAT(late.Take(), ElementsAreArray(Sections(3, TableOf(kServed))));
    for (const Client& client : alike_) {
        EXPECT_THAT(client.inbox->Take(), IsEmpty());
    }
    EXPECT_THAT(TakeTrouble(), IsEmpty()) << "nothing may be delivered to released ids";
}

TEST_F(ScarceFiltersTest, ASharerThatComesLaterGetsEverySectionFromThenOn) {
    Suffer({}, 1);
    const unsigned first = Subscribe(inbox_);
    Write(Sublist(sections_, 0, 2)).Play();
    ASSERT_NE(Subscribe(other_), 0u);
    Manager().Unsubscribe(first);
    TakeLog();
    Write(Sublist(sections_, 2, 3)).Play();
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(Sublist(sections_, 0, 2)));
    EXPECT_THAT(other_.Take(), ElementsAreArray(Sublist(sections_, 2, 3)));
    const std::vector<std::string> trouble = TakeTrouble();
    EXPECT_THAT(trouble, SizeIs(3));
    EXPECT_THAT(trouble, Each(NoSubscription(first)));
}

// Two subscriptions share a filter and toggle, which separates them; there is room for only one new
// filter.
TEST_F(ScarceFiltersTest, OfTwoThatToggleOneFilterOnlyTheLastFindsRoomForItsNext) {
    Suffer({}, 1);
    const unsigned first = SubscribeToggling(other_), last = SubscribeToggling(inbox_);
    ASSERT_NE(last, 0u);
    TakeLog();
    const SectionList inTurn = PresentAndOther();
    Write(inTurn).Play(kLockStep);
    EXPECT_THAT(other_.Take(), ElementsAre(inTurn[0]));
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(inTurn));
    EXPECT_THAT(TakeTrouble(), Contains(NoNextFilter(first)).Times(1));

    // It releases the shared filter, which the other one has released already.
    Manager().Unsubscribe(first);
    EXPECT_THAT(TakeTrouble(), ElementsAre(NoRelease()));
    Write(inTurn).Play(kLockStep);
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(inTurn));
}

TEST_F(ScarceFiltersTest, TwoThatToggleOneFilterFindRoomForTwo) {
    Suffer({}, 2);
    const unsigned single = Subscribe(Forever<Inbox>(), kOtherPid);
    SubscribeToggling(other_);
    ASSERT_NE(SubscribeToggling(inbox_), 0u);
    Manager().Unsubscribe(single);
    TakeLog();
    const SectionList inTurn = PresentAndOther();
    Write(inTurn).Play(kLockStep);
    EXPECT_THAT(other_.Take(), ElementsAreArray(inTurn));
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(inTurn));
    EXPECT_THAT(TakeTrouble(), Each(HasSubstr("Toggle mode filter. Resubscribed")));
    EXPECT_EQ(Count(Counter::kRetiredHandles), 0u);
}

// A subscription whose next filter is refused keeps the old handle and releases it again with each
// toggle. In the end it releases filters of others.
TEST_F(ScarceFiltersTest, OneThatTogglesWithoutRoomTakesTheFilterFromThoseWhoShareIt) {
    Suffer({}, 1);
    const unsigned lasting =
        Manager().Subscribe(kPid, {0x4E}, {0xFE}, {0x00}, other_, kContinuous, kNoTimeout);
    const unsigned toggling = SubscribeToggling(inbox_);
    ASSERT_NE(toggling, 0u);
    TakeLog();
    const SectionList inTurn = PresentAndOther();
    Write(inTurn).Play(kLockStep);
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(inTurn));
    EXPECT_THAT(other_.Take(), ElementsAreArray(Sublist(inTurn, 0, 2)));
    EXPECT_THAT(TakeTrouble(), Contains(NoNextFilter(toggling)).Times(1));

    Manager().Unsubscribe(lasting);
    EXPECT_THAT(TakeTrouble(), ElementsAre(NoRelease()));
}

}  // namespace
}  // namespace testsupport
