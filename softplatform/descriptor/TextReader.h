#pragma once

#include <cstddef>
#include <cstdint>

#include "softplatform/base/ByteView.h"

namespace tvservice {

// The text whose length byte is at `at`, without that byte. Cut at the end of `bytes`.
constexpr ByteView TextAt(ByteView bytes, size_t at) {
    return bytes.Subview(at + 1, bytes.U8(at));
}

// Walks through texts that follow each other, each after its length byte.
class TextReader {
  public:
    TextReader(ByteView bytes, size_t at) : bytes_(bytes), at_(at) {}

    // Skips the next text. Returns false, and skips nothing, when it does not fit.
    bool Skip() {
        const size_t size = bytes_.U8(at_);
        if (!bytes_.Has(at_, 1 + size)) {
            return false;
        }
        at_ += 1 + size;
        return true;
    }

    // Where the next text begins.
    int at() const { return static_cast<int>(at_); }

  private:
    ByteView bytes_;
    size_t at_;
};

}  // namespace tvservice
