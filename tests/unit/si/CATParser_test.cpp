#include "SI/PARSER/Korvo/CATParserKorvo.h"

#include <set>

#include "tests/support/FakeTables.h"
#include "tests/unit/si/SiFixture.h"
#include "tests/unit/si/Slot.h"

namespace TORVEL_MW {

struct CATParserKorvoPeer {
    static std::vector<const void*> Members(const CCATParserKorvo& parser) {
        return {&parser.m_Parser, &parser.m_CASystemIds};
    }
    static auto& CASystemIds(CCATParserKorvo& parser) { return parser.m_CASystemIds; }
};

}  // namespace TORVEL_MW

namespace {

using namespace TORVEL_MW;

std::string CatLine(int priority, const std::string& function, const std::string& text) {
    return std::to_string(priority) + " CATParserKorvo.cpp " + function + "(*) > " + text;
}

std::shared_ptr<TCBaseDesc> CaBytes(const Bytes& payload) {
    Bytes bytes{0x09, static_cast<unsigned char>(payload.size())};
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    return fake::PlainDesc(0x09, bytes);
}

class CATParserTest : public testing::Test {
  protected:
    void SetUp() override {
        platform.Reset();
        parser = ICATParser::CreateCATParser();
    }
    bool Parse() {
        unsigned char section[3] = {1, 0, 0};
        return parser->Parse(1, section);
    }
    std::set<unsigned short> CAs() {
        std::set<unsigned short> ids{0xDEAD};
        parser->GetCASystemIds(ids);
        return ids;
    }

    FakePlatform& platform = FakePlatform::Get();
    fake::CatTable& cat = fake::TheTables().cat;
    std::unique_ptr<ICATParser> parser;
};

TEST_F(CATParserTest, FactoryCreatesThePlatformsParserWithHandle1And0AndDoesNotInitialize) {
    EXPECT_EQ(cat.constructed, 1);
    EXPECT_EQ(cat.access, 1);
    EXPECT_EQ(cat.instance, 0);
    EXPECT_EQ(cat.resets, 0);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
    CCATParserKorvo another;
    EXPECT_TRUE(another.Create());
    platform.TakeLog();
}

TEST_F(CATParserTest, DestructionTellsThenDestroysThePlatformsParser) {
    int destroyedWhenTold = -1;
    platform.duringLog = [&](const std::string&) { destroyedWhenTold = cat.destroyed; };
    parser.reset();
    EXPECT_EQ(destroyedWhenTold, 0);
    EXPECT_EQ(cat.destroyed, 1);
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(CatLine(3, "~CCATParserKorvo", "CCATParserKorvo::~CCATParserKorvo")));
}

TEST_F(CATParserTest, CollectsIdsFromTheRawBytes) {
    cat.loop.Add(CaBytes({0x09, 0x19, 0xE0, 0x01})).AddMissing(0x09);
    cat.loop.Add(CaBytes({0xFF, 0xFE}));
    cat.loop.Add(fake::PlainDesc(0x52, {0x52, 2, 1, 2}));
    unsigned char section[3] = {};
    EXPECT_TRUE(parser->Parse(0xFFFE, section));
    EXPECT_THAT(cat.parsed, ElementsAre(std::pair<short, unsigned char*>(-2, section)));
    EXPECT_THAT(CAs(), ElementsAre(0x0919, 0xFFFE));
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(
            CatLine(3, "Parse", "CCATParserKorvo::Parse Number of CA Descriptors: 3"),
            CatLine(3, "Parse", "CCATParserKorvo::Parse CA Descriptor with CA_System_ID: 2329"),
            CatLine(3, "Parse", "CCATParserKorvo::Parse CA Descriptor with CA_System_ID: 65534")));
}

TEST_F(CATParserTest, ADescriptorOf3BytesOrLessContributesNothing) {
    cat.loop.Add(CaBytes({0x09})).Add(CaBytes({}));
    cat.loop.Add(fake::PlainDesc(0x09, {0x09, 2, 1, 2}, true));
    EXPECT_TRUE(Parse());
    EXPECT_THAT(CAs(), IsEmpty());
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(CatLine(3, "Parse", "CCATParserKorvo::Parse Number of CA Descriptors: 3")));
}

TEST_F(CATParserTest, WhatThePlatformCopiedCountsNotTheDescriptorsLength) {
    cat.loop.Add(fake::PlainDesc(0x09, {0x09, 4, 0, 1, 2, 3}, false, 3));
    EXPECT_TRUE(Parse());
    EXPECT_THAT(CAs(), IsEmpty());
    cat.loop.Add(fake::PlainDesc(0x09, {0x09, 4, 0, 1, 2, 3}, false, 4));
    EXPECT_TRUE(Parse());
    EXPECT_THAT(CAs(), ElementsAre(1));
}

TEST_F(CATParserTest, AnIdInTwoDescriptorsIsToldTwiceAndHeldOnce) {
    cat.loop.Add(CaBytes({0, 1})).Add(CaBytes({0, 1}));
    EXPECT_TRUE(Parse());
    EXPECT_THAT(CAs(), ElementsAre(1));
    const std::string line =
        CatLine(3, "Parse", "CCATParserKorvo::Parse CA Descriptor with CA_System_ID: 1");
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(CatLine(3, "Parse", "CCATParserKorvo::Parse Number of CA Descriptors: 2"), line,
                    line));
}

TEST_F(CATParserTest, TheSetItselfCanBeTheReceiver) {
    cat.loop.Add(CaBytes({0, 1}));
    EXPECT_TRUE(Parse());
    parser->GetCASystemIds(
        CATParserKorvoPeer::CASystemIds(dynamic_cast<CCATParserKorvo&>(*parser)));
    EXPECT_THAT(CAs(), ElementsAre(1));
}

