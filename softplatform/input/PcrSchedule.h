#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>

#include "softplatform/input/PcrScanner.h"

namespace tvservice {

// Computes when the bytes after a PCR are due, so that a stream is played as fast as it was
// broadcast, or `speed` times as fast. Time is a parameter: any clock that only grows.
//
// The PCRs of one PID count, at first those of the first PID that has one. When that PID has no
// more PCRs while another PID has them for half a second of its own time, the other one counts from
// then on. Where the time base of the counting PID breaks (announced by discontinuity_indicator, or
// a jump of more than a second, or a jump back), the stream goes on without a pause. When the
// stream is more than a second late, it does not catch up.
class PcrSchedule {
  public:
    // `speed` is above 0; 1 is real time.
    explicit PcrSchedule(double speed) : speed_(speed) {}

    // `pcr` was reached at the time `now`. Returns when the bytes after it are due; none when its
    // PID does not count.
    std::optional<std::chrono::nanoseconds> Due(const Pcr& pcr, std::chrono::nanoseconds now);

  private:
    bool TakesOver(const Pcr& pcr);
    std::chrono::nanoseconds Due() const;
    void StartAt(std::chrono::nanoseconds time);

    double speed_;
    std::optional<uint16_t> pid_;  // whose PCRs count
    uint64_t last_ = 0;            // the last of them
    std::chrono::nanoseconds start_{0};
    uint64_t ticks_ = 0;  // of the stream's clock since start_
    // For every other PID, its first PCR after the last one that counted.
    std::map<uint16_t, uint64_t> others_;
};

}  // namespace tvservice
