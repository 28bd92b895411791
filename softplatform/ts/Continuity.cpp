#include "softplatform/ts/Continuity.h"

#include <algorithm>
#include <utility>

namespace tvservice {

ContinuityVerdict Continuity::CheckAny(PacketView packet) {
    const uint8_t counter = packet.continuity_counter();
    const bool announced = packet.discontinuity_indicator();
    const ByteView payload = packet.payload();

    // ISO/IEC 13818-1 2.4.3.3: the counter of null packets is undefined.
    if (packet.PID() == kNullPid) {
        const bool isFirst = !std::exchange(started_, true);
        return payload.empty() ? ContinuityVerdict::kNoPayload
               : isFirst       ? ContinuityVerdict::kFirst
                               : ContinuityVerdict::kNext;
    }
    if (payload.empty()) {
        // ISO/IEC 13818-1 2.4.3.5: discontinuity_indicator lets the counter jump in a packet
        // without payload too, and the next packet continues from the new value.
        if (!announced || !started_ || counter == counter_) {
            return ContinuityVerdict::kNoPayload;
        }
        Remember({}, counter);
        return ContinuityVerdict::kAnnouncedJump;
    }
    if (!started_) {
        started_ = true;
        Remember(payload, counter);
        return ContinuityVerdict::kFirst;
    }
    if (counter == counter_ && !repeated_ &&
        std::equal(payload.begin(), payload.end(), payload_.data(),
                   payload_.data() + payloadSize_)) {
        repeated_ = true;
        return ContinuityVerdict::kDuplicate;
    }
    const bool follows = counter == ((counter_ + 1) & 0xF);
    Remember(payload, counter);
    if (follows) {
        return ContinuityVerdict::kNext;
    }
    return announced ? ContinuityVerdict::kAnnouncedJump : ContinuityVerdict::kGap;
}

void Continuity::Reset() {
    started_ = false;
}

void Continuity::Remember(ByteView payload, uint8_t counter) {
    std::copy(payload.begin(), payload.end(), payload_.begin());
    payloadSize_ = payload.size();
    counter_ = counter;
    repeated_ = false;
}

}  // namespace tvservice
