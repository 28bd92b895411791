#include "SI/PARSER/Korvo/NITParserKorvo.h"

#include <list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "SI/PARSER/Korvo/DescriptorsKorvo.h"
#include "tests/support/FakeTables.h"
#include "tests/unit/si/LinkageContract.h"
#include "tests/unit/si/SiFixture.h"

namespace TORVEL_MW {

struct NITParserKorvoPeer {
    using I = CNITInstance;
    using Key = std::pair<std::uint16_t, std::uint16_t>;

    static std::vector<std::unique_ptr<ISSULinkageDesc>>& SSULinkages(I& instance) {
        return instance.m_linkages.m_ssuLinkages;
    }
    static std::vector<std::unique_ptr<ISSUScanLinkageDesc>>& SSUScanLinkages(I& instance) {
        return instance.m_linkages.m_ssuScanLinkages;
    }
    /// The entries of the delivery map in its order: original_network_id, transport_stream_id and
    /// the number of delivery systems.
    static std::vector<std::pair<Key, std::size_t>> Deliveries(const I& instance) {
        std::vector<std::pair<Key, std::size_t>> entries;
        for (const auto& [key, deliveries] : instance.m_deliveryDescs) {
            entries.emplace_back(key, deliveries.size());
        }
        return entries;
    }
    /// The members' addresses, in the order in which they should be declared.
    static std::vector<const void*> Members(const I& instance) {
        return {&instance.m_networkId,
                &instance.m_nitAttribute,
                &instance.m_tableAttribute,
                &instance.m_linkages.m_ssuLinkages,
                &instance.m_linkages.m_ssuScanLinkages,
                &instance.m_deliveryDescs};
    }
    static std::vector<const void*> Members(const CNITParserKorvo& parser) {
        return {&parser.m_Parser, &parser.m_actual};
    }
};

}  // namespace TORVEL_MW

namespace {

using fake::MuxScript;
using fake::NetworkScript;
using fake::PlainDesc;
using TORVEL_MW::CNITInstance;
using TORVEL_MW::CNITParserKorvo;
using TORVEL_MW::IDeliveryDesc;
using TORVEL_MW::INITInstance;
using TORVEL_MW::INITParser;
using TORVEL_MW::NITParserKorvoPeer;

using Deliveries = std::vector<std::shared_ptr<IDeliveryDesc>>;

std::string NitLine(int priority, const std::string& function, int line, const std::string& text) {
    return std::to_string(priority) + " NITParserKorvo.cpp " + function + "(" +
           std::to_string(line) + ") > " + text;
}
std::string MuxLine(int onid, int tsid) {
    return NitLine(3, "CNITInstance", 173,
                   "NIT contains Mux " + std::to_string(onid) + " " + std::to_string(tsid));
}
const std::string kCableLine =
    NitLine(3, "CNITInstance", 180, "Got a cable delivery system descriptor");
const std::string kSatelliteLine =
    NitLine(3, "CNITInstance", 186, "Got a satellite delivery system descriptor");
const std::string kT2Line = NitLine(3, "CNITInstance", 192, "Got a T2 delivery system descriptor");
const std::string kTerrestrialLine =
    NitLine(3, "CNITInstance", 198, "Got a terrestrial delivery system descriptor");

class NITParserTest : public testing::Test {
  protected:
    void SetUp() override {
        platform.Reset();
        parser = INITParser::CreateNITParser(true);
    }

    void TearDown() override {
        parser.reset();
        platform.Reset();
        EXPECT_EQ(fake::LivingDescriptors(), 0);
    }

    NetworkScript& AddNetwork() { return nit.AddNetwork(kNetwork); }

    std::unique_ptr<INITInstance> Snapshot() {
        auto instance = parser->GetInstance(kNetwork);
        EXPECT_TRUE(instance);
        return instance;
    }

    static CNITInstance& Inside(INITInstance& instance) {
        return dynamic_cast<CNITInstance&>(instance);
    }

    static constexpr unsigned short kNetwork = 0x3001;

