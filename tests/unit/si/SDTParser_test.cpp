#include "SI/PARSER/Korvo/SDTParserKorvo.h"

#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/TCDescPrivateDataSpecifier.h"
#include "tests/support/FakeTables.h"
#include "tests/unit/si/SavedRecord.h"
#include "tests/unit/si/SiFixture.h"

namespace TORVEL_MW {

struct SDTParserKorvoPeer {
    using P = CSDTParserKorvo;
    static std::multimap<ServiceTriplet, ISDTParser::SDTDescriptor>& Map(P& parser) {
        return parser.m_DescriptorsMap;
    }
    /// The members' addresses, in the order in which they should be declared.
    static std::vector<const void*> Members(const P& parser) {
        return {&parser.m_Parser, &parser.m_DescriptorsMap};
    }
};

}  // namespace TORVEL_MW

namespace {

using fake::PlainDesc;
using fake::PrivateDataSpecifierDesc;
using fake::SdtScript;
using fake::ServiceScript;
using TORVEL_MW::CSDTParserKorvo;
using TORVEL_MW::ISDTParser;
using TORVEL_MW::SDTParserKorvoPeer;
using TORVEL_MW::ServiceTriplet;

std::string SdtLine(int priority, const std::string& function, const std::string& text) {
    return std::to_string(priority) + " SDTParserKorvo.cpp " + function + "(*) > " + text;
}
std::string BuildLine(int priority, const std::string& text) {
    return SdtLine(priority, "m_BuildDescriptorsMap", text);
}
const std::string kBuilding = BuildLine(3, "CSDTParserKorvo::m_BuildDescriptorsMap");

std::string ServiceLine(int onid, int tsid, int sid) {
    return BuildLine(3, "CSDTParserKorvo::m_BuildDescriptorsMap onid: " + std::to_string(onid) +
                            ", tsid: " + std::to_string(tsid) + ", sid: " + std::to_string(sid));
}
std::string SavingLine(const std::string& tag, int size, const std::string& isExtended,
                       const std::string& isPrivate) {
    return BuildLine(3, "CSDTParserKorvo::m_BuildDescriptorsMap Saving descriptor Tag: " + tag +
                            ", Size: " + std::to_string(size) + ", Extended? " + isExtended +
                            ", Private? " + isPrivate);
}
std::string NotAvailable(const std::string& function) {
    return SdtLine(6, function, Red(function + " SDT instance not available"));
}

class SDTParserTest : public testing::Test {
  protected:
    void SetUp() override {
        platform.Reset();
        parser = ISDTParser::CreateSDTParser();
    }

    void TearDown() override {
        parser.reset();
        platform.Reset();
        EXPECT_EQ(fake::LivingDescriptors(), 0);
    }

    SdtScript& AddSubTable() { return sdt.AddSubTable(kOnid, kTsid); }

    /// Parses a sub-table that has one service with `descriptors`.
    void FeedService(const std::vector<std::shared_ptr<TCBaseDesc>>& descriptors) {
        ServiceScript& service = AddSubTable().AddService(kSid);
        for (const auto& desc : descriptors) {
            service.loop.Add(desc);
        }
        Feed();
    }

    void Feed() { ASSERT_TRUE(parser->Parse(17, section)); }

    std::vector<Record> Saved(unsigned short sid = kSid) {
        std::vector<ISDTParser::SDTDescriptor> out;
        const bool isAny = parser->GetDescriptors(kOnid, kTsid, sid, out);
        EXPECT_EQ(isAny, !out.empty());
        return Records(out);
    }

    static constexpr unsigned short kOnid = 0x233A, kTsid = 0x1041, kSid = 0x1047;

