#include "SI/PARSER/Korvo/PMTParserKorvo.h"

#include <list>
#include <set>

#include "SI/PARSER/Korvo/DescriptorsKorvo.h"
#include "platform/TCDescDataBroadcastId.h"
#include "tests/support/FakeTables.h"
#include "tests/unit/si/SiFixture.h"
#include "tests/unit/si/Slot.h"

namespace TORVEL_MW {

struct PMTParserKorvoPeer {
    using P = CPMTParserKorvo;
    static std::vector<const void*> Members(const P& parser) {
        return {&parser.m_Parser, &parser.m_ServiceCarouselMap, &parser.m_SSUInfoMap,
                &parser.m_CASystemIds};
    }
    static auto& SSUInfos(P& parser) { return parser.m_SSUInfoMap; }
    static auto& Carousels(P& parser) { return parser.m_ServiceCarouselMap; }
    static auto& CASystemIds(P& parser) { return parser.m_CASystemIds; }
};

}  // namespace TORVEL_MW

namespace {

using namespace TORVEL_MW;
using fake::PmtScript;
using fake::StreamScript;
using testing::Contains;

constexpr unsigned int kAny = 0xFFFFFFFF;

std::string PmtLine(int priority, const std::string& function, const std::string& text) {
    return std::to_string(priority) + " PMTParserKorvo.cpp " + function + "(*) > " + text;
}

class PMTParserTest : public testing::Test {
  protected:
    void SetUp() override {
        platform.Reset();
        parser = IPMTParser::CreatePMTParser();
    }

    /// Adds a program to the platform's parser. The next section belongs to it.
    PmtScript& Program(unsigned short number) {
        pmt.programNumber = number;
        return pmt.AddProgram(number);
    }
    bool Parse() {
        unsigned char section[3] = {2, 0, 0};
        return parser->Parse(0x100, section);
    }
    CPMTParserKorvo& Ours() { return dynamic_cast<CPMTParserKorvo&>(*parser); }
    /// Parses a section and drops the log lines.
    void ParseSilently() {
        EXPECT_TRUE(Parse());
        platform.TakeLog();
    }
    std::set<unsigned short> CAs() {
        std::set<unsigned short> ids{0xDEAD};
        parser->GetCASystemIds(ids);
        return ids;
    }
    std::vector<int> SsuPids(unsigned int serviceId, unsigned int oui = kAny) {
        std::list<std::unique_ptr<ISSUInfo>> infos;
        parser->GetSSUInfo(serviceId, oui, infos);
        std::vector<int> pids;
        for (const auto& info : infos) {
            unsigned short pid = 0;
            info->GetPID(pid);
            pids.push_back(pid);
        }
        return pids;
    }

    FakePlatform& platform = FakePlatform::Get();
    fake::PmtTable& pmt = fake::TheTables().pmt;
    std::unique_ptr<IPMTParser> parser;
};

TEST_F(PMTParserTest, FactoryCreatesThePlatformsParserWithHandle1And0AndDoesNotInitialize) {
    EXPECT_EQ(pmt.constructed, 1);
    EXPECT_EQ(pmt.access, 1);
    EXPECT_EQ(pmt.instance, 0);
    EXPECT_EQ(pmt.resets, 0);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
    CPMTParserKorvo another;
    EXPECT_TRUE(another.Create());
}

TEST_F(PMTParserTest, DestructionTellsThenDestroysThePlatformsParser) {
    int destroyedWhenTold = -1;
    platform.duringLog = [&](const std::string&) { destroyedWhenTold = pmt.destroyed; };
    parser.reset();
    EXPECT_EQ(destroyedWhenTold, 0);
    EXPECT_EQ(pmt.destroyed, 1);
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(PmtLine(3, "~CPMTParserKorvo", "~CPMTParserKorvo")));
}

TEST_F(PMTParserTest, DestructionFreesTheSSUInfosAfterThePlatformsParser) {
    struct LastWords : ISSUInfo {
        LastWords(const int& destroyed, int& seen) : destroyed_(destroyed), seen_(seen) {}
        ~LastWords() override { seen_ = destroyed_; }
        void GetOUIs(std::list<unsigned int>&) override {}
        bool ContainsOUI(unsigned int) override { return false; }
        void GetSelectorBytes(unsigned int, std::vector<SelectorBytes>&) override {}
        void GetPID(unsigned short&) override {}
        const int& destroyed_;
        int& seen_;
    };
    int destroyedBefore = -1;
    PMTParserKorvoPeer::SSUInfos(Ours())[5].push_back(
        std::make_unique<LastWords>(pmt.destroyed, destroyedBefore));
    parser.reset();
    EXPECT_EQ(destroyedBefore, 1);
}

