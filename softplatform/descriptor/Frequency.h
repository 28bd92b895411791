#pragma once

#include <cstdint>

namespace tvservice {

// The hertz of a binary frequency field in units of 10 Hz; 0 when all its bits are ones, which
// stands for no frequency.
constexpr uint64_t HertzFromTens(uint32_t coded) {
    return coded == 0xFFFFFFFF ? 0 : coded * uint64_t{10};
}

}  // namespace tvservice