    FakePlatform& platform = FakePlatform::Get();
    fake::SdtTable& sdt = fake::TheTables().sdt;
    std::unique_ptr<ISDTParser> parser;
    unsigned char section[3] = {};
};

// --- Life cycle

TEST_F(SDTParserTest, FactoryCreatesThePlatformsParserForTable0x42AndDoesNotInitialize) {
    ASSERT_TRUE(parser);
    EXPECT_NE(dynamic_cast<CSDTParserKorvo*>(parser.get()), nullptr);
    EXPECT_EQ(sdt.constructed, 1);
    EXPECT_EQ(sdt.tableId, 66);
    EXPECT_EQ(sdt.access, 1);
    EXPECT_EQ(sdt.instance, 0);
    EXPECT_EQ(sdt.resets, 0);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(SDTParserTest, CreateIsTrue) {
    CSDTParserKorvo bare;
    EXPECT_EQ(sdt.constructed, 1);
    EXPECT_TRUE(bare.Create());
    EXPECT_EQ(sdt.constructed, 2);
}

TEST_F(SDTParserTest, DestructionDestroysThePlatformsParserSilently) {
    parser.reset();
    EXPECT_EQ(sdt.destroyed, 1);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(SDTParserTest, InitializeResetsThePlatformsParserAndForgetsTheDescriptorsSilently) {
    FeedService({PlainDesc(0x48, {0x48, 0})});
    platform.TakeLog();
    parser->Initialize();
    EXPECT_EQ(sdt.resets, 1);
    EXPECT_THAT(Saved(), IsEmpty());
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(SDTParserTest, InitializeWithoutPlatformParserForgetsTheDescriptorsSilently) {
    CSDTParserKorvo bare;
    SDTParserKorvoPeer::Map(bare).emplace(ServiceTriplet(1, 2, 3), ISDTParser::SDTDescriptor());
    bare.Initialize();
    EXPECT_THAT(SDTParserKorvoPeer::Map(bare), IsEmpty());
    EXPECT_EQ(sdt.resets, 0);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(SDTParserTest, MembersStandInOrderBehindTheVirtualTable) {
    const CSDTParserKorvo bare;
    const std::vector<const void*> members = SDTParserKorvoPeer::Members(bare);
    EXPECT_EQ(members.front(), reinterpret_cast<const char*>(&bare) + sizeof(void*));
    EXPECT_LT(members[0], members[1]);
    EXPECT_EQ(sizeof(bare), 2 * sizeof(void*) + sizeof(std::multimap<int, int>));
}

// --- Parse

TEST_F(SDTParserTest, ParseHandsOverThePidAs16BitsWithSignAndTheSection) {
    EXPECT_TRUE(parser->Parse(0xFFFE, section));
    EXPECT_TRUE(parser->Parse(17, section));
    EXPECT_THAT(sdt.parsed, ElementsAre(std::pair<short, unsigned char*>(-2, section),
                                        std::pair<short, unsigned char*>(17, section)));
}

TEST_F(SDTParserTest, RejectedSectionIsToldAndLeavesTheDescriptorsOfTheLastOne) {
    FeedService({PlainDesc(0x48, {0x48, 1, 5})});
    platform.TakeLog();
    sdt.accepts = false;
    sdt.subTables.clear();
    EXPECT_FALSE(parser->Parse(17, section));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(SdtLine(6, "Parse", Red("Parse parser error"))));
    EXPECT_THAT(Saved(), ElementsAre(Public(0x48, {0x48, 1, 5})));
}

TEST_F(SDTParserTest, ParseWithoutPlatformParserIsToldAndLeavesTheDescriptors) {
    CSDTParserKorvo bare;
    SDTParserKorvoPeer::Map(bare).emplace(ServiceTriplet(1, 2, 3), ISDTParser::SDTDescriptor());
    EXPECT_FALSE(bare.Parse(17, section));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(SdtLine(6, "Parse", Red("Parse parser error"))));
    EXPECT_EQ(SDTParserKorvoPeer::Map(bare).size(), 1u);
}

TEST_F(SDTParserTest, ParseTracesWhatItSaves) {
    SdtScript& subTable = AddSubTable();
    subTable.AddService(1).loop.Add(PlainDesc(0x48, {0x48, 1, 5}));
    subTable.AddService(0xFFFF)
        .loop.Add(PrivateDataSpecifierDesc(0x28))
        .Add(PlainDesc(0x7F, {0x7F, 2, 9, 8}))
        .Add(PlainDesc(0xFE, {0xFE, 0}));
    Feed();
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(kBuilding, ServiceLine(kOnid, kTsid, 1), SavingLine("0x48", 3, "No", "No"),
                    ServiceLine(kOnid, kTsid, 0xFFFF), SavingLine("0x7f", 4, "Yes", "Yes"),
                    SavingLine("0xfe", 2, "No", "Yes")));
}

TEST_F(SDTParserTest, AcceptedSectionWithoutSubTableEmptiesTheMapAndIsTold) {
    FeedService({PlainDesc(0x48, {0x48, 0})});
    platform.TakeLog();
    sdt.subTables.clear();
    EXPECT_TRUE(parser->Parse(17, section));
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(kBuilding, BuildLine(6, Red("CSDTParserKorvo::m_BuildDescriptorsMap. "
                                                        "m_Parser->DVBSDTInstance() failed."))));
    EXPECT_THAT(Saved(), IsEmpty());
    EXPECT_EQ(sdt.resets, 0);
}

TEST_F(SDTParserTest, EachAcceptedSectionReplacesTheDescriptors) {
    SdtScript& subTable = AddSubTable();
    subTable.AddService(1).loop.Add(PlainDesc(0x48, {0x48, 1, 5}));
    Feed();
    subTable.services.clear();
    subTable.AddService(2).loop.Add(PlainDesc(0x48, {0x48, 1, 6}));
    Feed();
    Feed();
    EXPECT_THAT(Saved(1), IsEmpty());
    EXPECT_THAT(Saved(2), ElementsAre(Public(0x48, {0x48, 1, 6})));
}

TEST_F(SDTParserTest, NothingOfTheSectionBeforeIsLeftInTheRecords) {
    const bool isRefused = true;
    const Bytes longest(257, 0xA5);
    SdtScript& subTable = AddSubTable();
    subTable.AddService(1)
        .loop.Add(PrivateDataSpecifierDesc(0x28))
        .Add(PlainDesc(0x7F, longest))
        .Add(PlainDesc(0x7F, longest))
        .Add(PlainDesc(0x7F, longest));
    subTable.AddService(3).loop.Add(PlainDesc(0x7F, longest)).Add(PlainDesc(0x7F, longest));
    Feed();
    subTable.services.clear();
    subTable.AddService(4)
        .loop.Add(PlainDesc(0x48, {0x48, 0}))
        .Add(PlainDesc(0x7F, {0x7F, 1, 6}))
        .Add(PlainDesc(0x7F, {0x7F, 3, 6, 9, 8}, isRefused))
        .Add(PlainDesc(0x7F, {0x7F, 3, 6, 9, 8}, false, 2));
    subTable.AddService(2).loop.Add(PlainDesc(0x49, {0x49, 1, 5}));
    Feed();
    EXPECT_THAT(Saved(1), IsEmpty());
    EXPECT_THAT(Saved(2), ElementsAre(Public(0x49, {0x49, 1, 5})));
    EXPECT_THAT(Saved(3), IsEmpty());
    EXPECT_THAT(Saved(4), ElementsAre(Public(0x48, {0x48, 0}), Extended(0, {0x7F, 1, 6}),
                                      Public(0x7F, {}), Public(0x7F, {0x7F, 3})));
    EXPECT_EQ(SDTParserKorvoPeer::Map(dynamic_cast<CSDTParserKorvo&>(*parser)).size(), 5u);
}

TEST_F(SDTParserTest, OnlyTheFirstSubTableIsMapped) {
    AddSubTable().AddService(1).loop.Add(PlainDesc(0x48, {0x48, 0}));
    sdt.AddSubTable(kOnid, kTsid + 1).AddService(2).loop.Add(PlainDesc(0x48, {0x48, 0}));
    Feed();
    const auto& map = SDTParserKorvoPeer::Map(dynamic_cast<CSDTParserKorvo&>(*parser));
    ASSERT_EQ(map.size(), 1u);
    EXPECT_EQ(map.begin()->first.m_onid, kOnid);
    EXPECT_EQ(map.begin()->first.m_tsid, kTsid);
    EXPECT_EQ(map.begin()->first.m_sid, 1);
}

TEST_F(SDTParserTest, MissingServiceIsToldByItsIndexAndSkipped) {
    SdtScript& subTable = AddSubTable();
    subTable.AddService(1);
    subTable.AddMissingService();
    subTable.AddService(3).loop.Add(PlainDesc(0x48, {0x48, 0}));
    Feed();
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(kBuilding, ServiceLine(kOnid, kTsid, 1),
                    BuildLine(6, Red("CSDTParserKorvo::m_BuildDescriptorsMap "
                                     "SDTParserInstance->DVBSDTItemServiceOfIndex(1) returned NULL "
                                     "service. Skipping")),
                    ServiceLine(kOnid, kTsid, 3), SavingLine("0x48", 2, "No", "No")));
    EXPECT_THAT(Saved(3), ElementsAre(Public(0x48, {0x48, 0})));
}

