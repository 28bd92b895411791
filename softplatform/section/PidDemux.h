#pragma once

#include "softplatform/base/Counters.h"
#include "softplatform/section/SectionAssembler.h"
#include "softplatform/section/SectionView.h"
#include "softplatform/ts/Continuity.h"
#include "softplatform/ts/PacketView.h"

namespace tvservice {

// Makes sections of the packets of one PID: follows their continuity and joins their payloads. Used
// by one thread.
//
// Adds to the counters of Continuity's verdicts (continuity_gaps, duplicate_packets,
// announced_discontinuities), to malformed_packets, and to those of SectionAssembler.
class PidDemux {
  public:
    // `counters` is borrowed and outlives this object.
    explicit PidDemux(Counters& counters) : counters_(counters), assembler_(counters) {}

    // Takes the next packet of the PID, one without transport_error_indicator. If it carries a
    // payload and is not a duplicate, `onPayload()` is called, then `onSection(SectionView)` for
    // each section that ends in it. The bytes are borrowed for that call; the CRC has not been
    // checked. A scrambled payload cannot be read, so the open section is dropped.
    template <class OnPayload, class OnSection>
    void Feed(PacketView packet, OnPayload&& onPayload, OnSection&& onSection) {
        if (!packet.well_formed()) {
            counters_.Add(Counter::kMalformedPackets);
            return;
        }
        const ContinuityVerdict verdict = continuity_.Check(packet);
        if (verdict != ContinuityVerdict::kNext && !TakesPayload(verdict, packet)) {
            return;
        }
        onPayload();
        if (packet.transport_scrambling_control() != 0) {
            assembler_.Discontinuity();
            return;
        }
        assembler_.Feed(packet.payload(), packet.payload_unit_start_indicator(), onSection);
    }

  private:
    // Counts the verdict. Drops the open section if packets are missing before this one. Returns
    // whether the packet has a payload to be read.
    bool TakesPayload(ContinuityVerdict verdict, PacketView packet);

    Counters& counters_;
    Continuity continuity_;
    SectionAssembler assembler_;
};

}  // namespace tvservice
