#include "softplatform/section/PidDemux.h"

namespace tvservice {

bool PidDemux::TakesPayload(ContinuityVerdict verdict, PacketView packet) {
    switch (verdict) {
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
