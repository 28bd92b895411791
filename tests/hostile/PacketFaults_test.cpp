// Packets that are lost, repeated, out of order or damaged. The clients of the SI layer must see
// only missing sections.

#include "tests/hostile/HostileTest.h"

namespace testsupport {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Pair;

using PacketFaultsTest = HostileTest;

TEST_F(PacketFaultsTest, ADroppedPacketCostsItsSection) {
    Suffer({"drop@7"});
    Subscribe(inbox_);
    const SectionList sections = Sections(20);
    Write(sections).Play();
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(Without(sections, 7)));
    EXPECT_THAT(Faults(), ElementsAre(Pair("drop", 1)));
    EXPECT_EQ(Count(Counter::kContinuityGaps), 1u);
    EXPECT_THAT(TakeTrouble(), IsEmpty());
}

TEST_F(PacketFaultsTest, PacketsDroppedAtRandomCostTheirSectionsOnly) {
    Suffer({"drop=1/10"});
    Subscribe(inbox_);
    const SectionList sections = Sections(1000);
    Write(sections).Play();
    const SectionList received = inbox_.Take();
    EXPECT_THAT(FaultCount(), testing::AllOf(testing::Gt(50u), testing::Lt(150u)));
    EXPECT_EQ(received.size(), sections.size() - FaultCount());
    EXPECT_TRUE(AreSomeOf(received, sections));
    EXPECT_THAT(TakeTrouble(), IsEmpty());
}

TEST_F(PacketFaultsTest, ADropOnOnePidDoesNotTouchAnother) {
    Suffer({"drop=1/1:pid=0x0100"});
    Subscribe(inbox_);
    Subscribe(other_, kOtherPid, kOtherTable);
    const SectionList sections = Sections(50), others = Sections(50, kOtherTable);
    WriteInTurn(sections, others).Play();
    EXPECT_THAT(inbox_.Take(), IsEmpty());
    EXPECT_THAT(other_.Take(), ElementsAreArray(others));
    EXPECT_THAT(Faults(), ElementsAre(Pair("drop", 50)));
    EXPECT_THAT(TakeTrouble(), IsEmpty());
}

TEST_F(PacketFaultsTest, ASectionInPacketsSentTwiceArrivesOnce) {
    Suffer({"duplicate=1/3"});
    Subscribe(inbox_);
    const SectionList sections = Sections(300, kTable, 400);
    Write(sections).Play();
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(sections));
    EXPECT_THAT(FaultCount(), testing::AllOf(testing::Gt(200u), testing::Lt(400u)));
    EXPECT_EQ(Count(Counter::kDuplicatePackets), FaultCount());
    EXPECT_EQ(Count(Counter::kPackets), 900 + FaultCount());
    EXPECT_THAT(TakeTrouble(), IsEmpty());
}

TEST_F(PacketFaultsTest, APacketBehindThoseOfOtherPidsCostsNothing) {
    Suffer({"reorder@0,10,20:by=1"});
    Subscribe(inbox_);
    Subscribe(other_, kOtherPid, kOtherTable);
    const SectionList sections = Sections(20), others = Sections(20, kOtherTable);
    WriteInTurn(sections, others).Play();
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(sections));
    EXPECT_THAT(other_.Take(), ElementsAreArray(others));
    EXPECT_THAT(Faults(), ElementsAre(Pair("reorder", 3)));
    EXPECT_EQ(Count(Counter::kContinuityGaps), 0u);
    EXPECT_THAT(TakeTrouble(), IsEmpty());
}

TEST_F(PacketFaultsTest, APacketBehindLaterOnesOfItsPidCostsTheSectionThatItTears) {
    Suffer({"reorder@4:pid=0x0100"});
    Subscribe(inbox_);
    const SectionList sections = Sections(10, kTable, 400);  // packets 3 to 5 hold section 1
    Write(sections).Play();
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(Without(sections, 1)));
    EXPECT_THAT(Faults(), ElementsAre(Pair("reorder", 1)));
    EXPECT_THAT(TakeTrouble(), IsEmpty());
}

