#include "softplatform/input/PcrSchedule.h"

namespace tvservice {

namespace {

// ISO/IEC 13818-1 2.7.2: PCRs come every 100 ms at least. A longer interval than this one second is
// a new time base.
constexpr uint64_t kMaxInterval = kPcrFrequency;
constexpr uint64_t kSilence = kPcrFrequency / 2;
constexpr std::chrono::seconds kMaxLateness{1};

uint64_t Between(uint64_t earlier, uint64_t later) {
    return (later + kPcrModulus - earlier) % kPcrModulus;
}

}  // namespace

std::optional<std::chrono::nanoseconds> PcrSchedule::Due(const Pcr& pcr,
                                                         std::chrono::nanoseconds now) {
    if (!pid_) {
        StartAt(now);
    } else if (pcr.pid != *pid_) {
        if (!TakesOver(pcr)) {
            return std::nullopt;
        }
        StartAt(Due());
    } else if (const uint64_t interval = Between(last_, pcr.ticks);
               pcr.isAfterBreak || interval > kMaxInterval) {
        StartAt(Due());
    } else {
        ticks_ += interval;
    }
    pid_ = pcr.pid;
    last_ = pcr.ticks;
    others_.clear();
    if (now > Due() + kMaxLateness) {
        StartAt(now);
    }
    return Due();
}

bool PcrSchedule::TakesOver(const Pcr& pcr) {
    const auto [known, isNew] = others_.try_emplace(pcr.pid, pcr.ticks);
    if (isNew) {
        return false;
    }
    const uint64_t passed = Between(known->second, pcr.ticks);
    if (pcr.isAfterBreak || passed > kPcrModulus / 2) {
        known->second = pcr.ticks;
        return false;
    }
    return passed > kSilence;
}

std::chrono::nanoseconds PcrSchedule::Due() const {
    const double nanoseconds = static_cast<double>(ticks_) * 1000 / 27 / speed_;
    return start_ + std::chrono::nanoseconds(static_cast<int64_t>(nanoseconds));
}

void PcrSchedule::StartAt(std::chrono::nanoseconds time) {
    start_ = time;
    ticks_ = 0;
}

}  // namespace tvservice
