#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "softplatform/base/ByteView.h"

namespace tvservice {

// A part of a file, mapped into memory. Used by one thread at a time, the one that reads the bytes.
//
// Where the file has become shorter or cannot be read, touching the bytes raises SIGBUS on that
// thread. Repair is for the handler of that signal.
class MappedWindow {
  public:
    MappedWindow();
    MappedWindow(const MappedWindow&) = delete;
    MappedWindow& operator=(const MappedWindow&) = delete;
    ~MappedWindow();

    // Maps `size` bytes of `file` from `offset` on, a multiple of the page size, in place of what
    // was mapped before. They may reach past the end of the file as long as nobody touches them
    // there. False when that is not possible; then nothing is mapped.
    bool Map(int file, uint64_t offset, size_t size);
    void Unmap();

    // The bytes from an offset of the file on; empty where none are mapped.
    ByteView From(uint64_t offset) const;

    // Whether Repair was called for these bytes, and for which byte of the file first.
    bool IsDamaged() const;
    uint64_t DamagedOffset() const;

    // When `address` lies in the window of any MappedWindow: puts zeros in the place of the bytes
    // from its page on and returns true. Async-signal-safe; leaves errno alone.
    static bool Repair(void* address) noexcept;

  private:
    friend struct MappedSlots;

    struct Slot;  // what the window tells the handler
    static Slot* TakeSlot();

    Slot* const slot_;  // null when all are in use: nothing can be mapped then
    uint64_t offset_ = 0;
};

}  // namespace tvservice
