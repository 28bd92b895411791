#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "softplatform/base/ByteView.h"

namespace tvservice {

// Reads texts with a length byte before each, one after the other.
class TextReader {
  public:
    TextReader(ByteView bytes, size_t at) : bytes_(bytes), at_(at) {}

    // Takes the next one; false when it does not fit, and then nothing is taken.
    bool Read(std::vector<uint8_t>& text) {
        const size_t size = bytes_.U8(at_);
        if (!bytes_.Has(at_, 1 + size)) {
            return false;
        }
        const ByteView taken = bytes_.Subview(at_ + 1, size);
        text.assign(taken.begin(), taken.end());
        at_ += 1 + size;
        return true;
    }

    // Bytes consumed so far.
    int at() const { return static_cast<int>(at_); }

  private:
    ByteView bytes_;
    size_t at_;
};

}  // namespace tvservice
