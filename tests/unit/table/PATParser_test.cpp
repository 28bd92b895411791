#include <gtest/gtest.h>

#include <map>
#include <vector>

#include "platform/TCPATParser.h"
#include "platform/TVSHandle.h"
#include "tests/support/TsBytes.h"

namespace {

using testsupport::Bytes;
using testsupport::SectionBytes;

struct Program {
    unsigned program_number;
    unsigned PID;
    bool operator==(const Program&) const = default;
};

Bytes ProgramLoop(const std::vector<Program>& programs) {
    Bytes loop;
    for (const Program& program : programs) {
        loop.push_back(static_cast<uint8_t>(program.program_number >> 8));
        loop.push_back(static_cast<uint8_t>(program.program_number));
        loop.push_back(static_cast<uint8_t>(0xE0 | program.PID >> 8));
        loop.push_back(static_cast<uint8_t>(program.PID));
    }
    return loop;
}

class PATParserTest : public testing::Test {
  protected:
    bool FeedBytes(Bytes section) { return parser_.Parse(0, section.data()); }
    bool Feed(SectionBytes section) {
        section.table_id = 0x00;
        return FeedBytes(section.Build());
    }
    std::vector<Program> Programs() {
        std::vector<Program> programs;
        for (int i = 0; i < parser_.NumOfProgramList(); ++i) {
            const unsigned short number = parser_.ProgramNumber(static_cast<unsigned>(i));
            programs.push_back({number, parser_.ProgramPID(number)});
        }
        return programs;
    }

    TCPATParser parser_{TVSHandle(1, 0)};
};

TEST_F(PATParserTest, IsEmptyAtFirst) {
    EXPECT_EQ(parser_.NumOfProgramList(), 0);
    EXPECT_EQ(parser_.ProgramNumber(0), 0);
    EXPECT_EQ(parser_.ProgramPID(1), 0);
    EXPECT_EQ(parser_.TransportStreamId(), 0);
    EXPECT_EQ(parser_.TableIdExt(), 0);
    EXPECT_EQ(parser_.VersionNumber(), 0);
    EXPECT_FALSE(parser_.IsValid());
}

TEST_F(PATParserTest, ReadsTheProgramLoop) {
    EXPECT_TRUE(Feed({.table_id_extension = 0x1234,
                      .version_number = 9,
                      .body = ProgramLoop({{0, 0x0010}, {1, 0x0100}, {0xFFFF, 0x1FFE}})}));
    EXPECT_TRUE(parser_.IsValid());
    EXPECT_EQ(parser_.TransportStreamId(), 0x1234);
    EXPECT_EQ(parser_.TableIdExt(), 0x1234);
    EXPECT_EQ(parser_.VersionNumber(), 9);
    EXPECT_EQ(Programs(), std::vector<Program>({{0, 0x0010}, {1, 0x0100}, {0xFFFF, 0x1FFE}}));
}

TEST_F(PATParserTest, AnswersZeroForWhatIsNotThere) {
    Feed({.body = ProgramLoop({{1, 0x0100}})});
    EXPECT_EQ(parser_.ProgramNumber(1), 0);
    EXPECT_EQ(parser_.ProgramNumber(0xFFFFFFFF), 0);
    EXPECT_EQ(parser_.ProgramPID(2), 0);
}

TEST_F(PATParserTest, AnswersWithTheFirstEntryOfAProgramListedTwice) {
    Feed({.body = ProgramLoop({{1, 0x0100}, {1, 0x0200}})});
    EXPECT_EQ(parser_.NumOfProgramList(), 2);
    EXPECT_EQ(parser_.ProgramPID(1), 0x0100);
}

TEST_F(PATParserTest, IsValidWithoutAnyProgram) {
    EXPECT_TRUE(Feed({.table_id_extension = 7}));
    EXPECT_TRUE(parser_.IsValid());
    EXPECT_EQ(parser_.NumOfProgramList(), 0);
}

TEST_F(PATParserTest, JoinsTheLoopsOfAllSectionsInTheirOrder) {
    EXPECT_TRUE(Feed({.section_number = 1,
                      .last_section_number = 1,
                      .body = ProgramLoop({{3, 0x0300}, {4, 0x0400}})}));
    EXPECT_FALSE(parser_.IsValid());
    EXPECT_EQ(Programs(), std::vector<Program>({{3, 0x0300}, {4, 0x0400}}));
    EXPECT_TRUE(Feed({.section_number = 0,
                      .last_section_number = 1,
                      .body = ProgramLoop({{1, 0x0100}, {2, 0x0200}})}));
    EXPECT_TRUE(parser_.IsValid());
    EXPECT_EQ(Programs(),
              std::vector<Program>({{1, 0x0100}, {2, 0x0200}, {3, 0x0300}, {4, 0x0400}}));
}

TEST_F(PATParserTest, TakesRepeatsWithoutAChange) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(Feed({.body = ProgramLoop({{1, 0x0100}})}));
        EXPECT_EQ(Programs(), std::vector<Program>({{1, 0x0100}}));
    }
}

