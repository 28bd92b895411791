#include "softplatform/input/RtpPacket.h"

#include <gtest/gtest.h>

#include "tests/unit/input/RtpBytes.h"

namespace tvservice {
namespace {

using testsupport::Bytes;
using testsupport::Counting;
using testsupport::RtpBytes;

std::optional<RtpPacket> Parse(const Bytes& bytes) {
    return RtpPacket::From(ByteView(bytes.data(), bytes.size()));
}

// Parses a packet that must be valid and returns its payload.
Bytes PayloadOf(const Bytes& bytes) {
    const std::optional<RtpPacket> packet = Parse(bytes);
    EXPECT_TRUE(packet);
    return packet ? Bytes(packet->payload().begin(), packet->payload().end()) : Bytes();
}

TEST(RtpPacket, ReadsItsHeader) {
    const Bytes bytes =
        RtpBytes{.sequence_number = 0xABCD, .SSRC = 0x89ABCDEF}.Build(Counting(188));
    const std::optional<RtpPacket> packet = Parse(bytes);
    ASSERT_TRUE(packet);
    EXPECT_EQ(packet->sequence_number(), 0xABCD);
    EXPECT_EQ(packet->SSRC(), 0x89ABCDEF);
    EXPECT_EQ(PayloadOf(bytes), Counting(188));
}

TEST(RtpPacket, SkipsSourcesExtensionAndPadding) {
    EXPECT_EQ(PayloadOf(RtpBytes{.CSRC_count = 15}.Build(Counting(188))), Counting(188));
    EXPECT_EQ(PayloadOf(RtpBytes{.extension = Bytes()}.Build(Counting(188))), Counting(188));
    EXPECT_EQ(PayloadOf(RtpBytes{.extension = Bytes(12)}.Build(Counting(188))), Counting(188));
    EXPECT_EQ(PayloadOf(RtpBytes{.extension = Bytes(1200)}.Build(Counting(188))), Counting(188));
    EXPECT_EQ(PayloadOf(RtpBytes{.padding = 1}.Build(Counting(188))), Counting(188));
    EXPECT_EQ(PayloadOf(RtpBytes{.padding = 255}.Build(Counting(188))), Counting(188));
    EXPECT_EQ(PayloadOf(RtpBytes{.CSRC_count = 2, .extension = Bytes(8), .padding = 4}.Build(
                  Counting(376))),
              Counting(376));
}

TEST(RtpPacket, MayHaveNoPayload) {
    EXPECT_TRUE(PayloadOf(RtpBytes{}.Build({})).empty());
    EXPECT_TRUE(PayloadOf(RtpBytes{.padding = 4}.Build({})).empty());
}

TEST(RtpPacket, LeavesTheMarkerAndOtherPayloadTypesAlone) {
    EXPECT_EQ(PayloadOf(RtpBytes{.payload_type = 33, .marker = true}.Build({1})), Bytes{1});
    EXPECT_EQ(PayloadOf(RtpBytes{.payload_type = 96}.Build({1})), Bytes{1});
    EXPECT_EQ(PayloadOf(RtpBytes{.payload_type = 63}.Build({1})), Bytes{1});
}

TEST(RtpPacket, IsNoneOfAnotherVersion) {
    for (const uint8_t version : Bytes{0, 1, 3}) {
        EXPECT_FALSE(Parse(RtpBytes{.version = version}.Build(Counting(188)))) << int{version};
    }
    EXPECT_FALSE(Parse(testsupport::PacketBytes{}.Build(Counting(184)))) << "bare TS";
}

TEST(RtpPacket, IsNoneWhereRtcpSharesThePort) {
    EXPECT_FALSE(Parse(RtpBytes{.payload_type = 72, .marker = true}.Build(Counting(16))));
    EXPECT_FALSE(Parse(RtpBytes{.payload_type = 64}.Build(Counting(16))));
    EXPECT_FALSE(Parse(RtpBytes{.payload_type = 95}.Build(Counting(16))));
}

TEST(RtpPacket, IsNoneWhenCutAnywhereBeforeItsPayload) {
    const Bytes whole = RtpBytes{.CSRC_count = 3, .extension = Bytes(8)}.Build({});
    ASSERT_TRUE(Parse(whole));
    for (size_t size = 0; size < whole.size(); ++size) {
        EXPECT_FALSE(Parse(testsupport::Slice(whole, 0, size))) << size;
    }
}

TEST(RtpPacket, IsNoneWhosePaddingDoesNotFit) {
    Bytes bytes = RtpBytes{.padding = 5}.Build(Counting(7));
    bytes.back() = 13;
    EXPECT_FALSE(Parse(bytes));
    bytes.back() = 12;
    EXPECT_TRUE(PayloadOf(bytes).empty());
    bytes.back() = 0;
    EXPECT_FALSE(Parse(bytes)) << "the count includes itself";
    bytes.resize(12);
    EXPECT_FALSE(Parse(bytes)) << "there is no byte to count";
}

}  // namespace
}  // namespace tvservice
