#include "generator/Packet.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace generator {
namespace {

Bytes Head(const Packet& packet, std::size_t size) {
    return Bytes(packet.begin(), packet.begin() + static_cast<std::ptrdiff_t>(size));
}

Bytes Tail(const Packet& packet, std::size_t size) {
    return Bytes(packet.end() - static_cast<std::ptrdiff_t>(size), packet.end());
}

TEST(PacketTest, AFullPayloadStandsDirectlyBehindTheHeader) {
    const Packet packet = MakePacket({.pid = 0x1ABC,
                                      .transport_error_indicator = true,
                                      .payload_unit_start_indicator = true,
                                      .transport_scrambling_control = 2,
                                      .continuity_counter = 9},
                                     Bytes(184, 0xAA));
    EXPECT_EQ(Head(packet, 5), (Bytes{0x47, 0xDA, 0xBC, 0x99, 0xAA}));
    EXPECT_EQ(PidOf(packet), 0x1ABC);
}

TEST(PacketTest, PriorityHasABitOfItsOwn) {
    EXPECT_EQ(MakePacket({.pid = 0, .transport_priority = true}, Bytes(184))[1], 0x20);
}

TEST(PacketTest, AShorterPayloadIsMovedToTheEndByStuffing) {
    const Packet packet = MakePacket({.pid = 1}, {1, 2, 3});
    EXPECT_EQ(Head(packet, 7), (Bytes{0x47, 0x00, 0x01, 0x30, 180, 0x00, 0xFF}));
    EXPECT_EQ(Tail(packet, 4), (Bytes{0xFF, 1, 2, 3}));
}

TEST(PacketTest, OneByteOfStuffingIsAnAdaptationFieldOfLengthZero) {
    EXPECT_EQ(Head(MakePacket({.pid = 1}, Bytes(183, 0xAA)), 6),
              (Bytes{0x47, 0x00, 0x01, 0x30, 0x00, 0xAA}));
    EXPECT_EQ(Head(MakePacket({.pid = 1}, Bytes(182, 0xAA)), 7),
              (Bytes{0x47, 0x00, 0x01, 0x30, 0x01, 0x00, 0xAA}));
}

TEST(PacketTest, WithoutPayloadTheAdaptationFieldIsAll) {
    const Packet packet =
        MakePacket({.pid = 1,
                    .adaptation_field = AdaptationField{.discontinuity_indicator = true,
                                                        .random_access_indicator = true}},
                   {});
    EXPECT_EQ(Head(packet, 7), (Bytes{0x47, 0x00, 0x01, 0x20, 183, 0xC0, 0xFF}));
}

TEST(PacketTest, AClockReferenceIsBaseReservedExtension) {
    const Packet packet = MakePacket(
        {.pid = 1,
         .adaptation_field = AdaptationField{.program_clock_reference = 0x1ABCDEF01 * 300 + 0x102}},
        Bytes(176, 0xAA));
    EXPECT_EQ(Head(packet, 13),
              (Bytes{0x47, 0x00, 0x01, 0x30, 7, 0x10, 0xD5, 0xE6, 0xF7, 0x80, 0xFF, 0x02, 0xAA}));
}

TEST(PacketTest, WhatDoesNotFitIsRefused) {
    EXPECT_THROW(MakePacket({.pid = 1}, Bytes(185)), std::logic_error);
    EXPECT_THROW(MakePacket({.pid = 1, .adaptation_field = AdaptationField{}}, Bytes(183)),
                 std::logic_error);
    EXPECT_THROW(MakePacket({.pid = 0x2000}, {}), std::logic_error);
    EXPECT_THROW(MakePacket({.pid = 1, .transport_scrambling_control = 4}, {}), std::logic_error);
}

TEST(PacketTest, AStreamHasPacketsOfTheChosenSize) {
    const PacketList packets{MakePacket({.pid = 1}, Bytes(184, 0x11)),
                             MakePacket({.pid = 2}, Bytes(184, 0x22))};
    Bytes plain(packets[0].begin(), packets[0].end());
    plain.insert(plain.end(), packets[1].begin(), packets[1].end());
    EXPECT_EQ(Serialise(packets), plain);

    const Bytes with192 = Serialise(packets, PacketFormat::k192, 1000);
    ASSERT_EQ(with192.size(), 2u * 192);
    EXPECT_EQ(Bytes(with192.begin(), with192.begin() + 5), (Bytes{0, 0, 0, 0, 0x47}));
    // At 1000 packets a second one packet takes 27000 ticks.
    EXPECT_EQ(Bytes(with192.begin() + 192, with192.begin() + 197),
              (Bytes{0x00, 0x00, 0x69, 0x78, 0x47}));

    const Bytes with204 = Serialise(packets, PacketFormat::k204);
    ASSERT_EQ(with204.size(), 2u * 204);
    EXPECT_EQ(with204[0], 0x47);
    EXPECT_EQ(Bytes(with204.begin() + 188, with204.begin() + 204), Bytes(16, 0));
    EXPECT_EQ(with204[204], 0x47);
}

}  // namespace
}  // namespace generator
