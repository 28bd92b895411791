#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "softplatform/base/ByteView.h"

namespace syntax {

// Appends bits to a vector of bytes, the most significant first.
class BitWriter {
  public:
    explicit BitWriter(std::vector<std::uint8_t>& out) : out_(out), position_(out.size() * 8) {}

    // The position in bits from the beginning of the vector.
    std::size_t position() const { return position_; }
    bool aligned() const { return position_ % 8 == 0; }
    std::vector<std::uint8_t>& bytes() { return out_; }

    // Writes the lowest `count` bits of `value`; `count` is at most 64.
    void Put(std::uint64_t value, std::size_t count) {
        if (count == 8 && position_ % 8 == 0) {
            position_ += 8;
            out_.push_back(static_cast<std::uint8_t>(value));
            return;
        }
        std::size_t room = (8 - position_ % 8) % 8;
        position_ += count;
        if (room >= count) {
            if (count != 0) {
                out_.back() =
                    static_cast<std::uint8_t>(out_.back() | Low(value, count) << (room - count));
            }
            return;
        }
        if (room != 0) {
            count -= room;
            out_.back() = static_cast<std::uint8_t>(out_.back() | Low(value >> count, room));
        }
        while (count >= 8) {
            count -= 8;
            out_.push_back(static_cast<std::uint8_t>(value >> count));
        }
        if (count != 0) {
            out_.push_back(static_cast<std::uint8_t>(Low(value, count) << (8 - count)));
        }
    }

    // Writes whole bytes; the position must be aligned.
    void PutBytes(tvservice::ByteView bytes) {
        out_.insert(out_.end(), bytes.begin(), bytes.end());
        position_ += bytes.size() * 8;
    }

    // Overwrites `count` bits at `position`, which must have been written as zeros.
    void Patch(std::size_t position, std::uint64_t value, std::size_t count) {
        if (count == 8 && position % 8 == 0) {
            out_[position / 8] = static_cast<std::uint8_t>(value);
            return;
        }
        for (std::size_t bit = 0; bit < count; ++bit) {
            if ((value >> (count - 1 - bit) & 1) != 0) {
                const std::size_t at = position + bit;
                out_[at / 8] = static_cast<std::uint8_t>(out_[at / 8] | 0x80u >> at % 8);
            }
        }
    }

  private:
    static std::uint64_t Low(std::uint64_t value, std::size_t count) {
        return value & ((std::uint64_t{1} << count) - 1);
    }

    std::vector<std::uint8_t>& out_;
    std::size_t position_;
};

}  // namespace syntax
