#include "softplatform/input/LoopSource.h"

#include <utility>

#include "softplatform/input/ErrorText.h"

namespace tvservice {

LoopSource::LoopSource(std::shared_ptr<ByteSource> source)
    : ByteSource(source->name()), source_(std::move(source)) {}

bool LoopSource::Rewind() {
    isAtStart_ = true;
    return source_->Rewind();
}

ReadResult LoopSource::Read(uint8_t* buffer, size_t size) {
    ReadResult result = source_->Read(buffer, size);
    if (result.status == ReadResult::kEnd && !isAtStart_) {
        if (!Rewind()) {
            return {ReadResult::kFailed, {}, "cannot start " + Visible(name()) + " again"};
        }
        result = source_->Read(buffer, size);
    }
    isAtStart_ = isAtStart_ && result.status != ReadResult::kBytes;
    return result;
}

}  // namespace tvservice
