#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "softplatform/input/ByteSource.h"
#include "softplatform/input/FileDescriptor.h"

namespace tvservice {

// An input that can be read only once, in order: standard input, a pipe, a terminal, a character
// device. A named pipe that nobody has opened for writing yet has no bytes yet; it has not ended.
// When a device has lost bytes because it was read too slowly (EOVERFLOW; DVB's dvr device),
// reading goes on and the loss is counted (device_overflows). A live device can be played again,
// from where it is.
class StreamSource final : public ByteSource {
  public:
    // `stream` is open for reading and becomes the source's. It need not be in non-blocking mode:
    // it is polled before every read. `live`: it has no end of its own. `read` is read(2), or
    // stands in for it in a test.
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
