#include "softplatform/input/BufferSource.h"

#include <algorithm>
#include <utility>

namespace tvservice {

BufferSource::BufferSource(std::string name, std::vector<uint8_t> bytes, size_t piece)
    : Source(std::move(name)), bytes_(std::move(bytes)), piece_(piece) {}

bool BufferSource::Rewind() {
    offset_ = 0;
    return true;
}

ReadResult BufferSource::Read(uint8_t* buffer, size_t size) {
    if (offset_ == bytes_.size()) {
        return {ReadResult::kEnd};
    }
    const size_t wanted = piece_ == 0 ? size : std::min(size, piece_);
    const size_t count = std::min(wanted, bytes_.size() - offset_);
    std::copy_n(bytes_.data() + offset_, count, buffer);
    offset_ += count;
    return {ReadResult::kBytes, count};
}

}  // namespace tvservice
