#include "softplatform/input/BufferSource.h"

#include <algorithm>
#include <utility>

namespace tvservice {

BufferSource::BufferSource(std::string name, std::vector<uint8_t> bytes, size_t piece)
    : ByteSource(std::move(name)),
      kept_(std::move(bytes)),
      bytes_(kept_.data(), kept_.size()),
      piece_(piece),
      left_(bytes_) {}

BufferSource::BufferSource(std::string name, ByteView bytes, size_t piece)
    : ByteSource(std::move(name)), bytes_(bytes), piece_(piece), left_(bytes_) {}

bool BufferSource::Rewind() {
    left_ = bytes_;
    return true;
}

ReadResult BufferSource::Read(uint8_t* /*buffer*/, size_t size) {
    if (left_.empty()) {
        return {ReadResult::kEnd};
    }
    const ByteView lent = left_.Subview(0, piece_ == 0 ? size : std::min(size, piece_));
    left_ = left_.Subview(lent.size());
    return {ReadResult::kBytes, lent};
}

}  // namespace tvservice
