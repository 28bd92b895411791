#include "platform/TCDVBNITParser.h"

#include <list>

#include "platform/TCBaseDesc.h"
#include "platform/TCDescT2SystemDelivery.h"
#include "tests/unit/table/TableFixture.h"

namespace {

Bytes Mux(unsigned tsid, unsigned onid, const Bytes& descriptors) {
    return Join({U16(tsid), U16(onid), Counted(descriptors)});
}

class NITParserPlatformTest : public testing::Test {
  protected:
    bool FeedNit(unsigned id, const Bytes& loop, const Bytes& muxes, int number = 0, int last = 0) {
        return Feed(parser_, {.table_id = 0x40,
                              .table_id_extension = static_cast<uint16_t>(id),
                              .version_number = 5,
                              .section_number = static_cast<uint8_t>(number),
                              .last_section_number = static_cast<uint8_t>(last),
                              .body = Join({Counted(loop), Counted(muxes)})});
    }
    TCDVBNITParser parser_{0x40, TVSHandle(1, 0)};
};

TEST_F(NITParserPlatformTest, ReadsBothLoops) {
    ASSERT_TRUE(
        FeedNit(0x20FA, Join({Mark(1), {0x40, 1, 'N'}}),
                Join({Mux(1, 0xFF10, Join({Mark(2), {0x7F, 4, 0x04, 9, 0, 1}})), Mux(2, 3, {})})));
    TCDVBNITInstance* const nit = parser_.GetInstance(0x20FA);
    ASSERT_NE(nit, nullptr);
    EXPECT_TRUE(nit->IsValid());
    EXPECT_EQ(nit->NetworkId(), 0x20FA);
    EXPECT_EQ(nit->NitAttribute(), 0x40);
    EXPECT_EQ(nit->TableAttribute(), 5);
    EXPECT_EQ(nit->NumOfDescriptors(), 2);
    EXPECT_EQ(nit->NumOfDescriptors(0x40), 1);
    EXPECT_EQ(nit->Descriptor(0x40, 0), nit->DescriptorByIndex(1));
    EXPECT_EQ(nit->DescriptorByIndex(2), nullptr);
    ASSERT_EQ(nit->NumOfDVBItemMux(), 2);
    TCDVBItemMux& mux = *nit->DVBItemMuxOfIndex(0);
    EXPECT_EQ(mux.TransportStreamId(), 1);
    EXPECT_EQ(mux.OriginalNetworkId(), 0xFF10);
    ASSERT_EQ(mux.NumOfDescriptors(), 2);
    const auto* const t2 = dynamic_cast<TCDescT2SystemDelivery*>(mux.DescriptorByIndex(1));
    ASSERT_NE(t2, nullptr);
    EXPECT_EQ(t2->PLPId(), 9);
    EXPECT_EQ(mux.DescriptorByIndex(2), nullptr);
    EXPECT_EQ(nit->DVBItemMuxOfIndex(1)->NumOfDescriptors(), 0);
    EXPECT_EQ(nit->DVBItemMuxOfIndex(2), nullptr);
}

TEST_F(NITParserPlatformTest, AppendsTheIdsOfNetworksBegun) {
    FeedNit(9, {}, {}, 0, 3);
    FeedNit(4, {}, {});
    std::list<unsigned short> ids{77};
    parser_.NetworkIds(ids);
    EXPECT_THAT(ids, ElementsAre(77, 4, 9));
    EXPECT_FALSE(parser_.GetInstance(9)->IsValid());
    EXPECT_EQ(parser_.GetInstance(5), nullptr);
}

TEST_F(NITParserPlatformTest, FirstLoopsOfItsSectionsFollowEachOtherRepetitionsIncluded) {
    FeedNit(1, Join({Mark(1), Mark(2)}), Mux(2, 1, {}), 1, 1);
    FeedNit(1, Join({Mark(1), Mark(3)}), Mux(1, 1, {}), 0, 1);
    TCDVBNITInstance& nit = *parser_.GetInstance(1);
    EXPECT_THAT(Marks(nit), ElementsAre(1, 3, 1, 2));
    EXPECT_EQ(nit.DVBItemMuxOfIndex(0)->TransportStreamId(), 1);
    EXPECT_EQ(nit.DVBItemMuxOfIndex(1)->TransportStreamId(), 2);
}

TEST_F(NITParserPlatformTest, OthersHaveAnotherTableId) {
    TCDVBNITParser other(0x41, TVSHandle(1, 0));
    const SectionBytes section{
        .table_id = 0x41, .table_id_extension = 3, .body = {0xF0, 0, 0xF0, 0}};
    EXPECT_TRUE(Feed(other, section));
    EXPECT_EQ(other.GetInstance(3)->NitAttribute(), 0x41);
    EXPECT_FALSE(Feed(parser_, section));
}

TEST_F(NITParserPlatformTest, CutsWhatOverrunsAndCountsIt) {
    // network_descriptors_length covers the rest of the section, so there is no transport stream
    // loop.
    EXPECT_TRUE(
        Feed(parser_, {.table_id = 0x40, .body = Join({U16(0xF005), Mark(1), U16(0xF000)})}));
    EXPECT_EQ(parser_.GetInstance(1)->NumOfDescriptors(), 2);
    EXPECT_EQ(parser_.GetInstance(1)->NumOfDVBItemMux(), 0);
    EXPECT_GE(TakeOverruns(), 1u);
    // transport_stream_loop_length reaches behind the end of the section.
    EXPECT_TRUE(Feed(parser_, {.table_id = 0x40,
                               .table_id_extension = 2,
                               .body = Join({Counted({}), U16(0xF0FF), Mux(1, 1, Mark(4))})}));
    EXPECT_EQ(parser_.GetInstance(2)->NumOfDVBItemMux(), 1);
    EXPECT_EQ(TakeOverruns(), 1u);
    EXPECT_FALSE(Feed(parser_, {.table_id = 0x40, .table_id_extension = 3, .body = Bytes(3)}));
    EXPECT_EQ(parser_.GetInstance(3), nullptr);
}

TEST_F(NITParserPlatformTest, StopsAtTheEndOfTheTransportStreamLoop) {
    EXPECT_TRUE(Feed(
        parser_,
        {.table_id = 0x40, .body = Join({Counted({}), Counted(Mux(1, 1, {})), Mux(2, 1, {})})}));
    EXPECT_EQ(parser_.GetInstance(1)->NumOfDVBItemMux(), 1);
    EXPECT_EQ(TakeOverruns(), 0u);
}

}  // namespace
