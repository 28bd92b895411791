#include "platform/TCDVBEITParser.h"

#include "platform/TCBaseDesc.h"
#include "tests/unit/table/TableFixture.h"

namespace {

Bytes EventBytes(unsigned id, unsigned statusAndCa, const Bytes& descriptors) {
    return Join({U16(id),
                 {0xE4, 0x89, 0x12, 0x45, 0x00},
                 {0x01, 0x30, 0x00},
                 U16(statusAndCa << 12 | static_cast<unsigned>(descriptors.size())),
                 descriptors});
}

SectionBytes Eit(unsigned sid, const Bytes& events, int number = 0, int last = 1) {
    return {.table_id = 0x4E,
            .table_id_extension = static_cast<uint16_t>(sid),
            .section_number = static_cast<uint8_t>(number),
            .last_section_number = static_cast<uint8_t>(last),
            .body = Join({U16(0x0421), U16(0xFF10), {static_cast<uint8_t>(last), 0x4E}, events})};
}

TEST(EITParserPlatform, AnInstanceExistsFromTheFirstSectionOn) {
    TCDVBEITParser parser(0x4E, TVSHandle(1, 0));
    EXPECT_EQ(parser.EITInstance(TCServiceKey(0xFF10, 0x0421, 7)), nullptr);
    EXPECT_TRUE(Feed(parser, Eit(7, {})));
    TCDVBEITInstance* const eit = parser.EITInstance(TCServiceKey(0xFF10, 0x0421, 7));
    ASSERT_NE(eit, nullptr);
    EXPECT_FALSE(eit->IsValid());
    EXPECT_EQ(eit->ServiceId(), 7);
    EXPECT_EQ(eit->TransportStreamId(), 0x0421);
    EXPECT_EQ(eit->OriginalNetworkId(), 0xFF10);
    EXPECT_TRUE(Feed(parser, Eit(7, {}, 1)));
    EXPECT_TRUE(eit->IsValid());
    EXPECT_EQ(parser.EITInstance(TCServiceKey(7, 0x0421, 0xFF10)), nullptr);
    EXPECT_EQ(parser.TableIdExt(), 7);
}

TEST(EITParserPlatform, KeepsACopyOfTheLastSectionTaken) {
    TCDVBEITParser parser(0x4E, TVSHandle(1, 0));
    EXPECT_EQ(parser.Section(), nullptr);
    EXPECT_EQ(parser.SectionLength(), 0);
    Bytes first = Eit(7, EventBytes(1, 0, {})).Build();
    const Bytes kept = first;
    EXPECT_TRUE(parser.Parse(0, first.data()));
    std::fill(first.begin(), first.end(), uint8_t{0});
    ASSERT_EQ(parser.SectionLength() + 3, static_cast<int>(kept.size()));
    EXPECT_EQ(Bytes(parser.Section(), parser.Section() + kept.size()), kept);
    EXPECT_FALSE(Feed(parser, {.table_id = 0x4F, .body = Bytes(6)}));
    EXPECT_EQ(Bytes(parser.Section(), parser.Section() + kept.size()), kept);
    const Bytes second = Eit(8, {}).Build();
    EXPECT_TRUE(Feed(parser, Eit(8, {})));
    EXPECT_EQ(Bytes(parser.Section(), parser.Section() + second.size()), second);
    EXPECT_TRUE(parser.Parse(0, Bytes(kept).data())) << "a repeat also counts as the last section";
    EXPECT_EQ(Bytes(parser.Section(), parser.Section() + kept.size()), kept);
    parser.Reset();
    EXPECT_EQ(parser.Section(), nullptr);
    EXPECT_EQ(parser.EITInstance(TCServiceKey(0xFF10, 0x0421, 7)), nullptr);
}

TEST(EITParserPlatform, RefusesASectionWithoutItsFixedPart) {
    TCDVBEITParser parser(0x4E, TVSHandle(1, 0));
    EXPECT_FALSE(Feed(parser, {.table_id = 0x4E, .body = Bytes(5)}));
    EXPECT_TRUE(Feed(parser, {.table_id = 0x4E, .body = Bytes(6)}));
}

TEST(EITItem, ReadsEvents) {
    TCDVBEITItem item(1, 2, 3, TVSHandle(1, 0));
    EXPECT_EQ(item.DVBEITItemEvent(0), nullptr);
    Bytes bytes =
        Eit(7, Join({EventBytes(0x0100, 0x9, Mark(1)), EventBytes(0x0101, 0, {})})).Build();
    ASSERT_TRUE(item.m_Parse(bytes.data(), static_cast<int>(bytes.size()), 0x4E));
    ASSERT_EQ(item.NumOfDVBEITItemEvent(), 2);
    const TCDVBEITItemEvent& first = *item.DVBEITItemEvent(0);
    EXPECT_EQ(first.EventId(), 0x0100);
    EXPECT_EQ(first.StartTime(), 0xE489124500u);
    EXPECT_EQ(first.Duration(), 0x013000u);
    EXPECT_EQ(first.RunningStatus(), 4);
    EXPECT_TRUE(first.FreeCAMode());
    EXPECT_EQ(first.DescriptorLoopLength(), 3);
    EXPECT_EQ(first.DescriptorLoop(), bytes.data() + 8 + 6 + 12) << "borrowed, not copied";
    EXPECT_EQ(item.DVBEITItemEvent(1)->DescriptorLoopLength(), 0);
    EXPECT_EQ(item.DVBEITItemEvent(2), nullptr);
}

TEST(EITItem, RefusesWhatIsNoSectionOfTheTable) {
    TCDVBEITItem item(1, 2, 3, TVSHandle(1, 0));
    Bytes bytes = Eit(7, EventBytes(1, 0, {})).Build();
    const int size = static_cast<int>(bytes.size());
    ASSERT_TRUE(item.m_Parse(bytes.data(), size, 0x4E));
    EXPECT_FALSE(item.m_Parse(bytes.data(), size, 0x4F));
    EXPECT_EQ(item.DVBEITItemEvent(0), nullptr);
    EXPECT_FALSE(item.m_Parse(bytes.data(), size - 1, 0x4E));
    EXPECT_FALSE(item.m_Parse(nullptr, 3, 0x4E));
    EXPECT_FALSE(item.m_Parse(bytes.data(), 0, 0x4E));
    EXPECT_FALSE(item.m_Parse(bytes.data(), -1, 0x4E));
}

TEST(EITItem, CutsWhatOverruns) {
    TCDVBEITItem item(1, 2, 3, TVSHandle(1, 0));
    Bytes event = EventBytes(1, 0, Mark(1));
    event[11] = 9;  // descriptors_loop_length
    Bytes bytes = Eit(7, event).Build();
    ASSERT_TRUE(item.m_Parse(bytes.data(), static_cast<int>(bytes.size()), 0x4E));
    ASSERT_EQ(item.NumOfDVBEITItemEvent(), 1);
    EXPECT_EQ(item.DVBEITItemEvent(0)->DescriptorLoopLength(), 3);
    EXPECT_EQ(TakeOverruns(), 1u);
}

}  // namespace
