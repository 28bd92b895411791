#pragma once

#include <cstdint>

namespace tvservice {

// Pseudo-random numbers (splitmix64), the same on every machine for a seed. Used by one thread at a
// time.
class Random {
  public:
    explicit Random(uint64_t seed) : state_(seed) {}

    uint64_t Next() {
        state_ += 0x9E3779B97F4A7C15u;
        uint64_t mixed = state_;
        mixed = (mixed ^ mixed >> 30) * 0xBF58476D1CE4E5B9u;
        mixed = (mixed ^ mixed >> 27) * 0x94D049BB133111EBu;
        return mixed ^ mixed >> 31;
    }

    // 0 to `limit` - 1; `limit` is at least 1.
    uint64_t Below(uint64_t limit) { return Next() % limit; }

  private:
    uint64_t state_;
};

}  // namespace tvservice
