#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "softplatform/base/ByteView.h"

namespace syntax {

// Appends two lower-case digits for each byte.
void AppendHex(tvservice::ByteView bytes, std::string& out);

// Appends the bytes that digits of either case stand for. Returns false when a character is not a
// digit or the number of digits is odd.
bool ParseHex(std::string_view digits, std::vector<std::uint8_t>& bytes);

// The value of a hexadecimal digit; -1 for any other character.
constexpr int HexDigit(char c) {
    return c >= '0' && c <= '9'   ? c - '0'
           : c >= 'a' && c <= 'f' ? c - 'a' + 10
           : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                  : -1;
}

constexpr char kHexDigits[] = "0123456789abcdef";

}  // namespace syntax
