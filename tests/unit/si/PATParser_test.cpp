#include "SI/PARSER/Korvo/PATParserKorvo.h"

#include "tests/unit/si/SiFixture.h"

namespace {

using TORVEL_MW::CPATParserKorvo;
using TORVEL_MW::IPATParser;

std::string PatLine(int priority, const std::string& text) {
    return std::to_string(priority) + " PATParserKorvo.cpp " + text;
}

class PATParserTest : public testing::Test {
  protected:
    void SetUp() override { platform.Reset(); }

    FakePlatform& platform = FakePlatform::Get();
};

TEST_F(PATParserTest, FactoryCreatesThePlatformsParserWithHandle1And0AndDoesNotInitialize) {
    const auto parser = IPATParser::CreatePATParser();
    ASSERT_TRUE(parser);
    EXPECT_EQ(platform.pat.constructed, 1);
    EXPECT_EQ(platform.pat.access, 1);
    EXPECT_EQ(platform.pat.instance, 0);
    EXPECT_EQ(platform.pat.resets, 0);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(PATParserTest, HoldsThePlatformsParserAndNothingElse) {
    EXPECT_EQ(sizeof(CPATParserKorvo), 2 * sizeof(void*));
}

TEST_F(PATParserTest, CreateIsTrue) {
    CPATParserKorvo parser;
    EXPECT_TRUE(parser.Create());
}

TEST_F(PATParserTest, DestructionDestroysThePlatformsParserSilently) {
    IPATParser::CreatePATParser().reset();
    EXPECT_EQ(platform.pat.destroyed, 1);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(PATParserTest, InitializeWritesItsLineThenResets) {
    const auto parser = IPATParser::CreatePATParser();
    int resetsWhenTold = -1;
    platform.duringLog = [&](const std::string&) { resetsWhenTold = platform.pat.resets; };
    parser->Initialize();
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(PatLine(4, "Initialize(*) > " + Green("CPATParserKorvo::Initialize"))));
    EXPECT_EQ(resetsWhenTold, 0);
    EXPECT_EQ(platform.pat.resets, 1);
}

TEST_F(PATParserTest, InitializeWithoutPlatformParserWritesItsLineAllTheSame) {
    CPATParserKorvo parser;
    parser.Initialize();
    EXPECT_THAT(platform.TakeLog(),
                ElementsAre(PatLine(4, "Initialize(*) > " + Green("CPATParserKorvo::Initialize"))));
}

TEST_F(PATParserTest, ParseForwardsAndAnswersAsThePlatform) {
    const auto parser = IPATParser::CreatePATParser();
    unsigned char section[3] = {};
    EXPECT_TRUE(parser->Parse(0xFFFE, section));
    platform.pat.accepts = false;
    EXPECT_FALSE(parser->Parse(0, section));
    EXPECT_THAT(platform.pat.parsed, ElementsAre(std::pair<short, unsigned char*>(-2, section),
                                                 std::pair<short, unsigned char*>(0, section)));
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(PATParserTest, WithoutPlatformParserEverythingIs0AndOnlyIsCompleteIsTold) {
    CPATParserKorvo parser;
    unsigned char section[3] = {};
    std::map<int, int> programs = {{5, 6}};
    EXPECT_FALSE(parser.Parse(0, section));
    EXPECT_EQ(parser.TransportStreamId(), 0u);
    EXPECT_EQ(parser.NumOfProgramList(), 0);
    EXPECT_EQ(parser.ProgramNumber(0), 0);
    EXPECT_EQ(parser.ProgramPID(1), 0);
    parser.GetProgramList(programs);
    EXPECT_EQ(programs.size(), 1u);
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
    EXPECT_FALSE(parser.IsComplete());
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(PatLine(
            6, "IsComplete(*) > " + Red("CPATParserKorvo::IsComplete parser error (null)"))));
}

TEST_F(PATParserTest, QueriesAnswerAsThePlatform) {
    const auto parser = IPATParser::CreatePATParser();
    platform.pat.programs = {{1, 100}, {0xFFFF, 0x1FFF}};
    platform.pat.transportStreamId = 0xFFFE;
    EXPECT_EQ(parser->TransportStreamId(), 0xFFFEu);
    EXPECT_EQ(parser->NumOfProgramList(), 2);
    EXPECT_EQ(parser->ProgramNumber(1), 0xFFFF);
    EXPECT_EQ(parser->ProgramPID(0xFFFF), 0x1FFF);
    EXPECT_FALSE(parser->IsComplete());
    platform.pat.valid = true;
    EXPECT_TRUE(parser->IsComplete());
    EXPECT_THAT(platform.TakeLog(), IsEmpty());
}

TEST_F(PATParserTest, ProgramPIDTakesAProgramNumberCutTo16Bits) {
    const auto parser = IPATParser::CreatePATParser();
    platform.pat.programs = {{1, 100}};
    EXPECT_EQ(parser->ProgramPID(0x10001), 100);
    EXPECT_THAT(platform.pat.pidsAskedFor, ElementsAre(1u));
}

TEST_F(PATParserTest, ProgramListLeavesOutProgram0AndProgramsWithoutPid) {
    const auto parser = IPATParser::CreatePATParser();
    platform.pat.programs = {{0, 16}, {1, 100}, {2, 0}, {3, 300}};
    std::map<int, int> programs;
    parser->GetProgramList(programs);
    EXPECT_EQ(programs, (std::map<int, int>{{1, 100}, {3, 300}}));
    EXPECT_EQ(platform.pat.countsAsked, 5);  // the count is queried on every pass of the loop
}

TEST_F(PATParserTest, ProgramListKeepsWhatTheMapHeldAndOverwritesEqualKeys) {
    const auto parser = IPATParser::CreatePATParser();
    platform.pat.programs = {{1, 100}, {2, 200}};
    std::map<int, int> programs = {{1, 5}, {9, 900}};
    parser->GetProgramList(programs);
    EXPECT_EQ(programs, (std::map<int, int>{{1, 100}, {2, 200}, {9, 900}}));
    platform.pat.programs = {{1, 101}};
    parser->GetProgramList(programs);
    EXPECT_EQ(programs, (std::map<int, int>{{1, 101}, {2, 200}, {9, 900}}));
}

TEST_F(PATParserTest, DerivedAdapterChangesTheProgramList) {
    struct Derived : CPATParserKorvo {
        int NumOfProgramList() override { return 2; }
        int ProgramNumber(int index) override { return index + 70000; }
        int ProgramPID(int programNumber) override { return programNumber - 69999; }
    } derived;
    std::map<int, int> programs;
    derived.GetProgramList(programs);
    EXPECT_EQ(programs, (std::map<int, int>{{70000, 1}, {70001, 2}}));
}

TEST_F(PATParserTest, ParserWithoutCreateCanStillGetOne) {
    CPATParserKorvo parser;
    EXPECT_EQ(parser.NumOfProgramList(), 0);
    parser.Create();
    platform.pat.programs = {{1, 100}};
    EXPECT_EQ(parser.NumOfProgramList(), 1);
}

}  // namespace
