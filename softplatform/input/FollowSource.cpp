#include "softplatform/input/FollowSource.h"

#include <utility>

namespace tvservice {

FollowSource::FollowSource(std::shared_ptr<ByteSource> source, std::unique_ptr<Timer> timer)
    : ByteSource(source->name()), source_(std::move(source)), timer_(std::move(timer)) {}

ReadResult FollowSource::Read(uint8_t* buffer, size_t size) {
    ReadResult result = source_->Read(buffer, size);
    if (result.status == ReadResult::kEnd) {
        timer_->WakeAt(timer_->Now() + kInterval);
        result.status = ReadResult::kWouldBlock;
    }
    return result;
}

}  // namespace tvservice
