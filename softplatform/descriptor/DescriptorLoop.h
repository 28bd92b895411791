#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/TCBaseDesc.h"
#include "softplatform/base/ByteView.h"
#include "softplatform/descriptor/Decoders.h"
#include "softplatform/descriptor/DescriptorArena.h"

namespace tvservice {

// One descriptor loop. The constructor finds the descriptors; each is decoded when a client first
// asks for it. The index and the objects lie in an arena and live until its next Begin. The loop's
// bytes must live as long. A copy shares the index and the objects.
//
// Clients ask for the descriptors of one tag in ascending order: that takes one walk through the
// loop. A descriptor that reaches past the end of the loop ends it and is counted
// (Counter::kDescriptorOverruns). Used by one thread at a time.
class DescriptorLoop {
  public:
    // The bytes that each descriptor takes from the arena.
    static constexpr size_t kRoomEach = DescriptorArena::Rounded(sizeof(DescriptorSlot));

    // The number of descriptors in the loop, without one that reaches past its end.
    static size_t CountIn(ByteView loop);

    DescriptorLoop() = default;

    // @param tableId  the table_id of the section that the loop is in (HasExtensionClasses)
    // @param arena    borrowed; has room for CountIn(loop) * kRoomEach bytes
    DescriptorLoop(ByteView loop, uint8_t tableId, DescriptorArena& arena);

    size_t size() const { return size_; }

    // The number of descriptors with that Tag().
    size_t Count(int tag) const;

    // The descriptor at `index`; null past the end.
    TCBaseDesc* At(size_t index) { return index < size_ ? &ObjectOf(slots_[index]) : nullptr; }

    // The `index`-th descriptor with that Tag(); null past the end.
    TCBaseDesc* Find(int tag, size_t index);

  private:
    // The last search by tag. The next one for the same tag goes on from there.
    struct Cursor {
        int tag = -1;         // at first one that no descriptor has
        uint32_t count = 0;   // descriptors of that tag
        uint32_t at = 0;      // the index of the slot that was reached
        uint32_t before = 0;  // descriptors of that tag before `at`
    };

    static TCBaseDesc& ObjectOf(DescriptorSlot& slot) {
        return slot.impl.isDecoded ? *reinterpret_cast<TCBaseDesc*>(slot.object)
                                   : DecodeDescriptor(slot);
    }

    DescriptorSlot* slots_ = nullptr;
    uint32_t size_ = 0;
    mutable Cursor cursor_;
};

}  // namespace tvservice
