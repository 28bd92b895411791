#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/TCBaseDesc.h"
#include "softplatform/base/ByteView.h"

namespace tvservice {

// One descriptor loop, indexed once and decoded descriptor by descriptor when asked.
//
// Asked for the descriptors of one tag one after the other, as clients do, it walks the loop once.
// The bytes are borrowed and must outlive it. A descriptor that reaches past the end of the loop
// ends it and is counted (Counter::kDescriptorOverruns). Used by one thread at a time; the objects
// handed out belong to the loop.
class DescriptorLoop {
  public:
    DescriptorLoop() = default;

    // @param tableId  the table that the loop stands in, see HasExtensionClasses
    DescriptorLoop(ByteView loop, uint8_t tableId);

    size_t size() const { return entries_.size(); }

    // How many descriptors have that Tag().
    size_t Count(int tag) const;

    // The descriptor at `index`; null past the end.
    TCBaseDesc* At(size_t index);

    // The `index`-th descriptor with that Tag(); null past the end.
    TCBaseDesc* Find(int tag, size_t index);

  private:
    struct Entry {
        uint16_t tag;
        ByteView bytes;
        std::unique_ptr<TCBaseDesc> object;  // null until asked for
    };

    // Where the search for the tag that was asked for last stands.
    struct Cursor {
        int tag = -1;  // of no descriptor
        size_t count = 0;
        size_t at = 0;      // of the entries
        size_t before = 0;  // entries of that tag before `at`
    };

    TCBaseDesc* Decoded(Entry& entry);

    uint8_t tableId_ = 0;
    std::vector<Entry> entries_;
    mutable Cursor cursor_;
};

}  // namespace tvservice
