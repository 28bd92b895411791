#include "softplatform/table/Loops.h"

#include "softplatform/base/Counters.h"

namespace tvservice {

ByteView Field(ByteView body, size_t at, size_t length) {
    if (!body.Has(at, length)) {
        ReceiverCounters().AddShared(Counter::kDescriptorOverruns);
    }
    return body.Subview(at, length);
}

bool EntryReader::Next() {
    if (next_ >= loop_.size()) {
        return false;
    }
    head_ = Field(loop_, next_, headSize_);
    if (head_.size() < headSize_) {
        return false;
    }
    const size_t length = head_.U16(headSize_ - 2) & 0x0FFF;
    descriptors_ = Field(loop_, next_ + headSize_, length);
    next_ += headSize_ + descriptors_.size();
    return true;
}

int SpanningLoop::size() const {
    size_t size = 0;
    for (const auto& section : bySection_) {
        size += section.second.size();
    }
    return static_cast<int>(size);
}

int SpanningLoop::Count(int tag) const {
    size_t count = 0;
    for (const auto& section : bySection_) {
        count += section.second.Count(tag);
    }
    return static_cast<int>(count);
}

TCBaseDesc* SpanningLoop::At(size_t index) {
    for (auto& section : bySection_) {
        if (index < section.second.size()) {
            return section.second.At(index);
        }
        index -= section.second.size();
    }
    return nullptr;
}

TCBaseDesc* SpanningLoop::Find(int tag, size_t index) {
    for (auto& section : bySection_) {
        const size_t count = section.second.Count(tag);
        if (index < count) {
            return section.second.Find(tag, index);
        }
        index -= count;
    }
    return nullptr;
}

}  // namespace tvservice
