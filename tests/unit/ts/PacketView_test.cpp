#include "softplatform/ts/PacketView.h"

#include <gtest/gtest.h>

#include "tests/support/TsBytes.h"

namespace tvservice {
namespace {

using testsupport::Bytes;
using testsupport::Counting;
using testsupport::PacketBytes;

Bytes ToBytes(ByteView view) {
    return Bytes(view.begin(), view.end());
}

// A packet of 188 bytes that begins with `start`.
Bytes PacketThatBegins(Bytes start) {
    start.resize(188, 0xAA);
    return start;
}

TEST(PacketView, ReadsTheHeaderFieldByField) {
    const Bytes bytes = PacketThatBegins({0x47, 0xF2, 0x34, 0xDB});
    const PacketView packet(bytes.data());
    EXPECT_EQ(packet.sync_byte(), 0x47);
    EXPECT_TRUE(packet.transport_error_indicator());
    EXPECT_TRUE(packet.payload_unit_start_indicator());
    EXPECT_TRUE(packet.transport_priority());
    EXPECT_EQ(packet.PID(), 0x1234);
    EXPECT_EQ(packet.transport_scrambling_control(), 3);
    EXPECT_EQ(packet.adaptation_field_control(), 1);
    EXPECT_EQ(packet.continuity_counter(), 11);
}

TEST(PacketView, KeepsNeighbouringHeaderBitsApart) {
    const Bytes bytes = PacketThatBegins({0x47, 0x1F, 0xFF, 0x10});
    const PacketView packet(bytes.data());
    EXPECT_FALSE(packet.transport_error_indicator());
    EXPECT_FALSE(packet.payload_unit_start_indicator());
    EXPECT_FALSE(packet.transport_priority());
    EXPECT_EQ(packet.PID(), kNullPid);
    EXPECT_EQ(packet.transport_scrambling_control(), 0);
    EXPECT_EQ(packet.continuity_counter(), 0);
}

TEST(PacketView, WithoutAdaptationFieldThePayloadIsAllBehindTheHeader) {
    const Bytes payload = Counting(184);
    const Bytes bytes = PacketBytes{}.Build(payload);
    const PacketView packet(bytes.data());
    EXPECT_TRUE(packet.well_formed());
    EXPECT_EQ(ToBytes(packet.payload()), payload);
    EXPECT_TRUE(packet.adaptation_field().empty());
    EXPECT_FALSE(packet.discontinuity_indicator());
}

TEST(PacketView, AnAdaptationFieldStandsBeforeThePayload) {
    const Bytes payload = Counting(100);
    const Bytes bytes = PacketBytes{.adaptation_field = {0xC0}}.Build(payload);
    const PacketView packet(bytes.data());
    EXPECT_TRUE(packet.well_formed());
    EXPECT_EQ(packet.adaptation_field_length(), 83);
    EXPECT_EQ(packet.adaptation_field().size(), 83u);
    EXPECT_TRUE(packet.discontinuity_indicator());
    EXPECT_TRUE(packet.random_access_indicator());
    EXPECT_EQ(ToBytes(packet.payload()), payload);
}

TEST(PacketView, AnEmptyAdaptationFieldHasNoFlags) {
    const Bytes payload = Counting(183, 0xF0);  // 0xF0 is in the place of the flags
    const Bytes bytes = PacketBytes{}.Build(payload);
    const PacketView packet(bytes.data());
    EXPECT_EQ(packet.adaptation_field_length(), 0);
    EXPECT_FALSE(packet.discontinuity_indicator());
    EXPECT_EQ(ToBytes(packet.payload()), payload);
}

TEST(PacketView, AnAdaptationFieldAloneLeavesNoPayload) {
    const Bytes bytes = PacketBytes{.adaptation_field = {0x80}}.Build({});
    const PacketView packet(bytes.data());
    EXPECT_TRUE(packet.well_formed());
    EXPECT_FALSE(packet.has_payload());
    EXPECT_TRUE(packet.discontinuity_indicator());
    EXPECT_TRUE(packet.payload().empty());
}

TEST(PacketView, TheReservedAdaptationFieldControlIsMalformed) {
    const Bytes bytes = PacketThatBegins({0x47, 0x01, 0x00, 0x00});
    const PacketView packet(bytes.data());
    EXPECT_FALSE(packet.well_formed());
    EXPECT_TRUE(packet.payload().empty());
}

TEST(PacketView, AnAdaptationFieldThatLeavesNoRoomForThePayloadIsMalformed) {
    const Bytes fits = PacketThatBegins({0x47, 0x01, 0x00, 0x30, 182, 0x80});
    EXPECT_TRUE(PacketView(fits.data()).well_formed());
    EXPECT_EQ(PacketView(fits.data()).payload().size(), 1u);

    for (const uint8_t length : Bytes{183, 184, 255}) {
        const Bytes bytes = PacketThatBegins({0x47, 0x01, 0x00, 0x30, length, 0x80});
        const PacketView packet(bytes.data());
        EXPECT_FALSE(packet.well_formed()) << int{length};
        EXPECT_TRUE(packet.payload().empty()) << int{length};
        EXPECT_TRUE(packet.adaptation_field().empty()) << int{length};
        EXPECT_FALSE(packet.discontinuity_indicator()) << int{length};
    }
}

TEST(PacketView, AnAdaptationFieldThatPassesThePacketIsMalformed) {
    const Bytes fits = PacketThatBegins({0x47, 0x01, 0x00, 0x20, 183, 0x80});
    EXPECT_TRUE(PacketView(fits.data()).well_formed());

    const Bytes passes = PacketThatBegins({0x47, 0x01, 0x00, 0x20, 184, 0x80});
    EXPECT_FALSE(PacketView(passes.data()).well_formed());
    EXPECT_TRUE(PacketView(passes.data()).adaptation_field().empty());
}

}  // namespace
}  // namespace tvservice
