#include "platform/TCDVBSDTParser.h"

#include "platform/TCBaseDesc.h"
#include "tests/unit/table/TableFixture.h"

namespace {

Bytes Service(unsigned id, uint8_t eitFlags, unsigned statusAndCa, const Bytes& descriptors) {
    return Join({U16(id),
                 {static_cast<uint8_t>(0xFC | eitFlags)},
                 U16(statusAndCa << 12 | static_cast<unsigned>(descriptors.size())),
                 descriptors});
}

class SDTParserPlatformTest : public testing::Test {
  protected:
    bool FeedSdt(unsigned onid, unsigned tsid, const Bytes& services, int number = 0, int last = 0,
                 int version = 0) {
        return Feed(parser_, {.table_id = 0x42,
                              .table_id_extension = static_cast<uint16_t>(tsid),
                              .version_number = static_cast<uint8_t>(version),
                              .section_number = static_cast<uint8_t>(number),
                              .last_section_number = static_cast<uint8_t>(last),
                              .body = Join({U16(onid), {0xFF}, services})});
    }
    TCDVBSDTParser parser_{0x42, TVSHandle(1, 0)};
};

TEST_F(SDTParserPlatformTest, ReadsServices) {
    ASSERT_TRUE(
        FeedSdt(0xFF10, 0x0421, Join({Service(0x0407, 3, 0x9, Mark(1)), Service(2, 0, 0, {})})));
    TCDVBSDTInstance* const sdt = parser_.DVBSDTInstance(0xFF10, 0x0421);
    ASSERT_NE(sdt, nullptr);
    EXPECT_EQ(parser_.DVBSDTFirstInstance(), sdt);
    EXPECT_TRUE(sdt->IsValid());
    EXPECT_EQ(sdt->OriginalNetworkId(), 0xFF10);
    EXPECT_EQ(sdt->TransportStreamId(), 0x0421);
    ASSERT_EQ(sdt->NumOfDVBSDTItemService(), 2);
    TCDVBSDTItemService& first = *sdt->DVBSDTItemServiceOfIndex(0);
    EXPECT_EQ(first.ServiceId(), 0x0407);
    EXPECT_TRUE(first.EITScheduleFlag());
    EXPECT_TRUE(first.EITPresentFollowingFlag());
    EXPECT_EQ(first.RunningStatus(), 4);
    EXPECT_TRUE(first.FreeCAMode());
    EXPECT_THAT(Marks(first), ElementsAre(1));
    EXPECT_EQ(first.DescriptorByIndex(1), nullptr);
    TCDVBSDTItemService& second = *sdt->DVBSDTItemServiceBySID(2);
    EXPECT_EQ(&second, sdt->DVBSDTItemServiceOfIndex(1));
    EXPECT_FALSE(second.EITScheduleFlag() || second.EITPresentFollowingFlag() ||
                 second.FreeCAMode());
    EXPECT_EQ(second.RunningStatus(), 0);
    EXPECT_EQ(sdt->DVBSDTItemServiceOfIndex(2), nullptr);
    EXPECT_EQ(sdt->DVBSDTItemServiceBySID(3), nullptr);
}

TEST_F(SDTParserPlatformTest, SubTablesAreKnownByBothIds) {
    EXPECT_EQ(parser_.DVBSDTFirstInstance(), nullptr);
    FeedSdt(2, 1, Service(20, 0, 0, {}));
    FeedSdt(1, 1, Service(10, 0, 0, {}));
    FeedSdt(2, 9, Service(30, 0, 0, {}));
    EXPECT_EQ(parser_.DVBSDTFirstInstance(), parser_.DVBSDTInstance(2, 1)) << "begun first";
    EXPECT_EQ(parser_.DVBSDTInstance(1, 1)->DVBSDTItemServiceOfIndex(0)->ServiceId(), 10);
    EXPECT_EQ(parser_.DVBSDTInstance(2, 9)->DVBSDTItemServiceOfIndex(0)->ServiceId(), 30);
    EXPECT_EQ(parser_.DVBSDTInstance(9, 2), nullptr);
    EXPECT_EQ(parser_.TableIdExt(), 9);
}

TEST_F(SDTParserPlatformTest, SectionsJoinInTheirOrderAndOneCanBeReplaced) {
    FeedSdt(1, 1, Service(2, 0, 0, Mark(2)), 1, 2);
    FeedSdt(1, 1, Service(1, 0, 0, Mark(1)), 0, 2);
    TCDVBSDTInstance& sdt = *parser_.DVBSDTFirstInstance();
    EXPECT_FALSE(sdt.IsValid());
    FeedSdt(1, 1, Service(3, 0, 0, Mark(3)), 2, 2);
    EXPECT_TRUE(sdt.IsValid());
    EXPECT_TRUE(FeedSdt(1, 1, Service(7, 0, 0, Mark(7)), 1, 2)) << "other bytes, same version";
    ASSERT_EQ(sdt.NumOfDVBSDTItemService(), 3);
    EXPECT_EQ(sdt.DVBSDTItemServiceOfIndex(0)->ServiceId(), 1);
    EXPECT_EQ(sdt.DVBSDTItemServiceOfIndex(1)->ServiceId(), 7);
    EXPECT_EQ(sdt.DVBSDTItemServiceOfIndex(2)->ServiceId(), 3);
    EXPECT_EQ(sdt.DVBSDTItemServiceBySID(2), nullptr);
    EXPECT_TRUE(sdt.IsValid());
}

TEST_F(SDTParserPlatformTest, TheLastGoodVersionServesUntilTheNextBegins) {
    FeedSdt(1, 1, Service(1, 0, 0, {}), 0, 0, 7);
    TCDVBSDTInstance& sdt = *parser_.DVBSDTFirstInstance();
    EXPECT_FALSE(Feed(parser_, {.table_id = 0x42,
                                .table_id_extension = 1,
                                .version_number = 8,
                                .current_next_indicator = false,
                                .body = Join({U16(1), {0xFF}})}));
    EXPECT_EQ(sdt.VersionNumber(), 7);
    EXPECT_EQ(sdt.NumOfDVBSDTItemService(), 1);
    FeedSdt(1, 1, {}, 0, 1, 8);
    EXPECT_EQ(sdt.VersionNumber(), 8);
    EXPECT_FALSE(sdt.IsValid());
    EXPECT_EQ(sdt.NumOfDVBSDTItemService(), 0);
}

TEST_F(SDTParserPlatformTest, TakesItsTableIdOnly) {
    TCDVBSDTParser other(0x46, TVSHandle(1, 0));
    const SectionBytes section{.table_id = 0x46, .body = {0, 1, 0xFF}};
    EXPECT_TRUE(Feed(other, section));
    EXPECT_FALSE(Feed(parser_, section));
    EXPECT_FALSE(Feed(parser_, {.table_id = 0x42, .body = {0, 1}})) << "too short";
}

TEST_F(SDTParserPlatformTest, CutsWhatOverrunsAndCountsIt) {
    EXPECT_TRUE(FeedSdt(1, 1, Join({U16(5), {0xFC}, U16(9), Mark(1)})));
    TCDVBSDTInstance& sdt = *parser_.DVBSDTFirstInstance();
    ASSERT_EQ(sdt.NumOfDVBSDTItemService(), 1);
    EXPECT_THAT(Marks(*sdt.DVBSDTItemServiceOfIndex(0)), ElementsAre(1));
    EXPECT_EQ(TakeOverruns(), 1u);
}

TEST_F(SDTParserPlatformTest, ResetForgetsEverything) {
    FeedSdt(1, 1, {});
    parser_.Reset();
    EXPECT_EQ(parser_.DVBSDTFirstInstance(), nullptr);
    EXPECT_EQ(parser_.TableIdExt(), 0);
}

TEST_F(SDTParserPlatformTest, Takes256Sections) {
    for (unsigned number = 256; number-- > 0;) {
        EXPECT_TRUE(FeedSdt(1, 1, Service(number, 0, 0, {}), static_cast<int>(number), 255));
        EXPECT_EQ(parser_.DVBSDTFirstInstance()->IsValid(), number == 0);
    }
    EXPECT_EQ(parser_.DVBSDTFirstInstance()->NumOfDVBSDTItemService(), 256);
    EXPECT_EQ(parser_.DVBSDTFirstInstance()->DVBSDTItemServiceOfIndex(255)->ServiceId(), 255);
}

}  // namespace
