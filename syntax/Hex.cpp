#include "syntax/Hex.h"

namespace syntax {

void AppendHex(tvservice::ByteView bytes, std::string& out) {
    const std::size_t begin = out.size();
    out.resize(begin + bytes.size() * 2);
    char* at = out.data() + begin;
    for (const std::uint8_t byte : bytes) {
        *at++ = kHexDigits[byte >> 4];
        *at++ = kHexDigits[byte & 15];
    }
}

bool ParseHex(std::string_view digits, std::vector<std::uint8_t>& bytes) {
    if (digits.size() % 2 != 0) {
        return false;
    }
    for (std::size_t at = 0; at < digits.size(); at += 2) {
        const int high = HexDigit(digits[at]);
        const int low = HexDigit(digits[at + 1]);
        if (high < 0 || low < 0) {
            return false;
        }
        bytes.push_back(static_cast<std::uint8_t>(high << 4 | low));
    }
    return true;
}

}  // namespace syntax
