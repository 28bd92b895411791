#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

#include "platform/TCBaseDesc.h"
#include "softplatform/base/ByteView.h"
#include "softplatform/descriptor/DescriptorArena.h"
#include "softplatform/descriptor/Internals.h"

// What every descriptor has after parsing. A descriptor of a table or a hash lies in an arena and
// borrows the bytes of its loop. A descriptor that a client parsed or forked owns its bytes (Owned,
// in BaseDesc.cpp).
struct TCBaseDesc::Impl {
    struct Owned;

    const uint8_t* data = nullptr;                // the whole descriptor, tag first
    tvservice::DescriptorArena* arena = nullptr;  // null when the descriptor owns its bytes
    const std::vector<uint8_t>* texts[2] = {};    // made by TextOf; null: not yet
    uint16_t size = 0;                            // bytes at `data`
    uint16_t tag = 0;                             // what Tag() returns (TagOf in Decoders.h)
    bool fits = false;                            // the fixed part fits the declared length
    bool isDecoded = false;                       // DecodeDescriptor made the slot's object

    tvservice::ByteView bytes() const { return {data, size}; }

    // Lets a unique_ptr hold an Impl in an arena: `delete` frees only an Impl that owns its bytes.
    [[gnu::visibility("hidden")]] static void operator delete(Impl* impl, std::destroying_delete_t);
};

namespace tvservice {

// The bytes after descriptor_length. Empty before the first Parse, and when the fixed part does not
// fit the declared length; all fields then read as 0.
inline ByteView PayloadOf(const TCBaseDesc& desc) {
    const auto* const impl = TVServiceInternals::Get(desc);
    return impl != nullptr && impl->fits ? impl->bytes().Subview(2) : ByteView();
}

// The entry at `index` of a payload that consists of entries of `size` bytes each; empty past the
// last whole entry.
inline ByteView EntryOf(const TCBaseDesc& desc, size_t index, size_t size) {
    const ByteView payload = PayloadOf(desc);
    return index < payload.size() / size ? payload.Subview(index * size, size) : ByteView();
}

// `text`, a part of the descriptor, copied into the vector that the class returns to clients. A
// class has up to two texts: `which` is 0 or 1. The copy is made at the first call and lives as
// long as the descriptor's bytes.
const std::vector<uint8_t>& TextOf(const TCBaseDesc& desc, size_t which, ByteView text);

// True for a descriptor that a client parsed or forked; false for one of a table or a hash. Several
// threads may read the former, so it makes its texts when it is parsed or copied.
inline bool OwnsItsBytes(const TCBaseDesc& desc) {
    const auto* const impl = TVServiceInternals::Get(desc);
    return impl != nullptr && impl->arena == nullptr;
}

}  // namespace tvservice
