// Memory that runs out while a subscription or a record is made, and what making one takes. A
// program of its own: it replaces operator new.

#include <cstdlib>
#include <list>
#include <new>

#include "SI/Include/IDeliveryDesc.h"
#include "SI/Include/IPMTParser.h"
#include "SI/PARSER/Korvo/DescriptorsKorvo.h"
#include "tests/support/FakeTables.h"
#include "tests/unit/si/SiFixture.h"

namespace {
thread_local int s_failAfter = -1;  // allocations until one fails; negative for none
thread_local int s_allocations = 0;
thread_local int s_blocks = 0;  // allocated and not yet freed
}  // namespace

[[gnu::noinline]] void* operator new(std::size_t size) {
    if (s_failAfter >= 0 && s_failAfter-- == 0) {
        throw std::bad_alloc();
    }
    if (void* memory = std::malloc(size == 0 ? 1 : size)) {
        ++s_allocations;
        ++s_blocks;
        return memory;
    }
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    s_blocks -= memory == nullptr ? 0 : 1;
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    s_blocks -= memory == nullptr ? 0 : 1;
    std::free(memory);
}

namespace {

using Subscribe = std::function<std::shared_ptr<CSectionSubscription>(Recorder&, unsigned int)>;

/// One way to subscribe, and what its constructor writes.
struct Way {
    std::string name;
    Subscribe subscribe;
    std::string lastLine;   // of the constructor
    std::string timerLine;  // before it arms the timer
};

std::vector<Way> Ways() {
    FakePlatform* const platform = &FakePlatform::Get();
    constexpr ISectionManager::EFilterMode kMode = ISectionManager::EContinuous;
    const std::string info = " TVS handle=100 id=7 pid=17 tableid=66 mode=1 refcount=1";
    const std::string function = "CSectionSubscription";
    const std::string timer = "Set timer for 60000ms for id: 7";
    return {{"table",
             [=](Recorder& observer, unsigned int timeout) {
                 return CSectionSubscription::SubscribeSection(platform, observer, 0x11, 0x42, 7,
                                                               kMode, timeout, false);
             },
             Line(3, function, "Subscribed successfully. pid: 17, TVS handle: 100"),
             Line(4, function, Green(timer))},
            {"extension",
             [=](Recorder& observer, unsigned int timeout) {
                 return CSectionSubscription::SubscribeSection(platform, observer, 0x11, 0x42, 1, 7,
                                                               kMode, timeout);
             },
             Line(4, function, Green(info)), Line(4, function, Green(timer))},
            {"pattern",
             [=](Recorder& observer, unsigned int timeout) {
                 return CSectionSubscription::SubscribeSection(platform, observer, 0x11, {0x42},
                                                               {0xFF}, {}, 7, kMode, timeout);
             },
             Line(3, function, info), Line(5, function, Yellow(timer))}};
}

class AllocationTest : public testing::TestWithParam<std::size_t> {
  protected:
    void SetUp() override { platform.Reset(); }

    /// The next allocation after that line fails.
    void FailAfter(const std::string& trigger) {
        platform.duringLog = [trigger](const std::string& line) {
            s_failAfter = line == trigger ? 0 : -1;
        };
    }

    const Way way = Ways()[GetParam()];
    FakePlatform& platform = FakePlatform::Get();
    Recorder observer;
};

TEST_P(AllocationTest, ControlBlockThatFailsDestroysACountedSubscription) {
    // What is allocated after the constructor's last line is the control block.
    FailAfter(way.lastLine);
    EXPECT_THROW(way.subscribe(observer, kNoTimeout), std::bad_alloc);
    platform.duringLog = nullptr;
    EXPECT_TRUE(SectionSubscriptionPeer::HasHandleCount(100));
    EXPECT_EQ(SectionSubscriptionPeer::HandleCount(100), 0);
    EXPECT_THAT(platform.Released(), ElementsAre(100));
    const auto log = platform.TakeLog();
    EXPECT_EQ(log.at(log.size() - 2),
              Line(4, "~CSectionSubscription",
                   Green(" TVS handle=100 id=7 pid=17 tableid=66 mode=1 refcount: 0")));
}

TEST_P(AllocationTest, FailureWhileTheTimerIsArmedCountsNothing) {
    FailAfter(way.timerLine);
    EXPECT_THROW(way.subscribe(observer, 60000), std::bad_alloc);
    platform.duringLog = nullptr;
    EXPECT_FALSE(SectionSubscriptionPeer::HasHandleCount(100));
    EXPECT_THAT(platform.Released(), IsEmpty());
    EXPECT_EQ(platform.TakeLog().back(), way.timerLine);
}

INSTANTIATE_TEST_SUITE_P(Ways, AllocationTest, testing::Values(0u, 1u, 2u),
                         [](const auto& index) { return Ways()[index.param].name; });

// --- Records

using TORVEL_MW::IDeliveryDesc;
using TORVEL_MW::IPMTParser;
using TORVEL_MW::ISIDescriptor;
using TORVEL_MW::ISSUInfo;
using TORVEL_MW::ISSULinkageDesc;
using TORVEL_MW::SIDescriptor;

/// Runs `body` with its first allocation failing, then with its second, and so on until a run gets
/// through; `afterFailure` follows each of the others. The exception must leave `body`.
///
/// @return the failures
template <class Body, class Check>
int FailEachAllocation(const Body& body, const Check& afterFailure) {
    for (int successes = 0;; ++successes) {
        s_failAfter = successes;
        try {
            body();
        } catch (const std::bad_alloc&) {
            s_failAfter = -1;
            afterFailure();
            continue;
        }
        s_failAfter = -1;
        return successes;
    }
}

class RecordAllocationTest : public testing::Test {
  protected:
    void SetUp() override { platform.Reset(); }