TEST_F(SDTParserTest, MissingDescriptorIsSkippedSilently) {
    ServiceScript& service = AddSubTable().AddService(kSid);
    service.loop.Add(PlainDesc(0x48, {0x48, 0})).AddMissing(0x49).Add(PlainDesc(0x83, {0x83, 0}));
    Feed();
    EXPECT_THAT(Saved(), ElementsAre(Public(0x48, {0x48, 0}), Public(0x83, {0x83, 0})));
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(kBuilding, ServiceLine(kOnid, kTsid, kSid),
                            SavingLine("0x48", 2, "No", "No"), SavingLine("0x83", 2, "No", "No")));
}

TEST_F(SDTParserTest, DescriptorsAreCountedAnewOnEveryPass) {
    ServiceScript& service = AddSubTable().AddService(kSid);
    service.loop.Add(PlainDesc(0x48, {0x48, 0})).Add(PlainDesc(0x49, {0x49, 0}));
    service.loop.duringCount = [](fake::Loop& loop) {
        if (loop.countsAsked == 2) {
            loop.Add(PlainDesc(0x83, {0x83, 0}));
        }
    };
    Feed();
    EXPECT_EQ(service.loop.countsAsked, 4);
    EXPECT_THAT(Saved(), ElementsAre(Public(0x48, {0x48, 0}), Public(0x49, {0x49, 0}),
                                     Public(0x83, {0x83, 0})));
}