TEST_F(PMTParserTest, InitializeWithoutPlatformParserEmptiesTheCachesSilently) {
    CPMTParserKorvo bare;
    PMTParserKorvoPeer::CASystemIds(bare).insert(1);
    PMTParserKorvoPeer::Carousels(bare)[7] = {1, 0x200};
    bare.Initialize();
    EXPECT_THAT(PMTParserKorvoPeer::CASystemIds(bare), IsEmpty());
    EXPECT_TRUE(PMTParserKorvoPeer::Carousels(bare).empty());
    EXPECT_EQ(pmt.resets, 0);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(PMTParserTest, ParseForwardsPidAndSection) {
    unsigned char section[3] = {};
    parser->Parse(0xFFFE, section);
    EXPECT_THAT(pmt.parsed, ElementsAre(std::pair<short, unsigned char*>(-2, section)));
}

TEST_F(PMTParserTest, FailedParseIsToldAndLeavesTheCaches) {
    PmtScript& program = Program(5);
    program.loop.Add(fake::CADesc(0x0919));
    StreamScript& stream = program.AddStream(0x0B, 0x200);
    stream.loop.Add(fake::StreamIdentifierDesc(7));
    stream.loop.Add(fake::DataBroadcastIdDesc(0x000A));
    ParseSilently();
    pmt.accepts = false;
    EXPECT_FALSE(Parse());
    EXPECT_THAT(platform.TakeLog(), ElementsAre(PmtLine(6, "Parse", Red("Parse parsing error"))));
    unsigned short pid = 0;
    EXPECT_THAT(CAs(), ElementsAre(0x0919));
    EXPECT_TRUE(parser->GetPID(7, pid));
    EXPECT_THAT(SsuPids(kAny), ElementsAre(0x200));
}

TEST_F(PMTParserTest, ParseWithoutPlatformParserIsToldTheSame) {
    CPMTParserKorvo bare;
    unsigned char section[3] = {};
    EXPECT_FALSE(bare.Parse(1, section));
    EXPECT_THAT(platform.TakeLog(), ElementsAre(PmtLine(6, "Parse", Red("Parse parsing error"))));
}

TEST_F(PMTParserTest, ParseTellsItsSteps) {
    PmtScript& program = Program(5);
    program.AddStream(0x02, 0x200);
    program.AddMissingStream();
    StreamScript& carousel = program.AddStream(0x0B, 0x201);
    carousel.loop.Add(fake::StreamIdentifierDesc(7));
    carousel.loop.Add(fake::CarouselIdentifierDesc(0xFFFFFFFE));
    carousel.loop.Add(fake::DataBroadcastIdDesc(0x000A));
    carousel.loop.Add(fake::DataBroadcastIdDesc(0x0005));
    StreamScript& nameless = program.AddStream(0x0D, 0x202);
    nameless.loop.Add(fake::StreamIdentifierDesc(8));
    program.AddStream(0x08, 0x203);
    EXPECT_TRUE(Parse());
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(
            PmtLine(3, "Parse", "Prog number 5"),
            PmtLine(3, "Parse", "Num DataBroadcastId descriptors 0"),
            PmtLine(6, "Parse", Red("Parse PMTInstanceData->PMTElementary(1) = NULL. Skipping")),
            PmtLine(3, "Parse", "Num DataBroadcastId descriptors 2"),
            PmtLine(3, "Parse", "Num DataBroadcastId descriptors 0"),
            PmtLine(3, "Parse", "Num DataBroadcastId descriptors 0"),
            PmtLine(6, "m_BuildServiceCarouselMap",
                    Red("m_BuildServiceCarouselMap PMTInstanceData->PMTElementary(1)  = NULL. "
                        "Skiping")),
            PmtLine(3, "m_BuildServiceCarouselMap",
                    "m_BuildServiceCarouselMap Found DSM-CC component tag: 7 with Carousel "
                    "Identifier: -2"),
            PmtLine(3, "m_BuildServiceCarouselMap",
                    "m_BuildServiceCarouselMap Found DSM-CC component tag: 8 with no Carousel "
                    "Identifier"),
            PmtLine(6, "m_BuildServiceCarouselMap",
                    Red("m_BuildServiceCarouselMap "
                        "PMTElementaryData->Descriptor(TCDescStreamIdentifier::DESCRIPTOR_ID) = "
                        "NULL. Ignoring Entry")),
            PmtLine(3, "m_BuildServiceCarouselMap", "m_BuildServiceCarouselMap EXIT")));
}

