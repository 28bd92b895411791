#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/TCBaseDesc.h"
#include "softplatform/base/ByteView.h"
#include "softplatform/descriptor/BaseDesc.h"

namespace tvservice {

// Whether extension descriptors (tag 0x7F) have classes of their own in the loops of this table:
// only in a NIT. In other tables they are plain descriptors whose Tag() is 0x007F.
constexpr bool HasExtensionClasses(uint8_t tableId) {
    return tableId == 0x40 || tableId == 0x41;
}

// What Tag() returns for a descriptor: 0x7F00 + descriptor_tag_extension for an extension
// descriptor of a NIT, else descriptor_tag. `descriptor` is whole.
inline uint16_t TagOf(ByteView descriptor, uint8_t tableId) {
    constexpr uint8_t kExtensionTag = 0x7F;
    const uint8_t tag = descriptor.U8(0);
    if (tag == kExtensionTag && descriptor.size() > 2 && HasExtensionClasses(tableId)) {
        return static_cast<uint16_t>(kExtensionTag << 8 | descriptor.U8(2));
    }
    return tag;
}

// One descriptor of a loop, in an arena. Its bytes and its tag are known from the start; the object
// is made when a client first asks for it.
struct DescriptorSlot {
    static constexpr size_t kObjectSize = 4 * sizeof(void*);  // of the largest class

    TVServiceInternals::Impl<TCBaseDesc> impl;
    alignas(void*) unsigned char object[kObjectSize];
};

// Makes the slot's object, of the class that Decoders.cpp lists for its tag. When the tag is not
// listed, or the fixed part does not fit the declared length, the object is a plain descriptor,
// which only gives out its bytes. When the fields do not end where the descriptor does, the
// descriptor is counted (Counter::kMalformedDescriptors).
TCBaseDesc& DecodeDescriptor(DescriptorSlot& slot);

}  // namespace tvservice
