#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "softplatform/input/ByteSource.h"
#include "softplatform/input/FileDescriptor.h"

namespace tvservice {

// What can be read once, in order: standard input, a pipe, a terminal, a character device. A named
// pipe that nobody has opened for writing yet has not ended, it has nothing to say. A device that
// has lost bytes because it was read too slowly (EOVERFLOW, DVB's dvr device) goes on; that is
// counted (device_overflows), and it has no start: it can be played again, from where it is.
class StreamSource final : public ByteSource {
  public:
    // `stream` is open for reading and becomes the source's. Whether it is in non-blocking mode
    // makes no difference: it is asked before every read. `live`: it has no end of its own. `read`
    // is read(2), or plays its part.
    using ReadCall = ssize_t (*)(int descriptor, void* buffer, size_t size);
    StreamSource(std::string name, FileDescriptor stream, bool live = false,
                 ReadCall read = ::read);

    uint64_t size() const override { return 0; }
    bool rewindable() const override { return false; }
    bool live() const override { return isLive_; }
    bool Rewind() override { return isLive_ || !wasRead_; }
    ReadResult Read(uint8_t* buffer, size_t size) override;
    int descriptor() const override { return stream_.get(); }

  private:
    const FileDescriptor stream_;
    const bool isLive_;
    const ReadCall read_;
    bool wasRead_ = false;
    uint64_t offset_ = 0;
};

}  // namespace tvservice