// --- Private data specifiers

TEST_F(SDTParserTest, PrivateDataSpecifierMarksWhatFollowsItAndIsNotSaved) {
    FeedService({PrivateDataSpecifierDesc(0x28), PlainDesc(0x48, {0x48, 0}),
                 PlainDesc(0x83, {0x83, 1, 7})});
    EXPECT_THAT(Saved(),
                ElementsAre(Private(0x48, 0x28, {0x48, 0}), Private(0x83, 0x28, {0x83, 1, 7})));
}

TEST_F(SDTParserTest, DescriptorBeforeThePrivateDataSpecifierIsNotPrivate) {
    FeedService({PlainDesc(0x48, {0x48, 0}), PrivateDataSpecifierDesc(0xFFFFFFFF),
                 PlainDesc(0x83, {0x83, 0})});
    EXPECT_THAT(Saved(),
                ElementsAre(Public(0x48, {0x48, 0}), Private(0x83, 0xFFFFFFFF, {0x83, 0})));
}

TEST_F(SDTParserTest, LaterPrivateDataSpecifierReplacesTheValueAndNothingClearsTheMark) {
    FeedService({PrivateDataSpecifierDesc(0x28), PlainDesc(0x80, {0x80, 0}),
                 PrivateDataSpecifierDesc(0x29), PlainDesc(0x81, {0x81, 0}),
                 PrivateDataSpecifierDesc(0), PlainDesc(0x82, {0x82, 0})});
    EXPECT_THAT(Saved(), ElementsAre(Private(0x80, 0x28, {0x80, 0}), Private(0x81, 0x29, {0x81, 0}),
                                     Private(0x82, 0, {0x82, 0})));
}

