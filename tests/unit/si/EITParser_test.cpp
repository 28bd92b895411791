#include "SI/PARSER/Korvo/EITParserKorvo.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/TCDescPrivateDataSpecifier.h"
#include "platform/TVSHandle.h"
#include "tests/support/FakeTables.h"
#include "tests/unit/si/SavedRecord.h"
#include "tests/unit/si/SiFixture.h"

namespace {

using fake::PlainDesc;
using fake::PrivateDataSpecifierDesc;
using TORVEL_MW::CEITParserKorvo;
using TORVEL_MW::IEITParser;

std::string EitLine(int priority, const std::string& function, const std::string& text) {
    return std::to_string(priority) + " EITParserKorvo.cpp " + function + "(*) > " + text;
}
const std::string kAsked = EitLine(3, "GetDescriptors", "CEITParserKorvo::GetDescriptors");
const std::string kNoEvent = EitLine(
    6, "GetDescriptors", Red("CEITParserKorvo::GetDescriptors EIT itemEvent not available"));

std::string SavingLine(const std::string& tag, int size, const std::string& isExtended,
                       const std::string& isPrivate) {
    return EitLine(3, "GetDescriptors",
                   "CEITParserKorvo::GetDescriptors Saving descriptor Tag: " + tag +
                       ", Size: " + std::to_string(size) + ", Extended? " + isExtended +
                       ", Private? " + isPrivate);
}

class EITParserTest : public testing::Test {
  protected:
    void SetUp() override {
        platform.Reset();
        parser = IEITParser::CreateEITParser();
    }

    void TearDown() override {
        parser.reset();
        platform.Reset();
        EXPECT_EQ(fake::LivingDescriptors(), 0);
    }

    /// A section whose first event has `descriptors`.
    void HoldEvent(const std::vector<std::shared_ptr<TCBaseDesc>>& descriptors) {
        eit.events.resize(1);
        for (const auto& desc : descriptors) {
            eit.loop.Add(desc);
        }
    }

    std::vector<Record> Descriptors() {
        std::vector<IEITParser::EITDescriptor> out;
        EXPECT_TRUE(parser->GetDescriptors(1, 2, 3, out));
        return Records(out);
    }

