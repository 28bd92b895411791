#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "softplatform/base/ByteView.h"

class TCBaseDesc;

namespace tvservice {

// Memory for the objects that are decoded from one section. It is allocated as one block, handed
// out from its start on, and reused for the next section. So a parser allocates nothing once its
// arenas are large enough.
//
// Begin ends the life of all objects in the block. It runs no destructors except those that
// DestroyLater asked for. Used by one thread at a time.
class DescriptorArena {
  public:
    DescriptorArena() = default;
    ~DescriptorArena() { Clear(); }
    DescriptorArena(const DescriptorArena&) = delete;
    DescriptorArena& operator=(const DescriptorArena&) = delete;

    // Ends the life of all objects in the block and makes room for `size` bytes. Throws
    // std::bad_alloc when there is no memory; nothing has changed then.
    void Begin(size_t size);

    // The next `size` bytes, aligned to 8. Not checked: all sizes, each rounded up by Rounded, must
    // not add up to more than Begin was given.
    void* Take(size_t size) {
        void* const taken = memory_.get() + used_;
        used_ += Rounded(size);
        return taken;
    }

    static constexpr size_t Rounded(size_t size) {
        return (size + kAlignment - 1) & ~(kAlignment - 1);
    }

    // Copies the bytes into a vector that lives until Begin.
    const std::vector<uint8_t>& Text(ByteView bytes);

    // Asks for the destructor of `desc`, which lies in this memory, to run at Begin or with the
    // arena's own. Needed for descriptors that own memory. A second call for the same descriptor
    // changes nothing.
    void DestroyLater(TCBaseDesc& desc);

    // The size of the block in bytes.
    size_t capacity() const { return capacity_; }

  private:
    static constexpr size_t kAlignment = alignof(uint64_t);

    void Clear();

    std::unique_ptr<unsigned char[]> memory_;
    size_t capacity_ = 0;
    size_t used_ = 0;
    std::vector<TCBaseDesc*> toDestroy_;
    // The first usedTexts_ are in use. The others are kept for their memory.
    std::optional<std::deque<std::vector<uint8_t>>> texts_;
    size_t usedTexts_ = 0;
};

// Keeps arenas that are not in use for the next sections: at most 16, with kMaxBytes in all. Used
// by one thread at a time.
class ArenaPool {
  public:
    static constexpr size_t kMaxBytes = size_t{256} << 10;

    // A kept arena, or a new one when none is kept.
    std::unique_ptr<DescriptorArena> Take();

    // Keeps the arena; frees it when the pool is full. Null is ignored.
    void Give(std::unique_ptr<DescriptorArena> arena) noexcept;

  private:
    std::array<std::unique_ptr<DescriptorArena>, 16> arenas_;
    size_t count_ = 0;
    size_t bytes_ = 0;
};

}  // namespace tvservice
