#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "softplatform/base/ByteView.h"

namespace tvservice {

// The result of one read.
struct ReadResult {
    enum Status {
        kBytes,       // `bytes` are there, at least 1
        kEnd,         // there are no more
        kWouldBlock,  // there are none now; poll the descriptor
        kFailed       // `error` says why
    };
    Status status;
    // In the buffer of the call, or where the source keeps them: then they are borrowed until the
    // next call of the source, and nothing was copied.
    ByteView bytes{};
    std::string error{};  // one line that names the input, the offset and the reason
};

// An input that gives the bytes of a transport stream. Used by one thread at a time.
class ByteSource {
  public:
    virtual ~ByteSource() = default;
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;

    // The name that messages use.
    const std::string& name() const { return name_; }

    // The number of bytes from start to end; 0 when unknown.
    virtual uint64_t size() const = 0;

    // Whether it can be read again from its start.
    virtual bool rewindable() const = 0;

    // Whether it has no end of its own: sockets, files that are followed or looped. Whoever plays
    // such a source has to interrupt it. A source that wraps another answers as that one does.
    virtual bool live() const { return false; }

    // Goes to the start. False when that is not possible. Always possible before the first read.
    virtual bool Rewind() = 0;

    // Reads at most `size` bytes (1 or more). A source may use `buffer`, which has room for them,
    // or leave it alone and lend bytes of its own. Never waits for bytes: kWouldBlock instead.
    virtual ReadResult Read(uint8_t* buffer, size_t size) = 0;

    // The file descriptor to poll(2) for POLLIN after kWouldBlock. It may be another one each time.
    // -1 for a source that never answers kWouldBlock.
    virtual int descriptor() const = 0;

  protected:
    explicit ByteSource(std::string name) : name_(std::move(name)) {}

  private:
    const std::string name_;
};

}  // namespace tvservice
