// Compares the compiled filter with its definition. Input: one byte with the length of the pattern,
// the pattern, the mask, the mode, then the section.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "softplatform/section/SectionFilter.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

bool MatchesByDefinition(const Bytes& pattern, const Bytes& mask, const Bytes& mode,
                         const Bytes& section) {
    bool asksDifference = false;
    bool differs = false;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (mask[i] == 0) {
            continue;
        }
        if (i >= section.size()) {
            return false;
        }
        const int wrong = (section[i] ^ pattern[i]) & mask[i];
        if ((wrong & ~mode[i]) != 0) {
            return false;
        }
        asksDifference |= (mask[i] & mode[i]) != 0;
        differs |= (wrong & mode[i]) != 0;
    }
    return !asksDifference || differs;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::size_t length = data[0];
    if (size < 1 + 3 * length) {
        return 0;
    }
    const std::uint8_t* at = data + 1;
    const Bytes pattern(at, at + length);
    const Bytes mask(at + length, at + 2 * length);
    const Bytes mode(at + 2 * length, at + 3 * length);
    const Bytes section(at + 3 * length, data + size);
    const auto filter = tvservice::SectionFilter::Compile(pattern, mask, mode);
    if (filter.has_value() != (length != 0)) {
        std::abort();
    }
    if (filter && filter->Matches(section.data(), section.size()) !=
                      MatchesByDefinition(pattern, mask, mode, section)) {
        std::abort();
    }
    return 0;
}
