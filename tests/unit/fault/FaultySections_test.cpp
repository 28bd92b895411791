#include "softplatform/fault/FaultySections.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "softplatform/base/Counters.h"
#include "softplatform/section/FilterEngine.h"
#include "tests/support/PacketWriter.h"
#include "tests/support/Signal.h"
#include "tests/support/TsBytes.h"
#include "tests/unit/fault/FaultFixture.h"

namespace tvservice {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::Bytes;
using testsupport::PacketWriter;
using testsupport::Plan;
using testsupport::SectionBytes;
using testsupport::Signal;
using testsupport::Slice;

struct Delivery {
    int id;
    Bytes section;
    bool operator==(const Delivery& other) const {
        return id == other.id && section == other.section;
    }
};

// Records every delivery, and calls the function that a test sets.
class Recorder {
  public:
    void OnDelivery(int id, const uint8_t* section, size_t size) {
        EXPECT_NE(section, nullptr);
        deliveries_.push_back({id, Bytes(section, section + size)});
        if (then_) {
            then_(id);
        }
    }

    void Then(std::function<void(int id)> then) { then_ = std::move(then); }

    std::vector<Delivery> Take() { return std::exchange(deliveries_, {}); }

  private:
    std::vector<Delivery> deliveries_;
    std::function<void(int)> then_;
};

// A section with section_number `number`.
Bytes Section(uint8_t number, uint8_t table_id = 0x42) {
    return SectionBytes{.table_id = table_id,
                        .section_number = number,
                        .last_section_number = 0xFF,
                        .body = testsupport::Counting(20)}
        .Build();
}

// The handle of an id is id + 100.
class FaultySectionsTest : public testing::Test {
  protected:
    void Faults(const std::vector<std::string>& specs, uint64_t seed = 1) {
        plan_ = Plan(specs, seed);
        sections_ = std::make_unique<FaultySections>(
            plan_, [this](int id, const uint8_t* bytes, size_t size) {
                recorder_.OnDelivery(id, bytes, size);
            });
        for (const int id : {1, 2}) {
            sections_->Subscribed(100 + id, id);
        }
    }

    void Feed(int id, const Bytes& section) {
        sections_->OnSection(id, *SectionView::From(section.data(), section.size()));
    }

    // Sections `first` to `end` - 1, all to the same id.
    void Feed(int id, uint8_t first, uint8_t end) {
        for (uint8_t number = first; number < end; ++number) {
            Feed(id, Section(number));
        }
    }

    // The deliveries since the last call: id and section_number, or -1 when the delivery is too
    // short to have one.
    std::vector<std::pair<int, int>> Came() {
        std::vector<std::pair<int, int>> came;
        for (const Delivery& delivery : recorder_.Take()) {
            came.emplace_back(delivery.id, delivery.section.size() > 6 ? delivery.section[6] : -1);
        }
        return came;
    }

    uint64_t Count(FaultKind kind) const { return plan_->count(kind); }

