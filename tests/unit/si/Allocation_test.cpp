// What happens when memory runs out while a subscription or a record is made, and how many
// allocations making one takes. A separate program, because it replaces operator new.

#include <list>
#include <new>

#include "SI/Include/IBATParser.h"
#include "SI/Include/ICATParser.h"
#include "SI/Include/IDeliveryDesc.h"
#include "SI/Include/IEITParser.h"
#include "SI/Include/INITParser.h"
#include "SI/Include/IPATParser.h"
#include "SI/Include/IPMTParser.h"
#include "SI/Include/ISDTParser.h"
#include "SI/PARSER/Korvo/DescriptorsKorvo.h"
#include "tests/support/FailingNew.h"
#include "tests/support/FakeTables.h"
#include "tests/unit/si/SiFixture.h"

namespace {

using testsupport::t_heap;
using Subscribe = std::function<std::shared_ptr<CSectionSubscription>(Recorder&, unsigned int)>;

/// One way to subscribe, and the log lines of the constructor that it calls.
struct Way {
    std::string name;
    Subscribe subscribe;
    std::string lastLine;   // the constructor's last line
    std::string timerLine;  // the line before the constructor arms the timer
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
            t_heap.failAfter = line == trigger ? 0 : -1;
        };
    }

    const Way way = Ways()[GetParam()];
    FakePlatform& platform = FakePlatform::Get();
    Recorder observer;
};

