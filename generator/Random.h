// A small generator of pseudo-random numbers. It gives the same numbers on every machine; the
// distributions of the standard library do not.
#pragma once

#include <cstddef>
#include <cstdint>

#include "generator/Bytes.h"

namespace generator {

class Random {
  public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    std::uint64_t Next();
    // Returns a number from 0 to `limit` - 1; `limit` is at least 1.
    std::uint64_t Below(std::uint64_t limit) { return Next() % limit; }
    // Returns true once in `count` calls on average; `count` is at least 1.
    bool OneIn(std::uint64_t count) { return Below(count) == 0; }
    Bytes Fill(std::size_t size);

  private:
    std::uint64_t state_;
};

}  // namespace generator
