// The byte strings that the generator makes and hands on.
#pragma once

#include <cstdint>
#include <vector>

namespace generator {

using Bytes = std::vector<std::uint8_t>;

// The parts one after the other.
inline Bytes Concat(const std::vector<Bytes>& parts) {
    Bytes whole;
    for (const Bytes& part : parts) {
        whole.insert(whole.end(), part.begin(), part.end());
    }
    return whole;
}

}  // namespace generator