TEST_F(PMTParserTest, WithoutAnInstanceTheCASetIsEmptiedAndTheCarouselsAreBuilt) {
    Program(5).loop.Add(fake::CADesc(0x0919));
    ParseSilently();
    EXPECT_THAT(CAs(), ElementsAre(0x0919));
    pmt.programNumber = 6;
    StreamScript& stream = pmt.byIndex[0]->AddStream(0x0A, 0x300);
    stream.loop.Add(fake::StreamIdentifierDesc(9));
    EXPECT_TRUE(Parse());
    EXPECT_EQ(parser->ProgramNumber(), 6);
    EXPECT_THAT(CAs(), IsEmpty());
    unsigned short pid = 0;
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(PmtLine(3, "Parse", "Prog number 6"),
                    PmtLine(3, "Parse", "No instance available!?"),
                    PmtLine(3, "m_BuildServiceCarouselMap",
                            "m_BuildServiceCarouselMap Found DSM-CC component tag: 9 with "
                            "no Carousel Identifier"),
                    PmtLine(3, "m_BuildServiceCarouselMap", "m_BuildServiceCarouselMap EXIT")));
    EXPECT_TRUE(parser->GetPID(9, pid));
    EXPECT_EQ(pid, 0x300);
}

TEST_F(PMTParserTest, WithoutAnyInstanceTheCarouselMapIsEmptied) {
    StreamScript& stream = Program(5).AddStream(0x0B, 0x200);
    stream.loop.Add(fake::StreamIdentifierDesc(7));
    ParseSilently();
    pmt.byIndex.clear();
    EXPECT_TRUE(Parse());
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(PmtLine(3, "Parse", "Prog number 5"),
                    PmtLine(3, "Parse", "Num DataBroadcastId descriptors 0"),
                    PmtLine(3, "m_BuildServiceCarouselMap", "m_BuildServiceCarouselMap EXIT")));
    unsigned short pid = 77;
    EXPECT_FALSE(parser->GetPID(7, pid));
    EXPECT_EQ(pid, 77);
}

TEST_F(PMTParserTest, CASystemIdsComeFromBothLoopsOnce) {
    PmtScript& program = Program(5);
    program.loop.Add(fake::CADesc(3)).AddMissing(0x09).Add(fake::CADesc(1));
    program.AddStream(2, 0x200).loop.AddMissing(0x09).Add(fake::CADesc(2)).Add(fake::CADesc(1));
    ParseSilently();
    EXPECT_THAT(CAs(), ElementsAre(1, 2, 3));
    program.loop.entries.clear();
    ParseSilently();
    EXPECT_THAT(CAs(), ElementsAre(1, 2)) << "every parse starts the set afresh";
}

TEST_F(PMTParserTest, TheCASetIsEmptiedBeforeTheProgramIsTold) {
    Program(5).loop.Add(fake::CADesc(0x0919));
    ParseSilently();
    std::vector<std::size_t> sizesWhenTold;
    platform.duringLog = [&](const std::string&) { sizesWhenTold.push_back(CAs().size()); };
    EXPECT_TRUE(Parse());
    EXPECT_THAT(sizesWhenTold, ElementsAre(0u, 1u)) << "program number, end of the carousels";
    pmt.accepts = false;
    EXPECT_FALSE(Parse());
    EXPECT_EQ(sizesWhenTold.back(), 1u) << "a failed parse leaves it";
    platform.duringLog = nullptr;
}

TEST_F(PMTParserTest, TheCASetItselfCanBeTheReceiver) {
    Program(5).loop.Add(fake::CADesc(0x0919));
    ParseSilently();
    parser->GetCASystemIds(PMTParserKorvoPeer::CASystemIds(Ours()));
    EXPECT_THAT(CAs(), ElementsAre(0x0919));
}

TEST_F(PMTParserTest, CarouselMapSpansAllInstancesAndSkipsMissingOnes) {
    pmt.AddProgram(4).AddStream(0x0B, 0x400).loop.Add(fake::StreamIdentifierDesc(4));
    pmt.byIndex.insert(pmt.byIndex.begin(), nullptr);
    Program(5).AddStream(0x0B, 0x500).loop.Add(fake::StreamIdentifierDesc(5));
    EXPECT_TRUE(Parse());
    EXPECT_THAT(platform.TakeLog(),
                Contains(PmtLine(6, "m_BuildServiceCarouselMap",
                                 Red("m_BuildServiceCarouselMap. m_Parser->PMTInstanceOfIndex(0) = "
                                     "NULL. Skiping"))));
    unsigned short pid = 0;
    EXPECT_TRUE(parser->GetPID(4, pid));
    EXPECT_EQ(pid, 0x400);
    EXPECT_TRUE(parser->GetPID(5, pid));
    EXPECT_EQ(pid, 0x500);
}

