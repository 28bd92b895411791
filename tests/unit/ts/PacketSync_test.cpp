#include "softplatform/ts/PacketSync.h"

#include <gtest/gtest.h>

#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "tests/support/TsBytes.h"

namespace tvservice {
namespace {

using testsupport::Bytes;
using testsupport::Join;
using testsupport::PacketBytes;
using testsupport::RandomBytes;
using testsupport::Slice;

// Packet `number` of a stream: a payload without 0x47 that no other packet has.
Bytes Packet(size_t number) {
    Bytes payload(184);
    for (size_t i = 0; i < payload.size(); ++i) {
        payload[i] = static_cast<uint8_t>(0x80 | (number * 31 + i * (number % 7 + 1)));
    }
    payload[0] = static_cast<uint8_t>(0x80 | number);
    payload[1] = static_cast<uint8_t>(0x80 | number >> 7);
    return PacketBytes{.continuity_counter = static_cast<uint8_t>(number)}.Build(payload);
}

std::vector<Bytes> Packets(size_t count, size_t first = 0) {
    std::vector<Bytes> packets;
    for (size_t i = 0; i < count; ++i) {
        packets.push_back(Packet(first + i));
    }
    return packets;
}

// The bytes before and after the 188 bytes of a packet, for each packet size.
Bytes Dressed(const Bytes& packet, size_t packetSize, uint32_t arrivalTime) {
    switch (packetSize) {
        case 192:
            return Join(
                {{static_cast<uint8_t>(arrivalTime >> 24), static_cast<uint8_t>(arrivalTime >> 16),
                  static_cast<uint8_t>(arrivalTime >> 8), static_cast<uint8_t>(arrivalTime)},
                 packet});
        case 204:
            return Join({packet, Bytes(16, 0x00)});
        default:
            return packet;
    }
}

Bytes Stream(const std::vector<Bytes>& packets, size_t packetSize,
             uint32_t arrivalTime = 0x01000000) {
    Bytes stream;
    for (const Bytes& packet : packets) {
        const Bytes dressed = Dressed(packet, packetSize, arrivalTime);
        stream.insert(stream.end(), dressed.begin(), dressed.end());
        arrivalTime += 1111;
    }
    return stream;
}

// Bytes without a sync byte.
Bytes Garbage(size_t count) {
    return Bytes(count, 0x55);
}

struct Outcome {
    std::vector<Bytes> packets;
    uint64_t bytes = 0;
    uint64_t counted = 0;
    uint64_t locks = 0;
    uint64_t losses = 0;
    uint64_t skipped = 0;
    size_t packetSize = 0;

    bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
    return out << outcome.packets.size() << " packets of " << outcome.packetSize << ", "
               << outcome.bytes << " bytes, " << outcome.locks << " locks, " << outcome.losses
               << " losses, " << outcome.skipped << " skipped";
}

// Feeds `stream` in pieces of the sizes that `nextSize` returns, and ends it.
template <class NextSize>
Outcome FeedInPieces(const Bytes& stream, NextSize&& nextSize) {
    Counters counters;
    PacketSync sync(counters);
    Outcome outcome;
    const auto keep = [&](const uint8_t* packet) {
        outcome.packets.emplace_back(packet, packet + kPacketSize);
        return true;
    };
    for (size_t at = 0; at < stream.size();) {
        // A copy of just the piece, so that AddressSanitizer sees a read past it.
        const Bytes piece = Slice(stream, at, nextSize());
        EXPECT_TRUE(sync.Feed(piece.data(), piece.size(), keep));
        at += piece.size();
    }
    EXPECT_TRUE(sync.Finish(keep));
    outcome.bytes = counters.Get(Counter::kBytes);
    outcome.counted = counters.Get(Counter::kPackets);
    outcome.locks = counters.Get(Counter::kSyncLocks);
    outcome.losses = counters.Get(Counter::kSyncLosses);
    outcome.skipped = counters.Get(Counter::kSkippedBytes);
    outcome.packetSize = sync.packet_size();
    return outcome;
}

Outcome FeedWhole(const Bytes& stream) {
    return FeedInPieces(stream, [&] { return stream.size(); });
}

// What is found in `stream`. The result must be the same for every division into pieces.
Outcome Found(const Bytes& stream) {
    Outcome whole = FeedWhole(stream);
    for (const size_t size : {1u, 17u, 188u, 1316u}) {
        EXPECT_EQ(FeedInPieces(stream, [size] { return size; }), whole) << "in pieces of " << size;
    }
    std::mt19937 random(4);
    for (int round = 0; round < 5; ++round) {
        EXPECT_EQ(FeedInPieces(stream, [&] { return 1 + random() % 700; }), whole)
            << "in random pieces, round " << round;
    }
    EXPECT_EQ(whole.counted, whole.packets.size());
    EXPECT_EQ(whole.bytes, stream.size());
    return whole;
}

class PacketSyncOfSize : public testing::TestWithParam<size_t> {
  protected:
    Bytes StreamOf(const std::vector<Bytes>& packets) const { return Stream(packets, GetParam()); }
};

TEST_P(PacketSyncOfSize, FindsEveryPacketAndTheSizeByItself) {
    const std::vector<Bytes> packets = Packets(40);
    const Outcome outcome = Found(StreamOf(packets));
    EXPECT_TRUE(outcome.packets == packets);
    EXPECT_EQ(outcome.packetSize, GetParam());
    EXPECT_EQ(outcome.locks, 1u);
    EXPECT_EQ(outcome.losses, 0u);
    EXPECT_EQ(outcome.skipped, 0u);
}

TEST_P(PacketSyncOfSize, FindsAFewPacketsAtTheEndOfTheInput) {
    for (size_t count = 1; count <= 6; ++count) {
        SCOPED_TRACE(count);
        const std::vector<Bytes> packets = Packets(count);
        const Outcome outcome = Found(StreamOf(packets));
        EXPECT_TRUE(outcome.packets == packets);
        EXPECT_EQ(outcome.packetSize, GetParam());
        EXPECT_EQ(outcome.skipped, 0u);
    }
}

TEST_P(PacketSyncOfSize, SkipsGarbageBeforeTheFirstPacket) {
    const std::vector<Bytes> packets = Packets(12);
    for (const size_t count : {1u, 3u, 4u, 5u, 187u, 188u, 1000u, 5000u}) {
        SCOPED_TRACE(count);
        const Outcome outcome = Found(Join({Garbage(count), StreamOf(packets)}));
        EXPECT_TRUE(outcome.packets == packets);
        EXPECT_EQ(outcome.packetSize, GetParam());
        EXPECT_EQ(outcome.losses, 0u);
        EXPECT_EQ(outcome.skipped, count);
    }
}

TEST_P(PacketSyncOfSize, IsNotMisledBySyncBytesInGarbage) {
    const std::vector<Bytes> packets = Packets(12);
    Bytes garbage = Garbage(700);
    for (const size_t at : {0u, 5u, 188u, 193u, 376u, 397u, 699u}) {
        garbage[at] = kSyncByte;
    }
    const Outcome outcome = Found(Join({garbage, StreamOf(packets)}));
    EXPECT_TRUE(outcome.packets == packets);
    EXPECT_EQ(outcome.skipped, 700u);
}

TEST_P(PacketSyncOfSize, StartsInTheMiddleOfAPacket) {
    const std::vector<Bytes> packets = Packets(20);
    const Outcome outcome = Found(Slice(StreamOf(packets), 100));
    EXPECT_TRUE(outcome.packets == std::vector<Bytes>(packets.begin() + 1, packets.end()));
    EXPECT_EQ(outcome.losses, 0u);
}

TEST_P(PacketSyncOfSize, AWrongSyncByteCostsItsPacketAlone) {
    std::vector<Bytes> packets = Packets(20);
    packets[10][0] ^= 0x04;
    const Outcome outcome = Found(StreamOf(packets));
    packets.erase(packets.begin() + 10);
    EXPECT_TRUE(outcome.packets == packets);
    EXPECT_EQ(outcome.losses, 0u);
    EXPECT_EQ(outcome.skipped, 188u);
}

TEST_P(PacketSyncOfSize, TwoWrongSyncBytesOfFourAreStoodToo) {
    for (const size_t second : {11u, 12u, 13u}) {
        SCOPED_TRACE(second);
        std::vector<Bytes> packets = Packets(20);
        packets[10][0] = 0x00;
        packets[second][0] = 0x00;
        const Outcome outcome = Found(StreamOf(packets));
        packets.erase(packets.begin() + static_cast<std::ptrdiff_t>(second));
        packets.erase(packets.begin() + 10);
        EXPECT_TRUE(outcome.packets == packets);
        EXPECT_EQ(outcome.losses, 0u);
        EXPECT_EQ(outcome.skipped, 2 * 188u);
    }
}

TEST_P(PacketSyncOfSize, AWrongSyncByteInTheLastPacketCostsItAlone) {
    std::vector<Bytes> packets = Packets(20);
    packets[19][0] = 0x00;
    const Outcome outcome = Found(StreamOf(packets));
    packets.pop_back();
    EXPECT_TRUE(outcome.packets == packets);
    EXPECT_EQ(outcome.losses, 0u);
    EXPECT_EQ(outcome.skipped, 188u);
}

TEST_P(PacketSyncOfSize, SyncIsLostAndFoundAgainWhereBytesAreMissing) {
    const std::vector<Bytes> packets = Packets(30);
    const Bytes stream = StreamOf(packets);
    const size_t cut = 10 * GetParam() + 50;  // inside packet 10
    const Outcome outcome = Found(Join({Slice(stream, 0, cut), Slice(stream, cut + 77)}));

    // Packet 10 is passed on, with the following bytes in the place of its missing ones: the loss
    // shows only after it.
    ASSERT_EQ(outcome.packets.size(), 29u);
    EXPECT_TRUE(std::vector<Bytes>(outcome.packets.begin(), outcome.packets.begin() + 10) ==
                std::vector<Bytes>(packets.begin(), packets.begin() + 10));
    EXPECT_TRUE(std::vector<Bytes>(outcome.packets.begin() + 11, outcome.packets.end()) ==
                std::vector<Bytes>(packets.begin() + 12, packets.end()));
    EXPECT_EQ(outcome.losses, 1u);
    EXPECT_EQ(outcome.locks, 2u);
    EXPECT_EQ(outcome.packetSize, GetParam());
}

TEST_P(PacketSyncOfSize, GarbageBetweenPacketsIsOneLoss) {
    const std::vector<Bytes> before = Packets(10);
    const std::vector<Bytes> after = Packets(10, 10);
    const Outcome outcome = Found(Join({StreamOf(before), Garbage(3001), StreamOf(after)}));
    std::vector<Bytes> all = before;
    all.insert(all.end(), after.begin(), after.end());
    EXPECT_TRUE(outcome.packets == all);
    EXPECT_EQ(outcome.losses, 1u);
    EXPECT_EQ(outcome.locks, 2u);
    // With 192 bytes the first four bytes of the garbage are taken for the next arrival time.
    EXPECT_EQ(outcome.skipped, GetParam() == 192 ? 2997u : 3001u);
}

TEST_P(PacketSyncOfSize, GarbageAtTheEndHoldsNoPacket) {
    const std::vector<Bytes> packets = Packets(10);
    const Outcome outcome = Found(Join({StreamOf(packets), Garbage(3000)}));
    EXPECT_TRUE(outcome.packets == packets);
    EXPECT_EQ(outcome.losses, 1u);
    EXPECT_EQ(outcome.locks, 1u);
}

TEST_P(PacketSyncOfSize, ALastPacketThatIsNotWholeIsSkipped) {
    const std::vector<Bytes> packets = Packets(10);
    const size_t lead = GetParam() == 192 ? 4 : 0;
    const Outcome outcome = Found(Slice(StreamOf(packets), 0, 9 * GetParam() + lead + 187));
    EXPECT_TRUE(outcome.packets == std::vector<Bytes>(packets.begin(), packets.end() - 1));
    EXPECT_EQ(outcome.losses, 0u);
    EXPECT_EQ(outcome.skipped, 187u);
}

TEST_P(PacketSyncOfSize, FalseStopsAtOnceAndForgetsEverything) {
    const Bytes stream = StreamOf(Packets(20));
    Counters counters;
    PacketSync sync(counters);
    int seen = 0;
    EXPECT_FALSE(
        sync.Feed(stream.data(), stream.size(), [&](const uint8_t*) { return ++seen < 7; }));
    EXPECT_EQ(seen, 7);
    EXPECT_EQ(sync.packet_size(), 0u);

    // The rest of the stream does not come out later, and another stream is read as by a new
    // object.
    std::vector<Bytes> found;
    const auto keep = [&](const uint8_t* packet) {
        found.emplace_back(packet, packet + kPacketSize);
        return true;
    };
    EXPECT_TRUE(sync.Finish(keep));
    EXPECT_TRUE(found.empty());
    EXPECT_TRUE(sync.Feed(stream.data(), stream.size(), keep));
    EXPECT_TRUE(sync.Finish(keep));
    EXPECT_TRUE(found == Packets(20));
}

TEST_P(PacketSyncOfSize, FalseStopsAtTheEndOfTheInputToo) {
    const Bytes stream = StreamOf(Packets(4));
    Counters counters;
    PacketSync sync(counters);
    int seen = 0;
    const auto stopAtSecond = [&](const uint8_t*) { return ++seen < 2; };
    EXPECT_TRUE(sync.Feed(stream.data(), stream.size(), stopAtSecond));
    EXPECT_FALSE(sync.Finish(stopAtSecond));
    EXPECT_EQ(seen, 2);
}

TEST_P(PacketSyncOfSize, AWholePacketIsHandedOnWithoutWaitingForTheNext) {
    const Bytes stream = StreamOf(Packets(20));
    Counters counters;
    PacketSync sync(counters);
    size_t found = 0;
    const auto count = [&](const uint8_t*) { return ++found > 0; };
    const size_t end = 9 * GetParam() + (GetParam() == 192 ? 4 : 0) + 188;
    sync.Feed(stream.data(), end - 1, count);
    EXPECT_TRUE(found == 9u);
    sync.Feed(stream.data() + end - 1, 1, count);
    EXPECT_TRUE(found == 10u);
}

TEST_P(PacketSyncOfSize, PacketsInsideAChunkAreHandedOnWhereTheyLie) {
    const Bytes stream = StreamOf(Packets(30));
    Counters counters;
    PacketSync sync(counters);
    size_t elsewhere = 0;
    sync.Feed(stream.data(), stream.size(), [&](const uint8_t* packet) {
        const bool inside =
            packet >= stream.data() && packet + kPacketSize <= stream.data() + stream.size();
        elsewhere += inside ? 0 : 1;
        return true;
    });
    EXPECT_EQ(counters.Get(Counter::kPackets), 30u);
    EXPECT_EQ(elsewhere, 0u);
}

TEST_P(PacketSyncOfSize, SyncBytesAllOverThePayloadsDoNotMislead) {
    std::vector<Bytes> packets = Packets(30);
    for (Bytes& packet : packets) {
        std::fill(packet.begin() + 4, packet.end(), kSyncByte);
    }
    EXPECT_TRUE(Found(StreamOf(packets)).packets == packets);

    const Outcome fromTheMiddle = Found(Slice(StreamOf(packets), 100));
    packets.erase(packets.begin());
    EXPECT_TRUE(fromTheMiddle.packets == packets);
    EXPECT_EQ(fromTheMiddle.packetSize, GetParam());
}

TEST_P(PacketSyncOfSize, AMalformedHeaderAmongTheFirstDoesNotHinder) {
    std::vector<Bytes> packets = Packets(12);
    packets[0][3] &= 0xCF;  // adaptation_field_control '00'
    packets[3][3] &= 0xCF;
    const Outcome outcome = Found(StreamOf(packets));
    EXPECT_TRUE(outcome.packets == packets);
    EXPECT_EQ(outcome.skipped, 0u);
}

TEST_P(PacketSyncOfSize, RandomDamageGivesTheSameInEveryChunking) {
    std::mt19937 random(5);
    for (int round = 0; round < 40; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        Bytes stream;
        for (int part = 0; part < 6; ++part) {
            const Bytes packets = StreamOf(Packets(1 + random() % 12, random() % 100));
            const Bytes garbage = RandomBytes(random, random() % 300);
            stream = Join({stream, Slice(packets, random() % 50), garbage});
        }
        for (size_t i = 0; i < stream.size() / 100; ++i) {
            stream[random() % stream.size()] = random() % 2 == 0 ? kSyncByte : uint8_t{0};
        }
        const Outcome outcome = Found(stream);
        EXPECT_LE(outcome.counted * 188 + outcome.skipped, outcome.bytes);
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, PacketSyncOfSize, testing::Values(188, 192, 204),
                         testing::PrintToStringParamName());

TEST(PacketSync, FindsNothingInNothing) {
    const Outcome outcome = Found({});
    EXPECT_TRUE(outcome.packets.empty());
    EXPECT_EQ(outcome.packetSize, 0u);
    EXPECT_EQ(outcome.skipped, 0u);
}

TEST(PacketSync, FindsNothingInGarbageAndCountsAllOfIt) {
    for (const size_t count : {1u, 3u, 4u, 188u, 192u, 5000u}) {
        const Outcome outcome = Found(Garbage(count));
        EXPECT_TRUE(outcome.packets.empty());
        EXPECT_EQ(outcome.packetSize, 0u);
        EXPECT_EQ(outcome.losses, 0u);
        EXPECT_EQ(outcome.skipped, count);
    }
}

TEST(PacketSync, ALoneSyncByteInGarbageIsNoPacket) {
    Bytes garbage = Garbage(1000);
    garbage[700] = kSyncByte;
    const Outcome outcome = Found(garbage);
    EXPECT_TRUE(outcome.packets.empty());
    EXPECT_EQ(outcome.skipped, 1000u);
}

TEST(PacketSync, ALastPacketOf204BytesMayLackItsParity) {
    const std::vector<Bytes> packets = Packets(10);
    for (size_t missing = 1; missing <= 16; ++missing) {
        const Outcome outcome = Found(Slice(Stream(packets, 204), 0, 2040 - missing));
        EXPECT_TRUE(outcome.packets == packets) << missing;
        EXPECT_EQ(outcome.skipped, 0u) << missing;
    }
}

TEST(PacketSync, ArrivalTimesThatBeginWithASyncByteAreNoPackets) {
    const std::vector<Bytes> packets = Packets(40);
    for (const size_t count : {2u, 4u, 5u, 40u}) {
        SCOPED_TRACE(count);
        const std::vector<Bytes> some(packets.begin(), packets.begin() + static_cast<int>(count));
        const Outcome outcome = Found(Stream(some, 192, 0x47FFFF00u - 40 * 1111));
        EXPECT_TRUE(outcome.packets == some);
        EXPECT_EQ(outcome.packetSize, 192u);
        EXPECT_EQ(outcome.skipped, 0u);
    }
}

TEST(PacketSync, FiveSyncBytesAtAShorterDistanceThatBreakOffLater) {
    // A stream of 204-byte packets. Some parity bytes are sync bytes, at multiples of 188 bytes
    // from the start. So both distances fit at first, but only 204 goes on.
    std::vector<Bytes> packets = Packets(20);
    Bytes stream = Stream(packets, 204);
    for (const size_t at : {188u, 376u, 564u}) {
        stream[at] = kSyncByte;
    }
    const Outcome outcome = Found(stream);
    EXPECT_EQ(outcome.packetSize, 204u);
    EXPECT_EQ(outcome.packets.size(), 20u);
    EXPECT_EQ(outcome.skipped, 0u);
}

TEST(PacketSync, TheSizeMayChangeWhereSyncIsLost) {
    const std::vector<Bytes> first = Packets(10);
    const std::vector<Bytes> second = Packets(10, 10);
    const Outcome outcome = Found(Join({Stream(first, 188), Garbage(100), Stream(second, 204)}));
    std::vector<Bytes> all = first;
    all.insert(all.end(), second.begin(), second.end());
    EXPECT_TRUE(outcome.packets == all);
    EXPECT_EQ(outcome.packetSize, 204u);
    EXPECT_EQ(outcome.losses, 1u);
    EXPECT_EQ(outcome.skipped, 100u);
}

TEST(PacketSync, ResetForgetsWhatWasHeld) {
    const Bytes stream = Stream(Packets(20), 188);
    Counters counters;
    PacketSync sync(counters);
    std::vector<Bytes> found;
    const auto keep = [&](const uint8_t* packet) {
        found.emplace_back(packet, packet + kPacketSize);
        return true;
    };
    sync.Feed(stream.data(), 188 * 6 + 100, keep);
    sync.Reset();
    found.clear();
    sync.Feed(stream.data(), stream.size(), keep);
    sync.Finish(keep);
    EXPECT_TRUE(found == Packets(20));
    EXPECT_EQ(counters.Get(Counter::kSyncLosses), 0u);
    EXPECT_EQ(counters.Get(Counter::kSkippedBytes), 0u);
}

}  // namespace
}  // namespace tvservice
