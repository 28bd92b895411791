#include "generator/Damage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <stdexcept>

namespace generator {
namespace {

// Packets with the PIDs 0, 1, 2, ..., so that each can be recognised.
PacketList Numbered(std::uint16_t count) {
    PacketList packets;
    for (std::uint16_t i = 0; i < count; ++i) {
        packets.push_back(MakePacket({.pid = i}, {}));
    }
    return packets;
}

std::vector<int> Order(const PacketList& packets) {
    std::vector<int> order;
    for (const Packet& packet : packets) {
        order.push_back(PidOf(packet));
    }
    return order;
}

TEST(DamageTest, OnePacketIsDroppedDoubledOrMoved) {
    PacketList packets = Numbered(5);
    DropPacket(packets, 1);
    EXPECT_EQ(Order(packets), (std::vector<int>{0, 2, 3, 4}));
    DuplicatePacket(packets, 3);
    EXPECT_EQ(Order(packets), (std::vector<int>{0, 2, 3, 4, 4}));
    MovePacket(packets, 0, 2);
    EXPECT_EQ(Order(packets), (std::vector<int>{2, 3, 0, 4, 4}));
    MovePacket(packets, 4, 1);
    EXPECT_EQ(Order(packets), (std::vector<int>{2, 4, 3, 0, 4}));
}

TEST(DamageTest, ThereIsNoPacketBehindTheLast) {
    PacketList packets = Numbered(2);
    EXPECT_THROW(DropPacket(packets, 2), std::out_of_range);
    EXPECT_THROW(DuplicatePacket(packets, 2), std::out_of_range);
    EXPECT_THROW(MovePacket(packets, 0, 2), std::out_of_range);
    EXPECT_THROW(MovePacket(packets, 2, 0), std::out_of_range);
}

TEST(DamageTest, RandomLossTellsHowManyItTook) {
    PacketList packets = Numbered(4000);
    Random random(1);
    const std::size_t dropped = DropPackets(packets, random, 10);
    EXPECT_EQ(packets.size(), 4000 - dropped);
    EXPECT_NEAR(static_cast<double>(dropped), 400, 100);
    EXPECT_TRUE(std::is_sorted(packets.begin(), packets.end(),
                               [](const auto& a, const auto& b) { return PidOf(a) < PidOf(b); }));
}

TEST(DamageTest, RandomDuplicatesStandBesideTheirOriginals) {
    PacketList packets = Numbered(4000);
    Random random(1);
    const std::size_t doubled = DuplicatePackets(packets, random, 10);
    EXPECT_NEAR(static_cast<double>(doubled), 400, 100);
    ASSERT_EQ(packets.size(), 4000 + doubled);
    packets.erase(std::unique(packets.begin(), packets.end()), packets.end());
    EXPECT_EQ(packets, Numbered(4000));
}

TEST(DamageTest, RandomExchangesMoveEachPacketByOneAtMost) {
    PacketList packets = Numbered(4000);
    Random random(1);
    const std::size_t swapped = SwapPackets(packets, random, 10);
    EXPECT_NEAR(static_cast<double>(swapped), 400, 100);
    std::size_t moved = 0;
    for (std::size_t i = 0; i < packets.size(); ++i) {
        const int distance = static_cast<int>(i) - PidOf(packets[i]);
        ASSERT_LE(std::abs(distance), 1);
        moved += distance != 0 ? 1 : 0;
    }
    EXPECT_EQ(moved, 2 * swapped);
}

TEST(DamageTest, OneBitIsCountedFromTheMostSignificantOn) {
    Bytes bytes{0x00, 0x00};
    FlipBit(bytes, 0);
    FlipBit(bytes, 15);
    EXPECT_EQ(bytes, (Bytes{0x80, 0x01}));
    EXPECT_THROW(FlipBit(bytes, 16), std::out_of_range);
}

TEST(DamageTest, RandomBitErrorsAreOneBitAByte) {
    Bytes bytes(10000, 0);
    Random random(1);
    const std::size_t flipped = FlipBits(bytes, random, 20);
    EXPECT_NEAR(static_cast<double>(flipped), 500, 120);
    std::set<std::uint8_t> values(bytes.begin(), bytes.end());
    EXPECT_EQ(values, (std::set<std::uint8_t>{0, 1, 2, 4, 8, 16, 32, 64, 128}));
    EXPECT_EQ(bytes.size() - static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), 0)),
              flipped);
}

TEST(DamageTest, TruncationKeepsTheBeginning) {
    Bytes bytes{1, 2, 3};
    Truncate(bytes, 5);
    EXPECT_EQ(bytes, (Bytes{1, 2, 3}));
    Truncate(bytes, 2);
    EXPECT_EQ(bytes, (Bytes{1, 2}));
}

TEST(DamageTest, GarbageHasNoSyncByteInIt) {
    Bytes bytes{0x47, 1};
    Random random(1);
    PrependGarbage(bytes, random, 5000);
    ASSERT_EQ(bytes.size(), 5002u);
    EXPECT_EQ(std::find(bytes.begin(), bytes.end(), 0x47) - bytes.begin(), 5000);
    EXPECT_EQ(bytes[5001], 1);
}

TEST(RandomTest, NumbersAreTheSameOnEveryMachine) {
    Random random(1234567);
    EXPECT_EQ(random.Next(), 6457827717110365317u);
    EXPECT_EQ(random.Next(), 3203168211198807973u);
    EXPECT_EQ(random.Next(), 9817491932198370423u);
}

}  // namespace
}  // namespace generator
