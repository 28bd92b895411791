#include "softplatform/input/PaceSource.h"

#include <algorithm>
#include <utility>

namespace tvservice {

PaceSource::PaceSource(std::shared_ptr<Source> source, std::unique_ptr<Timer> timer, double speed)
    : Source(source->name()),
      source_(std::move(source)),
      timer_(std::move(timer)),
      speed_(speed),
      schedule_(speed),
      ahead_(kReadAhead) {}

bool PaceSource::Rewind() {
    if (!source_->Rewind()) {
        return false;
    }
    scanner_.Reset();
    schedule_ = PcrSchedule(speed_);
    filled_ = taken_ = 0;
    due_.reset();
    return true;
}

ReadResult PaceSource::Read(uint8_t* buffer, size_t size) {
    if (due_) {
        if (timer_->Now() < *due_) {
            timer_->WakeAt(*due_);
            return {ReadResult::kWouldBlock};
        }
        due_.reset();
    }
    if (taken_ == filled_) {
        ReadResult result = source_->Read(ahead_.data(), ahead_.size());
        if (result.status != ReadResult::kBytes) {
            return result;
        }
        filled_ = result.size;
        taken_ = 0;
    }
    std::optional<Pcr> pcr;
    const size_t count =
        scanner_.Scan(ahead_.data() + taken_, std::min(size, filled_ - taken_), pcr);
    std::copy_n(ahead_.data() + taken_, count, buffer);
    taken_ += count;
    if (pcr) {
        due_ = schedule_.Due(*pcr, timer_->Now());
    }
    return {ReadResult::kBytes, count};
}

}  // namespace tvservice
