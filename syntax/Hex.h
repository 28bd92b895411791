#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "softplatform/base/ByteView.h"

namespace syntax {

// Appends two digits a byte, lower case.
void AppendHex(tvservice::ByteView bytes, std::string& out);

// Appends the bytes of digits, either case; false for what is no whole number of bytes.
bool ParseHex(std::string_view digits, std::vector<std::uint8_t>& bytes);

// The value of a digit; -1 for what is none.
constexpr int HexDigit(char c) {
    return c >= '0' && c <= '9'   ? c - '0'
           : c >= 'a' && c <= 'f' ? c - 'a' + 10
           : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                  : -1;
}

constexpr char kHexDigits[] = "0123456789abcdef";

}  // namespace syntax
