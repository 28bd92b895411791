#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/TCBaseDesc.h"
#include "softplatform/base/ByteView.h"
#include "softplatform/descriptor/BaseDesc.h"

namespace tvservice {

// Whether extension descriptors get classes of their own in the loops of a table: in those of
// NITs only. Everywhere else they are plain descriptors, whose Tag() is 0x007F.
constexpr bool HasExtensionClasses(uint8_t tableId) {
    return tableId == 0x40 || tableId == 0x41;
}

// What Tag() of the object that a descriptor is decoded to will answer. `descriptor` is whole.
inline uint16_t TagOf(ByteView descriptor, uint8_t tableId) {
    constexpr uint8_t kExtensionTag = 0x7F;
    const uint8_t tag = descriptor.U8(0);
    if (tag == kExtensionTag && descriptor.size() > 2 && HasExtensionClasses(tableId)) {
        return static_cast<uint16_t>(kExtensionTag << 8 | descriptor.U8(2));
    }
    return tag;
}

// The place of one descriptor of a loop in an arena: its bytes and tag from the start, the object
// once it was asked for.
struct DescriptorSlot {
    static constexpr size_t kObjectSize = 4 * sizeof(void*);  // the largest class

    TVServiceInternals::Impl<TCBaseDesc> impl;
    alignas(void*) unsigned char object[kObjectSize];
};

// Makes the object of the slot: of its tag's class, from the table in Decoders.cpp. One whose tag
// is not there, or whose fixed part does not fit its length, is plain: its bytes stay readable. One
// that its fields do not fill is counted (Counter::kMalformedDescriptors).
TCBaseDesc& DecodeDescriptor(DescriptorSlot& slot);

}  // namespace tvservice
