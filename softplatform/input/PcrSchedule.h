#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>

#include "softplatform/input/PcrScanner.h"

namespace tvservice {

// When the bytes behind a PCR are due, for a stream that shall pass as fast as it was broadcast, or
// so many times faster. Time is a parameter: any clock that only grows.
//
// The PCRs of one PID lead: the first that is seen. When it falls silent while another PID's go on
// for half a second of its own time, that one leads. At a break in the leading time base, announced
// or seen (more than a second forth, or back), the stream goes on without a pause; also where it
// comes more than a second late, it does not hurry to catch up.
class PcrSchedule {
  public:
    // `speed` is above 0; 1 is real time.
    explicit PcrSchedule(double speed) : speed_(speed) {}

    // The stream has come to `pcr`, and it is `now`. When what follows is due; none when this PCR
    // does not lead.
    std::optional<std::chrono::nanoseconds> Due(const Pcr& pcr, std::chrono::nanoseconds now);

  private:
    bool TakesOver(const Pcr& pcr);
    std::chrono::nanoseconds Due() const;
    void StartAt(std::chrono::nanoseconds time);

    double speed_;
    std::optional<uint16_t> pid_;  // whose PCRs lead
    uint64_t last_ = 0;            // of them
    std::chrono::nanoseconds start_{0};
    uint64_t ticks_ = 0;  // of the stream's clock since start_
    // Of every other PID the first PCR since the last one of the leading PID.
    std::map<uint16_t, uint64_t> others_;
};

}  // namespace tvservice
