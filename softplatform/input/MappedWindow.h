#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "softplatform/base/ByteView.h"

namespace tvservice {

// A part of a file, mapped into memory. Used by one thread at a time, which also reads the bytes.
//
// Touching bytes raises SIGBUS on that thread when the file has become shorter or cannot be read
// there. The handler of that signal calls Repair.
class MappedWindow {
  public:
    MappedWindow();
    MappedWindow(const MappedWindow&) = delete;
    MappedWindow& operator=(const MappedWindow&) = delete;
    ~MappedWindow();

    // Unmaps what was mapped, then maps `size` bytes of `file` from `offset` on, a multiple of the
    // page size. The window may reach past the end of the file, but bytes beyond that end must not
    // be touched. Returns false when the system refuses, or when 16 other windows existed as this
    // one was made; nothing is mapped then.
    bool Map(int file, uint64_t offset, size_t size);
    void Unmap();

    // The mapped bytes from `offset` of the file on; empty when that offset is not mapped.
    ByteView From(uint64_t offset) const;

    // Whether Repair replaced bytes of this window.
    bool IsDamaged() const;
    // The offset in the file of the first address that Repair was called with. Only when damaged.
    uint64_t DamagedOffset() const;

    // When `address` lies in any MappedWindow, replaces the window's bytes by zeros, from the page
    // of `address` on, and returns true. Returns false otherwise, and when that fails.
    // Async-signal-safe; does not change errno.
    static bool Repair(void* address) noexcept;

  private:
    friend struct MappedSlots;

    struct Slot;  // the window's addresses, for the signal handler
    static Slot* TakeSlot();

    Slot* const slot_;       // null when all were in use: nothing can be mapped then
    void* bytes_ = nullptr;  // of the window, while it is mapped
    uint64_t offset_ = 0;    // of the window in the file
};

}  // namespace tvservice
