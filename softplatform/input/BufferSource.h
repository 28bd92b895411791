#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "softplatform/input/Source.h"

namespace tvservice {

// A stream in memory.
class BufferSource final : public Source {
  public:
    // `piece` is the number of bytes that one read hands over; 0: as many as are asked for.
    BufferSource(std::string name, std::vector<uint8_t> bytes, size_t piece);

    uint64_t size() const override { return bytes_.size(); }
    bool rewindable() const override { return true; }
    bool Rewind() override;
    ReadResult Read(uint8_t* buffer, size_t size) override;
    int descriptor() const override { return -1; }

  private:
    const std::vector<uint8_t> bytes_;
    const size_t piece_;
    size_t offset_ = 0;
};

}  // namespace tvservice