TEST_F(PMTParserTest, OnlyDsmCcStreamsAreInTheCarouselMap) {
    PmtScript& program = Program(5);
    for (int type = 0; type < 256; ++type) {
        program.AddStream(static_cast<unsigned char>(type), static_cast<unsigned short>(type))
            .loop.Add(fake::StreamIdentifierDesc(static_cast<unsigned char>(type)));
    }
    ParseSilently();
    std::vector<int> found;
    for (int tag = 0; tag < 256; ++tag) {
        unsigned short pid = 0;
        if (parser->GetPID(static_cast<unsigned char>(tag), pid)) {
            found.push_back(pid);
        }
    }
    EXPECT_THAT(found, ElementsAre(0x08, 0x0A, 0x0B, 0x0C, 0x0D));
}

TEST_F(PMTParserTest, OfEqualComponentTagsTheLastWins) {
    PmtScript& program = Program(5);
    StreamScript& first = program.AddStream(0x0B, 0x200);
    first.loop.Add(fake::StreamIdentifierDesc(7)).Add(fake::CarouselIdentifierDesc(1));
    StreamScript& second = program.AddStream(0x0B, 0x201);
    second.loop.Add(fake::StreamIdentifierDesc(7));
    ParseSilently();
    unsigned short pid = 0;
    unsigned long carousel = 0;
    EXPECT_TRUE(parser->GetPID(7, pid));
    EXPECT_EQ(pid, 0x201);
    EXPECT_TRUE(parser->GetCarouselID(7, carousel));
    EXPECT_EQ(carousel, 4294967295ul) << "the absent id";
}

TEST_F(PMTParserTest, OfEqualComponentTagsInTwoProgramsTheLastWins) {
    // The section belongs to the first instance, which has the higher program_number.
    StreamScript& first = Program(5).AddStream(0x0B, 0x500);
    first.loop.Add(fake::StreamIdentifierDesc(7)).Add(fake::CarouselIdentifierDesc(5));
    StreamScript& second = pmt.AddProgram(4).AddStream(0x0B, 0x400);
    second.loop.Add(fake::StreamIdentifierDesc(7)).Add(fake::CarouselIdentifierDesc(4));
    ParseSilently();
    unsigned short pid = 0;
    unsigned long carousel = 0;
    EXPECT_TRUE(parser->GetPID(7, pid));
    EXPECT_EQ(pid, 0x400);
    EXPECT_TRUE(parser->GetCarouselID(7, carousel));
    EXPECT_EQ(carousel, 4ul);
}

TEST_F(PMTParserTest, AStreamWithoutComponentTagIsUnderNoTag) {
    PmtScript& program = Program(5);
    program.AddStream(0x0B, 0x200).loop.Add(fake::CarouselIdentifierDesc(1));
    ParseSilently();
    for (int tag = 0; tag < 256; ++tag) {
        unsigned short pid = 77;
        unsigned long carousel = 77;
        EXPECT_FALSE(parser->GetPID(static_cast<unsigned char>(tag), pid)) << tag;
        EXPECT_FALSE(parser->GetCarouselID(static_cast<unsigned char>(tag), carousel)) << tag;
        EXPECT_EQ(pid, 77);
        EXPECT_EQ(carousel, 77ul);
    }
    program.AddStream(0x0B, 0x201).loop.Add(fake::StreamIdentifierDesc(7));
    ParseSilently();
    unsigned short pid = 0;
    EXPECT_TRUE(parser->GetPID(7, pid)) << "of the stream behind it";
    EXPECT_EQ(pid, 0x201);
}

TEST_F(PMTParserTest, OfAStreamsIdentifiersTheFirstCount) {
    StreamScript& stream = Program(5).AddStream(0x0B, 0x200);
    stream.loop.Add(fake::StreamIdentifierDesc(7)).Add(fake::StreamIdentifierDesc(8));
    stream.loop.Add(fake::CarouselIdentifierDesc(1)).Add(fake::CarouselIdentifierDesc(2));
    ParseSilently();
    unsigned short pid = 0;
    unsigned long carousel = 0;
    EXPECT_FALSE(parser->GetPID(8, pid));
    EXPECT_TRUE(parser->GetCarouselID(7, carousel));
    EXPECT_EQ(carousel, 1ul);
}

TEST_F(PMTParserTest, CarouselQueriesTellWhatTheyFind) {
    StreamScript& stream = Program(5).AddStream(0x0B, 0x1FFE);
    stream.loop.Add(fake::StreamIdentifierDesc(200)).Add(fake::CarouselIdentifierDesc(0xFEDCBA98));
    ParseSilently();
    unsigned long carousel = 0;
    EXPECT_TRUE(parser->GetCarouselID(200, carousel));
    EXPECT_EQ(carousel, 0xFEDCBA98ul);
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(PmtLine(3, "GetCarouselID", "GetCarouselID tag=200"),
                            PmtLine(3, "GetCarouselID",
                                    "GetCarouselID tag found, carousel id=4275878552")));
    unsigned short pid = 0;
    EXPECT_TRUE(parser->GetPID(200, pid));
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(PmtLine(3, "GetPID", "GetPID"),
                            PmtLine(3, "GetPID", "GetPID tag found, pid=8190")));
}