TEST_F(SDTParserTest, PrivateStateOfOneServiceDoesNotLeakIntoTheNext) {
    SdtScript& subTable = AddSubTable();
    subTable.AddService(1).loop.Add(PrivateDataSpecifierDesc(0x28)).Add(PlainDesc(0x83, {0x83, 0}));
    subTable.AddService(2).loop.Add(PlainDesc(0x83, {0x83, 0}));
    subTable.AddService(1).loop.Add(PlainDesc(0x84, {0x84, 0}));
    Feed();
    EXPECT_THAT(Saved(1), ElementsAre(Private(0x83, 0x28, {0x83, 0}), Public(0x84, {0x84, 0})));
    EXPECT_THAT(Saved(2), ElementsAre(Public(0x83, {0x83, 0})));
}

TEST_F(SDTParserTest, PrivateDataSpecifierThatThePlatformDidNotDecodeIsSavedLikeAnyOther) {
    FeedService({PlainDesc(0x5F, {0x5F, 4, 0, 0, 0, 0x28}), PlainDesc(0x83, {0x83, 0})});
    EXPECT_THAT(Saved(),
                ElementsAre(Public(0x5F, {0x5F, 4, 0, 0, 0, 0x28}), Public(0x83, {0x83, 0})));
}

// --- Records

TEST_F(SDTParserTest, ExtendedTagIsTheByteBehindTheTagExtension) {
    FeedService({PlainDesc(0x7F, {0x7F, 4, 0x06, 0xA1, 0xA2, 0xA3}),
                 PlainDesc(0x7F, {0x7F, 2, 0x07, 0xB1})});
    EXPECT_THAT(Saved(), ElementsAre(Extended(0xA1, {0x7F, 4, 0x06, 0xA1, 0xA2, 0xA3}),
                                     Extended(0xB1, {0x7F, 2, 0x07, 0xB1})));
}

TEST_F(SDTParserTest, ExtensionDescriptorOfExactly3BytesIsExtendedWithTag0) {
    FeedService({PlainDesc(0x7F, {0x7F, 1, 0x06})});
    EXPECT_THAT(Saved(), ElementsAre(Extended(0, {0x7F, 1, 0x06})));
    EXPECT_THAT(platform.TakeLog(), testing::Contains(SavingLine("0x7f", 3, "Yes", "No")));
}

TEST_F(SDTParserTest, ExtensionDescriptorOf2BytesIsNotExtended) {
    FeedService({PlainDesc(0x7F, {0x7F, 0})});
    EXPECT_THAT(Saved(), ElementsAre(Public(0x7F, {0x7F, 0})));
    EXPECT_THAT(platform.TakeLog(), testing::Contains(SavingLine("0x7f", 2, "No", "No")));
}

TEST_F(SDTParserTest, OnlyTag0x7FIsExtended) {
    FeedService({PlainDesc(0x7E, {0x7E, 3, 1, 2, 3}), PlainDesc(0x80, {0x80, 3, 1, 2, 3})});
    EXPECT_THAT(Saved(),
                ElementsAre(Public(0x7E, {0x7E, 3, 1, 2, 3}), Public(0x80, {0x80, 3, 1, 2, 3})));
}