TEST_P(AllocationTest, ControlBlockThatFailsDestroysACountedSubscription) {
    // The next allocation after the constructor's last line is the shared_ptr's control block.
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

using TORVEL_MW::IBATParser;
using TORVEL_MW::ICATParser;
using TORVEL_MW::IDeliveryDesc;
using TORVEL_MW::IEITParser;
using TORVEL_MW::INITParser;
using TORVEL_MW::IPATParser;
using TORVEL_MW::IPMTParser;
using TORVEL_MW::ISDTParser;
using TORVEL_MW::ISIDescriptor;
using TORVEL_MW::ISSUInfo;
using TORVEL_MW::ISSULinkageDesc;
using TORVEL_MW::ISSUScanLinkageDesc;
using TORVEL_MW::SIDescriptor;

/// Runs `body` with its first allocation failing, then with its second, and so on, until a run
/// succeeds. Calls `afterFailure` after each run that failed. A failure must leave `body` as
/// std::bad_alloc.
///
/// @return the number of runs that failed
template <class Body, class Check>
int FailEachAllocation(const Body& body, const Check& afterFailure) {
    for (int successes = 0;; ++successes) {
        t_heap.failAfter = successes;
        try {
            body();
        } catch (const std::bad_alloc&) {
            t_heap.failAfter = -1;
            afterFailure();
            continue;
        }
        t_heap.failAfter = -1;
        return successes;
    }
}

TEST_P(AllocationTest, FailureWhileTheTimerIsArmedLeavesTheCountOfAKnownHandle) {
    SectionSubscriptionPeer::SetHandleCount(100, 5);
    for (const int successes : {0, 1}) {  // fails making the callback, then copying it
        platform.Reset();                 // the next handle is 100 again
        platform.duringLog = [this, successes](const std::string& line) {
            t_heap.failAfter = line == way.timerLine ? successes : -1;
        };
        EXPECT_THROW(way.subscribe(observer, 60000), std::bad_alloc);
        platform.duringLog = nullptr;
        EXPECT_EQ(SectionSubscriptionPeer::HandleCount(100), 5);
        EXPECT_THAT(platform.Released(), IsEmpty());
        EXPECT_EQ(platform.TakeLog().back(), way.timerLine);
    }
}

TEST_P(AllocationTest, FailureWhileATimeoutOf0IsArmedEndsNothing) {
    const std::string armed = way.timerLine.substr(0, way.timerLine.find("60000")) + "0" +
                              way.timerLine.substr(way.timerLine.find("60000") + 5);
    // If the timer were armed before it copies the callback, its thread could see that the deadline
    // has passed and call an empty callback, which ends the process. This is a race, which the
    // thread often wins in this many rounds.
    for (int round = 0; round < 500; ++round) {
        platform.Reset();
        platform.duringLog = [&](const std::string& line) {
            t_heap.failAfter = line == armed ? 1 : -1;  // the timer's copy of the callback
        };
        EXPECT_THROW(way.subscribe(observer, 0), std::bad_alloc);
        platform.duringLog = nullptr;
    }
    EXPECT_THAT(observer.Timeouts(), IsEmpty());
}

TEST_P(AllocationTest, TextOfTheSubscriptionTakesOneAllocation) {
    const auto subscription = way.subscribe(observer, kNoTimeout);
    const int before = t_heap.allocations;
    EXPECT_FALSE(SectionSubscriptionPeer::Info(*subscription).empty());
    EXPECT_EQ(t_heap.allocations - before, 1);
}

class RecordAllocationTest : public testing::Test {
  protected:
    void SetUp() override { platform.Reset(); }

    void StartAfresh() {
        pmtParser.reset();
        catParser.reset();
        platform.TakeLog();
        platform.Reset();
    }

    /// As FailEachAllocation, but `prepare` scripts a fresh platform for each run, and a run that
    /// failed must leave no memory and no descriptor behind.
    template <class Prepare, class Body>
    int FailEachAllocationTracelessly(const Prepare& prepare, const Body& body) {
        prepare();
        body();  // the first run allocates what the fakes never free
        StartAfresh();
        const int blocks = t_heap.blocks;
        const int descriptors = fake::LivingDescriptors();
        const auto expectNothingLeft = [&] {
            StartAfresh();
            EXPECT_EQ(t_heap.blocks, blocks);
            EXPECT_EQ(fake::LivingDescriptors(), descriptors);
        };
        prepare();
        const int failures = FailEachAllocation(body, [&] {
            expectNothingLeft();
            prepare();
        });
        expectNothingLeft();
        return failures;
    }

    FakePlatform& platform = FakePlatform::Get();
    std::unique_ptr<IPMTParser> pmtParser;
    std::unique_ptr<ICATParser> catParser;
};

TEST_F(RecordAllocationTest, SavedDescriptorWithoutPayloadAllocatesNothing) {
    const int before = t_heap.allocations;
    const SIDescriptor record(0x48, false, 0, false, 0, {});
    EXPECT_EQ(t_heap.allocations, before);
    const auto made = ISIDescriptor::CreateSIDescriptor(0x48, false, 0, false, 0, {});
    EXPECT_EQ(t_heap.allocations - before, 1) << "the record alone";
}

TEST_F(RecordAllocationTest, FactoryCopiesThePayloadAtTheCallAndOnceMore) {
    const Bytes payload{1, 2, 3};
    const int before = t_heap.allocations;
    const auto record = ISIDescriptor::CreateSIDescriptor(0x48, false, 0, false, 0, payload);
    EXPECT_EQ(t_heap.allocations - before, 3) << "two copies and the record";
    EXPECT_EQ(record->GetData(), payload);
}

TEST_F(RecordAllocationTest, SavedDescriptorThatFailsLeavesNothing) {
    const Bytes payload{1, 2, 3};
    EXPECT_EQ(
        FailEachAllocationTracelessly(
            [] {}, [&] { ISIDescriptor::CreateSIDescriptor(0x48, false, 0, false, 0, payload); }),
        3);
}

TEST_F(RecordAllocationTest, DeliverySystemThatFailsLeavesNothing) {
    for (Bytes bytes :
         {Bytes{0x43, 1, 0}, Bytes{0x5A, 1, 0}, Bytes{0x44, 1, 0}, Bytes{0x7F, 4, 4, 0, 0, 0}}) {
        int failuresAfterTheCopy = 0;
        FailEachAllocationTracelessly([] {},
                                      [&] {
                                          try {
                                              EXPECT_TRUE(IDeliveryDesc::Parse(bytes.data()));
                                          } catch (const std::bad_alloc&) {
                                              failuresAfterTheCopy += fake::Forks();
                                              throw;
                                          }
                                      });
        EXPECT_GE(failuresAfterTheCopy, 3) << "the copy's own part, its control block, the record";
    }
}

TEST_F(RecordAllocationTest, LinkageThatFailsLeavesNothing) {
    const unsigned char bytes[] = {0x4A, 2, 0, 0};
    EXPECT_GE(
        FailEachAllocationTracelessly(
            [] {
                fake::Parsing().linkage.linkageType = 9;
                fake::Parsing().linkage.loop->entries = {{0x10, {1, 2}}, {0x10, {}}, {0x20, {3}}};
            },
            [&] {
                const auto linkage = ISSULinkageDesc::Parse(bytes);
                ASSERT_TRUE(linkage);
                std::list<unsigned int> ouis;
                linkage->GetOUIs(ouis);
                EXPECT_EQ(ouis.size(), 3u) << "whole, or not at all";
            }),
        8)
        << "the record, three entries, two selectors of two blocks";
}

TEST_F(RecordAllocationTest, PMTThatFailsLeavesNothing) {
    unsigned char section[3] = {2, 0, 0};
    const auto prepare = [&] {
        fake::PmtTable& pmt = fake::TheTables().pmt;
        pmt.programNumber = 5;
        fake::PmtScript& program = pmt.AddProgram(5);
        program.loop.Add(fake::CADesc(1));
        program.AddStream(0x0B, 0x200)
            .loop.Add(fake::StreamIdentifierDesc(7))
            .Add(fake::DataBroadcastIdDesc(0x000A, {{0x10, {1, 2}}, {0x20, {}}}))
            .Add(fake::DataBroadcastIdDesc(0x000A, {{0x30, {3}}}))
            .Add(fake::CADesc(2));
        pmtParser = IPMTParser::CreatePMTParser();
    };
    EXPECT_GE(FailEachAllocationTracelessly(prepare,
                                            [&] { EXPECT_TRUE(pmtParser->Parse(0x200, section)); }),
              15)
        << "two CA ids, two offers in a vector of a program, three entries, two selectors of two "
           "blocks, a carousel";
}

TEST_F(RecordAllocationTest, PATFactoryThatFailsLeavesNothing) {
    EXPECT_GE(
        FailEachAllocationTracelessly([] {}, [] { EXPECT_TRUE(IPATParser::CreatePATParser()); }), 2)
        << "adapter and platform's parser at least";
}

TEST_F(RecordAllocationTest, OtherFactoriesThatFailLeaveNothing) {
    const auto expectAdapterAndPlatformsParser = [this](const auto& make) {
        EXPECT_GE(FailEachAllocationTracelessly([] {}, make), 2);
    };
    // These two log a line when they are destroyed, so the fixture destroys them later.
    expectAdapterAndPlatformsParser([&] { pmtParser = IPMTParser::CreatePMTParser(); });
    expectAdapterAndPlatformsParser([&] { catParser = ICATParser::CreateCATParser(); });
    expectAdapterAndPlatformsParser([] { EXPECT_TRUE(ISDTParser::CreateSDTParser()); });
    expectAdapterAndPlatformsParser([] { EXPECT_TRUE(IEITParser::CreateEITParser()); });
    expectAdapterAndPlatformsParser([] { EXPECT_TRUE(INITParser::CreateNITParser(true)); });
    expectAdapterAndPlatformsParser([] { EXPECT_TRUE(IBATParser::CreateBATParser()); });
}

void AddLinkages(fake::Loop& loop) {
    fake::LinkageScript update;
    update.linkageType = 9;
    update.loop->entries = {{0x10, {1, 2}}};
    fake::LinkageScript scan;
    scan.linkageType = 10;
    scan.tableType = 1;
    loop.Add(fake::LinkageDesc(update)).Add(fake::LinkageDesc(scan));
}

template <class Instance>
void ExpectBothLinkages(Instance& snapshot) {
    std::vector<std::unique_ptr<ISSULinkageDesc>> linkages;
    snapshot.GetSSULinkageDesc(0xFFFFFFFF, linkages);
    EXPECT_EQ(linkages.size(), 1u);
    std::vector<std::unique_ptr<ISSUScanLinkageDesc>> scanLinkages;
    snapshot.GetSSUScanLinkageDesc(scanLinkages);
    EXPECT_EQ(scanLinkages.size(), 1u);
}

TEST_F(RecordAllocationTest, NetworkSnapshotThatFailsLeavesNothing) {
    const auto prepare = [] {
        fake::NetworkScript& network = fake::TheTables().nit.AddNetwork(1);
        AddLinkages(network.loop);
        network.AddMux(1, 2).loop.Add(fake::PlainDesc(0x44, {0x44, 0}));
    };
    const auto takeAll = [] {
        const auto parser = INITParser::CreateNITParser(true);
        const auto snapshot = parser->GetInstance(1);
        ASSERT_TRUE(snapshot);
        ExpectBothLinkages(*snapshot);
        std::vector<std::shared_ptr<IDeliveryDesc>> deliveries;
        snapshot->GetDeliveryDescs(1, 2, deliveries);
        EXPECT_EQ(deliveries.size(), 1u);
    };
    EXPECT_GE(FailEachAllocationTracelessly(prepare, takeAll), 20)
        << "adapter, platform's parser, snapshot; linkages in their vectors, an entry, its "
           "selector "
           "of two blocks; a delivery's copy, control block, record, place in the map, vector; the "
           "copies given out";
}

TEST_F(RecordAllocationTest, BouquetSnapshotThatFailsLeavesNothing) {
    const auto prepare = [] { AddLinkages(fake::TheTables().bat.AddBouquet(1).loop); };
    const auto takeAll = [] {
        const auto parser = IBATParser::CreateBATParser();
        const auto snapshot = parser->GetInstance(1);
        ASSERT_TRUE(snapshot);
        ExpectBothLinkages(*snapshot);
    };
    EXPECT_GE(FailEachAllocationTracelessly(prepare, takeAll), 15);
}

/// Destroys a parser whose caches have about 100 blocks of memory. Returns whether none of them was
/// freed before the platform's parser was destroyed.
template <class Parser>
bool FreesItsCachesLast(fake::TableScript& table, std::unique_ptr<Parser>& parser) {
    const int before = t_heap.blocks;
    int whenDestroyed = 0;
    table.duringDestruction = [&whenDestroyed] { whenDestroyed = t_heap.blocks; };
    parser.reset();
    EXPECT_EQ(table.destroyed, 1);
    EXPECT_LT(t_heap.blocks, before - 90) << "the caches hold something";
    return whenDestroyed >= before;  // more if the fake recorded a log line
}

TEST_F(RecordAllocationTest, ParsersFreeTheirCachesBehindThePlatformsParser) {
    unsigned char section[3] = {};
    fake::Tables& tables = fake::TheTables();

    fake::Loop& services = tables.sdt.AddSubTable(1, 2).AddService(3).loop;
    fake::PmtScript& program = tables.pmt.AddProgram(5);
    tables.pmt.programNumber = 5;
    for (unsigned char i = 0; i < 100; ++i) {
        services.Add(fake::PlainDesc(0x48, {0x48, 1, i}));
        program.AddStream(0x0B, i).loop.Add(fake::StreamIdentifierDesc(i));
        tables.cat.loop.Add(fake::PlainDesc(0x09, {0x09, 2, 0, i}));
    }
    auto sdtParser = ISDTParser::CreateSDTParser();
    pmtParser = IPMTParser::CreatePMTParser();
    catParser = ICATParser::CreateCATParser();
    EXPECT_TRUE(sdtParser->Parse(17, section));
    EXPECT_TRUE(pmtParser->Parse(256, section));
    EXPECT_TRUE(catParser->Parse(1, section));

    EXPECT_TRUE(FreesItsCachesLast(tables.sdt, sdtParser));
    EXPECT_TRUE(FreesItsCachesLast(tables.pmt, pmtParser)) << "the carousels";
    EXPECT_TRUE(FreesItsCachesLast(tables.cat, catParser));

    platform.Reset();
    tables.pmt.programNumber = 5;
    fake::Loop& programLoop = tables.pmt.AddProgram(5).loop;
    for (unsigned short i = 0; i < 100; ++i) {
        programLoop.Add(fake::CADesc(i));
    }
    pmtParser = IPMTParser::CreatePMTParser();
    EXPECT_TRUE(pmtParser->Parse(256, section));
    EXPECT_TRUE(FreesItsCachesLast(tables.pmt, pmtParser)) << "the CA_system_IDs";
}

TEST_F(RecordAllocationTest, SavedDescriptorsTakeTheMemoryOfThoseBefore) {
    fake::SdtScript& subTable = fake::TheTables().sdt.AddSubTable(1, 2);
    for (unsigned char sid = 0; sid < 10; ++sid) {
        subTable.AddService(sid).loop.Add(fake::PlainDesc(0x48, {0x48, 1, sid}));
    }
    fake::TheTables().sdt.parsed.reserve(10);
    const auto parser = ISDTParser::CreateSDTParser();
    unsigned char section[3] = {};
    const auto allocationsOfAParse = [&] {
        platform.TakeLog();
        const int before = t_heap.allocations;
        EXPECT_TRUE(parser->Parse(17, section));
        return t_heap.allocations - before;
    };
    allocationsOfAParse();  // the first run allocates what the fakes never free
    const int again = allocationsOfAParse();
    parser->Initialize();
    const int afresh = allocationsOfAParse();
    EXPECT_EQ(afresh - again, 20) << "each record's place in the map and its data, one block each";
    EXPECT_EQ(allocationsOfAParse(), again);
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
