#include "softplatform/input/PaceSource.h"

#include <algorithm>
#include <utility>

namespace tvservice {

PaceSource::PaceSource(std::shared_ptr<ByteSource> source, std::unique_ptr<Timer> timer,
                       double speed)
    : ByteSource(source->name()),
      source_(std::move(source)),
      timer_(std::move(timer)),
      speed_(speed),
      schedule_(speed),
      buffer_(kReadAhead) {}

bool PaceSource::Rewind() {
    if (!source_->Rewind()) {
        return false;
    }
    scanner_.Reset();
    schedule_ = PcrSchedule(speed_);
    ahead_ = {};
    due_.reset();
    return true;
}

ReadResult PaceSource::Read(uint8_t* /*buffer*/, size_t size) {
    if (due_) {
        if (timer_->Now() < *due_) {
            timer_->WakeAt(*due_);
            return {ReadResult::kWouldBlock};
        }
        due_.reset();
    }
    if (ahead_.empty()) {
        ReadResult result = source_->Read(buffer_.data(), buffer_.size());
        if (result.status != ReadResult::kBytes) {
            return result;
        }
        ahead_ = result.bytes;
    }
    std::optional<Pcr> pcr;
    const size_t count = scanner_.Scan(ahead_.data(), std::min(size, ahead_.size()), pcr);
    const ByteView lent = ahead_.Subview(0, count);
    ahead_ = ahead_.Subview(count);
    if (pcr) {
        due_ = schedule_.Due(*pcr, timer_->Now());
    }
    return {ReadResult::kBytes, lent};
}

}  // namespace tvservice