TEST_F(PMTParserTest, CarouselQueriesTellWhatIsAbsentAndLeaveTheOutput) {
    unsigned long carousel = 77;
    unsigned short pid = 77;
    EXPECT_FALSE(parser->GetCarouselID(201, carousel));
    EXPECT_FALSE(parser->GetPID(201, pid));
    EXPECT_EQ(carousel, 77ul);
    EXPECT_EQ(pid, 77);
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(PmtLine(3, "GetCarouselID", "GetCarouselID tag=201"),
                            PmtLine(6, "GetCarouselID", Red("GetCarouselID tag (201) not found")),
                            PmtLine(3, "GetPID", "GetPID"),
                            PmtLine(6, "GetPID", Red("GetPID tag (201) not found"))));
}

TEST_F(PMTParserTest, IsCompleteAsksTheInstanceOfThatProgram) {
    PmtScript& program = Program(5);
    EXPECT_FALSE(parser->IsComplete(5));
    program.valid = true;
    EXPECT_TRUE(parser->IsComplete(5));
    const std::string trace = PmtLine(3, "IsComplete", "CPMTParserKorvo::IsComplete sid=5");
    EXPECT_THAT(platform.TakeLog(), ElementsAre(trace, trace));
    EXPECT_FALSE(parser->IsComplete(65535));
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(PmtLine(3, "IsComplete", "CPMTParserKorvo::IsComplete sid=65535"),
                    PmtLine(6, "IsComplete",
                            Red("CPMTParserKorvo::IsComplete PMT instance not available"))));
}

TEST_F(PMTParserTest, WithoutPlatformParserQueriesAnswerAsWithoutInstance) {
    CPMTParserKorvo bare;
    EXPECT_EQ(bare.ProgramNumber(), 0);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
    EXPECT_FALSE(bare.IsComplete(5));
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(PmtLine(3, "IsComplete", "CPMTParserKorvo::IsComplete sid=5"),
                    PmtLine(3, "IsComplete", "CPMTParserKorvo::IsComplete parser error (null)")));
    EXPECT_FALSE(bare.ProgramFound(5));
    EXPECT_EQ(bare.NumOfElementary(5), 0);
    EXPECT_EQ(bare.ElementaryPID(5, 1), 0);
    EXPECT_TRUE(bare.IsElementaryNotApplication(5, 1));
    const std::string missing = " PMT instance not available";
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(PmtLine(3, "ProgramFound", "ProgramFound sid=5"),
                            PmtLine(6, "ProgramFound", Red("ProgramFound" + missing)),
                            PmtLine(3, "NumOfElementary", "NumOfElementary sid=5"),
                            PmtLine(6, "NumOfElementary", Red("NumOfElementary" + missing)),
                            PmtLine(3, "ElementaryPID", "ElementaryPID sid=5 index=1"),
                            PmtLine(6, "ElementaryPID", Red("ElementaryPID" + missing)),
                            PmtLine(6, "IsElementaryNotApplication",
                                    Red("IsElementaryNotApplication" + missing))));
}

TEST_F(PMTParserTest, AnswersOnProgramsAndStreams) {
    PmtScript& program = Program(5);
    program.AddStream(0x02, 0x1FFE);
    program.AddMissingStream();
    EXPECT_TRUE(parser->ProgramFound(5));
    EXPECT_EQ(parser->NumOfElementary(5), 2);
    EXPECT_EQ(parser->ElementaryPID(5, 0), 0x1FFE);
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(PmtLine(3, "ProgramFound", "ProgramFound sid=5"),
                            PmtLine(3, "NumOfElementary", "NumOfElementary sid=5"),
                            PmtLine(3, "ElementaryPID", "ElementaryPID sid=5 index=0")));
    EXPECT_EQ(parser->ElementaryPID(5, 1), 0);
    EXPECT_EQ(parser->ElementaryPID(5, -1), 0);
    const std::string invalid =
        PmtLine(6, "ElementaryPID", Red("ElementaryPID Stream is not valid"));
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(PmtLine(3, "ElementaryPID", "ElementaryPID sid=5 index=1"), invalid,
                            PmtLine(3, "ElementaryPID", "ElementaryPID sid=5 index=-1"), invalid));
    EXPECT_EQ(parser->ProgramNumber(), 5);
}

