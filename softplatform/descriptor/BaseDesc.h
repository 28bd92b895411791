#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

#include "platform/TCBaseDesc.h"
#include "softplatform/base/ByteView.h"
#include "softplatform/descriptor/DescriptorArena.h"
#include "softplatform/descriptor/Internals.h"

// What every descriptor holds once it was parsed. It stands in an arena when it was decoded from a
// table or a hash, whose bytes it then borrows. One that a client parsed or forked owns its bytes
// (Owned, in BaseDesc.cpp).
struct TCBaseDesc::Impl {
    struct Owned;

    const uint8_t* data = nullptr;                // the whole descriptor, tag first
    tvservice::DescriptorArena* arena = nullptr;  // null for one that owns its bytes
    const std::vector<uint8_t>* texts[2] = {};    // those that TextOf made
    uint16_t size = 0;                            // bytes at `data`
    uint16_t tag = 0;                             // descriptor_tag; in a NIT 0x7Fxx too
    bool fits = false;                            // the fixed part fits the declared length
    bool isDecoded = false;                       // of a loop: the object stands beside it

    tvservice::ByteView bytes() const { return {data, size}; }

    // So that a unique_ptr may hold one in an arena: only one that owns its bytes is freed.
    [[gnu::visibility("hidden")]] static void operator delete(Impl* impl, std::destroying_delete_t);
};

namespace tvservice {

// What follows the length byte. Empty before the first Parse, and when the fixed part does not fit
// the declared length: all fields then read as 0.
inline ByteView PayloadOf(const TCBaseDesc& desc) {
    const auto* const impl = TVServiceInternals::Get(desc);
    return impl != nullptr && impl->fits ? impl->bytes().Subview(2) : ByteView();
}

// The entry at `index` of a payload that is a loop of entries of `size` bytes each; empty past the
// last whole one.
inline ByteView EntryOf(const TCBaseDesc& desc, size_t index, size_t size) {
    const ByteView payload = PayloadOf(desc);
    return index < payload.size() / size ? payload.Subview(index * size, size) : ByteView();
}

// A text of the descriptor as the vector that its class gives out. `which` tells the texts of one
// class apart (0 or 1). It is made when it is first asked for.
const std::vector<uint8_t>& TextOf(const TCBaseDesc& desc, size_t which, ByteView text);

// Whether the descriptor does not belong to a table or a hash. Several threads may read it then, so
// it makes its texts when it is parsed or copied.
inline bool OwnsItsBytes(const TCBaseDesc& desc) {
    const auto* const impl = TVServiceInternals::Get(desc);
    return impl != nullptr && impl->arena == nullptr;
}

}  // namespace tvservice
