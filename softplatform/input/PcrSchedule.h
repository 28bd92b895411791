#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>

#include "softplatform/input/PcrScanner.h"

namespace tvservice {

// Computes when the bytes after a PCR are due, so that a stream plays at the speed of its
// broadcast, or `speed` times as fast. The caller gives the time, from any clock that never goes
// back.
//
// Only the PCRs of one PID are used: the first PID that has one. When that PID has no more PCRs,
// and another PID has had PCRs for half a second of its own time, the other PID is used instead.
// When the time base changes (discontinuity_indicator, a jump back, or a jump of more than a
// second), the stream goes on without a pause. When the stream is more than a second late, the
// schedule starts anew from the present time, so it does not catch up.
class PcrSchedule {
  public:
    // `speed` is above 0; 1 is real time.
    explicit PcrSchedule(double speed) : speed_(speed) {}

    // `pcr` was read at the time `now`. Returns when the bytes after it are due; none when its PID
    // is not used.
    std::optional<std::chrono::nanoseconds> Due(const Pcr& pcr, std::chrono::nanoseconds now);

  private:
    bool TakesOver(const Pcr& pcr);
    std::chrono::nanoseconds Due() const;
    void StartAt(std::chrono::nanoseconds time);

    double speed_;
    std::optional<uint16_t> pid_;        // the PID whose PCRs are used
    uint64_t last_ = 0;                  // its last PCR
    std::chrono::nanoseconds start_{0};  // when ticks_ was 0
    uint64_t ticks_ = 0;                 // of the stream's clock since start_
    // For every other PID: its first PCR since last_, or since its own time base changed.
    std::map<uint16_t, uint64_t> others_;
};

}  // namespace tvservice
