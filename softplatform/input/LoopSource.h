#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "softplatform/input/ByteSource.h"

namespace tvservice {

// Reads another source again and again, as one stream without an end. Continuity counters and PCRs
// jump where the source starts again. When the source is empty, Read returns kEnd.
class LoopSource final : public ByteSource {
  public:
    // `source` is rewindable. Nothing else may use it from now on.
    explicit LoopSource(std::shared_ptr<ByteSource> source);

    uint64_t size() const override { return 0; }
    bool rewindable() const override { return true; }
    bool live() const override { return true; }
    bool Rewind() override;
    ReadResult Read(uint8_t* buffer, size_t size) override;
    int descriptor() const override { return source_->descriptor(); }

  private:
    const std::shared_ptr<ByteSource> source_;
    bool isAtStart_ = true;
};

}  // namespace tvservice
