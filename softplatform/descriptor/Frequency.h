#pragma once

#include <cstdint>

namespace tvservice {

// Converts a binary frequency field in units of 10 Hz to Hz. A field of all ones means "no
// frequency" and gives 0.
constexpr uint64_t HertzFromTens(uint32_t coded) {
    return coded == 0xFFFFFFFF ? 0 : coded * uint64_t{10};
}

}  // namespace tvservice