    FakePlatform& platform = FakePlatform::Get();
    fake::NitTable& nit = fake::TheTables().nit;
    std::unique_ptr<INITParser> parser;
    unsigned char section[3] = {};
};

// --- Life cycle

TEST_F(NITParserTest, ParserOfTheActualNetworkCollectsTable0x40) {
    ASSERT_TRUE(parser);
    EXPECT_NE(dynamic_cast<CNITParserKorvo*>(parser.get()), nullptr);
    EXPECT_EQ(nit.constructed, 1);
    EXPECT_EQ(nit.tableId, 0x40);
    EXPECT_EQ(nit.access, 1);
    EXPECT_EQ(nit.instance, 0);
    EXPECT_EQ(nit.resets, 0);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(NITParserTest, ParserOfOtherNetworksCollectsTable0x41) {
    const auto others = INITParser::CreateNITParser(false);
    ASSERT_TRUE(others);
    EXPECT_EQ(nit.constructed, 2);
    EXPECT_EQ(nit.tableId, 0x41);
    EXPECT_EQ(nit.access, 1);
    EXPECT_EQ(nit.instance, 0);
    EXPECT_EQ(nit.resets, 0);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(NITParserTest, CreateIsTrue) {
    CNITParserKorvo bare(false);
    EXPECT_EQ(nit.constructed, 1);
    EXPECT_TRUE(bare.Create());
    EXPECT_EQ(nit.constructed, 2);
    EXPECT_EQ(nit.tableId, 0x41);
}

TEST_F(NITParserTest, DestructionDestroysThePlatformsParserSilently) {
    parser.reset();
    EXPECT_EQ(nit.destroyed, 1);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(NITParserTest, InitializeResetsThePlatformsParserSilently) {
    parser->Initialize();
    EXPECT_EQ(nit.resets, 1);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(NITParserTest, InitializeWithoutPlatformParserDoesNothing) {
    CNITParserKorvo bare(true);
    bare.Initialize();
    EXPECT_EQ(nit.resets, 0);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(NITParserTest, MembersStandInOrderBehindTheVirtualTable) {
    const CNITParserKorvo bare(true);
    const std::vector<const void*> ofParser = NITParserKorvoPeer::Members(bare);
    EXPECT_EQ(ofParser.front(), reinterpret_cast<const char*>(&bare) + sizeof(void*));
    EXPECT_LT(ofParser[0], ofParser[1]);
    EXPECT_EQ(sizeof(bare), 3 * sizeof(void*));

    AddNetwork();
    const auto snapshot = Snapshot();
    const CNITInstance& instance = Inside(*snapshot);
    const std::vector<const void*> ofInstance = NITParserKorvoPeer::Members(instance);
    EXPECT_EQ(ofInstance.front(), reinterpret_cast<const char*>(&instance) + sizeof(void*));
    for (std::size_t i = 1; i < ofInstance.size(); ++i) {
        EXPECT_LT(ofInstance[i - 1], ofInstance[i]) << i;
    }
}

// --- Parse

TEST_F(NITParserTest, ParseHandsOverThePidAs16BitsWithSignAndTheSection) {
    EXPECT_TRUE(parser->Parse(0xFFFE, section));
    EXPECT_TRUE(parser->Parse(16, section));
    EXPECT_THAT(nit.parsed, ElementsAre(std::pair<short, unsigned char*>(-2, section),
                                        std::pair<short, unsigned char*>(16, section)));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(NitLine(3, "Parse", 73, "Parse parse complete"),
                                                NitLine(3, "Parse", 73, "Parse parse complete")));
}

TEST_F(NITParserTest, RejectedSectionIsIncompleteAtDebugPriority) {
    nit.accepts = false;
    EXPECT_FALSE(parser->Parse(16, section));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(NitLine(3, "Parse", 69, "Parse parse incomplete")));
}

TEST_F(NITParserTest, ParseWithoutPlatformParserIsIncompleteAtDebugPriority) {
    CNITParserKorvo bare(true);
    EXPECT_FALSE(bare.Parse(16, section));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(NitLine(3, "Parse", 69, "Parse parse incomplete")));
}

// --- NetworkIds

TEST_F(NITParserTest, NetworkIdsAreThoseThatThePlatformAdds) {
    nit.AddNetwork(1);
    nit.AddNetwork(0xFFFF);
    std::list<unsigned short> ids = {5};
    parser->NetworkIds(ids);
    EXPECT_THAT(ids, ElementsAre(5, 1, 0xFFFF));
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(NITParserTest, NetworkIdsWithoutPlatformParserIsToldAndLeavesTheList) {
    CNITParserKorvo bare(true);
    std::list<unsigned short> ids = {5};
    bare.NetworkIds(ids);
    EXPECT_THAT(ids, ElementsAre(5));
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(NitLine(6, "NetworkIds", 91, Red("NetworkIds parser error (null)"))));
}

// --- IsRecv

TEST_F(NITParserTest, IsRecvAnswersTheValidityOfTheSubTableAskedFor) {
    nit.AddNetwork(1);
    nit.AddNetwork(2).valid = true;
    EXPECT_FALSE(parser->IsRecv(1));
    EXPECT_TRUE(parser->IsRecv(2));
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(NITParserTest, IsRecvOfAMissingSubTableIsToldAndFalse) {
    nit.AddNetwork(1).valid = true;
    EXPECT_FALSE(parser->IsRecv(2));
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(NitLine(6, "IsRecv", 110, Red("IsRecv NIT instance not available"))));
}

TEST_F(NITParserTest, IsRecvWithoutPlatformParserIsToldAndFalse) {
    nit.AddNetwork(1).valid = true;
    CNITParserKorvo bare(true);
    EXPECT_FALSE(bare.IsRecv(1));
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(NitLine(6, "IsRecv", 103, Red("IsRecv parser error (null)"))));
}

// --- GetInstance

TEST_F(NITParserTest, GetInstanceOfAMissingSubTableIsEmptyAndSilent) {
    nit.AddNetwork(1);
    EXPECT_FALSE(parser->GetInstance(2));
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(NITParserTest, GetInstanceWithoutPlatformParserIsEmptyAndTold) {
    nit.AddNetwork(1);
    CNITParserKorvo bare(true);
    EXPECT_FALSE(bare.GetInstance(1));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(NitLine(6, "GetInstance", 130,
                                                        Red("GetInstance parser error (null)"))));
}

TEST_F(NITParserTest, EachSnapshotIsAnObjectOfItsOwnOfThatNetwork) {
    nit.AddNetwork(1).nitAttribute = 10;
    nit.AddNetwork(0xFFFE).nitAttribute = 20;
    const auto first = parser->GetInstance(0xFFFE);
    const auto second = parser->GetInstance(0xFFFE);
    ASSERT_TRUE(first);
    ASSERT_TRUE(second);
    EXPECT_NE(first, second);
    unsigned short id = 0;
    unsigned char nitAttribute = 0, tableAttribute = 0;
    second->GetInfo(id, nitAttribute, tableAttribute);
    EXPECT_EQ(id, 0xFFFE);
    EXPECT_EQ(nitAttribute, 20);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(NITParserTest, GetInfoGivesIdAndBothAttributes) {
    NetworkScript& network = AddNetwork();
    network.nitAttribute = 0xAB;
    network.tableAttribute = 0xCD;
    unsigned short id = 0;
    unsigned char nitAttribute = 0, tableAttribute = 0;
    Snapshot()->GetInfo(id, nitAttribute, tableAttribute);
    EXPECT_EQ(id, kNetwork);
    EXPECT_EQ(nitAttribute, 0xAB);
    EXPECT_EQ(tableAttribute, 0xCD);
}

TEST_F(NITParserTest, SnapshotDoesNotFollowThePlatform) {
    NetworkScript& network = AddNetwork();
    network.nitAttribute = 1;
    const auto snapshot = Snapshot();
    network.nitAttribute = 2;
    network.loop.Add(Linkage(0x09, 1));
    network.AddMux(1, 2).loop.Add(PlainDesc(0x44, {0x44, 0}));
    unsigned short id = 0;
    unsigned char nitAttribute = 0, tableAttribute = 0;
    snapshot->GetInfo(id, nitAttribute, tableAttribute);
    EXPECT_EQ(nitAttribute, 1);
    Linkages linkages;
    snapshot->GetSSULinkageDesc(kEveryOui, linkages);
    EXPECT_THAT(linkages, IsEmpty());
    EXPECT_THAT(NITParserKorvoPeer::Deliveries(Inside(*snapshot)), IsEmpty());
}

TEST_F(NITParserTest, SnapshotOutlivesTheParserAndThePlatformsTable) {
    NetworkScript& network = AddNetwork();
    network.tableAttribute = 7;
    network.loop.Add(Linkage(0x09, 1, 0, {{0x00015A, {1, 2}}})).Add(Linkage(0x0A, 2, 1));
    network.AddMux(1, 2).loop.Add(PlainDesc(0x44, {0x44, 1, 9}));
    const auto snapshot = Snapshot();
    parser.reset();
    platform.Reset();
    EXPECT_EQ(fake::LivingDescriptors(), 1);  // the snapshot's copy

    unsigned short id = 0;
    unsigned char nitAttribute = 0, tableAttribute = 0;
    snapshot->GetInfo(id, nitAttribute, tableAttribute);
    EXPECT_EQ(id, kNetwork);
    EXPECT_EQ(tableAttribute, 7);
    Linkages linkages;
    snapshot->GetSSULinkageDesc(0x00015A, linkages);
    EXPECT_THAT(ServicesOf(linkages), ElementsAre(1));
    ScanLinkages scanLinkages;
    snapshot->GetSSUScanLinkageDesc(scanLinkages);
    EXPECT_THAT(ServicesOf(scanLinkages), ElementsAre(std::make_pair(2, true)));
    Deliveries deliveries;
    snapshot->GetDeliveryDescs(1, 2, deliveries);
    ASSERT_EQ(deliveries.size(), 1u);
    EXPECT_EQ(deliveries[0]->PlatformDesc()->Length(), 3);
}

// --- Linkages: LinkageContract.h

struct NitTable {
    using Instance = INITInstance;
    using Parser = INITParser;
    static std::unique_ptr<Parser> CreateParser() { return Parser::CreateNITParser(true); }
    static NetworkScript& AddTable(unsigned short id) {
        return fake::TheTables().nit.AddNetwork(id);
    }
    static Linkages& SSULinkages(Instance& instance) {
        return NITParserKorvoPeer::SSULinkages(dynamic_cast<CNITInstance&>(instance));
    }
    static ScanLinkages& SSUScanLinkages(Instance& instance) {
        return NITParserKorvoPeer::SSUScanLinkages(dynamic_cast<CNITInstance&>(instance));
    }
};

INSTANTIATE_TYPED_TEST_SUITE_P(Networks, LinkageContract, NitTable);

// --- Delivery systems

TEST_F(NITParserTest, DeliveryDescriptorsBecomeTheirKindsAndHoldThePlatformsCopies) {
    const std::vector<std::shared_ptr<TCBaseDesc>> platforms = {
        PlainDesc(0x5A, {0x5A, 0}), PlainDesc(0x7F04, {0x7F, 1, 4}), PlainDesc(0x43, {0x43, 0}),
        PlainDesc(0x44, {0x44, 0})};
    MuxScript& mux = AddNetwork().AddMux(0x233A, 0xFFFF);
    for (const auto& desc : platforms) {
        mux.loop.Add(desc);
    }
    const auto snapshot = Snapshot();
    EXPECT_THAT(platform.TakeLog(), ElementsAre(MuxLine(0x233A, 0xFFFF), kTerrestrialLine, kT2Line,
                                                kSatelliteLine, kCableLine));
    Deliveries deliveries;
    snapshot->GetDeliveryDescs(0x233A, 0xFFFF, deliveries);
    ASSERT_EQ(deliveries.size(), 4u);
    EXPECT_EQ(deliveries[0]->Type(), 1);
    EXPECT_EQ(deliveries[1]->Type(), 0);
    EXPECT_EQ(deliveries[2]->Type(), 3);
    EXPECT_EQ(deliveries[3]->Type(), 2);
    using namespace TORVEL_MW;
    EXPECT_TRUE(std::dynamic_pointer_cast<CTerrestrialDeliverySystemDesc>(deliveries[0]));
    EXPECT_TRUE(std::dynamic_pointer_cast<CT2DeliverySystemDesc>(deliveries[1]));
    EXPECT_TRUE(std::dynamic_pointer_cast<CSatelliteDeliverySystemDesc>(deliveries[2]));
    EXPECT_TRUE(std::dynamic_pointer_cast<CCableDeliverySystemDesc>(deliveries[3]));
    EXPECT_EQ(fake::Forks(), 4);
    for (std::size_t i = 0; i < platforms.size(); ++i) {
        EXPECT_EQ(fake::ForkedFrom(*deliveries[i]->PlatformDesc()), platforms[i].get()) << i;
    }
}

TEST_F(NITParserTest, PlatformsCopiesLiveAsLongAsTheObjectsThatHoldThem) {
    AddNetwork().AddMux(1, 2).loop.Add(PlainDesc(0x44, {0x44, 0}));
    const int before = fake::LivingDescriptors();
    auto snapshot = Snapshot();
    EXPECT_EQ(fake::LivingDescriptors(), before + 1);
    Deliveries deliveries;
    snapshot->GetDeliveryDescs(1, 2, deliveries);
    EXPECT_EQ(fake::LivingDescriptors(), before + 1);
    snapshot.reset();
    EXPECT_EQ(fake::LivingDescriptors(), before + 1);
    deliveries.clear();
    EXPECT_EQ(fake::LivingDescriptors(), before);
}

TEST_F(NITParserTest, T2DescriptorOfAnyLengthIsTaken) {
    MuxScript& mux = AddNetwork().AddMux(1, 2);
    for (std::size_t size = 0; size <= 255; ++size) {
        Bytes bytes(2 + size, 4);
        bytes[0] = 0x7F;
        bytes[1] = static_cast<unsigned char>(size);
        mux.loop.Add(PlainDesc(0x7F04, bytes));
    }
    const auto snapshot = Snapshot();
    Deliveries deliveries;
    snapshot->GetDeliveryDescs(1, 2, deliveries);
    ASSERT_EQ(deliveries.size(), 256u);
    for (std::size_t size = 0; size <= 255; ++size) {
        EXPECT_EQ(deliveries[size]->Type(), IDeliveryDesc::DELIVERY_T2);
        EXPECT_EQ(deliveries[size]->PlatformDesc()->Length(), static_cast<int>(2 + size));
    }
}

TEST_F(NITParserTest, TagsAreComparedAt16Bits) {
    MuxScript& mux = AddNetwork().AddMux(1, 2);
    for (const int tag : {0x04, 0x7F, 0x0104, 0x0143, 0x0144, 0x015A, 0x047F, 0x4300, 0x4400,
                          0x5A00, 0x7F00, 0x7F05, 0x7F43, 0x7F44, 0x7F5A, 0xFF04, 0xFF44}) {
        mux.loop.Add(PlainDesc(static_cast<unsigned short>(tag), {0, 0}));
    }
    const auto snapshot = Snapshot();
    EXPECT_THAT(NITParserKorvoPeer::Deliveries(Inside(*snapshot)), IsEmpty());
    EXPECT_EQ(fake::Forks(), 0);
    EXPECT_THAT(platform.TakeLog(), ElementsAre(MuxLine(1, 2)));
}

TEST_F(NITParserTest, TransportStreamWithoutDeliveryDescriptorHasNoEntry) {
    NetworkScript& network = AddNetwork();
    network.AddMux(1, 2).loop.Add(PlainDesc(0x41, {0x41, 0}));
    network.AddMux(1, 3);
    network.AddMux(1, 4).loop.AddMissing(0x44);
    network.AddMux(1, 5).loop.Add(PlainDesc(0x44, {0x44, 0}));
    const auto snapshot = Snapshot();
    EXPECT_THAT(NITParserKorvoPeer::Deliveries(Inside(*snapshot)),
                ElementsAre(std::make_pair(NITParserKorvoPeer::Key(1, 5), 1u)));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(MuxLine(1, 2), MuxLine(1, 3), MuxLine(1, 4),
                                                MuxLine(1, 5), kCableLine));
}

TEST_F(NITParserTest, DeliveriesAreOrderedByNetworkThenTransportStream) {
    NetworkScript& network = AddNetwork();
    using Key = NITParserKorvoPeer::Key;
    const std::vector<Key> keys = {Key(0xFFFF, 1), Key(2, 0xFFFF), Key(1, 0x8000), Key(2, 1),
                                   Key(1, 3)};
    for (const auto& [onid, tsid] : keys) {
        network.AddMux(onid, tsid).loop.Add(PlainDesc(0x44, {0x44, 0}));
    }
    const auto snapshot = Snapshot();
    EXPECT_THAT(NITParserKorvoPeer::Deliveries(Inside(*snapshot)),
                ElementsAre(std::make_pair(Key(1, 3), 1u), std::make_pair(Key(1, 0x8000), 1u),
                            std::make_pair(Key(2, 1), 1u), std::make_pair(Key(2, 0xFFFF), 1u),
                            std::make_pair(Key(0xFFFF, 1), 1u)));
}

TEST_F(NITParserTest, TransportStreamListedTwiceHasOneVectorInTheOrderOfTheLoop) {
    NetworkScript& network = AddNetwork();
    network.AddMux(1, 2).loop.Add(PlainDesc(0x44, {0x44, 0})).Add(PlainDesc(0x5A, {0x5A, 0}));
    network.AddMux(1, 3).loop.Add(PlainDesc(0x43, {0x43, 0}));
    network.AddMux(1, 2).loop.Add(PlainDesc(0x43, {0x43, 0}));
    const auto snapshot = Snapshot();
    EXPECT_THAT(NITParserKorvoPeer::Deliveries(Inside(*snapshot)),
                ElementsAre(std::make_pair(NITParserKorvoPeer::Key(1, 2), 3u),
                            std::make_pair(NITParserKorvoPeer::Key(1, 3), 1u)));
    Deliveries deliveries;
    snapshot->GetDeliveryDescs(1, 2, deliveries);
    ASSERT_EQ(deliveries.size(), 3u);
    EXPECT_EQ(deliveries[0]->Type(), IDeliveryDesc::DELIVERY_CABLE);
    EXPECT_EQ(deliveries[1]->Type(), IDeliveryDesc::DELIVERY_TERRESTRIAL);
    EXPECT_EQ(deliveries[2]->Type(), IDeliveryDesc::DELIVERY_SATELLITE);
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(MuxLine(1, 2), kCableLine, kTerrestrialLine, MuxLine(1, 3),
                            kSatelliteLine, MuxLine(1, 2), kSatelliteLine));
}

TEST_F(NITParserTest, MissingTransportStreamAndMissingDescriptorAreSkippedSilently) {
    NetworkScript& network = AddNetwork();
    network.AddMissingMux();
    network.AddMux(1, 2).loop.AddMissing(0x44).Add(PlainDesc(0x44, {0x44, 0}));
    network.AddMissingMux();
    const auto snapshot = Snapshot();
    EXPECT_THAT(NITParserKorvoPeer::Deliveries(Inside(*snapshot)),
                ElementsAre(std::make_pair(NITParserKorvoPeer::Key(1, 2), 1u)));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(MuxLine(1, 2), kCableLine));
}