    Recorder recorder_;
    std::shared_ptr<FaultPlan> plan_;
    std::unique_ptr<FaultySections> sections_;
};

using Pairs = std::vector<std::pair<int, int>>;

TEST_F(FaultySectionsTest, PassesEverythingUnchangedWithoutFaults) {
    Faults({"drop=1/1"});
    Feed(1, Section(0));
    Feed(2, Section(1));
    sections_->Flush();
    EXPECT_THAT(recorder_.Take(), ElementsAre(Delivery{1, Section(0)}, Delivery{2, Section(1)}));
}

TEST_F(FaultySectionsTest, PassesTheBorrowedBytesThemselves) {
    Faults({});
    const Bytes section = Section(0);
    const uint8_t* delivered = nullptr;
    FaultySections(plan_, [&](int, const uint8_t* bytes, size_t) {
        delivered = bytes;
    }).OnSection(1, *SectionView::From(section.data(), section.size()));
    EXPECT_EQ(delivered, section.data());
}

TEST_F(FaultySectionsTest, CutsSectionsToASize) {
    Faults({"cut@1:to=5"});
    Feed(1, 0, 3);
    EXPECT_THAT(recorder_.Take(),
                ElementsAre(Delivery{1, Section(0)}, Delivery{1, Slice(Section(1), 0, 5)},
                            Delivery{1, Section(2)}));
    EXPECT_EQ(Count(FaultKind::kCut), 1u);
}

TEST_F(FaultySectionsTest, DoesNotCountACutThatCutsNothing) {
    Faults({"cut=1/1:to=32", "cut@1:to=4095"});
    Feed(1, 0, 2);
    EXPECT_THAT(recorder_.Take(), ElementsAre(Delivery{1, Section(0)}, Delivery{1, Section(1)}));
    EXPECT_EQ(Count(FaultKind::kCut), 0u);
}

TEST_F(FaultySectionsTest, CutsAtRandomKeepingAtLeastOneByte) {
    Faults({"cut=1/1"});
    Feed(1, 0, 200);
    const std::vector<Delivery> came = recorder_.Take();
    ASSERT_EQ(came.size(), 200u);
    for (size_t i = 0; i < came.size(); ++i) {
        const Bytes whole = Section(static_cast<uint8_t>(i));
        const size_t size = came[i].section.size();
        EXPECT_GE(size, 1u);
        EXPECT_LT(size, whole.size());
        EXPECT_EQ(came[i].section, Slice(whole, 0, size));
    }
    EXPECT_EQ(Count(FaultKind::kCut), 200u);
}

TEST_F(FaultySectionsTest, DelaysADeliveryBehindLaterOnes) {
    Faults({"delay@1:by=2"});
    Feed(1, 0, 2);
    EXPECT_EQ(Came(), (Pairs{{1, 0}}));
    Feed(2, 2, 5);
    EXPECT_EQ(Came(), (Pairs{{2, 2}, {2, 3}, {1, 1}, {2, 4}}));
    EXPECT_EQ(Count(FaultKind::kDelay), 1u);
}

TEST_F(FaultySectionsTest, KeepsTheBytesOfADelayedDelivery) {
    Faults({"delay@0"});
    Bytes section = Section(0);
    Feed(1, section);
    section.assign(section.size(), 0xEE);
    Feed(1, Section(1));
    EXPECT_THAT(recorder_.Take(), ElementsAre(Delivery{1, Section(1)}, Delivery{1, Section(0)}));
}

TEST_F(FaultySectionsTest, DelaysEveryDelivery) {
    Faults({"delay=1/1:by=3"});
    Feed(1, 0, 6);
    EXPECT_EQ(Came(), (Pairs{{1, 0}, {1, 1}, {1, 2}}));
    sections_->Flush();
    EXPECT_EQ(Came(), (Pairs{{1, 3}, {1, 4}, {1, 5}}));
    sections_->Flush();
    EXPECT_THAT(Came(), IsEmpty());
}

TEST_F(FaultySectionsTest, DropsADelayedDeliveryOfAReleasedId) {
    Faults({"delay@0,1"});
    Feed(1, Section(0));
    sections_->Unsubscribed(101);
    Feed(2, Section(1));
    Feed(2, Section(2));
    EXPECT_EQ(Came(), (Pairs{{2, 2}, {2, 1}}));
    EXPECT_EQ(Count(FaultKind::kDelay), 2u);
}

TEST_F(FaultySectionsTest, IsSilentForANumberOfDeliveries) {
    Faults({"silent@2:for=3"});
    Feed(1, 0, 8);
    EXPECT_EQ(Came(), (Pairs{{1, 0}, {1, 1}, {1, 5}, {1, 6}, {1, 7}}));
    EXPECT_EQ(Count(FaultKind::kSilent), 3u);
}

TEST_F(FaultySectionsTest, IsSilentOfOneTable) {
    Faults({"silent@1:for=2:table=0x46"});
    for (uint8_t i = 0; i < 8; ++i) {
        Feed(1, Section(i, i % 2 == 0 ? 0x42 : 0x46));
    }
    EXPECT_EQ(Came(), (Pairs{{1, 0}, {1, 1}, {1, 2}, {1, 4}, {1, 6}, {1, 7}}));
}

TEST_F(FaultySectionsTest, NothingElseHappensAtADeliveryThatIsSwallowed) {
    Faults({"cut@1", "delay@0,1", "zero-length@1", "unknown-id@1", "silent@1:for=2"});
    Feed(1, 0, 3);
    EXPECT_THAT(Came(), IsEmpty()) << "what is due waits, too";
    Feed(1, 3, 4);
    EXPECT_EQ(Came(), (Pairs{{1, 3}, {1, 0}}));
    EXPECT_EQ(Count(FaultKind::kSilent), 2u);
    EXPECT_EQ(Count(FaultKind::kDelay), 1u);
    EXPECT_EQ(Count(FaultKind::kCut), 0u);
    EXPECT_EQ(Count(FaultKind::kZeroLength), 0u);
    EXPECT_EQ(Count(FaultKind::kUnknownId), 0u);
}

TEST_F(FaultySectionsTest, DeliversNoBytesBeforeASection) {
    Faults({"zero-length@1"});
    Feed(1, 0, 2);
    EXPECT_THAT(recorder_.Take(),
                ElementsAre(Delivery{1, Section(0)}, Delivery{1, {}}, Delivery{1, Section(1)}));
    EXPECT_EQ(Count(FaultKind::kZeroLength), 1u);
}

TEST_F(FaultySectionsTest, DeliversToAnIdThatNobodyHas) {
    Faults({"unknown-id@0"});
    sections_->Subscribed(500, 65535);
    sections_->Subscribed(500, 65533);
    Feed(1, Section(0));
    EXPECT_EQ(Came(), (Pairs{{65534, 0}, {1, 0}}));
    EXPECT_EQ(Count(FaultKind::kUnknownId), 1u);
}

TEST_F(FaultySectionsTest, DeliversToTheIdNamed) {
    Faults({"unknown-id@1:id=2"});
    Feed(1, 0, 2);
    EXPECT_EQ(Came(), (Pairs{{1, 0}, {2, 1}, {1, 1}}));
}

TEST_F(FaultySectionsTest, LooksOnlyAtTheTableNamed) {
    Faults({"zero-length@1:table=0x46"});
    Feed(1, Section(0, 0x46));
    Feed(1, Section(1, 0x42));
    Feed(1, Section(2, 0x46));
    EXPECT_EQ(Came(), (Pairs{{1, 0}, {1, 1}, {1, -1}, {1, 2}}));
}

TEST_F(FaultySectionsTest, DeliversTheLastSectionOfAReleasedIdOnceMore) {
    Faults({"late@0"});
    Feed(1, 0, 3);
    sections_->Unsubscribed(101);
    EXPECT_EQ(Count(FaultKind::kLate), 0u);
    Feed(2, 3, 5);
    EXPECT_EQ(Came(), (Pairs{{1, 0}, {1, 1}, {1, 2}, {2, 3}, {1, 2}, {2, 4}}));
    EXPECT_EQ(Count(FaultKind::kLate), 1u);
}

TEST_F(FaultySectionsTest, DeliversLateBehindAsManyDeliveriesAsAsked) {
    Faults({"late=1/1:by=2"});
    Feed(1, Section(0));
    sections_->Unsubscribed(101);
    Feed(2, 1, 4);
    EXPECT_EQ(Came(), (Pairs{{1, 0}, {2, 1}, {2, 2}, {1, 0}, {2, 3}}));
}

TEST_F(FaultySectionsTest, NumbersTheReleasesOfIdsThatHadASection) {
    Faults({"late@1"});
    sections_->Subscribed(103, 3);
    sections_->Subscribed(104, 4);
    sections_->Unsubscribed(103);
    Feed(1, Section(0));
    sections_->Unsubscribed(101);
    Feed(2, Section(1));
    sections_->Unsubscribed(102);
    Came();
    Feed(4, Section(2));
    EXPECT_EQ(Came(), (Pairs{{4, 2}, {2, 1}}));
    EXPECT_EQ(Count(FaultKind::kLate), 1u);
}

TEST_F(FaultySectionsTest, DeliversLateToEveryIdOfASharedFilter) {
    Faults({"late=1/1"});
    sections_->Subscribed(101, 3);
    Feed(1, Section(0));
    Feed(3, Section(0));
    sections_->Unsubscribed(101);
    Came();
    Feed(2, Section(1));
    EXPECT_EQ(Came(), (Pairs{{2, 1}, {1, 0}, {3, 0}}));
    EXPECT_EQ(Count(FaultKind::kLate), 2u);
}

TEST_F(FaultySectionsTest, IgnoresTheReleaseOfAnUnknownHandle) {
    Faults({"late=1/1"});
    Feed(1, Section(0));
    sections_->Unsubscribed(77);
    sections_->Unsubscribed(101);
    sections_->Unsubscribed(101);
    sections_->Flush();
    EXPECT_EQ(Came(), (Pairs{{1, 0}, {1, 0}}));
}

TEST_F(FaultySectionsTest, DeliversNothingMoreToAnIdReleasedInsideTheCallback) {
    Faults({"zero-length@0", "delay@1", "late@9"});
    recorder_.Then([&](int id) { sections_->Unsubscribed(100 + id); });
    Feed(1, Section(0));
    EXPECT_EQ(Came(), (Pairs{{1, -1}})) << "the section itself would come after the release";
    recorder_.Then(nullptr);
    Feed(2, Section(1));
    Feed(2, Section(2));
    EXPECT_EQ(Came(), (Pairs{{2, 2}, {2, 1}}));
}

TEST_F(FaultySectionsTest, DropsWhatIsHeldForAnIdReleasedInsideADelayedCallback) {
    Faults({"delay@0,1:by=2"});
    Feed(1, 0, 2);
    recorder_.Then([&](int id) {
        if (id == 1) {
            sections_->Unsubscribed(101);
        }
    });
    Feed(2, 2, 5);
    EXPECT_EQ(Came(), (Pairs{{2, 2}, {1, 0}, {2, 3}, {2, 4}}));
}

TEST_F(FaultySectionsTest, DoesTheSameToTheByteForASeed) {
    const std::vector<std::string> specs{"cut=1/5",         "delay=1/5:by=4", "silent=1/20:for=3",
                                         "zero-length=1/9", "unknown-id=1/9", "late=1/2"};
    const auto run = [&](uint64_t seed) {
        Faults(specs, seed);
        for (uint8_t i = 0; i < 250; ++i) {
            Feed(1 + i % 2, Section(i));
            if (i % 50 == 49) {
                sections_->Unsubscribed(101);
                sections_->Subscribed(101, 1);
            }
        }
        sections_->Flush();
        for (const FaultInfo& info : kFaultTable) {
            EXPECT_EQ(plan_->count(info.kind) > 0, plan_->Has(info.kind)) << info.name;
        }
        return recorder_.Take();
    };
    const std::vector<Delivery> came = run(11);
    EXPECT_EQ(run(11), came);
    EXPECT_NE(run(12), came);
}

// --- With a delivery thread

TEST_F(FaultySectionsTest, AReleaseWaitsForItsDelayedCallbackOnAnotherThread) {
    Faults({"delay@0"});
    Signal isInside;
    Signal isReleasing;
    std::atomic<bool> isReleased{false};
    recorder_.Then([&](int id) {
        if (id == 1) {
            isInside.Set();
            EXPECT_TRUE(isReleasing.Wait());
            for (int i = 0; i < 10'000; ++i) {
                std::this_thread::yield();
            }
            EXPECT_FALSE(isReleased);
        }
    });
    std::thread delivery([&] {
        Feed(1, Section(0));
        Feed(2, Section(1));
    });
    ASSERT_TRUE(isInside.Wait());
    sections_->Unsubscribed(102);  // returns at once: the running callback is for another id
    std::thread releaser([&] {
        isReleasing.Set();
        sections_->Unsubscribed(101);
        isReleased = true;
    });
    releaser.join();
    delivery.join();
    EXPECT_EQ(Came(), (Pairs{{2, 1}, {1, 0}}));
}

TEST_F(FaultySectionsTest, NoCallbackBeginsAfterAReleaseWhileAStreamRuns) {
    Counters counters;
    FilterEngine engine(counters, nullptr, 64);
    constexpr int kRounds = 2000;
    std::atomic<int> released{0};  // all ids up to this one are released
    std::atomic<int> steady{0};
    std::atomic<int> others{0};
    const auto plan = Plan({"delay=1/3:by=5"});
    FaultySections sections(plan, [&](int id, const uint8_t*, size_t) {
        EXPECT_TRUE(id == 0 || id > released.load());
        ++(id == 0 ? steady : others);
    });
    const auto subscribe = [&](int id) {
        const int handle =
            engine.Subscribe(0x0100, *SectionFilter::Compile({0x42}, {0xFF}, {}), sections, id);
        sections.Subscribed(handle, id);
        return handle;
    };
    subscribe(0);

    std::atomic<bool> done{false};
    int fed = 0;
    std::thread delivery([&] {
        PacketWriter writer;
        for (; !done; ++fed) {
            const Bytes packet = writer.Section(0x0100, Section(0)).Take();
            engine.OnPacket(PacketView(packet.data()));
        }
        sections.Flush();
    });
    for (int id = 1; id <= kRounds; ++id) {
        const int handle = subscribe(id);
        const int before = steady;
        while (id % 100 == 0 && steady < before + 10) {
            std::this_thread::yield();
        }
        EXPECT_TRUE(engine.Unsubscribe(handle));
        sections.Unsubscribed(handle);
        released = id;
    }
    done = true;
    delivery.join();
    EXPECT_GT(others, 0);
    EXPECT_GT(plan->count(FaultKind::kDelay), 0u);
    EXPECT_EQ(steady, static_cast<int>(counters.Get(Counter::kSections)))
        << "the steady filter loses nothing";
}

}  // namespace
}  // namespace tvservice