TEST_F(PMTParserTest, OnlyPrivateSectionsWithApplicationSignallingAreApplications) {
    PmtScript& program = Program(5);
    program.AddStream(0x05, 1).loop.Add(fake::PlainDesc(0x6F, {0x6F, 0}));
    program.AddStream(0x05, 2).loop.Add(fake::PlainDesc(0x52, {0x52, 0}));
    program.AddStream(0x0B, 3).loop.Add(fake::PlainDesc(0x6F, {0x6F, 0}));
    program.AddMissingStream();
    EXPECT_FALSE(parser->IsElementaryNotApplication(5, 0));
    EXPECT_TRUE(parser->IsElementaryNotApplication(5, 1));
    EXPECT_TRUE(parser->IsElementaryNotApplication(5, 2));
    EXPECT_TRUE(parser->IsElementaryNotApplication(5, 3));
    EXPECT_TRUE(parser->IsElementaryNotApplication(5, 4));
    EXPECT_THAT(platform.TakeLog(), IsEmpty()) << "no trace line here";
}

TEST_F(PMTParserTest, SSUInfosComeFromTheRightDataBroadcastIdOnly) {
    StreamScript& stream = Program(5).AddStream(0x0B, 0x200);
    stream.loop.Add(fake::DataBroadcastIdDesc(0x0005, {{0x10, {1}}}));
    stream.loop.Add(fake::DataBroadcastIdDesc(0x0123, {{0x10, {1}}}));
    stream.loop.Add(fake::DataBroadcastIdDesc(0x010A, {{0x10, {1}}}));
    stream.loop.Add(fake::DataBroadcastIdDesc(0x0A00, {{0x10, {1}}}));
    stream.loop.AddMissing(0x66);
    stream.loop.Add(fake::PlainDesc(0x66, {0x66, 2, 0, 0x0A}));
    ParseSilently();
    EXPECT_THAT(SsuPids(kAny), IsEmpty());
    EXPECT_THAT(PMTParserKorvoPeer::SSUInfos(Ours()), IsEmpty());
    stream.loop.Add(fake::DataBroadcastIdDesc(0x000A, {{0x10, {1}}}));
    ParseSilently();
    EXPECT_THAT(SsuPids(5), ElementsAre(0x200));
}

TEST_F(PMTParserTest, SSUInfosAccumulateAndInitializeLeavesThem) {
    PmtScript& program = Program(5);
    program.loop.Add(fake::CADesc(1));
    StreamScript& stream = program.AddStream(0x0B, 0x200);
    stream.loop.Add(fake::DataBroadcastIdDesc(0x000A, {{0x10, {1}}}));
    stream.loop.Add(fake::StreamIdentifierDesc(7));
    ParseSilently();
    ParseSilently();
    EXPECT_THAT(SsuPids(5), ElementsAre(0x200, 0x200));
    parser->Initialize();
    EXPECT_EQ(pmt.resets, 1);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
    EXPECT_THAT(SsuPids(5), ElementsAre(0x200, 0x200));
    EXPECT_THAT(CAs(), IsEmpty());
    unsigned short pid = 0;
    EXPECT_FALSE(parser->GetPID(7, pid));
}

