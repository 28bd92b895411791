#include "softplatform/descriptor/DescriptorLoop.h"

#include <algorithm>
#include <new>

#include "softplatform/base/Counters.h"
#include "softplatform/descriptor/DescriptorReader.h"

namespace tvservice {

// So the slots that the arena hands out one after the other form an array.
static_assert(DescriptorLoop::kRoomEach == sizeof(DescriptorSlot));

size_t DescriptorLoop::CountIn(ByteView loop) {
    size_t count = 0;
    DescriptorReader reader(loop);
    while (reader.Next()) {
        ++count;
    }
    return count;
}

DescriptorLoop::DescriptorLoop(ByteView loop, uint8_t tableId, DescriptorArena& arena) {
    DescriptorReader reader(loop);
    while (reader.Next()) {
        const ByteView bytes = reader.descriptor();
        auto* const slot = ::new (arena.Take(sizeof(DescriptorSlot))) DescriptorSlot;
        slot->impl.data = bytes.data();
        slot->impl.arena = &arena;
        slot->impl.size = static_cast<uint16_t>(bytes.size());
        slot->impl.tag = TagOf(bytes, tableId);
        if (size_++ == 0) {
            slots_ = slot;
        }
    }
    if (reader.overrun()) {
        ReceiverCounters().AddShared(Counter::kDescriptorOverruns);
    }
}

size_t DescriptorLoop::Count(int tag) const {
    if (cursor_.tag != tag) {
        const auto count = std::count_if(slots_, slots_ + size_, [tag](const DescriptorSlot& slot) {
            return slot.impl.tag == tag;
        });
        cursor_ = {tag, static_cast<uint32_t>(count)};
    }
    return cursor_.count;
}

TCBaseDesc* DescriptorLoop::Find(int tag, size_t index) {
    if (index >= Count(tag)) {
        return nullptr;
    }
    if (index < cursor_.before) {
        cursor_.at = cursor_.before = 0;
    }
    for (;; ++cursor_.at) {
        DescriptorSlot& slot = slots_[cursor_.at];
        if (slot.impl.tag == tag) {
            if (cursor_.before == index) {
                return &ObjectOf(slot);
            }
            ++cursor_.before;
        }
    }
}

}  // namespace tvservice
