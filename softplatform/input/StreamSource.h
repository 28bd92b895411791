#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "softplatform/input/Descriptor.h"
#include "softplatform/input/Source.h"

namespace tvservice {

// What can be read once, in order: standard input, a pipe, a terminal, a character device. A named
// pipe that nobody has opened for writing yet has not ended, it has nothing to say.
class StreamSource final : public Source {
  public:
    // `stream` is open for reading and becomes the source's. Whether it is in non-blocking mode
    // makes no difference: it is asked before every read.
    StreamSource(std::string name, Descriptor stream);

    uint64_t size() const override { return 0; }
    bool rewindable() const override { return false; }
    bool Rewind() override { return !wasRead_; }
    ReadResult Read(uint8_t* buffer, size_t size) override;
    int descriptor() const override { return stream_.get(); }

  private:
    const Descriptor stream_;
    bool wasRead_ = false;
    uint64_t offset_ = 0;
};

}  // namespace tvservice