TEST_F(PMTParserTest, GetSSUInfoFiltersByProgramAndOui) {
    Program(9).AddStream(1, 0x900).loop.Add(fake::DataBroadcastIdDesc(0x000A, {{0x10, {}}}));
    ParseSilently();
    StreamScript& stream = Program(5).AddStream(1, 0x500);
    stream.loop.Add(fake::DataBroadcastIdDesc(0x000A, {{0x20, {}}}));
    stream.loop.Add(fake::DataBroadcastIdDesc(0x000A, {{0x10, {}}}));
    ParseSilently();
    EXPECT_THAT(SsuPids(kAny), ElementsAre(0x500, 0x500, 0x900)) << "ascending by program";
    EXPECT_THAT(SsuPids(9), ElementsAre(0x900));
    EXPECT_THAT(SsuPids(kAny, 0x10), ElementsAre(0x500, 0x900));
    EXPECT_THAT(SsuPids(5, 0x10), ElementsAre(0x500));
    EXPECT_THAT(SsuPids(kAny, 0x30), IsEmpty());
    EXPECT_THAT(SsuPids(0x10005), IsEmpty()) << "all 32 bits count";
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(PMTParserTest, GetSSUInfoAppendsCopiesThatShareTheirSelectors) {
    Program(5).AddStream(1, 0x500).loop.Add(fake::DataBroadcastIdDesc(0x000A, {{0x10, {1}}}));
    ParseSilently();
    std::list<std::unique_ptr<ISSUInfo>> infos;
    parser->GetSSUInfo(5, kAny, infos);
    parser->GetSSUInfo(5, kAny, infos);
    ASSERT_EQ(infos.size(), 2u);
    EXPECT_NE(infos.front(), infos.back());
    std::vector<SelectorBytes> selectors;
    infos.front()->GetSelectorBytes(0x10, selectors);
    infos.back()->GetSelectorBytes(0x10, selectors);
    EXPECT_EQ(selectors[0], selectors[1]);
    parser.reset();
    EXPECT_THAT(*selectors[0], ElementsAre(1));
}

TEST_F(PMTParserTest, GetSSUInfoSkipsNullsAndOtherImplementations) {
    struct Other : ISSUInfo {
        void GetOUIs(std::list<unsigned int>&) override {}
        bool ContainsOUI(unsigned int) override { return true; }
        void GetSelectorBytes(unsigned int, std::vector<SelectorBytes>&) override {}
        void GetPID(unsigned short&) override {}
        [[maybe_unused]] const unsigned char zeros_[128] =
            {};  // with a wrong cast it looks like an empty CSSUInfo
    };
    const auto addOurs = [this](unsigned short pid) {
        const auto desc = fake::DataBroadcastIdDesc(0x000A, {{0x10, {}}});
        PMTParserKorvoPeer::SSUInfos(Ours())[5].push_back(
            std::make_unique<CSSUInfo>(pid, dynamic_cast<TCDescDataBroadcastId&>(*desc)));
    };
    auto& infos = PMTParserKorvoPeer::SSUInfos(Ours())[5];
    infos.push_back(nullptr);
    infos.push_back(std::make_unique<Other>());
    EXPECT_THAT(SsuPids(kAny), IsEmpty());
    EXPECT_THAT(SsuPids(5, 0x10), IsEmpty()) << "null is tested before its OUIs";
    addOurs(0x500);
    infos.push_back(nullptr);
    addOurs(0x501);
    infos.push_back(std::make_unique<Other>());
    addOurs(0x502);
    EXPECT_THAT(SsuPids(kAny), ElementsAre(0x500, 0x501, 0x502));
    EXPECT_THAT(SsuPids(5, 0x10), ElementsAre(0x500, 0x501, 0x502));
}

TEST_F(PMTParserTest, QueriesOnAProgramThatThePlatformDoesNotHoldTellSo) {
    Program(5).AddStream(0x05, 0x200).loop.Add(fake::PlainDesc(0x6F, {0x6F, 0}));
    EXPECT_FALSE(parser->ProgramFound(6));
    EXPECT_EQ(parser->NumOfElementary(6), 0);
    EXPECT_EQ(parser->ElementaryPID(6, 0), 0);
    EXPECT_TRUE(parser->IsElementaryNotApplication(6, 0));
    const std::string missing = " PMT instance not available";
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(PmtLine(3, "ProgramFound", "ProgramFound sid=6"),
                            PmtLine(6, "ProgramFound", Red("ProgramFound" + missing)),
                            PmtLine(3, "NumOfElementary", "NumOfElementary sid=6"),
                            PmtLine(6, "NumOfElementary", Red("NumOfElementary" + missing)),
                            PmtLine(3, "ElementaryPID", "ElementaryPID sid=6 index=0"),
                            PmtLine(6, "ElementaryPID", Red("ElementaryPID" + missing)),
                            PmtLine(6, "IsElementaryNotApplication",
                                    Red("IsElementaryNotApplication" + missing))));
}

TEST_F(PMTParserTest, SSUInfosOfAProgramComeFromItsStreamsInTheirOrder) {
    PmtScript& program = Program(5);
    program.loop.Add(fake::DataBroadcastIdDesc(0x000A, {{0x10, {}}}));
    program.AddStream(1, 0x501).loop.Add(fake::DataBroadcastIdDesc(0x000A, {{0x10, {}}}));
    program.AddStream(1, 0x500).loop.Add(fake::DataBroadcastIdDesc(0x000A, {{0x10, {}}}));
    ParseSilently();
    EXPECT_THAT(SsuPids(5), ElementsAre(0x501, 0x500));
    EXPECT_THAT(SsuPids(kAny, 0x10), ElementsAre(0x501, 0x500));
}

TEST_F(PMTParserTest, DestructionWithoutPlatformParserIsToldToo) {
    { const CPMTParserKorvo bare; }
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(PmtLine(3, "~CPMTParserKorvo", "~CPMTParserKorvo")));
    EXPECT_EQ(pmt.destroyed, 0);
}

TEST_F(PMTParserTest, MembersStandInTheirOrder) {
    const CPMTParserKorvo bare;
    const auto members = PMTParserKorvoPeer::Members(bare);
    EXPECT_TRUE(std::is_sorted(members.begin(), members.end()));
    EXPECT_EQ(members.front(), reinterpret_cast<const char*>(&bare) + sizeof(void*));
    EXPECT_EQ(sizeof(CPMTParserKorvo),
              2 * sizeof(void*) + sizeof(PMTParserKorvoPeer::Carousels(Ours())) +
                  sizeof(PMTParserKorvoPeer::SSUInfos(Ours())) + sizeof(std::set<unsigned short>));
    const DataStreamAttributes attributes{1, 2};
    EXPECT_LT(static_cast<const void*>(&attributes.m_carouselId),
              static_cast<const void*>(&attributes.m_pid));
}