TEST_F(CATParserTest, InitializeWithoutPlatformParserEmptiesTheSet) {
    CCATParserKorvo bare;
    CATParserKorvoPeer::CASystemIds(bare).insert(1);
    bare.Initialize();
    EXPECT_THAT(CATParserKorvoPeer::CASystemIds(bare), IsEmpty());
}

TEST_F(CATParserTest, CountsTheDescriptorsOnce) {
    cat.loop.Add(CaBytes({0, 1}));
    cat.loop.duringCount = [](fake::Loop& loop) { loop.Add(CaBytes({0, 2})); };
    EXPECT_TRUE(Parse());
    EXPECT_EQ(cat.loop.countsAsked, 1);
    EXPECT_THAT(CAs(), ElementsAre(1, 2));
}

TEST_F(CATParserTest, IdsAccumulateUntilInitialize) {
    cat.loop.Add(CaBytes({0, 1})).Add(CaBytes({0, 1}));
    EXPECT_TRUE(Parse());
    cat.loop.entries.clear();
    cat.loop.Add(CaBytes({0, 2}));
    EXPECT_TRUE(Parse());
    EXPECT_THAT(CAs(), ElementsAre(1, 2));
    platform.TakeLog();
    parser->Initialize();
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
    EXPECT_EQ(cat.resets, 1);
    EXPECT_THAT(CAs(), IsEmpty());
}

TEST_F(CATParserTest, FailedParseIsToldAndLeavesTheSet) {
    cat.loop.Add(CaBytes({0, 1}));
    EXPECT_TRUE(Parse());
    platform.TakeLog();
    cat.accepts = false;
    EXPECT_FALSE(Parse());
    const std::string line = CatLine(6, "Parse", Red("CCATParserKorvo::Parse parsing error"));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(line));
    EXPECT_THAT(CAs(), ElementsAre(1));
    CCATParserKorvo bare;
    unsigned char section[3] = {};
    EXPECT_FALSE(bare.Parse(1, section));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(line));
    bare.Initialize();
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(CATParserTest, IsCompleteAsksThePlatform) {
    EXPECT_FALSE(parser->IsComplete());
    cat.valid = true;
    EXPECT_TRUE(parser->IsComplete());
    const std::string trace = CatLine(3, "IsComplete", "CCATParserKorvo::IsComplete");
    EXPECT_THAT(platform.TakeLog(), ElementsAre(trace, trace));
    CCATParserKorvo bare;
    EXPECT_FALSE(bare.IsComplete());
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(trace, CatLine(3, "IsComplete",
                                           "CCATParserKorvo::IsComplete parser error (null)")));
}

TEST_F(CATParserTest, DestructionWithoutPlatformParserIsToldToo) {
    { const CCATParserKorvo bare; }
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(CatLine(3, "~CCATParserKorvo", "CCATParserKorvo::~CCATParserKorvo")));
    EXPECT_EQ(cat.destroyed, 0);
}

TEST_F(CATParserTest, MembersAndSlotsStandInTheirOrder) {
    const CCATParserKorvo bare;
    const auto members = CATParserKorvoPeer::Members(bare);
    EXPECT_TRUE(std::is_sorted(members.begin(), members.end()));
    EXPECT_EQ(members.front(), reinterpret_cast<const char*>(&bare) + sizeof(void*));
    EXPECT_EQ(sizeof(CCATParserKorvo), 2 * sizeof(void*) + sizeof(std::set<unsigned short>));
    EXPECT_EQ(Slot(&ICATParser::Create), kDestructorSlots);
    EXPECT_EQ(Slot(&ICATParser::Parse), kDestructorSlots + 1);
    EXPECT_EQ(Slot(&ICATParser::Initialize), kDestructorSlots + 2);
    EXPECT_EQ(Slot(&ICATParser::IsComplete), kDestructorSlots + 3);
    EXPECT_EQ(Slot(&ICATParser::GetCASystemIds), kDestructorSlots + 4);
}

TEST_F(CATParserTest, ACATWithoutCADescriptorsIsTakenAndTold) {
    EXPECT_TRUE(Parse());
    EXPECT_THAT(CAs(), IsEmpty());
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(CatLine(3, "Parse", "CCATParserKorvo::Parse Number of CA Descriptors: 0")));
}

TEST_F(CATParserTest, AnIdIsToldBeforeItIsHeld) {
    cat.loop.Add(CaBytes({0, 1})).Add(CaBytes({0, 2}));
    std::vector<std::size_t> sizes;
    platform.duringLog = [&](const std::string&) { sizes.push_back(CAs().size()); };
    EXPECT_TRUE(Parse());
    platform.duringLog = nullptr;
    EXPECT_THAT(sizes, ElementsAre(0u, 0u, 1u)) << "the count, the first id, the second id";
}

TEST_F(CATParserTest, AnIdBehindADescriptorWithoutOneIsTaken) {
    cat.loop.Add(CaBytes({0x09})).Add(CaBytes({0, 1}));                               // too short
    cat.loop.AddMissing(0x09).Add(CaBytes({0, 2}));                                   // missing
    cat.loop.Add(fake::PlainDesc(0x09, {0x09, 2, 1, 2}, true)).Add(CaBytes({0, 3}));  // not copied
    EXPECT_TRUE(Parse());
    EXPECT_THAT(CAs(), ElementsAre(1, 2, 3));
}

}  // namespace
