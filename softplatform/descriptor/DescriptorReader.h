#pragma once

#include <cstddef>
#include <cstdint>

#include "softplatform/base/ByteView.h"

namespace tvservice {

// Walks a descriptor loop (ETSI EN 300 468 6.1), never past its end:
//
//     DescriptorReader reader(loop);
//     while (reader.Next()) { use(reader.descriptor()); }
//     if (reader.overrun()) ...
class DescriptorReader {
  public:
    explicit DescriptorReader(ByteView loop) : loop_(loop) {}

    // Steps to the next descriptor; false at the end, and where one reaches past the end.
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

    // The descriptor stepped to, tag and length bytes first. After Next() was true.
    ByteView descriptor() const { return loop_.Subview(at_, next_ - at_); }

    // Whether the loop ended with a descriptor that reaches past its end.
    bool overrun() const { return overrun_; }

  private:
    static constexpr size_t kHeaderSize = 2;  // descriptor_tag, descriptor_length

    ByteView loop_;
    size_t at_ = 0;
    size_t next_ = 0;
    bool overrun_ = false;
};

}  // namespace tvservice
