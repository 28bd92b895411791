#include "softplatform/input/PcrScanner.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "tests/unit/input/PcrBytes.h"

namespace tvservice {
namespace {

using testsupport::Bytes;
using testsupport::Join;
using testsupport::PcrBytes;
using testsupport::PlainPackets;
using testsupport::Slice;

struct Found {
    size_t end;  // bytes that had passed
    Pcr pcr;
};

// Returns everything that is found when the bytes come in pieces of this size.
std::vector<Found> Scan(const Bytes& bytes, size_t piece = SIZE_MAX) {
    PcrScanner scanner;
    std::vector<Found> found;
    for (size_t at = 0; at < bytes.size();) {
        const size_t size = std::min(piece, bytes.size() - at);
        std::optional<Pcr> pcr;
        const size_t count = scanner.Scan(bytes.data() + at, size, pcr);
        EXPECT_GE(count, 1u);
        EXPECT_LE(count, size);
        EXPECT_TRUE(pcr || count == size);
        at += count;
        if (pcr) {
            found.push_back({at, *pcr});
        }
    }
    return found;
}

// The same packets with other bytes before and behind each.
Bytes Widened(const Bytes& packets, size_t before, size_t behind) {
    Bytes bytes;
    for (size_t at = 0; at < packets.size(); at += 188) {
        bytes = Join({bytes, Bytes(before, 0x11), Slice(packets, at, 188), Bytes(behind, 0x22)});
    }
    return bytes;
}

TEST(PcrScanner, FindsAPcrAtTheByteThatCompletesIt) {
    const uint64_t ticks = kPcrModulus - 1;
    const std::vector<Found> found = Scan(
        Join({PlainPackets(5), PcrBytes{.PID = 0x1FFE, .program_clock_reference = ticks}.Build(),
              PlainPackets(2)}));
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].end, size_t{5} * 188 + 12);
    EXPECT_EQ(found[0].pcr.pid, 0x1FFE);
    EXPECT_EQ(found[0].pcr.ticks, ticks);
    EXPECT_FALSE(found[0].pcr.isAfterBreak);
}

TEST(PcrScanner, FindsTheSameWhateverThePiecesAndThePacketSize) {
    Bytes packets = PlainPackets(5);
    for (uint64_t n = 0; n < 10; ++n) {
        packets =
            Join({packets, PcrBytes{.program_clock_reference = n * 301}.Build(), PlainPackets(3)});
    }
    for (const auto& [before, behind] :
         {std::pair<size_t, size_t>{0, 0}, {4, 0}, {0, 4}, {0, 16}}) {
        const Bytes bytes = Join({{0x47, 1, 0x47, 2}, Widened(packets, before, behind)});
        for (const size_t piece : {size_t{1}, size_t{17}, size_t{188}, SIZE_MAX}) {
            const std::vector<Found> found = Scan(bytes, piece);
            ASSERT_EQ(found.size(), 10u) << before << " " << behind << " " << piece;
            for (size_t n = 0; n < 10; ++n) {
                EXPECT_EQ(found[n].pcr.ticks, n * 301);
                EXPECT_EQ(found[n].end, 4 + (5 + n * 4) * (188 + before + behind) + before + 12);
            }
        }
    }
}

TEST(PcrScanner, TellsOfADiscontinuity) {
    const std::vector<Found> found =
        Scan(Join({PlainPackets(5), PcrBytes{.discontinuity_indicator = true}.Build()}));
    ASSERT_EQ(found.size(), 1u);
    EXPECT_TRUE(found[0].pcr.isAfterBreak);
}

TEST(PcrScanner, DoesNotTrustADamagedPacket) {
    EXPECT_TRUE(
        Scan(Join({PlainPackets(5), PcrBytes{.transport_error_indicator = true}.Build()})).empty());
    Bytes tooShort = PcrBytes{}.Build();
    tooShort[4] = 6;
    EXPECT_TRUE(Scan(Join({PlainPackets(5), tooShort})).empty());
    Bytes tooLong = PcrBytes{}.Build();
    tooLong[4] = 184;
    EXPECT_TRUE(Scan(Join({PlainPackets(5), tooLong})).empty());
    Bytes noRoomForItsPayload = PcrBytes{}.Build();
    noRoomForItsPayload[3] |= 0x10;
    noRoomForItsPayload[4] = 183;
    EXPECT_TRUE(Scan(Join({PlainPackets(5), noRoomForItsPayload})).empty());
    Bytes noAdaptationField = PcrBytes{}.Build();
    noAdaptationField[3] = 0x10;
    EXPECT_TRUE(Scan(Join({PlainPackets(5), noAdaptationField})).empty());
    Bytes noFlag = PcrBytes{}.Build();
    noFlag[5] = 0;
    EXPECT_TRUE(Scan(Join({PlainPackets(5), noFlag})).empty());
}

TEST(PcrScanner, DoesNotTakeAnExtensionOf300OrMore) {
    const auto withExtension = [](unsigned extension) {
        Bytes packet = PcrBytes{.program_clock_reference = 600}.Build();
        packet[10] = static_cast<uint8_t>((packet[10] & 0xFE) | extension >> 8);
        packet[11] = static_cast<uint8_t>(extension);
        return Scan(Join({PlainPackets(5), packet}));
    };
    EXPECT_TRUE(withExtension(300).empty());
    ASSERT_EQ(withExtension(299).size(), 1u);
    EXPECT_EQ(withExtension(299)[0].pcr.ticks, 899u);
}

TEST(PcrScanner, FindsSyncAgainAfterDamage) {
    const Bytes good = Join({PlainPackets(5), PcrBytes{}.Build(), PlainPackets(1)});
    EXPECT_EQ(Scan(Join({good, Bytes(1000, 0x47), good, Bytes(77, 0x00), good})).size(), 3u);
}

TEST(PcrScanner, FindsNothingInWhatIsNoStream) {
    EXPECT_TRUE(Scan(Bytes(100000, 0x00)).empty());
    std::mt19937 random(1);
    const Bytes noise = testsupport::RandomBytes(random, 100000);
    Scan(noise, 1);  // whatever it finds: every byte passes
}

TEST(PcrScanner, ForgetsWhatPassedBeforeAReset) {
    PcrScanner scanner;
    std::optional<Pcr> pcr;
    const Bytes packets = PlainPackets(5);
    scanner.Scan(packets.data(), packets.size(), pcr);
    scanner.Reset();
    const Bytes packet = PcrBytes{}.Build();
    scanner.Scan(packet.data(), packet.size(), pcr);
    EXPECT_FALSE(pcr) << "packet sync is still to be found";
}

}  // namespace
}  // namespace tvservice