TEST_F(SDTParserTest, TagIsTheLow8BitsOfThePlatformsTag) {
    FeedService({PlainDesc(0x7F06, {0x7F, 2, 6, 9}), PlainDesc(0x017F, {0x7F, 2, 6, 9})});
    EXPECT_THAT(Saved(), ElementsAre(Public(0x06, {0x7F, 2, 6, 9}), Extended(9, {0x7F, 2, 6, 9})));
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(kBuilding, ServiceLine(kOnid, kTsid, kSid),
                            SavingLine("0x6", 4, "No", "No"), SavingLine("0x7f", 4, "Yes", "No")));
}

TEST_F(SDTParserTest, DescriptorThatCannotBeCopiedIsSavedWithoutDataAndNotExtended) {
    const bool isRefused = true;
    FeedService(
        {PlainDesc(0x48, {0x48, 1, 5}, isRefused), PlainDesc(0x7F, {0x7F, 2, 6, 9}, isRefused)});
    EXPECT_THAT(Saved(), ElementsAre(Public(0x48, {}), Public(0x7F, {})));
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(kBuilding, ServiceLine(kOnid, kTsid, kSid),
                            SavingLine("0x48", 0, "No", "No"), SavingLine("0x7f", 0, "No", "No")));
}

TEST_F(SDTParserTest, DataAreTheBytesThatThePlatformSaysItCopied) {
    FeedService({PlainDesc(0x48, {0x48, 3, 1, 2, 3}, false, 4),
                 PlainDesc(0x7F, {0x7F, 3, 6, 9, 8}, false, 3),
                 PlainDesc(0x7F, {0x7F, 3, 6, 9, 8}, false, 2)});
    EXPECT_THAT(Saved(), ElementsAre(Public(0x48, {0x48, 3, 1, 2}), Extended(0, {0x7F, 3, 6}),
                                     Public(0x7F, {0x7F, 3})));
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(kBuilding, ServiceLine(kOnid, kTsid, kSid), SavingLine("0x48", 4, "No", "No"),
                    SavingLine("0x7f", 3, "Yes", "No"), SavingLine("0x7f", 2, "No", "No")));
}

TEST_F(SDTParserTest, RecordsKeepTheOrderOfTheLoopAndEqualOnesStayApart) {
    FeedService({PlainDesc(0x83, {0x83, 1, 1}), PlainDesc(0x48, {0x48, 0}),
                 PlainDesc(0x83, {0x83, 1, 0}), PlainDesc(0x83, {0x83, 1, 0})});
    EXPECT_THAT(Saved(), ElementsAre(Public(0x83, {0x83, 1, 1}), Public(0x48, {0x48, 0}),
                                     Public(0x83, {0x83, 1, 0}), Public(0x83, {0x83, 1, 0})));
}

// --- GetDescriptors

