// Transport packets (ISO/IEC 13818-1 2.4.3) and lists of them as a stream.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "generator/Bytes.h"

namespace generator {

constexpr std::size_t kPacketSize = 188;
constexpr std::size_t kPayloadSize = 184;  // of a packet without adaptation field
constexpr std::uint16_t kNullPid = 0x1FFF;
constexpr std::uint64_t kClockRate = 27'000'000;  // of the system clock, in Hz

using Packet = std::array<std::uint8_t, kPacketSize>;
using PacketList = std::vector<Packet>;

struct AdaptationField {
    bool discontinuity_indicator = false;
    bool random_access_indicator = false;
    std::optional<std::uint64_t> program_clock_reference = std::nullopt;  // 27 MHz, 42 bits
};

struct PacketFields {
    std::uint16_t pid;
    bool transport_error_indicator = false;
    bool payload_unit_start_indicator = false;
    bool transport_priority = false;
    std::uint8_t transport_scrambling_control = 0;
    std::uint8_t continuity_counter = 0;
    std::optional<AdaptationField> adaptation_field = std::nullopt;
};

// Makes one packet. Stuffing in the adaptation field moves a shorter payload to the end of the
// packet; without a payload the packet has an adaptation field only. Throws std::logic_error when
// the payload does not fit or a value does not fit its field.
Packet MakePacket(const PacketFields& fields, const Bytes& payload);

// Returns the PID of a packet.
std::uint16_t PidOf(const Packet& packet);

// How a file stores packets: alone (k188), behind four bytes with an arrival time stamp of 27 MHz
// in 30 bits (k192), or before 16 zero bytes in the place of the outer code's check bytes (k204).
enum class PacketFormat { k188, k192, k204 };

// Returns the stream as bytes. k192 gets the arrival times of a constant rate of `packetsPerSecond`
// (at least 1).
Bytes Serialise(const PacketList& packets, PacketFormat format = PacketFormat::k188,
                std::uint32_t packetsPerSecond = 800);

}  // namespace generator
