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

// Twelve ask for one of four filters: six want the same, six a table each of their own.
class ScarceFiltersTest : public HostileTest {
  protected:
    static constexpr auto kContinuous = ISectionManager::EContinuous;
    static constexpr unsigned kSlots = 4;
    static constexpr size_t kAlike = 6, kSingle = 6;
    static constexpr uint8_t kFirstSingleTable = 0x60;
    // What single requests get: all slots but the one of those who want the same.
    static constexpr size_t kServed = kSlots - 1;

    static uint8_t TableOf(size_t single) {
        return static_cast<uint8_t>(kFirstSingleTable + single);
    }

    // Those who want the same share only once there is no free slot: the first four requests take
    // the slots, then sharing and refused ones come in turn.
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

    // A refused request leaves its id to the next one.
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
    EXPECT_EQ(Count("refused_subscriptions"), kSingle - kServed);

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
        EXPECT_EQ(Subscribe(late, kOtherPid, TableOf(kServed)), 0u) << "no room yet";
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
    EXPECT_THAT(TakeTrouble(), IsEmpty()) << "nothing goes to released ids any more";
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

// Those who toggle a filter that they share part, and there is room for one of them.
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

    // It gives up the shared filter, which the other gave up already.
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
    EXPECT_EQ(Count("retired_handles"), 0u);
}

// Whoever is refused its next filter keeps the old one, and gives it up once more with each toggle:
// in the end for the others.
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
