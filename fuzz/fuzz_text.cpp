// Decodes any bytes as text of EN 300 468. The result must be valid UTF-8 and not much longer than
// the input.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "softplatform/text/Text.h"

namespace {

bool IsValidUtf8(const std::string& text) {
    std::size_t at = 0;
    while (at < text.size()) {
        const auto first = static_cast<std::uint8_t>(text[at]);
        const std::size_t more = first < 0x80 ? 0 : first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
        if ((first >= 0x80 && first < 0xC2) || first > 0xF4 || at + more >= text.size()) {
            return false;
        }
        for (std::size_t i = 1; i <= more; ++i) {
            if ((static_cast<std::uint8_t>(text[at + i]) & 0xC0) != 0x80) {
                return false;
            }
        }
        at += 1 + more;
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> exact(data, data + size);
    const std::string text = tvservice::TextToUtf8(exact.data(), exact.size());
    if (!IsValidUtf8(text) || text.size() > 3 * size) {
        std::abort();
    }
    return 0;
}
