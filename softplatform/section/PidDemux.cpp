#include "softplatform/section/PidDemux.h"

namespace tvservice {

bool PidDemux::TakePayload(PacketView packet) {
    if (!packet.well_formed()) {
        counters_.Add(Counter::kMalformedPackets);
        return false;
    }
    switch (continuity_.Check(packet)) {
        case ContinuityVerdict::kFirst:
        case ContinuityVerdict::kNext:
            return true;
        case ContinuityVerdict::kNoPayload:
            return false;
        case ContinuityVerdict::kDuplicate:
            counters_.Add(Counter::kDuplicatePackets);
            return false;
        case ContinuityVerdict::kGap:
            counters_.Add(Counter::kContinuityGaps);
            break;
        case ContinuityVerdict::kAnnouncedJump:
            counters_.Add(Counter::kAnnouncedDiscontinuities);
            break;
    }
    assembler_.Discontinuity();
    return packet.has_payload();
}

}  // namespace tvservice
