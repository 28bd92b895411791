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

// The numbers by which filters are known outside: 1 + slot + slots * generation, 64 generations a
// slot, so that the values ever given stay bounded. A slot is used again oldest first, each time
// with its next generation; a value that is in use or retired is passed over.
//
// Not for several threads at once.
class HandlePool {
  public:
    // `slots` is 1 to kMaxFilterSlots: how many handles can be in use at once.
    explicit HandlePool(unsigned slots) { Resize(slots); }

    // A handle that is not in use; none when no slot is free.
    std::optional<int> Take();

    // Gives a handle back. Returns false, and does nothing, when it is not in use.
    bool Release(int handle);

    // Never hands out this value again. Returns false, and does nothing, when it is in use, retired
    // already, or none that this pool can give or could give before a Resize.
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
