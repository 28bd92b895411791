#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "softplatform/base/ByteView.h"
#include "softplatform/input/ByteSource.h"

namespace tvservice {

// A stream in memory. Its bytes are lent, never copied.
class BufferSource final : public ByteSource {
  public:
    // The source keeps `bytes`. One read gives at most `piece` bytes; 0: as many as are asked for.
    BufferSource(std::string name, std::vector<uint8_t> bytes, size_t piece);

    // The same over `bytes` that the caller keeps, alive and unchanged for as long as the source.
    BufferSource(std::string name, ByteView bytes, size_t piece);

    uint64_t size() const override { return bytes_.size(); }
    bool rewindable() const override { return true; }
    bool Rewind() override;
    ReadResult Read(uint8_t* buffer, size_t size) override;
    int descriptor() const override { return -1; }

  private:
    const std::vector<uint8_t> kept_;  // empty when the caller keeps them
    const ByteView bytes_;
    const size_t piece_;
    ByteView left_;  // of bytes_
};

}  // namespace tvservice
