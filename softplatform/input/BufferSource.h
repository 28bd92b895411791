#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "softplatform/base/ByteView.h"
#include "softplatform/input/ByteSource.h"

namespace tvservice {

// A stream in memory. Read lends its bytes without a copy.
class BufferSource final : public ByteSource {
  public:
    // The source owns `bytes`. One read gives at most `piece` bytes; 0 means no such limit.
    BufferSource(std::string name, std::vector<uint8_t> bytes, size_t piece);

    // The same, but `bytes` are borrowed: the caller keeps them unchanged while the source lives.
    BufferSource(std::string name, ByteView bytes, size_t piece);

    uint64_t size() const override { return bytes_.size(); }
    bool rewindable() const override { return true; }
    bool Rewind() override;
    ReadResult Read(uint8_t* buffer, size_t size) override;
    int descriptor() const override { return -1; }

  private:
    const std::vector<uint8_t> kept_;  // empty when the bytes are borrowed
    const ByteView bytes_;
    const size_t piece_;
    ByteView left_;  // the part of bytes_ that was not read yet
};

}  // namespace tvservice
