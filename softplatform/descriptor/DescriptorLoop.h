#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/TCBaseDesc.h"
#include "softplatform/base/ByteView.h"
#include "softplatform/descriptor/Decoders.h"
#include "softplatform/descriptor/DescriptorArena.h"

namespace tvservice {

// One descriptor loop, indexed once and decoded descriptor by descriptor when asked. Its index and
// the objects stand in an arena and live as long as what was taken there; so must the loop's bytes.
// Copies are the same loop.
//
// Asked for the descriptors of one tag one after the other, as clients do, it walks the loop once.
// A descriptor that reaches past the end of the loop ends it and is counted
// (Counter::kDescriptorOverruns). Used by one thread at a time.
class DescriptorLoop {
  public:
    // What each descriptor of a loop takes from the arena.
    static constexpr size_t kRoomEach = DescriptorArena::Rounded(sizeof(DescriptorSlot));

    // How many descriptors the loop has.
    static size_t CountIn(ByteView loop);

    DescriptorLoop() = default;

    // @param tableId  the table that the loop stands in, see HasExtensionClasses
    // @param arena    has room for the descriptors, kRoomEach for each
    DescriptorLoop(ByteView loop, uint8_t tableId, DescriptorArena& arena);

    size_t size() const { return size_; }

    // How many descriptors have that Tag().
    size_t Count(int tag) const;

    // The descriptor at `index`; null past the end.
    TCBaseDesc* At(size_t index) { return index < size_ ? &ObjectOf(slots_[index]) : nullptr; }

    // The `index`-th descriptor with that Tag(); null past the end.
    TCBaseDesc* Find(int tag, size_t index);

  private:
    // Where the search for the tag that was asked for last stands.
    struct Cursor {
        int tag = -1;  // of no descriptor
        uint32_t count = 0;
        uint32_t at = 0;      // of the descriptors
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
