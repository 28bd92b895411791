#pragma once

#include <cstddef>
#include <cstdint>

#include "softplatform/base/ByteView.h"
#include "softplatform/base/SyncByte.h"

namespace tvservice {

constexpr size_t kPacketSize = 188;
constexpr uint16_t kNullPid = 0x1FFF;
constexpr size_t kPidCount = 0x2000;

// One transport packet: 188 borrowed bytes, which outlive the view. Fields as ISO/IEC 13818-1
// 2.4.3.2 names them. The header fields can be read in any packet; no other byte is read before an
// accessor asks for it.
class PacketView {
  public:
    // `packet` points to 188 readable bytes.
    explicit PacketView(const uint8_t* packet) : packet_(packet) {}

    const uint8_t* data() const { return packet_; }

    uint8_t sync_byte() const { return packet_[0]; }
    bool transport_error_indicator() const { return (packet_[1] & 0x80) != 0; }
    bool payload_unit_start_indicator() const { return (packet_[1] & 0x40) != 0; }
    bool transport_priority() const { return (packet_[1] & 0x20) != 0; }
    uint16_t PID() const { return static_cast<uint16_t>((packet_[1] & 0x1F) << 8 | packet_[2]); }
    uint8_t transport_scrambling_control() const { return packet_[3] >> 6; }
    uint8_t adaptation_field_control() const { return (packet_[3] >> 4) & 0x3; }
    uint8_t continuity_counter() const { return packet_[3] & 0xF; }

    bool has_adaptation_field() const { return (packet_[3] & 0x20) != 0; }
    bool has_payload() const { return (packet_[3] & 0x10) != 0; }

    // Whether the packet keeps the rules of 2.4.3.3 and 2.4.3.5: adaptation_field_control is not
    // the reserved '00', and adaptation_field_length is 183 for an adaptation field alone (less is
    // tolerated) and at most 182 before a payload.
    bool well_formed() const {
        return adaptation_field_control() != 0 &&
               (!has_adaptation_field() ||
                adaptation_field_length() <= (has_payload() ? 182 : 183));
    }

    // 0 when there is no adaptation field. Not checked against the packet's size.
    uint8_t adaptation_field_length() const {
        return has_adaptation_field() ? packet_[4] : uint8_t{0};
    }

    // The adaptation field after its length byte; empty when there is none or it does not fit.
    ByteView adaptation_field() const {
        return well_formed() ? ByteView(packet_ + 5, adaptation_field_length()) : ByteView();
    }

    // False when there is no adaptation field or it is empty.
    bool discontinuity_indicator() const { return (adaptation_field().U8(0) & 0x80) != 0; }
    bool random_access_indicator() const { return (adaptation_field().U8(0) & 0x40) != 0; }

    // What follows the header and the adaptation field, 1 to 184 bytes; empty when the packet has
    // no payload or is not well-formed.
    ByteView payload() const {
        if (!has_payload() || !well_formed()) {
            return {};
        }
        const size_t start = has_adaptation_field() ? size_t{5} + adaptation_field_length() : 4;
        return {packet_ + start, kPacketSize - start};
    }

  private:
    const uint8_t* packet_;
};

}  // namespace tvservice
