#pragma once

#include <cstdint>
#include <optional>

namespace tvservice {

// The number that `digits` binary coded decimal digits give, the last digit in the low 4 bits of
// `value`; none when one of them is above 9.
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
