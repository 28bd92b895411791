#pragma once

#include <cstdint>
#include <optional>

namespace tvservice {

// The number in the lowest `digits` binary coded decimal digits of `value`, 4 bits each. None when
// one of the digits is above 9.
constexpr std::optional<uint32_t> FromBcd(uint32_t value, int digits) {
    uint32_t number = 0;
    for (int i = digits - 1; i >= 0; --i) {
        const uint32_t digit = value >> (4 * i) & 0xF;
        if (digit > 9) {
            return std::nullopt;
        }
        number = number * 10 + digit;
    }
    return number;
}

}  // namespace tvservice