    FakePlatform& platform = FakePlatform::Get();
    fake::EitTable& eit = fake::TheTables().eit;
    std::unique_ptr<IEITParser> parser;
    unsigned char section[3] = {};
};

// --- Life cycle

TEST_F(EITParserTest, FactoryCreatesThePlatformsParserForTable0x4EAndDoesNotInitialize) {
    ASSERT_TRUE(parser);
    EXPECT_NE(dynamic_cast<CEITParserKorvo*>(parser.get()), nullptr);
    EXPECT_EQ(eit.constructed, 1);
    EXPECT_EQ(eit.tableId, 78);
    EXPECT_EQ(eit.access, 1);
    EXPECT_EQ(eit.instance, 0);
    EXPECT_EQ(eit.resets, 0);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(EITParserTest, CreateIsTrue) {
    CEITParserKorvo bare;
    EXPECT_EQ(eit.constructed, 1);
    EXPECT_TRUE(bare.Create());
    EXPECT_EQ(eit.constructed, 2);
}

TEST_F(EITParserTest, DestructionDestroysThePlatformsParserSilently) {
    parser.reset();
    EXPECT_EQ(eit.destroyed, 1);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(EITParserTest, InitializeResetsThePlatformsParserSilently) {
    parser->Initialize();
    EXPECT_EQ(eit.resets, 1);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(EITParserTest, InitializeWithoutPlatformParserDoesNothing) {
    CEITParserKorvo bare;
    bare.Initialize();
    EXPECT_EQ(eit.resets, 0);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(EITParserTest, HasNoMemberButThePlatformsParser) {
    EXPECT_EQ(sizeof(CEITParserKorvo), 2 * sizeof(void*));
}

// --- Parse

TEST_F(EITParserTest, ParseHandsOverThePidAs16BitsWithSignAndTheSectionAndDoesNothingElse) {
    HoldEvent({PlainDesc(0x4D, {0x4D, 0})});
    EXPECT_TRUE(parser->Parse(0xFFFE, section));
    EXPECT_TRUE(parser->Parse(18, section));
    EXPECT_THAT(eit.parsed, ElementsAre(std::pair<short, unsigned char*>(-2, section),
                                        std::pair<short, unsigned char*>(18, section)));
    EXPECT_THAT(eit.itemsMade, IsEmpty());
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(EITParserTest, RejectedSectionIsTold) {
    eit.accepts = false;
    EXPECT_FALSE(parser->Parse(18, section));
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(EitLine(6, "Parse", Red("CEITParserKorvo::Parse parser error"))));
}

TEST_F(EITParserTest, ParseWithoutPlatformParserIsTold) {
    CEITParserKorvo bare;
    EXPECT_FALSE(bare.Parse(18, section));
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(EitLine(6, "Parse", Red("CEITParserKorvo::Parse parser error"))));
}

// --- IsComplete

TEST_F(EITParserTest, IsCompleteAsSoonAsThereIsAnInstanceThoughItIsNotValid) {
    eit.hasInstance = true;
    ASSERT_FALSE(TCDVBEITParser(78, TVSHandle(1, 0)).EITInstance(TCServiceKey(7, 8, 9))->IsValid());
    EXPECT_TRUE(parser->IsComplete(1, 2, 3));
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(EITParserTest, IsCompleteAsksByNetworkThenTransportStreamThenService) {
    eit.hasInstance = true;
    EXPECT_TRUE(parser->IsComplete(0xFFFF, 2, 3));
    EXPECT_THAT(eit.keysAsked, ElementsAre(ElementsAre(0xFFFF, 2, 3)));
}

TEST_F(EITParserTest, IsCompleteWithoutInstanceIsToldAndFalse) {
    EXPECT_FALSE(parser->IsComplete(1, 2, 3));
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(EitLine(6, "IsComplete",
                            Red("CEITParserKorvo::IsComplete EIT instance not available"))));
}

TEST_F(EITParserTest, IsCompleteWithoutPlatformParserIsToldAndFalse) {
    eit.hasInstance = true;
    CEITParserKorvo bare;
    EXPECT_FALSE(bare.IsComplete(1, 2, 3));
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(EitLine(6, "IsComplete",
                                    Red("CEITParserKorvo::IsComplete parser error (null)"))));
}

// --- GetDescriptors: its calls of the platform

TEST_F(EITParserTest, ItemIsKeyedByServiceThenTransportStreamThenNetworkWithHandle1And0) {
    HoldEvent({});
    std::vector<IEITParser::EITDescriptor> out;
    EXPECT_TRUE(parser->GetDescriptors(0x233A, 0x1041, 0xFFFF, out));
    EXPECT_THAT(eit.itemsMade, ElementsAre(ElementsAre(0xFFFF, 0x1041, 0x233A, 1, 0)));
}

TEST_F(EITParserTest, ItemDecodesTheWholeOfTheSectionParsedLastAsTable0x4E) {
    HoldEvent({});
    eit.section = Bytes(4096, 0x4E);
    eit.sectionLength = 4093;
    EXPECT_THAT(Descriptors(), IsEmpty());
    ASSERT_EQ(eit.itemsParsed.size(), 1u);
    EXPECT_EQ(eit.itemsParsed[0].first, eit.section.data());
    EXPECT_EQ(eit.itemsParsed[0].second, std::make_pair(4096, 78));
}

TEST_F(EITParserTest, LoopOfTheFirstEventAloneIsDecodedAsTable0x4E) {
    eit.events = {{{0x4D, 1, 5}}, {{0x4E, 0}}};
    EXPECT_THAT(Descriptors(), IsEmpty());
    EXPECT_THAT(eit.loopsParsed, ElementsAre(ElementsAre(3, 78)));
    EXPECT_THAT(eit.loopBytes, ElementsAre(ElementsAre(0x4D, 1, 5)));
}

TEST_F(EITParserTest, DescriptorsAreCountedOnce) {
    HoldEvent({PlainDesc(0x4D, {0x4D, 0})});
    eit.loop.duringCount = [](fake::Loop& loop) {
        if (loop.countsAsked == 2) {
            loop.Add(PlainDesc(0x4E, {0x4E, 0}));
        }
    };
    EXPECT_THAT(Descriptors(), ElementsAre(Public(0x4D, {0x4D, 0})));
    EXPECT_EQ(eit.loop.countsAsked, 1);
}

TEST_F(EITParserTest, TheKeyDoesNotSelectAmongSections) {
    HoldEvent({PlainDesc(0x4D, {0x4D, 0})});
    std::vector<IEITParser::EITDescriptor> out;
    EXPECT_TRUE(parser->GetDescriptors(0, 0, 0, out));
    EXPECT_EQ(out.size(), 1u);
    EXPECT_TRUE(parser->GetDescriptors(0xFFFF, 0xFFFF, 0xFFFF, out));
    EXPECT_EQ(out.size(), 1u);
    EXPECT_THAT(eit.keysAsked, IsEmpty());
}

// --- GetDescriptors: the caller's vector

TEST_F(EITParserTest, SectionWithoutEventIsToldAndLeavesTheVectorUntouched) {
    eit.loop.Add(PlainDesc(0x4D, {0x4D, 0}));
    std::vector<IEITParser::EITDescriptor> out(3);
    EXPECT_FALSE(parser->GetDescriptors(1, 2, 3, out));
    EXPECT_EQ(out.size(), 3u);
    EXPECT_THAT(eit.loopsParsed, IsEmpty());
    EXPECT_THAT(platform.TakeLog(), ElementsAre(kAsked, kNoEvent));
}

TEST_F(EITParserTest, WithoutPlatformParserItOnlyTracesAndLeavesTheVectorUntouched) {
    HoldEvent({PlainDesc(0x4D, {0x4D, 0})});
    CEITParserKorvo bare;
    std::vector<IEITParser::EITDescriptor> out(3);
    EXPECT_FALSE(bare.GetDescriptors(1, 2, 3, out));
    EXPECT_EQ(out.size(), 3u);
    EXPECT_THAT(eit.itemsMade, IsEmpty());
    EXPECT_THAT(platform.TakeLog(), ElementsAre(kAsked));
}

TEST_F(EITParserTest, EventWithAnEmptyLoopIsTrueAndEmptiesTheVector) {
    HoldEvent({});
    std::vector<IEITParser::EITDescriptor> out(3);
    EXPECT_TRUE(parser->GetDescriptors(1, 2, 3, out));
    EXPECT_THAT(out, IsEmpty());
    EXPECT_THAT(platform.TakeLog(), ElementsAre(kAsked));
}

TEST_F(EITParserTest, AskingTwiceGivesEqualLists) {
    HoldEvent({PrivateDataSpecifierDesc(0x28), PlainDesc(0x4D, {0x4D, 1, 5})});
    std::vector<IEITParser::EITDescriptor> out(3);
    EXPECT_TRUE(parser->GetDescriptors(1, 2, 3, out));
    EXPECT_EQ(out.size(), 1u);
    EXPECT_TRUE(parser->GetDescriptors(1, 2, 3, out));
    EXPECT_EQ(out.size(), 1u);
    EXPECT_EQ(Descriptors(), Descriptors());
    EXPECT_EQ(eit.itemsMade.size(), 4u);
}

TEST_F(EITParserTest, RoomIsReservedForAllThatWereCounted) {
    HoldEvent({PrivateDataSpecifierDesc(0x28), PrivateDataSpecifierDesc(0x29),
               PlainDesc(0x4D, {0x4D, 0})});
    eit.loop.AddMissing(0x4E).AddMissing(0x4E);
    std::vector<IEITParser::EITDescriptor> out;
    EXPECT_TRUE(parser->GetDescriptors(1, 2, 3, out));
    EXPECT_EQ(out.size(), 1u);
    EXPECT_EQ(out.capacity(), 5u);
}

// --- GetDescriptors: records

TEST_F(EITParserTest, PrivateDataSpecifierMarksWhatFollowsItAndIsNotReturned) {
    HoldEvent({PrivateDataSpecifierDesc(0x28), PlainDesc(0x4D, {0x4D, 1, 5})});
    EXPECT_THAT(Descriptors(), ElementsAre(Private(0x4D, 0x28, {0x4D, 1, 5})));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(kAsked, SavingLine("0x4d", 3, "No", "Yes")));
}

TEST_F(EITParserTest, PrivateStateIsThatOfTheLatestSpecifierBefore) {
    HoldEvent({PlainDesc(0x4D, {0x4D, 0}), PrivateDataSpecifierDesc(0xFFFFFFFF),
               PlainDesc(0x80, {0x80, 0}), PrivateDataSpecifierDesc(0), PlainDesc(0x81, {0x81, 0}),
               PlainDesc(0x82, {0x82, 0})});
    EXPECT_THAT(Descriptors(),
                ElementsAre(Public(0x4D, {0x4D, 0}), Private(0x80, 0xFFFFFFFF, {0x80, 0}),
                            Private(0x81, 0, {0x81, 0}), Private(0x82, 0, {0x82, 0})));
}

TEST_F(EITParserTest, PrivateStateDoesNotLeakIntoTheNextCall) {
    HoldEvent({PlainDesc(0x4D, {0x4D, 0}), PrivateDataSpecifierDesc(0x28)});
    EXPECT_THAT(Descriptors(), ElementsAre(Public(0x4D, {0x4D, 0})));
    EXPECT_THAT(Descriptors(), ElementsAre(Public(0x4D, {0x4D, 0})));
}

TEST_F(EITParserTest, PrivateDataSpecifierThatThePlatformDidNotDecodeIsReturnedLikeAnyOther) {
    HoldEvent({PlainDesc(0x5F, {0x5F, 4, 0, 0, 0, 0x28}), PlainDesc(0x83, {0x83, 0})});
    EXPECT_THAT(Descriptors(),
                ElementsAre(Public(0x5F, {0x5F, 4, 0, 0, 0, 0x28}), Public(0x83, {0x83, 0})));
}

TEST_F(EITParserTest, MissingDescriptorIsSkippedSilently) {
    HoldEvent({PlainDesc(0x4D, {0x4D, 0})});
    eit.loop.AddMissing(0x4E).Add(PlainDesc(0x54, {0x54, 0}));
    EXPECT_THAT(Descriptors(), ElementsAre(Public(0x4D, {0x4D, 0}), Public(0x54, {0x54, 0})));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(kAsked, SavingLine("0x4d", 2, "No", "No"),
                                                SavingLine("0x54", 2, "No", "No")));
}

TEST_F(EITParserTest, ExtendedTagIsTheByteBehindTheTagExtension) {
    HoldEvent({PlainDesc(0x7F, {0x7F, 4, 0x06, 0xA1, 0xA2, 0xA3}),
               PlainDesc(0x7F, {0x7F, 2, 0x07, 0xB1})});
    EXPECT_THAT(Descriptors(), ElementsAre(Extended(0xA1, {0x7F, 4, 0x06, 0xA1, 0xA2, 0xA3}),
                                           Extended(0xB1, {0x7F, 2, 0x07, 0xB1})));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(kAsked, SavingLine("0x7f", 6, "Yes", "No"),
                                                SavingLine("0x7f", 4, "Yes", "No")));
}