    FakePlatform& platform = FakePlatform::Get();
};

TEST_F(RecordAllocationTest, SavedDescriptorWithoutPayloadAllocatesNothing) {
    const int before = s_allocations;
    const SIDescriptor record(0x48, false, 0, false, 0, {});
    EXPECT_EQ(s_allocations, before);
}

TEST_F(RecordAllocationTest, FactoryCopiesThePayloadAtTheCallAndOnceMore) {
    const Bytes payload{1, 2, 3};
    const int before = s_allocations;
    const auto record = ISIDescriptor::CreateSIDescriptor(0x48, false, 0, false, 0, payload);
    EXPECT_EQ(s_allocations - before, 3) << "two copies and the record";
    EXPECT_EQ(record->GetData(), payload);
}

TEST_F(RecordAllocationTest, SavedDescriptorThatFailsLeavesNothing) {
    const Bytes payload{1, 2, 3};
    const int before = s_blocks;
    EXPECT_EQ(FailEachAllocation(
                  [&] { ISIDescriptor::CreateSIDescriptor(0x48, false, 0, false, 0, payload); },
                  [&] { EXPECT_EQ(s_blocks, before); }),
              3);
    EXPECT_EQ(s_blocks, before);
}

TEST_F(RecordAllocationTest, DeliverySystemThatFailsFreesThePlatformsCopy) {
    for (Bytes bytes :
         {Bytes{0x43, 1, 0}, Bytes{0x5A, 1, 0}, Bytes{0x44, 1, 0}, Bytes{0x7F, 4, 4, 0, 0, 0}}) {
        const int before = fake::LivingDescriptors();
        int failuresAfterTheCopy = 0;
        std::shared_ptr<IDeliveryDesc> delivery;
        FailEachAllocation([&] { delivery = IDeliveryDesc::Parse(bytes.data()); },
                           [&] {
                               EXPECT_EQ(fake::LivingDescriptors(), before);
                               failuresAfterTheCopy += fake::Forks();
                               platform.Reset();
                           });
        EXPECT_TRUE(delivery);
        EXPECT_GE(failuresAfterTheCopy, 2) << "control block and wrapper at least";
    }
}

TEST_F(RecordAllocationTest, LinkageThatFailsFreesTheTemporary) {
    const unsigned char bytes[] = {0x4A, 2, 0, 0};
    const int before = fake::LivingDescriptors();
    fake::Parsing().linkage.linkageType = 9;
    fake::Parsing().linkage.loop->entries = {{0x10, {1, 2}}, {0x10, {}}, {0x20, {3}}};
    std::shared_ptr<ISSULinkageDesc> linkage;
    EXPECT_GT(FailEachAllocation([&] { linkage = ISSULinkageDesc::Parse(bytes); },
                                 [&] { EXPECT_EQ(fake::LivingDescriptors(), before); }),
              0);
    EXPECT_TRUE(linkage);
    EXPECT_EQ(fake::LivingDescriptors(), before);
}

TEST_F(RecordAllocationTest, OfferThatFailsIsKeptWholeOrNotAtAll) {
    fake::PmtTable& pmt = fake::TheTables().pmt;
    pmt.programNumber = 5;
    pmt.AddProgram(5)
        .AddStream(0x0B, 0x200)
        .loop.Add(fake::DataBroadcastIdDesc(0x000A, {{0x10, {1, 2}}, {0x20, {}}, {0x30, {3}}}));
    const auto parser = IPMTParser::CreatePMTParser();
    unsigned char section[3] = {2, 0, 0};
    const auto expectWholeOffers = [&] {
        std::list<std::unique_ptr<ISSUInfo>> offers;
        parser->GetSSUInfo(5, 0xFFFFFFFF, offers);
        for (const auto& offer : offers) {
            std::list<unsigned int> ouis;
            offer->GetOUIs(ouis);
            EXPECT_THAT(ouis, ElementsAre(0x10u, 0x20u, 0x30u));
        }
        return offers.size();
    };
    EXPECT_GT(FailEachAllocation([&] { EXPECT_TRUE(parser->Parse(0x200, section)); },
                                 [&] { expectWholeOffers(); }),
              0);
    EXPECT_GT(expectWholeOffers(), 0u);
}

}  // namespace
