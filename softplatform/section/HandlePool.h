#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <unordered_map>
#include <vector>

namespace tvservice {

constexpr unsigned kDefaultFilterSlots = 256;
constexpr unsigned kMaxFilterSlots = 4096;
constexpr unsigned kHandleGenerations = 64;

// Gives filters the handles by which clients know them. A handle is 1 + slot + slots * generation.
// Each slot has 64 generations, so the number of different handles is bounded. The slot that has
// been free the longest is used next, with its next generation. A value that is in use or retired
// is left out.
//
// Used by one thread at a time.
class HandlePool {
  public:
    // `slots` is 1 to kMaxFilterSlots: how many handles can be in use at once.
    explicit HandlePool(unsigned slots) { Resize(slots); }

    // A handle that is not in use; nothing when no slot is free.
    std::optional<int> Take();

    // Gives a handle back. Returns false, and does nothing, when it is not in use.
    bool Release(int handle);

    // Never hands out this value again. Returns false, and does nothing, when it is in use or
    // retired already, or when this pool could never give it, neither now nor before a Resize.
    bool Retire(int handle);

    // Changes the number of slots. Handles in use stay as they are and keep a slot each. Returns
    // false, and changes nothing, when there are more of them than `slots`, or `slots` is out of
    // range.
    bool Resize(unsigned slots);

  private:
    unsigned slots_ = 0;
    std::deque<unsigned> free_;                    // slots, the one that is free the longest first
    std::vector<unsigned> nextGeneration_;         // by slot
    std::unordered_map<int, unsigned> slotInUse_;  // by handle
    std::vector<bool> retired_;                    // by handle; as long as the largest value
};

}  // namespace tvservice