TEST_F(EITParserTest, ExtensionDescriptorOfExactly3BytesIsExtendedWithTag0AndOf2BytesIsNot) {
    HoldEvent({PlainDesc(0x7F, {0x7F, 1, 0x06}), PlainDesc(0x7F, {0x7F, 0})});
    EXPECT_THAT(Descriptors(), ElementsAre(Extended(0, {0x7F, 1, 0x06}), Public(0x7F, {0x7F, 0})));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(kAsked, SavingLine("0x7f", 3, "Yes", "No"),
                                                SavingLine("0x7f", 2, "No", "No")));
}

TEST_F(EITParserTest, OnlyTag0x7FIsExtended) {
    HoldEvent({PlainDesc(0x7E, {0x7E, 3, 1, 2, 3}), PlainDesc(0x80, {0x80, 3, 1, 2, 3})});
    EXPECT_THAT(Descriptors(),
                ElementsAre(Public(0x7E, {0x7E, 3, 1, 2, 3}), Public(0x80, {0x80, 3, 1, 2, 3})));
}

TEST_F(EITParserTest, TagIsTheLow8BitsOfThePlatformsTag) {
    HoldEvent({PlainDesc(0x7F06, {0x7F, 2, 6, 9}), PlainDesc(0x017F, {0x7F, 2, 6, 9})});
    EXPECT_THAT(Descriptors(),
                ElementsAre(Public(0x06, {0x7F, 2, 6, 9}), Extended(9, {0x7F, 2, 6, 9})));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(kAsked, SavingLine("0x6", 4, "No", "No"),
                                                SavingLine("0x7f", 4, "Yes", "No")));
}

