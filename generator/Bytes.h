// The byte strings that the generator makes and returns.
#pragma once

#include <cstdint>
#include <vector>

namespace generator {

using Bytes = std::vector<std::uint8_t>;

// Returns the parts joined in order.
inline Bytes Concat(const std::vector<Bytes>& parts) {
    Bytes whole;
    for (const Bytes& part : parts) {
        whole.insert(whole.end(), part.begin(), part.end());
    }
    return whole;
}

}  // namespace generator