TEST_F(NITParserTest, GetDeliveryDescsReplacesOnlyWhenFound) {
    NetworkScript& network = AddNetwork();
    network.AddMux(1, 2).loop.Add(PlainDesc(0x44, {0x44, 0}));
    network.AddMux(3, 4);
    const auto snapshot = Snapshot();
    platform.TakeLog();
    Deliveries out(3);
    for (const auto& [onid, tsid] :
         {std::pair<unsigned short, unsigned short>(2, 1), {1, 3}, {2, 2}, {3, 4}}) {
        snapshot->GetDeliveryDescs(onid, tsid, out);
        EXPECT_EQ(out.size(), 3u);
    }
    snapshot->GetDeliveryDescs(1, 2, out);
    ASSERT_EQ(out.size(), 1u);
    EXPECT_TRUE(out[0]);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(NITParserTest, GetDeliveryDescsSharesTheObjectsButNotTheVector) {
    AddNetwork().AddMux(1, 2).loop.Add(PlainDesc(0x44, {0x44, 0}));
    const auto snapshot = Snapshot();
    Deliveries first, second;
    snapshot->GetDeliveryDescs(1, 2, first);
    snapshot->GetDeliveryDescs(1, 2, second);
    EXPECT_EQ(first, second);
    EXPECT_EQ(fake::Forks(), 1);
    first.clear();
    snapshot->GetDeliveryDescs(1, 2, second);
    EXPECT_EQ(second.size(), 1u);
}

TEST_F(NITParserTest, CountOfTransportStreamsBelow1IsNone) {
    NetworkScript& network = AddNetwork();
    network.AddMux(1, 2).loop.Add(PlainDesc(0x44, {0x44, 0}));
    for (const int count : {0, -1}) {
        network.muxCount = count;
        const auto snapshot = Snapshot();
        EXPECT_THAT(NITParserKorvoPeer::Deliveries(Inside(*snapshot)), IsEmpty()) << count;
    }
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

}  // namespace
