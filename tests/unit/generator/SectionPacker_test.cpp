#include "generator/SectionPacker.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace generator {
namespace {

// The content of a packet, read without the code under test.
struct Payload {
    bool starts;
    Bytes bytes;  // pointer_field included
};

Payload Read(const Packet& packet) {
    const std::size_t at = (packet[3] & 0x20) != 0 ? 5u + packet[4] : 4u;
    return {(packet[1] & 0x40) != 0,
            Bytes(packet.begin() + static_cast<std::ptrdiff_t>(at), packet.end())};
}

// Stands for a section: `size` times the same byte.
Bytes Fill(std::size_t size, std::uint8_t fill) {
    return Bytes(size, fill);
}

TEST(SectionPackerTest, ASmallSectionIsFilledUpWithStuffing) {
    const PacketList packets = PackSections(0x0011, {Fill(10, 1)});
    ASSERT_EQ(packets.size(), 1u);
    EXPECT_EQ(PidOf(packets[0]), 0x0011);
    const Payload payload = Read(packets[0]);
    EXPECT_TRUE(payload.starts);
    EXPECT_EQ(payload.bytes, Concat({{0}, Fill(10, 1), Fill(173, 0xFF)}));
}

TEST(SectionPackerTest, EachSectionBeginsAPacketUnlessToldOtherwise) {
    const PacketList packets = PackSections(0x0011, {Fill(200, 1), Fill(10, 2)});
    ASSERT_EQ(packets.size(), 3u);
    EXPECT_EQ(Read(packets[0]).bytes, Concat({{0}, Fill(183, 1)}));
    EXPECT_FALSE(Read(packets[1]).starts);
    EXPECT_EQ(Read(packets[1]).bytes, Concat({Fill(17, 1), Fill(167, 0xFF)}));
    EXPECT_TRUE(Read(packets[2]).starts);
    EXPECT_EQ(Read(packets[2]).bytes, Concat({{0}, Fill(10, 2), Fill(173, 0xFF)}));
}

TEST(SectionPackerTest, BackToBackSectionsFollowBehindThePointer) {
    const PacketList packets =
        PackSections(0x0011, {Fill(200, 1), Fill(10, 2), Fill(20, 3)}, {.back_to_back = true});
    ASSERT_EQ(packets.size(), 2u);
    EXPECT_EQ(Read(packets[0]).bytes, Concat({{0}, Fill(183, 1)}));
    EXPECT_TRUE(Read(packets[1]).starts);
    EXPECT_EQ(Read(packets[1]).bytes,
              Concat({{17}, Fill(17, 1), Fill(10, 2), Fill(20, 3), Fill(136, 0xFF)}));
}

TEST(SectionPackerTest, ASectionMayEndInTheLastByteOfAPacket) {
    const PacketList packets =
        PackSections(0x0011, {Fill(183, 1), Fill(5, 2)}, {.back_to_back = true});
    ASSERT_EQ(packets.size(), 2u);
    EXPECT_EQ(Read(packets[0]).bytes, Concat({{0}, Fill(183, 1)}));
    EXPECT_TRUE(Read(packets[1]).starts);
    EXPECT_EQ(Read(packets[1]).bytes[0], 0);
}

TEST(SectionPackerTest, ASectionMayBeginInTheLastByteOfAPacketThatHasAPointer) {
    const PacketList packets =
        PackSections(0x0011, {Fill(182, 1), Fill(5, 2)}, {.back_to_back = true});
    ASSERT_EQ(packets.size(), 2u);
    EXPECT_EQ(Read(packets[0]).bytes, Concat({{0}, Fill(182, 1), Fill(1, 2)}));
    EXPECT_FALSE(Read(packets[1]).starts);
    EXPECT_EQ(Read(packets[1]).bytes, Concat({Fill(4, 2), Fill(180, 0xFF)}));
}

TEST(SectionPackerTest, ASectionThatWouldNeedThePointersByteWaitsForTheNextPacket) {
    // The first packet takes 183 bytes and the second 183 more. The last byte of the second is then
    // free, but a new section there would need it for pointer_field.
    const PacketList packets =
        PackSections(0x0011, {Fill(366, 1), Fill(5, 2)}, {.back_to_back = true});
    ASSERT_EQ(packets.size(), 3u);
    EXPECT_FALSE(Read(packets[1]).starts);
    EXPECT_EQ(Read(packets[1]).bytes, Fill(183, 1));
    EXPECT_TRUE(Read(packets[2]).starts);
    EXPECT_EQ(Read(packets[2]).bytes, Concat({{0}, Fill(5, 2), Fill(178, 0xFF)}));
}

TEST(SectionPackerTest, SmallPayloadsSplitEvenAHeader) {
    const PacketList packets =
        PackSections(0x0011, {{1, 2, 3, 4, 5}}, {.back_to_back = true, .payload_size = 2});
    ASSERT_EQ(packets.size(), 3u);
    EXPECT_EQ(Read(packets[0]).bytes, (Bytes{0, 1}));
    EXPECT_EQ(Read(packets[1]).bytes, (Bytes{2, 3}));
    EXPECT_EQ(Read(packets[2]).bytes, (Bytes{4, 5}));
}

TEST(SectionPackerTest, TheEndOfAnUnseenSectionStandsBeforeTheFirst) {
    const PacketList packets =
        PackSections(0x0011, {Fill(5, 1)}, {.back_to_back = true, .before_first = {7, 8}});
    ASSERT_EQ(packets.size(), 1u);
    EXPECT_EQ(Read(packets[0]).bytes, Concat({{2, 7, 8}, Fill(5, 1), Fill(176, 0xFF)}));
}

TEST(SectionPackerTest, AnAnnouncedDiscontinuityStandsInTheFirstPacketOnly) {
    const PacketList packets =
        PackSections(0x0011, {Fill(300, 1)}, {.discontinuity_indicator = true});
    ASSERT_EQ(packets.size(), 2u);
    EXPECT_EQ(packets[0][3] & 0x30, 0x30);
    EXPECT_EQ(packets[0][4], 1);
    EXPECT_EQ(packets[0][5], 0x80);
    EXPECT_EQ(Read(packets[0]).bytes, Concat({{0}, Fill(181, 1)}));
    EXPECT_EQ(packets[1][5] & 0x80, 0);
    EXPECT_EQ(Read(packets[1]).bytes, Concat({Fill(119, 1), Fill(63, 0xFF)}));
}

TEST(SectionPackerTest, ScramblingIsToldInEveryPacket) {
    for (const Packet& packet :
         PackSections(0x0011, {Fill(300, 1)}, {.transport_scrambling_control = 3})) {
        EXPECT_EQ(packet[3] >> 6, 3);
    }
}

TEST(SectionPackerTest, PackingsThatCannotBeAreRefused) {
    EXPECT_THROW(PackSections(1, {}, {.payload_size = 1}), std::logic_error);
    EXPECT_THROW(PackSections(1, {}, {.payload_size = 185}), std::logic_error);
    EXPECT_THROW(PackSections(1, {}, {.payload_size = 10, .before_first = Bytes(9)}),
                 std::logic_error);
}

TEST(SectionPackerTest, AHeadOfASectionHasNotOneByteMore) {
    const PacketList packets = PackSectionHead(0x0012, Fill(500, 1), 200);
    ASSERT_EQ(packets.size(), 2u);
    EXPECT_EQ(Read(packets[0]).bytes, Concat({{0}, Fill(183, 1)}));
    EXPECT_EQ(Read(packets[1]).bytes, Fill(17, 1));
    EXPECT_FALSE(Read(packets[1]).starts);
    EXPECT_EQ(Read(PackSectionHead(0x0012, Fill(5, 1), 9).front()).bytes,
              Concat({{0}, Fill(5, 1)}));
}

}  // namespace
}  // namespace generator
