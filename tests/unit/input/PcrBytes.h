#pragma once

#include <cstdint>

#include "softplatform/input/PcrScanner.h"
#include "tests/support/TsBytes.h"

namespace testsupport {

constexpr uint64_t kMs = tvservice::kPcrFrequency / 1000;

// A transport packet with a PCR (ISO/IEC 13818-1 2.4.3.5); the rest of it is stuffing.
struct PcrBytes {
    uint16_t PID = 0x0100;
    uint64_t program_clock_reference = 0;  // of 27 MHz
    bool discontinuity_indicator = false;
    bool transport_error_indicator = false;

    Bytes Build() const {
        const uint64_t base = program_clock_reference / 300;
        const uint64_t extension = program_clock_reference % 300;
        const Bytes adaptation_field{
            static_cast<uint8_t>((discontinuity_indicator ? 0x80 : 0) | 0x10),
            static_cast<uint8_t>(base >> 25),
            static_cast<uint8_t>(base >> 17),
            static_cast<uint8_t>(base >> 9),
            static_cast<uint8_t>(base >> 1),
            static_cast<uint8_t>(base << 7 | 0x7E | extension >> 8),
            static_cast<uint8_t>(extension)};
        return PacketBytes{.PID = PID,
                           .transport_error_indicator = transport_error_indicator,
                           .adaptation_field = adaptation_field}
            .Build({});
    }
};

// `count` packets of PID 0x0200 without an adaptation field; the content of each differs.
inline Bytes PlainPackets(size_t count) {
    Bytes bytes;
    for (size_t i = 0; i < count; ++i) {
        bytes = Join(
            {bytes,
             PacketBytes{.PID = 0x0200, .continuity_counter = static_cast<uint8_t>(i & 0xF)}.Build(
                 Counting(184, static_cast<uint8_t>(i)))});
    }
    return bytes;
}

}  // namespace testsupport