TEST_F(EITParserTest, DescriptorThatCannotBeCopiedIsReturnedWithoutDataAndNotExtended) {
    const bool isRefused = true;
    HoldEvent(
        {PlainDesc(0x4D, {0x4D, 1, 5}, isRefused), PlainDesc(0x7F, {0x7F, 2, 6, 9}, isRefused)});
    EXPECT_THAT(Descriptors(), ElementsAre(Public(0x4D, {}), Public(0x7F, {})));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(kAsked, SavingLine("0x4d", 0, "No", "No"),
                                                SavingLine("0x7f", 0, "No", "No")));
}

TEST_F(EITParserTest, DataAreTheBytesThatThePlatformSaysItCopied) {
    HoldEvent({PlainDesc(0x4D, {0x4D, 3, 1, 2, 3}, false, 4),
               PlainDesc(0x7F, {0x7F, 3, 6, 9, 8}, false, 3),
               PlainDesc(0x7F, {0x7F, 3, 6, 9, 8}, false, 2)});
    EXPECT_THAT(Descriptors(), ElementsAre(Public(0x4D, {0x4D, 3, 1, 2}), Extended(0, {0x7F, 3, 6}),
                                           Public(0x7F, {0x7F, 3})));
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(kAsked, SavingLine("0x4d", 4, "No", "No"),
                            SavingLine("0x7f", 3, "Yes", "No"), SavingLine("0x7f", 2, "No", "No")));
}

