#include "generator/Random.h"

namespace generator {

// splitmix64: one addition and a finaliser that spreads every bit of the state.
std::uint64_t Random::Next() {
    state_ += 0x9E3779B97F4A7C15u;
    std::uint64_t mixed = state_;
    mixed = (mixed ^ mixed >> 30) * 0xBF58476D1CE4E5B9u;
    mixed = (mixed ^ mixed >> 27) * 0x94D049BB133111EBu;
    return mixed ^ mixed >> 31;
}

Bytes Random::Fill(std::size_t size) {
    Bytes bytes(size);
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(Next() >> 56);
    }
    return bytes;
}

}  // namespace generator
