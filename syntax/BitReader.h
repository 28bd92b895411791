#pragma once

#include <cstddef>
#include <cstdint>

#include "softplatform/base/ByteView.h"

namespace syntax {

// Reads bits, the most significant first, up to an end that the caller can move. Positions count
// bits from the beginning of the bytes. The bytes are borrowed.
class BitReader {
  public:
    explicit BitReader(tvservice::ByteView bytes) : bytes_(bytes), end_(bytes.size() * 8) {}

    std::size_t position() const { return position_; }
    void SetPosition(std::size_t position) { position_ = position; }
    std::size_t end() const { return end_; }
    // Sets the end, in bits; it must not be past the end of the bytes.
    void SetEnd(std::size_t end) { end_ = end; }
    std::size_t left() const { return end_ - position_; }
    bool aligned() const { return position_ % 8 == 0; }

    // Reads `count` bits: at most 64, and at most left().
    std::uint64_t Take(std::size_t count) {
        std::uint64_t value = 0;
        const std::uint8_t* at = bytes_.data() + position_ / 8;
        const std::size_t skipped = position_ % 8;
        position_ += count;
        if (skipped == 0) {
            for (; count >= 8; count -= 8) {
                value = value << 8 | *at++;
            }
            return count == 0 ? value : value << count | static_cast<unsigned>(*at) >> (8 - count);
        }
        const std::size_t first = 8 - skipped;
        value = *at & (0xFFu >> skipped);
        if (count <= first) {
            return value >> (first - count);
        }
        for (count -= first; count >= 8; count -= 8) {
            value = value << 8 | *++at;
        }
        return count == 0 ? value : value << count | static_cast<unsigned>(*++at) >> (8 - count);
    }

    // Reads `count` bytes; the position must be aligned, and the bytes must fit into left().
    tvservice::ByteView TakeBytes(std::size_t count) {
        const tvservice::ByteView taken = bytes_.Subview(position_ / 8, count);
        position_ += count * 8;
        return taken;
    }

    tvservice::ByteView bytes() const { return bytes_; }

  private:
    tvservice::ByteView bytes_;
    std::size_t position_ = 0;
    std::size_t end_;
};

}  // namespace syntax