TEST_F(EITParserTest, RecordsOutliveTheParser) {
    HoldEvent({PlainDesc(0x4D, {0x4D, 1, 5})});
    std::vector<IEITParser::EITDescriptor> out;
    EXPECT_TRUE(parser->GetDescriptors(1, 2, 3, out));
    parser.reset();
    platform.Reset();
    EXPECT_THAT(out.at(0).m_data, ElementsAre(0x4D, 1, 5));
}

TEST_F(EITParserTest, PrivateDataSpecifierUnderAnotherTagIsReturnedLikeAnyOther) {
    auto desc = std::make_shared<TCDescPrivateDataSpecifier>();
    fake::Bytes bytes{0x83, 4, 0, 0, 0, 0x28};
    desc->Parse(bytes.data());
    HoldEvent({desc, PlainDesc(0x84, {0x84, 0})});
    EXPECT_THAT(Descriptors(), ElementsAre(Public(0x83, bytes), Public(0x84, {0x84, 0})));
}

TEST_F(EITParserTest, UndecodedSpecifiersAndUncopiedDescriptorsKeepThePrivateState) {
    const bool isRefused = true;
    HoldEvent({PrivateDataSpecifierDesc(0x28), PlainDesc(0x5F, {0x5F, 0}),
               PlainDesc(0x4D, {0x4D, 1, 5}, isRefused), PlainDesc(0x83, {0x83, 0})});
    EXPECT_THAT(Descriptors(), ElementsAre(Private(0x5F, 0x28, {0x5F, 0}), Private(0x4D, 0x28, {}),
                                           Private(0x83, 0x28, {0x83, 0})));
}

TEST_F(EITParserTest, LinesComeBeforeWhatTheyTell) {
    HoldEvent({PlainDesc(0x4D, {0x4D, 0}), PlainDesc(0x54, {0x54, 0})});
    std::vector<IEITParser::EITDescriptor> out(3);
    std::vector<std::size_t> sizes;
    platform.duringLog = [&](const std::string&) { sizes.push_back(out.size()); };
    EXPECT_TRUE(parser->GetDescriptors(1, 2, 3, out));
    platform.duringLog = nullptr;
    EXPECT_THAT(sizes, ElementsAre(3u, 0u, 1u));
}

TEST_F(EITParserTest, PrivateDataSpecifierIsKnownByAll16BitsOfThePlatformsTag) {
    auto desc = std::make_shared<OtherTag<TCDescPrivateDataSpecifier, 0x015F>>();
    HoldEvent({desc, PlainDesc(0x83, {0x83, 0})});
    EXPECT_THAT(Descriptors(), ElementsAre(Public(0x5F, {}), Public(0x83, {0x83, 0})));
}

TEST_F(EITParserTest, ItemIsAskedForItsEventWhateverItsDecodingAnswered) {
    HoldEvent({PlainDesc(0x4D, {0x4D, 0})});
    eit.itemParses = false;
    EXPECT_THAT(Descriptors(), ElementsAre(Public(0x4D, {0x4D, 0})));
    eit.events.clear();
    eit.itemParses = true;
    platform.TakeLog();
    std::vector<IEITParser::EITDescriptor> out;
    EXPECT_FALSE(parser->GetDescriptors(1, 2, 3, out));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(kAsked, kNoEvent));
}

TEST_F(EITParserTest, ItemLivesAsLongAsTheQuery) {
    HoldEvent({PlainDesc(0x4D, {0x4D, 0})});
    int livingWhenTold = 0;
    platform.duringLog = [&](const std::string&) { livingWhenTold = eit.livingItems; };
    EXPECT_THAT(Descriptors(), ElementsAre(Public(0x4D, {0x4D, 0})));
    EXPECT_EQ(livingWhenTold, 1);
    EXPECT_EQ(eit.livingItems, 0);
    eit.events.clear();
    std::vector<IEITParser::EITDescriptor> out;
    EXPECT_FALSE(parser->GetDescriptors(1, 2, 3, out));
    EXPECT_EQ(livingWhenTold, 1);
    EXPECT_EQ(eit.livingItems, 0);
    platform.duringLog = nullptr;
}

}  // namespace
