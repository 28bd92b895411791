#include "platform/TCDVBBATParser.h"

#include <list>

#include "platform/TCBaseDesc.h"
#include "tests/unit/table/TableFixture.h"

namespace {

SectionBytes Bat(unsigned id, const Bytes& loop, int number = 0, int last = 0) {
    return {.table_id = 0x4A,
            .table_id_extension = static_cast<uint16_t>(id),
            .version_number = 31,
            .section_number = static_cast<uint8_t>(number),
            .last_section_number = static_cast<uint8_t>(last),
            .body = Join({Counted(loop), Counted(Join({U16(1), U16(2), Counted(Mark(9))}))})};
}

TEST(BATParserPlatform, ReadsBouquets) {
    TCDVBBATParser parser(TVSHandle(1, 0));
    EXPECT_TRUE(Feed(parser, Bat(0xF101, Mark(1))));
    TCDVBBATInstance* const bat = parser.GetInstance(0xF101);
    ASSERT_NE(bat, nullptr);
    EXPECT_TRUE(bat->IsValid());
    EXPECT_EQ(bat->BouquetId(), 0xF101);
    EXPECT_EQ(bat->TableAttribute(), 31);
    EXPECT_THAT(Marks(*bat), ElementsAre(1));
    EXPECT_EQ(bat->NumOfDescriptors(0x80), 1);
    EXPECT_EQ(bat->Descriptor(0x80, 0), bat->DescriptorByIndex(0));
    ASSERT_EQ(bat->NumOfDVBItemMux(), 1);
    EXPECT_EQ(bat->DVBItemMuxOfIndex(0)->OriginalNetworkId(), 2);
    EXPECT_THAT(Marks(*bat->DVBItemMuxOfIndex(0)), ElementsAre(9));
}

TEST(BATParserPlatform, AllAreReceivedWhenEveryOneBegunIsWhole) {
    TCDVBBATParser parser(TVSHandle(1, 0));
    EXPECT_FALSE(parser.AllSubtablesReceived()) << "no sub-table is known";
    Feed(parser, Bat(2, {}, 0, 1));
    EXPECT_FALSE(parser.AllSubtablesReceived());
    Feed(parser, Bat(1, {}));
    EXPECT_FALSE(parser.AllSubtablesReceived());
    Feed(parser, Bat(2, {}, 1, 1));
    EXPECT_TRUE(parser.AllSubtablesReceived());
    std::list<unsigned short> ids{5};
    parser.BouquetIds(ids);
    EXPECT_THAT(ids, ElementsAre(5, 1, 2));
    EXPECT_EQ(parser.TableIdExt(), 2);
    parser.Reset();
    EXPECT_FALSE(parser.AllSubtablesReceived());
    EXPECT_EQ(parser.TableIdExt(), 0);
    EXPECT_EQ(parser.GetInstance(2), nullptr);
}

TEST(BATParserPlatform, TakesBatsOnly) {
    TCDVBBATParser parser(TVSHandle(1, 0));
    EXPECT_FALSE(Feed(parser, {.table_id = 0x40, .body = {0xF0, 0, 0xF0, 0}}));
    EXPECT_FALSE(Feed(parser, {.table_id = 0x4A, .body = Bytes(3)}));
    EXPECT_FALSE(parser.AllSubtablesReceived());
}

}  // namespace
