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

// Memory for what is decoded from one section: taken from the heap in one piece, handed out from
// its start to its end, and used again for the next section. A parser that is given one section
// after another so needs no heap once its arenas have grown.
//
// Begin ends the life of everything that was taken, without running destructors; those of
// descriptors that hold memory of their own run, when DestroyLater was told. Used by one thread at
// a time.
class DescriptorArena {
  public:
    DescriptorArena() = default;
    ~DescriptorArena() { Clear(); }
    DescriptorArena(const DescriptorArena&) = delete;
    DescriptorArena& operator=(const DescriptorArena&) = delete;

    // Forgets what was taken and makes room for `size` bytes. When there is no memory for them
    // (std::bad_alloc), nothing has changed.
    void Begin(size_t size);

    // The next `size` bytes, aligned for every object. All that is taken fits what Begin was given,
    // each size rounded up by Rounded.
    void* Take(size_t size) {
        void* const taken = memory_.get() + used_;
        used_ += Rounded(size);
        return taken;
    }

    static constexpr size_t Rounded(size_t size) {
        return (size + kAlignment - 1) & ~(kAlignment - 1);
    }

    // A copy of the bytes as a vector, which lives until Begin.
    const std::vector<uint8_t>& Text(ByteView bytes);

    // Has the destructor of a descriptor in this memory run at Begin. Told twice is as told once.
    void DestroyLater(TCBaseDesc& desc);

    // Bytes of memory held.
    size_t capacity() const { return capacity_; }

  private:
    static constexpr size_t kAlignment = alignof(uint64_t);

    void Clear();

    std::unique_ptr<unsigned char[]> memory_;
    size_t capacity_ = 0;
    size_t used_ = 0;
    std::vector<TCBaseDesc*> toDestroy_;
    // Those before usedTexts_ are in use, the others keep their memory for the next ones.
    std::optional<std::deque<std::vector<uint8_t>>> texts_;
    size_t usedTexts_ = 0;
};

// Arenas that wait for their next section: a few, and no more memory than a parser soon needs
// again. Used by one thread at a time.
class ArenaPool {
  public:
    static constexpr size_t kMaxBytes = size_t{256} << 10;

    // One of them, or a new one.
    std::unique_ptr<DescriptorArena> Take();

    // Keeps the arena if there is room; null is ignored.
    void Give(std::unique_ptr<DescriptorArena> arena) noexcept;

  private:
    std::array<std::unique_ptr<DescriptorArena>, 16> arenas_;
    size_t count_ = 0;
    size_t bytes_ = 0;
};

}  // namespace tvservice
