#include "softplatform/descriptor/DescriptorLoop.h"

#include <algorithm>

#include "softplatform/base/Counters.h"
#include "softplatform/descriptor/Decoders.h"
#include "softplatform/descriptor/DescriptorReader.h"

namespace tvservice {

DescriptorLoop::DescriptorLoop(ByteView loop, uint8_t tableId) : tableId_(tableId) {
    DescriptorReader reader(loop);
    while (reader.Next()) {
        entries_.push_back({TagOf(reader.descriptor(), tableId), reader.descriptor(), nullptr});
    }
    if (reader.overrun()) {
        ReceiverCounters().AddShared(Counter::kDescriptorOverruns);
    }
}

size_t DescriptorLoop::Count(int tag) const {
    if (cursor_.tag != tag) {
        const auto count = std::count_if(entries_.begin(), entries_.end(),
                                         [tag](const Entry& entry) { return entry.tag == tag; });
        cursor_ = {tag, static_cast<size_t>(count)};
    }
    return cursor_.count;
}

TCBaseDesc* DescriptorLoop::At(size_t index) {
    return index < entries_.size() ? Decoded(entries_[index]) : nullptr;
}

TCBaseDesc* DescriptorLoop::Find(int tag, size_t index) {
    if (index >= Count(tag)) {
        return nullptr;
    }
    if (index < cursor_.before) {
        cursor_.at = cursor_.before = 0;
    }
    for (;; ++cursor_.at) {
        Entry& entry = entries_[cursor_.at];
        if (entry.tag == tag) {
            if (cursor_.before == index) {
                return Decoded(entry);
            }
            ++cursor_.before;
        }
    }
}

TCBaseDesc* DescriptorLoop::Decoded(Entry& entry) {
    if (!entry.object) {
        entry.object = DecodeDescriptor(entry.bytes, tableId_);
    }
    return entry.object.get();
}

}  // namespace tvservice
