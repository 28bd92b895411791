#pragma once

#include <cstddef>
#include <cstdint>

#include "softplatform/base/ByteView.h"

namespace tvservice {

// Walks through the descriptors of a loop (ETSI EN 300 468 6.1) and never reads past its end:
//
//     DescriptorReader reader(loop);
//     while (reader.Next()) { use(reader.descriptor()); }
//     if (reader.overrun()) ...
class DescriptorReader {
  public:
    explicit DescriptorReader(ByteView loop) : loop_(loop) {}

    // Steps to the next descriptor. False at the end of the loop, and when the next descriptor
    // reaches past it.
    bool Next() {
        at_ = next_;
        if (at_ == loop_.size()) {
            return false;
        }
        if (!loop_.Has(at_, kHeaderSize) || !loop_.Has(at_, kHeaderSize + loop_.U8(at_ + 1))) {
            overrun_ = true;
            return false;
        }
        next_ = at_ + kHeaderSize + loop_.U8(at_ + 1);
        return true;
    }

    // The current descriptor, from its tag byte on. Only after Next() returned true.
    ByteView descriptor() const { return loop_.Subview(at_, next_ - at_); }

    // Whether Next() returned false because a descriptor reaches past the end of the loop.
    bool overrun() const { return overrun_; }

  private:
    static constexpr size_t kHeaderSize = 2;  // descriptor_tag, descriptor_length

    ByteView loop_;
    size_t at_ = 0;
    size_t next_ = 0;
    bool overrun_ = false;
};

}  // namespace tvservice