TEST_F(PATParserTest, StartsAfreshWithAnotherVersion) {
    Feed({.version_number = 1, .last_section_number = 0, .body = ProgramLoop({{1, 0x0100}})});
    EXPECT_TRUE(Feed({.version_number = 2,
                      .section_number = 1,
                      .last_section_number = 1,
                      .body = ProgramLoop({{2, 0x0200}})}));
    EXPECT_FALSE(parser_.IsValid());
    EXPECT_EQ(parser_.VersionNumber(), 2);
    EXPECT_EQ(Programs(), std::vector<Program>({{2, 0x0200}}));
}

TEST_F(PATParserTest, StartsAfreshWithAnotherTransportStream) {
    Feed({.table_id_extension = 1, .body = ProgramLoop({{1, 0x0100}})});
    EXPECT_TRUE(Feed({.table_id_extension = 2, .body = ProgramLoop({{2, 0x0200}})}));
    EXPECT_EQ(parser_.TransportStreamId(), 2);
    EXPECT_EQ(Programs(), std::vector<Program>({{2, 0x0200}}));
}

TEST_F(PATParserTest, RefusesWhatIsNoApplicablePatAndChangesNothing) {
    const SectionBytes good{
        .table_id = 0x00, .version_number = 1, .body = ProgramLoop({{1, 0x0100}})};
    Feed(good);

    const auto changed = [&](auto change) {
        SectionBytes fields = good;
        fields.version_number = 2;
        fields.table_id_extension = 99;
        change(fields);
        return fields.Build();
    };
    const std::map<const char*, Bytes> refused{
        {"another table", changed([](SectionBytes& f) { f.table_id = 0x02; })},
        {"the next one", changed([](SectionBytes& f) { f.current_next_indicator = false; })},
        {"beyond the last", changed([](SectionBytes& f) { f.section_number = 1; })},
        {"half a program", changed([](SectionBytes& f) { f.body.pop_back(); })},
        {"without syntax",
         [&] {
             Bytes bytes = changed([](SectionBytes&) {});
             bytes[1] &= 0x7F;
             return bytes;
         }()},
        {"too short",
         [&] {
             Bytes bytes = changed([](SectionBytes&) {});
             bytes[1] = 0xB0;
             bytes[2] = 8;
             return bytes;
         }()},
        {"too long",
         [&] {
             Bytes bytes = changed([](SectionBytes&) {});
             bytes[1] = 0xBF;
             bytes[2] = 0xFE;
             bytes.resize(4097);
             return bytes;
         }()},
    };
    for (const auto& [what, bytes] : refused) {
        EXPECT_FALSE(FeedBytes(bytes)) << what;
        EXPECT_EQ(Programs(), std::vector<Program>({{1, 0x0100}})) << what;
        EXPECT_EQ(parser_.TransportStreamId(), good.table_id_extension) << what;
        EXPECT_EQ(parser_.VersionNumber(), 1) << what;
        EXPECT_TRUE(parser_.IsValid()) << what;
    }
    EXPECT_FALSE(parser_.Parse(0, nullptr));
}

TEST_F(PATParserTest, ForgetsEverythingWhenReset) {
    Feed({.table_id_extension = 5, .version_number = 1, .body = ProgramLoop({{1, 0x0100}})});
    parser_.Reset();
    EXPECT_EQ(parser_.NumOfProgramList(), 0);
    EXPECT_EQ(parser_.TransportStreamId(), 0);
    EXPECT_EQ(parser_.TableIdExt(), 0);
    EXPECT_EQ(parser_.VersionNumber(), 0);
    EXPECT_FALSE(parser_.IsValid());
    EXPECT_TRUE(Feed({.version_number = 1, .body = ProgramLoop({{2, 0x0200}})}));
    EXPECT_EQ(Programs(), std::vector<Program>({{2, 0x0200}}));
}

}  // namespace