TEST_F(SDTParserTest, GetDescriptorsOfAnotherTripletIsFalseAndEmptiesWhatItWasGiven) {
    FeedService({PlainDesc(0x48, {0x48, 0})});
    platform.TakeLog();
    using Triplet = std::tuple<unsigned short, unsigned short, unsigned short>;
    for (const auto& [onid, tsid, sid] :
         {Triplet(kOnid, kTsid, kSid + 1), Triplet(kOnid, kTsid + 1, kSid),
          Triplet(kOnid + 1, kTsid, kSid), Triplet(kTsid, kOnid, kSid)}) {
        std::vector<ISDTParser::SDTDescriptor> out(3);
        EXPECT_FALSE(parser->GetDescriptors(onid, tsid, sid, out));
        EXPECT_THAT(out, IsEmpty());
    }
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(SDTParserTest, GetDescriptorsReplacesWhatItWasGiven) {
    FeedService({PlainDesc(0x48, {0x48, 0})});
    platform.TakeLog();
    std::vector<ISDTParser::SDTDescriptor> out(3);
    EXPECT_TRUE(parser->GetDescriptors(kOnid, kTsid, kSid, out));
    EXPECT_TRUE(parser->GetDescriptors(kOnid, kTsid, kSid, out));
    ASSERT_EQ(out.size(), 1u);
    EXPECT_EQ(out[0].m_tag, 0x48);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(SDTParserTest, GetDescriptorsOfAServiceWithoutAnyIsFalse) {
    FeedService({});
    std::vector<ISDTParser::SDTDescriptor> out(3);
    EXPECT_FALSE(parser->GetDescriptors(kOnid, kTsid, kSid, out));
    EXPECT_THAT(out, IsEmpty());
}

TEST_F(SDTParserTest, GetDescriptorsNeedsNoPlatformParser) {
    CSDTParserKorvo bare;
    std::vector<ISDTParser::SDTDescriptor> out(3);
    EXPECT_FALSE(bare.GetDescriptors(1, 2, 3, out));
    EXPECT_THAT(out, IsEmpty());
    SDTParserKorvoPeer::Map(bare).emplace(ServiceTriplet(1, 2, 3), ISDTParser::SDTDescriptor());
    EXPECT_TRUE(bare.GetDescriptors(1, 2, 3, out));
    EXPECT_EQ(out.size(), 1u);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(SDTParserTest, RecordsAreCopiesThatOutliveTheParser) {
    FeedService({PlainDesc(0x48, {0x48, 1, 5})});
    std::vector<ISDTParser::SDTDescriptor> out;
    ASSERT_TRUE(parser->GetDescriptors(kOnid, kTsid, kSid, out));
    out[0].m_data[2] = 6;
    EXPECT_THAT(Saved(), ElementsAre(Public(0x48, {0x48, 1, 5})));
    parser.reset();
    EXPECT_THAT(out[0].m_data, ElementsAre(0x48, 1, 6));
}

// --- IsComplete

TEST_F(SDTParserTest, IsCompleteAnswersTheValidityOfTheSubTableAskedFor) {
    AddSubTable();
    SdtScript& other = sdt.AddSubTable(kOnid, kTsid + 1);
    other.valid = true;
    EXPECT_FALSE(parser->IsComplete(kOnid, kTsid));
    EXPECT_TRUE(parser->IsComplete(kOnid, kTsid + 1));
    other.valid = false;
    EXPECT_FALSE(parser->IsComplete(kOnid, kTsid + 1));
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(SDTParserTest, IsCompleteOfAMissingSubTableIsToldAndFalse) {
    AddSubTable().valid = true;
    EXPECT_FALSE(parser->IsComplete(kTsid, kOnid));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(NotAvailable("IsComplete")));
}

TEST_F(SDTParserTest, IsCompleteWithoutPlatformParserIsToldAndFalse) {
    AddSubTable().valid = true;
    CSDTParserKorvo bare;
    EXPECT_FALSE(bare.IsComplete(kOnid, kTsid));
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(SdtLine(6, "IsComplete", Red("IsComplete parser error (null)"))));
}

// --- IsServiceListed

TEST_F(SDTParserTest, ServiceIsListedByItsSubTableWithoutLookingAtTheDescriptors) {
    AddSubTable().AddService(kSid);
    EXPECT_TRUE(parser->IsServiceListed(kOnid, kTsid, kSid));
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
    EXPECT_THAT(Saved(), IsEmpty());
}

TEST_F(SDTParserTest, ServiceWithSavedDescriptorsIsNotListedOnceItsEntryIsGone) {
    FeedService({PlainDesc(0x48, {0x48, 0})});
    sdt.subTables[0]->services.clear();
    EXPECT_FALSE(parser->IsServiceListed(kOnid, kTsid, kSid));
    EXPECT_THAT(Saved(), testing::SizeIs(1));
}

TEST_F(SDTParserTest, ServiceIdIsCutTo16Bits) {
    SdtScript& subTable = AddSubTable();
    subTable.AddService(kSid);
    subTable.AddService(0xFFFF);
    EXPECT_TRUE(parser->IsServiceListed(kOnid, kTsid, 0x10000 + kSid));
    EXPECT_TRUE(parser->IsServiceListed(kOnid, kTsid, -1));
    EXPECT_THAT(sdt.sidsAsked, ElementsAre(kSid, 0xFFFF));
}

TEST_F(SDTParserTest, ServiceMissingFromItsSubTableIsToldInTwoLines) {
    AddSubTable().AddService(kSid);
    sdt.AddSubTable(kOnid, kTsid + 1).AddService(kSid + 1);
    EXPECT_FALSE(parser->IsServiceListed(kOnid, kTsid, kSid + 1));
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(
            SdtLine(6, "IsServiceListed",
                    Red("SDT does not contain a reference to the currently tuned service")),
            SdtLine(6, "IsServiceListed", Red("This must be a non MPEG broadcast service"))));
    EXPECT_TRUE(parser->IsServiceListed(kOnid, kTsid + 1, kSid + 1));
    EXPECT_FALSE(parser->IsServiceListed(kOnid, kTsid + 1, kSid));
}

TEST_F(SDTParserTest, ServiceOfAMissingSubTableIsNotListed) {
    AddSubTable().AddService(kSid);
    EXPECT_FALSE(parser->IsServiceListed(kTsid, kOnid, kSid));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(NotAvailable("IsServiceListed")));
    EXPECT_THAT(sdt.sidsAsked, IsEmpty());
}

