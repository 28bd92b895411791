#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace fuzzing {

using Section = std::vector<std::uint8_t>;

// Splits the input into sections, each in memory of exactly its own length. Bytes at the end that
// are no section are dropped.
inline std::vector<Section> SectionsOf(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kUpToSectionLength = 3;
    std::vector<Section> sections;
    for (std::size_t at = 0; size - at >= kUpToSectionLength;) {
        const std::size_t length =
            kUpToSectionLength + ((data[at + 1] & 0x0Fu) << 8 | data[at + 2]);
        if (length > size - at) {
            break;
        }
        sections.emplace_back(data + at, data + at + length);
        at += length;
    }
    return sections;
}

}  // namespace fuzzing
