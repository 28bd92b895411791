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
        kBytes,       // at least one byte was read
        kEnd,         // the source has ended
        kWouldBlock,  // no bytes have come yet; poll the descriptor
        kFailed       // reading failed; `error` says why
    };
    Status status;
    // The bytes that were read: in the caller's buffer, or in memory of the source, which must not
    // be used after the next call of the source.
    ByteView bytes{};
    std::string error{};  // with kFailed: one line with the input's name, the offset and the reason
};

// An input that is read as the bytes of a transport stream. Used by one thread at a time.
class ByteSource {
  public:
    virtual ~ByteSource() = default;
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;

    // The name of the input in messages.
    const std::string& name() const { return name_; }

    // The total number of bytes; 0 when unknown.
    virtual uint64_t size() const = 0;

    // Whether the source can be read again from its start.
    virtual bool rewindable() const = 0;

    // Whether the source never ends by itself: a socket, or a file that is followed or looped. Such
    // a source plays until it is interrupted or fails.
    virtual bool live() const { return false; }

    // Goes back to the start. Returns false when that is not possible; it always is before the
    // first Read.
    virtual bool Rewind() = 0;

    // Reads at most `size` bytes, 1 or more. `buffer` has room for `size` bytes; a source that
    // lends bytes of its own does not use it. Never waits: returns kWouldBlock when no bytes have
    // come yet.
    virtual ReadResult Read(uint8_t* buffer, size_t size) = 0;

    // The file descriptor to wait on with poll(2), for POLLIN, after Read returned kWouldBlock. Ask
    // for it each time, because it may change. -1 when Read never returns kWouldBlock.
    virtual int descriptor() const = 0;

  protected:
    explicit ByteSource(std::string name) : name_(std::move(name)) {}

  private:
    const std::string name_;
};

}  // namespace tvservice
