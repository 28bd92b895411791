#include "SI/PARSER/Korvo/BATParserKorvo.h"

#include <list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/FakeTables.h"
#include "tests/unit/si/LinkageContract.h"
#include "tests/unit/si/SiFixture.h"

namespace TORVEL_MW {

struct BATParserKorvoPeer {
    using I = CBATInstance;
    static std::vector<std::unique_ptr<ISSULinkageDesc>>& SSULinkages(I& instance) {
        return instance.m_linkages.m_ssuLinkages;
    }
    static std::vector<std::unique_ptr<ISSUScanLinkageDesc>>& SSUScanLinkages(I& instance) {
        return instance.m_linkages.m_ssuScanLinkages;
    }
    /// The members' addresses, in the order in which they should be declared.
    static std::vector<const void*> Members(const I& instance) {
        return {&instance.m_bouquetId, &instance.m_tableAttribute,
                &instance.m_linkages.m_ssuLinkages, &instance.m_linkages.m_ssuScanLinkages};
    }
};

}  // namespace TORVEL_MW

namespace {

using fake::NetworkScript;
using fake::PlainDesc;
using TORVEL_MW::BATParserKorvoPeer;
using TORVEL_MW::CBATInstance;
using TORVEL_MW::CBATParserKorvo;
using TORVEL_MW::IBATInstance;
using TORVEL_MW::IBATParser;

std::string BatLine(int priority, const std::string& function, int line, const std::string& text) {
    return std::to_string(priority) + " BATParserKorvo.cpp " + function + "(" +
           std::to_string(line) + ") > " + text;
}

class BATParserTest : public testing::Test {
  protected:
    void SetUp() override {
        platform.Reset();
        parser = IBATParser::CreateBATParser();
    }

    void TearDown() override {
        parser.reset();
        platform.Reset();
        EXPECT_EQ(fake::LivingDescriptors(), 0);
    }

    NetworkScript& AddBouquet() { return bat.AddBouquet(kBouquet); }

    std::unique_ptr<IBATInstance> Snapshot() {
        auto instance = parser->GetInstance(kBouquet);
        EXPECT_TRUE(instance);
        return instance;
    }

    static CBATInstance& Inside(IBATInstance& instance) {
        return dynamic_cast<CBATInstance&>(instance);
    }

    static constexpr unsigned short kBouquet = 0x1001;

