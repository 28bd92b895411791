#pragma once

#include <cstdint>
#include <memory>

#include "platform/TCBaseDesc.h"
#include "softplatform/base/ByteView.h"

namespace tvservice {

// Whether extension descriptors get classes of their own in the loops of a table: in those of
// NITs only. Everywhere else they are plain descriptors, whose Tag() is 0x007F.
constexpr bool HasExtensionClasses(uint8_t tableId) {
    return tableId == 0x40 || tableId == 0x41;
}

// What Tag() of the object that DecodeDescriptor makes will answer. `descriptor` is whole.
uint16_t TagOf(ByteView descriptor, uint8_t tableId);

// The descriptor as an object of its tag's class, from the table in Decoders.cpp. One whose tag is
// not there, or whose fixed part does not fit its length, is plain: its bytes stay readable. One
// that its fields do not fill is counted (Counter::kMalformedDescriptors).
std::unique_ptr<TCBaseDesc> DecodeDescriptor(ByteView descriptor, uint8_t tableId);

}  // namespace tvservice
