#pragma once

#include <cstddef>
#include <cstdint>

#include "softplatform/base/ByteView.h"

namespace tvservice {

// The text whose length byte stands at `at`, without that byte, as far as it lies in `bytes`.
constexpr ByteView TextAt(ByteView bytes, size_t at) {
    return bytes.Subview(at + 1, bytes.U8(at));
}

// Walks texts with a length byte before each, one after the other.
class TextReader {
  public:
    TextReader(ByteView bytes, size_t at) : bytes_(bytes), at_(at) {}

    // Steps over the next one; false when it does not fit, and then stays where it is.
    bool Skip() {
        const size_t size = bytes_.U8(at_);
        if (!bytes_.Has(at_, 1 + size)) {
            return false;
        }
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
