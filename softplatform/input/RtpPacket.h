#pragma once

#include <cstdint>
#include <optional>

#include "softplatform/base/ByteView.h"

namespace tvservice {

// One RTP data packet: a borrowed datagram, which outlives the view. Fields as RFC 3550 5.1 names
// them.
class RtpPacket {
  public:
    // None when the datagram is not an RTP data packet of version 2, or when its CSRC list, header
    // extension or padding is longer than the datagram.
    static std::optional<RtpPacket> From(ByteView datagram) {
        constexpr size_t kFixedHeader = 12;
        constexpr unsigned kVersion = 2;
        if (!datagram.Has(0, kFixedHeader) || datagram.U8(0) >> 6 != kVersion) {
            return std::nullopt;
        }
        // RFC 5761 4: RTCP may use the same port; its packet types then look like these payload
        // types.
        const unsigned payload_type = datagram.U8(1) & 0x7Fu;
        if (payload_type >= 64 && payload_type <= 95) {
            return std::nullopt;
        }
        const bool padding = (datagram.U8(0) & 0x20) != 0;
        const bool extension = (datagram.U8(0) & 0x10) != 0;
        const size_t CSRC_count = datagram.U8(0) & 0x0Fu;
        size_t header = kFixedHeader + 4 * CSRC_count;
        if (extension) {
            // RFC 3550 5.3.1: the length is in 32-bit words and does not count the first one.
            if (!datagram.Has(header, 4)) {
                return std::nullopt;
            }
            header += 4 + size_t{4} * datagram.U16(header + 2);
        }
        if (!datagram.Has(header, 0)) {
            return std::nullopt;
        }
        ByteView payload = datagram.Subview(header);
        if (padding) {
            // RFC 3550 5.1: the last byte is the number of padding bytes, itself included.
            const size_t stuffed = payload.empty() ? 0 : payload.U8(payload.size() - 1);
            if (stuffed == 0 || stuffed > payload.size()) {
                return std::nullopt;
            }
            payload = payload.Subview(0, payload.size() - stuffed);
        }
        return RtpPacket(datagram, payload);
    }

    uint16_t sequence_number() const { return datagram_.U16(2); }
    uint32_t SSRC() const { return datagram_.U32(8); }

    // RFC 2250 2: whole transport packets. May be empty. Borrowed from the datagram.
    ByteView payload() const { return payload_; }

  private:
    RtpPacket(ByteView datagram, ByteView payload) : datagram_(datagram), payload_(payload) {}

    ByteView datagram_;
    ByteView payload_;
};

}  // namespace tvservice