TEST_F(SDTParserTest, WithoutPlatformParserIsServiceListedSaysThatTheInstanceIsNotAvailable) {
    AddSubTable().AddService(kSid);
    CSDTParserKorvo bare;
    EXPECT_FALSE(bare.IsServiceListed(kOnid, kTsid, kSid));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(NotAvailable("IsServiceListed")));
}

TEST_F(SDTParserTest, PrivateDataSpecifierUnderAnotherTagIsSavedLikeAnyOther) {
    auto desc = std::make_shared<TCDescPrivateDataSpecifier>();
    fake::Bytes bytes{0x83, 4, 0, 0, 0, 0x28};
    desc->Parse(bytes.data());
    FeedService({desc, PlainDesc(0x84, {0x84, 0})});
    EXPECT_THAT(Saved(), ElementsAre(Public(0x83, bytes), Public(0x84, {0x84, 0})));
}

TEST_F(SDTParserTest, UndecodedSpecifiersAndUncopiedDescriptorsKeepThePrivateState) {
    const bool isRefused = true;
    FeedService({PrivateDataSpecifierDesc(0x28), PlainDesc(0x5F, {0x5F, 0}),
                 PlainDesc(0x48, {0x48, 1, 5}, isRefused), PlainDesc(0x83, {0x83, 0})});
    EXPECT_THAT(Saved(), ElementsAre(Private(0x5F, 0x28, {0x5F, 0}), Private(0x48, 0x28, {}),
                                     Private(0x83, 0x28, {0x83, 0})));
}

TEST_F(SDTParserTest, LinesComeBeforeWhatTheyTell) {
    FeedService({PlainDesc(0x48, {0x48, 0}), PlainDesc(0x83, {0x83, 0})});
    const auto& map = SDTParserKorvoPeer::Map(dynamic_cast<CSDTParserKorvo&>(*parser));
    std::vector<std::size_t> sizes;
    platform.duringLog = [&](const std::string&) { sizes.push_back(map.size()); };
    Feed();
    platform.duringLog = nullptr;
    // The lines: the begin, the service, its first descriptor, its second descriptor.
    EXPECT_THAT(sizes, ElementsAre(2u, 0u, 0u, 1u));
}

TEST_F(SDTParserTest, PrivateDataSpecifierIsKnownByAll16BitsOfThePlatformsTag) {
    auto desc = std::make_shared<OtherTag<TCDescPrivateDataSpecifier, 0x015F>>();
    FeedService({desc, PlainDesc(0x83, {0x83, 0})});
    EXPECT_THAT(Saved(), ElementsAre(Public(0x5F, {}), Public(0x83, {0x83, 0})));
}

}  // namespace