    FakePlatform& platform = FakePlatform::Get();
    fake::BatTable& bat = fake::TheTables().bat;
    std::unique_ptr<IBATParser> parser;
    unsigned char section[3] = {};
};

// --- Life cycle

TEST_F(BATParserTest, FactoryCreatesThePlatformsParserWithHandle1And0AndDoesNotInitialize) {
    ASSERT_TRUE(parser);
    EXPECT_NE(dynamic_cast<CBATParserKorvo*>(parser.get()), nullptr);
    EXPECT_EQ(bat.constructed, 1);
    EXPECT_EQ(bat.access, 1);
    EXPECT_EQ(bat.instance, 0);
    EXPECT_EQ(bat.resets, 0);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(BATParserTest, CreateIsTrue) {
    CBATParserKorvo bare;
    EXPECT_EQ(bat.constructed, 1);
    EXPECT_TRUE(bare.Create());
    EXPECT_EQ(bat.constructed, 2);
}

TEST_F(BATParserTest, DestructionDestroysThePlatformsParserSilently) {
    parser.reset();
    EXPECT_EQ(bat.destroyed, 1);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(BATParserTest, InitializeResetsThePlatformsParserSilently) {
    parser->Initialize();
    EXPECT_EQ(bat.resets, 1);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(BATParserTest, InitializeWithoutPlatformParserDoesNothing) {
    CBATParserKorvo bare;
    bare.Initialize();
    EXPECT_EQ(bat.resets, 0);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(BATParserTest, MembersStandInOrderBehindTheVirtualTable) {
    EXPECT_EQ(sizeof(CBATParserKorvo), 2 * sizeof(void*));  // virtual table and platform's parser

    AddBouquet();
    const auto snapshot = Snapshot();
    const CBATInstance& instance = Inside(*snapshot);
    const std::vector<const void*> members = BATParserKorvoPeer::Members(instance);
    EXPECT_EQ(members.front(), reinterpret_cast<const char*>(&instance) + sizeof(void*));
    for (std::size_t i = 1; i < members.size(); ++i) {
        EXPECT_LT(members[i - 1], members[i]) << i;
    }
}

// --- Parse

TEST_F(BATParserTest, ParseHandsOverThePidAs16BitsWithSignAndTheSection) {
    EXPECT_TRUE(parser->Parse(0xFFFE, section));
    EXPECT_TRUE(parser->Parse(17, section));
    EXPECT_THAT(bat.parsed, ElementsAre(std::pair<short, unsigned char*>(-2, section),
                                        std::pair<short, unsigned char*>(17, section)));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(BatLine(3, "Parse", 59, "Parse parse complete"),
                                                BatLine(3, "Parse", 59, "Parse parse complete")));
}

TEST_F(BATParserTest, RejectedSectionIsIncompleteAtDebugPriority) {
    bat.accepts = false;
    EXPECT_FALSE(parser->Parse(17, section));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(BatLine(3, "Parse", 55, "Parse parse incomplete")));
}

TEST_F(BATParserTest, ParseWithoutPlatformParserIsIncompleteAtDebugPriority) {
    CBATParserKorvo bare;
    EXPECT_FALSE(bare.Parse(17, section));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(BatLine(3, "Parse", 55, "Parse parse incomplete")));
}

// --- Queries of the parser

TEST_F(BATParserTest, BouquetIdsAreThoseThatThePlatformAdds) {
    bat.AddBouquet(1);
    bat.AddBouquet(0xFFFF);
    std::list<unsigned short> ids = {5};
    parser->BouquetIds(ids);
    EXPECT_THAT(ids, ElementsAre(5, 1, 0xFFFF));
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(BATParserTest, BouquetIdsWithoutPlatformParserIsToldAndLeavesTheList) {
    CBATParserKorvo bare;
    std::list<unsigned short> ids = {5};
    bare.BouquetIds(ids);
    EXPECT_THAT(ids, ElementsAre(5));
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(BatLine(6, "BouquetIds", 77, Red("BouquetIds parser error (null)"))));
}

TEST_F(BATParserTest, BouquetIdIsTheTableIdExtensionOfTheSectionTakenLast) {
    AddBouquet();
    EXPECT_EQ(parser->BouquetId(), 0);
    bat.tableIdExt = 0xFFFE;
    EXPECT_EQ(parser->BouquetId(), 0xFFFE);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(BATParserTest, AllSubtablesReceivedAnswersAsThePlatform) {
    AddBouquet();
    EXPECT_FALSE(parser->AllSubtablesReceived());
    bat.allReceived = true;
    EXPECT_TRUE(parser->AllSubtablesReceived());
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(BATParserTest, BouquetIdAndAllSubtablesReceivedWithoutPlatformParserAreSilent) {
    bat.tableIdExt = 7;
    bat.allReceived = true;
    CBATParserKorvo bare;
    EXPECT_EQ(bare.BouquetId(), 0);
    EXPECT_FALSE(bare.AllSubtablesReceived());
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(BATParserTest, IsRecvAnswersTheValidityOfTheSubTableAskedFor) {
    bat.AddBouquet(1);
    bat.AddBouquet(2).valid = true;
    EXPECT_FALSE(parser->IsRecv(1));
    EXPECT_TRUE(parser->IsRecv(2));
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(BATParserTest, IsRecvOfAMissingSubTableIsToldAndFalse) {
    bat.AddBouquet(1).valid = true;
    EXPECT_FALSE(parser->IsRecv(2));
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(BatLine(6, "IsRecv", 96, Red("IsRecv BAT instance not available"))));
}

TEST_F(BATParserTest, IsRecvWithoutPlatformParserIsToldAndFalse) {
    bat.AddBouquet(1).valid = true;
    CBATParserKorvo bare;
    EXPECT_FALSE(bare.IsRecv(1));
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(BatLine(6, "IsRecv", 89, Red("IsRecv parser error (null)"))));
}

// --- GetInstance

TEST_F(BATParserTest, GetInstanceOfAMissingSubTableIsEmptyAndSilent) {
    bat.AddBouquet(1);
    EXPECT_FALSE(parser->GetInstance(2));
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(BATParserTest, GetInstanceWithoutPlatformParserIsEmptyAndTold) {
    bat.AddBouquet(1);
    CBATParserKorvo bare;
    EXPECT_FALSE(bare.GetInstance(1));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(BatLine(6, "GetInstance", 116,
                                                        Red("GetInstance parser error (null)"))));
}

TEST_F(BATParserTest, EachSnapshotIsAnObjectOfItsOwnOfThatBouquet) {
    bat.AddBouquet(1).tableAttribute = 10;
    bat.AddBouquet(0xFFFE).tableAttribute = 0xCD;
    const auto first = parser->GetInstance(0xFFFE);
    const auto second = parser->GetInstance(0xFFFE);
    ASSERT_TRUE(first);
    ASSERT_TRUE(second);
    EXPECT_NE(first, second);
    unsigned short id = 0;
    unsigned char tableAttribute = 0;
    second->GetInfo(id, tableAttribute);
    EXPECT_EQ(id, 0xFFFE);
    EXPECT_EQ(tableAttribute, 0xCD);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(BATParserTest, SnapshotDoesNotFollowThePlatform) {
    NetworkScript& bouquet = AddBouquet();
    bouquet.tableAttribute = 1;
    const auto snapshot = Snapshot();
    bouquet.tableAttribute = 2;
    bouquet.loop.Add(Linkage(0x09, 1));
    unsigned short id = 0;
    unsigned char tableAttribute = 0;
    snapshot->GetInfo(id, tableAttribute);
    EXPECT_EQ(tableAttribute, 1);
    Linkages linkages;
    snapshot->GetSSULinkageDesc(kEveryOui, linkages);
    EXPECT_THAT(linkages, IsEmpty());
}

TEST_F(BATParserTest, SnapshotOutlivesTheParserAndThePlatformsTable) {
    NetworkScript& bouquet = AddBouquet();
    bouquet.tableAttribute = 7;
    bouquet.loop.Add(Linkage(0x09, 1, 0, {{0x00015A, {1, 2}}})).Add(Linkage(0x0A, 2, 1));
    const auto snapshot = Snapshot();
    parser.reset();
    platform.Reset();
    EXPECT_EQ(fake::LivingDescriptors(), 0);

    unsigned short id = 0;
    unsigned char tableAttribute = 0;
    snapshot->GetInfo(id, tableAttribute);
    EXPECT_EQ(id, kBouquet);
    EXPECT_EQ(tableAttribute, 7);
    Linkages linkages;
    snapshot->GetSSULinkageDesc(0x00015A, linkages);
    EXPECT_THAT(ServicesOf(linkages), ElementsAre(1));
    ScanLinkages scanLinkages;
    snapshot->GetSSUScanLinkageDesc(scanLinkages);
    EXPECT_THAT(ServicesOf(scanLinkages), ElementsAre(std::make_pair(2, true)));
}

// --- Linkages: LinkageContract.h

struct BatTable {
    using Instance = IBATInstance;
    using Parser = IBATParser;
    static std::unique_ptr<Parser> CreateParser() { return Parser::CreateBATParser(); }
    static NetworkScript& AddTable(unsigned short id) {
        return fake::TheTables().bat.AddBouquet(id);
    }
    static Linkages& SSULinkages(Instance& instance) {
        return BATParserKorvoPeer::SSULinkages(dynamic_cast<CBATInstance&>(instance));
    }
    static ScanLinkages& SSUScanLinkages(Instance& instance) {
        return BATParserKorvoPeer::SSUScanLinkages(dynamic_cast<CBATInstance&>(instance));
    }
};

INSTANTIATE_TYPED_TEST_SUITE_P(Bouquets, LinkageContract, BatTable);

TEST_F(BATParserTest, TransportStreamLoopIsNotLookedAt) {
    fake::Loop& loop = AddBouquet().AddMux(1, 2).loop;
    loop.Add(PlainDesc(0x44, {0x44, 0}));
    Snapshot();
    EXPECT_EQ(loop.countsAsked, 0);
    EXPECT_EQ(fake::Forks(), 0);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

}  // namespace