TEST_F(PMTParserTest, SlotOrder) {
    int slot = static_cast<int>(kDestructorSlots);
    EXPECT_EQ(Slot(&IPMTParser::Create), slot++);
    EXPECT_EQ(Slot(&IPMTParser::Parse), slot++);
    EXPECT_EQ(Slot(&IPMTParser::Initialize), slot++);
    EXPECT_EQ(Slot(&IPMTParser::IsComplete), slot++);
    EXPECT_EQ(Slot(&IPMTParser::ProgramFound), slot++);
    EXPECT_EQ(Slot(&IPMTParser::NumOfElementary), slot++);
    EXPECT_EQ(Slot(&IPMTParser::IsElementaryNotApplication), slot++);
    EXPECT_EQ(Slot(&IPMTParser::ElementaryPID), slot++);
    EXPECT_EQ(Slot(&IPMTParser::GetCarouselID), slot++);
    EXPECT_EQ(Slot(&IPMTParser::GetPID), slot++);
    EXPECT_EQ(Slot(&IPMTParser::GetSSUInfo), slot++);
    EXPECT_EQ(Slot(&IPMTParser::ProgramNumber), slot++);
    EXPECT_EQ(Slot(&IPMTParser::GetCASystemIds), slot++);
}

TEST_F(PMTParserTest, DescriptorsThatThePlatformCouldNotDecodeArePassedOver) {
    PmtScript& program = Program(5);
    program.loop.Add(fake::PlainDesc(0x09, {0x09, 1, 0})).Add(fake::CADesc(1));
    program.AddStream(0x0B, 0x200).loop.Add(fake::PlainDesc(0x52, {0x52, 0}));
    StreamScript& stream = program.AddStream(0x0B, 0x201);
    stream.loop.Add(fake::PlainDesc(0x09, {0x09, 0})).Add(fake::CADesc(2));
    stream.loop.Add(fake::PlainDesc(0x66, {0x66, 0}))
        .Add(fake::DataBroadcastIdDesc(0x000A, {{0x10, {}}}));
    stream.loop.Add(fake::StreamIdentifierDesc(7)).Add(fake::PlainDesc(0x13, {0x13, 0}));
    ParseSilently();
    EXPECT_THAT(CAs(), ElementsAre(1, 2));
    EXPECT_THAT(SsuPids(kAny), ElementsAre(0x201));
    unsigned short pid = 0;
    unsigned long carousel = 0;
    EXPECT_TRUE(parser->GetPID(7, pid));
    EXPECT_EQ(pid, 0x201);
    EXPECT_TRUE(parser->GetCarouselID(7, carousel));
    EXPECT_EQ(carousel, 4294967295ul) << "no carousel identifier";
}

TEST_F(PMTParserTest, PidsHaveAllThe16BitsThatThePlatformGives) {
    StreamScript& stream = Program(5).AddStream(0x0B, 0xE201);
    stream.loop.Add(fake::StreamIdentifierDesc(7))
        .Add(fake::DataBroadcastIdDesc(0x000A, {{0x10, {}}}));
    ParseSilently();
    EXPECT_EQ(parser->ElementaryPID(5, 0), 0xE201);
    unsigned short pid = 0;
    EXPECT_TRUE(parser->GetPID(7, pid));
    EXPECT_EQ(pid, 0xE201);
    EXPECT_THAT(SsuPids(kAny), ElementsAre(0xE201));
}

TEST_F(PMTParserTest, OffersOfAStreamAreTakenBeforeItsCASystemIds) {
    PmtScript& program = Program(5);
    program.loop.Add(fake::CADesc(1));
    fake::Loop& loop = program.AddStream(1, 0x500).loop;
    loop.Add(fake::CADesc(2)).Add(fake::DataBroadcastIdDesc(0x000A, {{0x10, {}}}));
    std::vector<std::pair<std::size_t, std::size_t>> offersAndIds;
    loop.duringCount = [&](fake::Loop&) {
        offersAndIds.emplace_back(SsuPids(kAny).size(), CAs().size());
    };
    ParseSilently();
    // The descriptors are counted once for the offers. For the CA_system_IDs they are counted
    // before each descriptor and once at the end.
    EXPECT_THAT(offersAndIds, ElementsAre(std::pair(0u, 1u), std::pair(1u, 1u), std::pair(1u, 2u)));
}

}  // namespace
