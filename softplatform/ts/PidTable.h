#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "softplatform/ts/PacketView.h"

namespace tvservice {

// One pointer for each of the 8192 PIDs; a look-up is one load. Owns none of the objects: whoever
// enters an object removes it before destroying it. 64 KiB, allocated at construction. Used by one
// thread at a time.
template <class T>
class PidTable {
  public:
    // The object of `pid`, null when there is none. Bits above the 13 of a PID are ignored.
    T* Find(uint16_t pid) const { return slots_[pid % kPidCount]; }

    // Sets the object of `pid` in place of the one before; null removes it.
    void Set(uint16_t pid, T* object) { slots_[pid % kPidCount] = object; }

  private:
    std::unique_ptr<T*[]> slots_ = std::make_unique<T*[]>(kPidCount);
};

}  // namespace tvservice