TEST_F(PacketFaultsTest, WholeSectionsInAnotherOrderArriveInThatOrder) {
    Suffer({"reorder@2:by=3:pid=0x0100"});
    Subscribe(inbox_);
    const SectionList sections = Sections(8);
    Write(sections).Play();
    SectionList reordered = sections;
    std::rotate(reordered.begin() + 2, reordered.begin() + 3, reordered.begin() + 6);
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(reordered));
    EXPECT_THAT(Faults(), ElementsAre(Pair("reorder", 1)));
    EXPECT_THAT(TakeTrouble(), IsEmpty());
}

TEST_F(PacketFaultsTest, ADamagedSectionNeverReachesItsObserver) {
    Suffer({"corrupt=1/10:byte=100"});
    Subscribe(inbox_);
    const SectionList sections = Sections(1000);
    Write(sections).Play();
    const SectionList received = inbox_.Take();
    EXPECT_THAT(FaultCount(), testing::AllOf(testing::Gt(50u), testing::Lt(150u)));
    EXPECT_EQ(received.size(), sections.size() - FaultCount());
    EXPECT_TRUE(AreSomeOf(received, sections));
    EXPECT_EQ(Count(Counter::kCrcErrors), FaultCount());
    EXPECT_THAT(TakeTrouble(), IsEmpty());
}

TEST_F(PacketFaultsTest, ABitInvertedAnywhereBehindTheHeaderCostsItsSectionOnly) {
    // This seed damages pointer_field, table_id and both bytes of section_length too, but never
    // section_syntax_indicator. Without that bit a section has no CRC_32 and would be delivered
    // damaged.
    constexpr uint64_t kSeed = 24;
    Suffer({"corrupt=1/10"}, 255, kSeed);
    Subscribe(inbox_);
    const SectionList sections = Sections(1000);
    Write(sections).Play();
    const SectionList received = inbox_.Take();
    EXPECT_THAT(Faults(), ElementsAre(Pair("corrupt", testing::Gt(50u))));
    EXPECT_EQ(received.size(), sections.size() - FaultCount());
    EXPECT_TRUE(AreSomeOf(received, sections));
    // A damaged pointer_field makes one section seem to continue behind its packet; a damaged
    // section_length does so for two.
    EXPECT_EQ(Count(Counter::kTruncatedSections), 3u);
    EXPECT_EQ(Count(Counter::kCrcErrors), FaultCount() - 3);
    EXPECT_THAT(TakeTrouble(), IsEmpty());
}

TEST_F(PacketFaultsTest, ASubscriberMadeBeforeTheStartSuffersThemToo) {
    Subscribe(inbox_);
    Suffer({"drop@0", "silent@0:for=2"});
    const SectionList sections = Sections(10);
    Write(sections).Play();
    EXPECT_THAT(inbox_.Take(), ElementsAreArray(Without(sections, 0, 3)));
    EXPECT_THAT(Faults(), ElementsAre(Pair("drop", 1), Pair("silent", 2)));
}

TEST_F(PacketFaultsTest, TheSameSeedInjuresTheSamePacketsAndAnotherOneOthers) {
    const SectionList sections = Sections(500);
    const auto playWith = [&](uint64_t seed) {
        Suffer({"drop=1/5", "cut=1/7", "delay=1/9:by=4", "silent=1/50:for=3"}, 255, seed);
        Write(sections).Play();
        platform_.Stop();
        return inbox_.Take();
    };
    Subscribe(inbox_);
    const SectionList first = playWith(1);
    EXPECT_EQ(playWith(1), first);
    EXPECT_NE(playWith(2), first);
    EXPECT_LT(first.size(), sections.size());
}

TEST_F(PacketFaultsTest, AReceiverDoesNotStartWithAFaultItDoesNotUnderstand) {
    tvservice::Config config;
    config.faults = {"drop@7", "delay@1:by=0"};
    std::string error;
    EXPECT_FALSE(platform_.Start(config, error));
    EXPECT_EQ(error, "fault \"delay@1:by=0\", offset 11: by is a number from 1 to 1000");
}

}  // namespace
}  // namespace testsupport
