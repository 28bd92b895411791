#include "softplatform/input/RtpSequence.h"

#include <utility>

namespace tvservice {

namespace {
constexpr int kMaxMisorder = 100;  // RFC 3550 A.1: a number farther back means a restart
}  // namespace

void RtpSequence::Push(const RtpPacket& packet) {
    const uint16_t number = packet.sequence_number();
    startsAnew_ = SSRC_ != packet.SSRC() || Ahead(number) < -kMaxMisorder;
    SSRC_ = packet.SSRC();
    if (!startsAnew_) {
        const int ahead = Ahead(number);
        const bool isHeld = ahead < static_cast<int>(kWindow) && SlotOf(number).isHeld;
        if (ahead < 0 || isHeld) {
            return;
        }
        if (static_cast<int16_t>(static_cast<uint16_t>(number - highest_)) < 0) {
            counters_.AddShared(Counter::kRtpReordered);
        } else {
            highest_ = number;
        }
    }
    incoming_ = packet.payload();
    incomingNumber_ = number;
}

std::optional<ByteView> RtpSequence::Pop() {
    for (;;) {
        Slot& slot = SlotOf(expected_);
        if (slot.isHeld) {
            slot.isHeld = false;
            --held_;
            ++expected_;
            return ByteView(slot.payload.data(), slot.payload.size());
        }
        if (!incoming_) {
            return std::nullopt;
        }
        if (startsAnew_) {
            if (held_ != 0) {
                Lose();
                continue;
            }
            expected_ = highest_ = incomingNumber_;
            startsAnew_ = false;
        }
        const int ahead = Ahead(incomingNumber_);
        if (ahead == 0) {
            ++expected_;
            return std::exchange(incoming_, std::nullopt);
        }
        if (ahead >= static_cast<int>(kWindow)) {
            Lose();
            continue;
        }
        Slot& place = SlotOf(incomingNumber_);
        place.payload.assign(incoming_->begin(), incoming_->end());
        place.isHeld = true;
        ++held_;
        incoming_.reset();
    }
}

void RtpSequence::Lose() {
    ++expected_;
    counters_.AddShared(Counter::kRtpLosses);
}

}  // namespace tvservice
