#include "softplatform/input/PcrScanner.h"

#include <algorithm>

#include "softplatform/base/ByteView.h"
#include "softplatform/base/SyncByte.h"

namespace tvservice {

namespace {
constexpr std::array<size_t, 3> kPacketSizes{188, 192, 204};
}  // namespace

size_t PcrScanner::Scan(const uint8_t* bytes, size_t size, std::optional<Pcr>& pcr) {
    pcr.reset();
    size_t i = 0;
    while (i < size) {
        if (packetSize_ == 0) {
            Hunt(bytes[i++]);
        } else if (at_ == 0 && bytes[i] != kSyncByte) {
            LoseSync(bytes[i++]);
        } else if (at_ < kPcrEnd) {
            header_[at_++] = bytes[i++];
            if (at_ == kPcrEnd && (pcr = ReadPcr())) {
                break;
            }
        } else {
            const size_t step = std::min(size - i, packetSize_ - at_);
            at_ = (at_ + step) % packetSize_;
            i += step;
        }
    }
    return i;
}

void PcrScanner::Hunt(uint8_t byte) {
    hunted_[huntedSize_++] = byte;
    if (hunted_[0] != kSyncByte) {
        huntedSize_ = 0;
    }
    if (huntedSize_ < kHuntedBytes) {
        return;
    }
    for (const size_t packetSize : kPacketSizes) {
        if (hunted_[packetSize] == kSyncByte && hunted_[2 * packetSize] == kSyncByte) {
            packetSize_ = packetSize;
            at_ = kHuntedBytes % packetSize;
            std::copy_n(hunted_.end() - static_cast<std::ptrdiff_t>(at_), std::min(at_, kPcrEnd),
                        header_.begin());
            huntedSize_ = 0;
            return;
        }
    }
    auto* const next = std::find(hunted_.begin() + 1, hunted_.end(), kSyncByte);
    huntedSize_ =
        static_cast<size_t>(std::copy(next, hunted_.end(), hunted_.begin()) - hunted_.begin());
}

void PcrScanner::LoseSync(uint8_t byte) {
    packetSize_ = 0;
    Hunt(byte);
}

std::optional<Pcr> PcrScanner::ReadPcr() const {
    const ByteView packet(header_.data(), header_.size());
    const bool transport_error_indicator = (packet.U8(1) & 0x80) != 0;
    const bool has_adaptation_field = (packet.U8(3) & 0x20) != 0;
    const bool has_payload = (packet.U8(3) & 0x10) != 0;
    const unsigned adaptation_field_length = packet.U8(4);
    const bool discontinuity_indicator = (packet.U8(5) & 0x80) != 0;
    const bool PCR_flag = (packet.U8(5) & 0x10) != 0;
    if (transport_error_indicator || !has_adaptation_field || adaptation_field_length < 7 ||
        adaptation_field_length > (has_payload ? 182u : 183u) || !PCR_flag) {
        return std::nullopt;
    }
    const uint64_t base = uint64_t{packet.U32(6)} << 1 | packet.U8(10) >> 7;
    const uint64_t extension = packet.U16(10) & 0x1FFu;
    if (extension >= 300) {
        return std::nullopt;
    }
    return Pcr{static_cast<uint16_t>(packet.U16(1) & 0x1FFFu),
               (base * 300 + extension) % kPcrModulus, discontinuity_indicator};
}

}  // namespace tvservice
