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
// device. As long as no writer has opened a named pipe, Read returns kWouldBlock, not kEnd.
//
// When a device lost bytes because it was read too slowly (EOVERFLOW, as from DVB's dvr device),
// the loss is counted (kDeviceOverflows) and reading goes on. A live device can be played again; it
// then goes on with the bytes that come next.
class StreamSource final : public ByteSource {
  public:
    // `stream` is open for reading; the source owns it. It need not be in non-blocking mode,
    // because it is polled before every read. `live`: it never ends by itself. `read` is read(2);
    // tests give another function.
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
