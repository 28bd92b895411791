#include "platform/TCPMTParser.h"

#include "platform/TCBaseDesc.h"
#include "platform/TCDescStreamIdentifier.h"
#include "tests/unit/table/TableFixture.h"

namespace {

Bytes Stream(uint8_t type, unsigned pid, const Bytes& descriptors) {
    return Join({{type}, U16(0xE000 | pid), Counted(descriptors)});
}

Bytes Body(unsigned pcrPid, const Bytes& programInfo, const Bytes& streams) {
    return Join({U16(0xE000 | pcrPid), Counted(programInfo), streams});
}

class PMTParserPlatformTest : public testing::Test {
  protected:
    bool FeedPmt(unsigned program, const Bytes& body, int version = 0) {
        return Feed(parser_, {.table_id = 0x02,
                              .table_id_extension = static_cast<uint16_t>(program),
                              .version_number = static_cast<uint8_t>(version),
                              .body = body});
    }
    TCPMTParser parser_{TVSHandle(1, 0)};
};

TEST_F(PMTParserPlatformTest, IsEmptyAtFirst) {
    EXPECT_EQ(parser_.ProgramNumber(), 0);
    EXPECT_EQ(parser_.NumOfPMTInstance(), 0);
    EXPECT_EQ(parser_.PMTInstance(0), nullptr);
    EXPECT_EQ(parser_.PMTInstanceOfIndex(0), nullptr);
}

TEST_F(PMTParserPlatformTest, ReadsBothLoops) {
    ASSERT_TRUE(
        FeedPmt(7, Body(0x1FFF, Mark(1),
                        Join({Stream(0x1B, 0x100, {}),
                              Stream(0x0B, 0x1FFE, Join({Mark(2), {0x52, 1, 9}, Mark(3)}))}))));
    EXPECT_EQ(parser_.ProgramNumber(), 7);
    TCPMTInstance* const pmt = parser_.PMTInstance(7);
    ASSERT_NE(pmt, nullptr);
    EXPECT_TRUE(pmt->IsValid());
    EXPECT_EQ(pmt->ProgramNumber(), 7);
    EXPECT_EQ(pmt->PCRPID(), 0x1FFF);
    EXPECT_EQ(pmt->NumOfDescriptors(0x80), 1);
    EXPECT_NE(pmt->Descriptor(0x80, 0), nullptr);
    EXPECT_EQ(pmt->Descriptor(0x80, 1), nullptr);
    EXPECT_THAT(Marks(*pmt), ElementsAre(1));
    ASSERT_EQ(pmt->NumOfElementary(), 2);
    EXPECT_EQ(pmt->PMTElementary(0)->StreamType(), 0x1B);
    EXPECT_EQ(pmt->PMTElementary(0)->ElementaryPID(), 0x100);
    EXPECT_EQ(pmt->PMTElementary(0)->NumOfDescriptors(), 0);
    TCPMTElementary& second = *pmt->PMTElementary(1);
    EXPECT_EQ(second.ElementaryPID(), 0x1FFE);
    EXPECT_EQ(second.NumOfDescriptors(0x80), 2);
    EXPECT_THAT(Marks(second), ElementsAre(2, 9, 3));
    const auto* const tag = dynamic_cast<TCDescStreamIdentifier*>(second.Descriptor(0x52, 0));
    ASSERT_NE(tag, nullptr);
    EXPECT_EQ(tag->ComponentTag(), 9);
    EXPECT_EQ(pmt->PMTElementary(2), nullptr);
}

TEST_F(PMTParserPlatformTest, KeepsProgramsApartInAscendingOrder) {
    FeedPmt(9, Body(1, {}, {}));
    FeedPmt(2, Body(2, {}, {}));
    EXPECT_EQ(parser_.ProgramNumber(), 2);
    ASSERT_EQ(parser_.NumOfPMTInstance(), 2);
    EXPECT_EQ(parser_.PMTInstanceOfIndex(0)->ProgramNumber(), 2);
    EXPECT_EQ(parser_.PMTInstanceOfIndex(1)->ProgramNumber(), 9);
    EXPECT_EQ(parser_.PMTInstanceOfIndex(2), nullptr);
    EXPECT_EQ(parser_.PMTInstance(9)->PCRPID(), 1);
}

TEST_F(PMTParserPlatformTest, ARepeatKeepsTheObjectsThatWereHandedOut) {
    FeedPmt(7, Body(1, {}, Stream(2, 0x100, {})), 3);
    TCPMTElementary* const stream = parser_.PMTInstance(7)->PMTElementary(0);
    EXPECT_TRUE(FeedPmt(7, Body(1, {}, Stream(2, 0x100, {})), 3));
    EXPECT_EQ(parser_.PMTInstance(7)->PMTElementary(0), stream);
}

TEST_F(PMTParserPlatformTest, AnyOtherVersionReplacesTheProgram) {
    for (const int version : {31, 0, 5, 4}) {
        EXPECT_TRUE(FeedPmt(7, Body(1, {}, Stream(2, 0x100 + static_cast<unsigned>(version), {})),
                            version));
        TCPMTInstance& pmt = *parser_.PMTInstance(7);
        EXPECT_EQ(pmt.VersionNumber(), version);
        ASSERT_EQ(pmt.NumOfElementary(), 1);
        EXPECT_EQ(pmt.PMTElementary(0)->ElementaryPID(), 0x100 + version);
    }
}

TEST_F(PMTParserPlatformTest, WhatItDoesNotTakeChangesNothing) {
    FeedPmt(7, Body(1, {}, Stream(2, 0x100, {})));
    EXPECT_FALSE(FeedPmt(8, Bytes{0xE0, 1, 0xF0})) << "too short for its fixed part";
    EXPECT_FALSE(Feed(parser_, {.table_id = 0x42, .body = Body(1, {}, {})}));
    EXPECT_FALSE(Feed(parser_, {.table_id = 0x02,
                                .table_id_extension = 8,
                                .current_next_indicator = false,
                                .body = Body(1, {}, {})}));
    EXPECT_FALSE(parser_.Parse(0, nullptr));
    EXPECT_EQ(parser_.ProgramNumber(), 7);
    EXPECT_EQ(parser_.NumOfPMTInstance(), 1);
}

TEST_F(PMTParserPlatformTest, CutsWhatOverrunsAndCountsIt) {
    // program_info_length reaches behind the end of the section: the descriptors that are there are
    // read, and there are no streams.
    EXPECT_TRUE(FeedPmt(1, Join({U16(0xE001), U16(0xF010), Mark(1)})));
    EXPECT_THAT(Marks(*parser_.PMTInstance(1)), ElementsAre(1));
    EXPECT_EQ(parser_.PMTInstance(1)->NumOfElementary(), 0);
    EXPECT_EQ(TakeOverruns(), 1u);
    // ES_info_length reaches behind the end of the section.
    EXPECT_TRUE(FeedPmt(2, Body(1, {}, Join({{0x02}, U16(0xE100), U16(0xF004), Mark(2)}))));
    ASSERT_EQ(parser_.PMTInstance(2)->NumOfElementary(), 1);
    EXPECT_THAT(Marks(*parser_.PMTInstance(2)->PMTElementary(0)), ElementsAre(2));
    EXPECT_EQ(TakeOverruns(), 1u);
    // The section ends inside a stream.
    EXPECT_TRUE(FeedPmt(3, Body(1, {}, Join({Stream(2, 0x100, {}), {0x02, 0xE1}}))));
    EXPECT_EQ(parser_.PMTInstance(3)->NumOfElementary(), 1);
    EXPECT_EQ(TakeOverruns(), 1u);
}

TEST_F(PMTParserPlatformTest, ResetForgetsEverything) {
    FeedPmt(7, Body(1, {}, {}));
    parser_.Reset();
    EXPECT_EQ(parser_.ProgramNumber(), 0);
    EXPECT_EQ(parser_.NumOfPMTInstance(), 0);
    EXPECT_EQ(parser_.PMTInstance(7), nullptr);
}

}  // namespace
