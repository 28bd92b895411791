#pragma once

#include <cstddef>
#include <cstdint>

namespace tvservice {

// Borrowed bytes: a pointer and a size. Owns nothing; whoever makes one keeps the bytes alive and
// unchanged for as long as the view is read. Cheap to copy, safe to read from several threads.
//
// Reads are big-endian, as every field of ISO/IEC 13818-1 and EN 300 468 is. A read that would go
// past the end returns 0 and touches no memory. Where a missing field must be told from a zero,
// call Has() first.
class ByteView {
  public:
    constexpr ByteView() = default;
    constexpr ByteView(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    constexpr const uint8_t* data() const { return data_; }
    constexpr size_t size() const { return size_; }
    constexpr bool empty() const { return size_ == 0; }
    constexpr const uint8_t* begin() const { return data_; }
    constexpr const uint8_t* end() const { return data_ + size_; }

    // Whether `count` bytes from `offset` on lie inside the view. A count of 0 is inside at every
    // offset up to and including size(). Arguments of any size are safe: nothing overflows.
    constexpr bool Has(size_t offset, size_t count) const {
        return offset <= size_ && count <= size_ - offset;
    }

    // The number in 1, 2, 3, 4 or 8 bytes at `offset`; 0 when they are not all inside the view.
    constexpr uint8_t U8(size_t offset) const {
        return Has(offset, 1) ? data_[offset] : uint8_t{0};
    }
    constexpr uint16_t U16(size_t offset) const { return static_cast<uint16_t>(Read(offset, 2)); }
    constexpr uint32_t U24(size_t offset) const { return static_cast<uint32_t>(Read(offset, 3)); }
    constexpr uint32_t U32(size_t offset) const { return static_cast<uint32_t>(Read(offset, 4)); }
    constexpr uint64_t U64(size_t offset) const { return Read(offset, 8); }

    // The bytes from `offset` on, at most `count` of them. What lies past the end of this view is
    // left out, so the result may be shorter or empty.
    constexpr ByteView Subview(size_t offset, size_t count = SIZE_MAX) const {
        if (offset > size_) {
            return {};
        }
        const size_t left = size_ - offset;
        return {data_ + offset, count < left ? count : left};
    }

  private:
    constexpr uint64_t Read(size_t offset, size_t count) const {
        if (!Has(offset, count)) {
            return 0;
        }
        uint64_t value = 0;
        for (size_t i = 0; i < count; ++i) {
            value = value << 8 | data_[offset + i];
        }
        return value;
    }

    const uint8_t* data_ = nullptr;
    size_t size_ = 0;
};

}  // namespace tvservice
