#pragma once

#include <cstdint>
#include <optional>

#include "tests/support/TsBytes.h"

namespace testsupport {

// An RTP packet, built by hand (RFC 3550 5.1).
struct RtpBytes {
    uint8_t version = 2;
    uint8_t payload_type = 33;  // MP2T, RFC 3551
    bool marker = false;
    uint16_t sequence_number = 0;
    uint32_t SSRC = 0x01020304;
    uint8_t CSRC_count = 0;
    std::optional<Bytes> extension{};  // a multiple of 4 bytes
    uint8_t padding = 0;               // bytes

    Bytes Build(const Bytes& payload) const {
        Bytes bytes{static_cast<uint8_t>(version << 6 | (padding != 0 ? 0x20 : 0) |
                                         (extension ? 0x10 : 0) | CSRC_count),
                    static_cast<uint8_t>((marker ? 0x80 : 0) | payload_type),
                    static_cast<uint8_t>(sequence_number >> 8),
                    static_cast<uint8_t>(sequence_number),
                    0,
                    0,
                    0,
                    0,  // timestamp
                    static_cast<uint8_t>(SSRC >> 24),
                    static_cast<uint8_t>(SSRC >> 16),
                    static_cast<uint8_t>(SSRC >> 8),
                    static_cast<uint8_t>(SSRC)};
        bytes.resize(bytes.size() + size_t{4} * CSRC_count, 0xC5);
        if (extension) {
            const size_t words = extension->size() / 4;
            bytes =
                Join({bytes,
                      {0xBE, 0xDE, static_cast<uint8_t>(words >> 8), static_cast<uint8_t>(words)},
                      *extension});
        }
        bytes = Join({bytes, payload});
        if (padding != 0) {
            bytes.resize(bytes.size() + padding, 0x00);
            bytes.back() = padding;
        }
        return bytes;
    }
};

}  // namespace testsupport
