#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace tvservice {

class DvbSource;

// What one read gave.
struct ReadResult {
    enum Status {
        kBytes,       // `size` bytes, at least 1
        kEnd,         // there are no more
        kWouldBlock,  // none now; poll the descriptor
        kFailed       // `error` says why
    };
    Status status;
    size_t size = 0;
    std::string error{};  // one line that names the input, the offset and the reason
};

// Where the bytes of a transport stream come from. Used by one thread at a time.
class Source {
  public:
    virtual ~Source() = default;
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    // As messages call it.
    const std::string& name() const { return name_; }

    // Bytes from start to end; 0 when unknown.
    virtual uint64_t size() const = 0;

    // Whether it can be read again from its start.
    virtual bool rewindable() const = 0;

    // Whether it has no end of its own: sockets, files that are followed or looped. Whoever plays
    // such a source has to interrupt it. What wraps a source answers as that one does.
    virtual bool live() const { return false; }

    // A demux device, which is not read but has sections to give; null for all other sources.
    virtual const DvbSource* dvb() const { return nullptr; }

    // Goes to the start. False when that is not possible; a source that was not read yet stands at
    // its start whatever it is.
    virtual bool Rewind() = 0;

    // Reads at most `size` bytes (1 or more). Never waits for them to come: kWouldBlock instead.
    virtual ReadResult Read(uint8_t* buffer, size_t size) = 0;

    // What poll(2) waits on, for POLLIN, after kWouldBlock. Asked anew each time: it may be another
    // one. -1 for a source that always has something to say.
    virtual int descriptor() const = 0;

  protected:
    explicit Source(std::string name) : name_(std::move(name)) {}

  private:
    const std::string name_;
};

}  // namespace tvservice
