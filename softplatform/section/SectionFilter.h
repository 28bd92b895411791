#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace tvservice {

// Criteria for the first bytes of a section. They are compiled once and then compared in machine
// words. Position i of the pattern is byte i of the section; bytes 1 and 2 (section_length) count
// as positions.
//
// As in the Linux demux, each mask bit takes part in one of two tests. Where the mode bit is 0, the
// section's bit must equal the pattern's. Of the bits whose mode bit is 1, at least one must differ
// from the pattern; without such bits this test passes. Bits outside the mask are ignored, so every
// section matches an all-zero mask.
//
// Can be copied, and used by several threads at once.
class SectionFilter {
  public:
    // Returns nothing when `pattern` is empty, when `mask` has another length than `pattern`, or
    // when `mode` has another length and is not empty. An empty mode is all zeros.
    static std::optional<SectionFilter> Compile(const std::vector<uint8_t>& pattern,
                                                const std::vector<uint8_t>& mask,
                                                const std::vector<uint8_t>& mode);

    // Whether the section of `size` bytes matches. A section that ends before the last position
    // with a mask bit does not match. Reads nothing past `size`, allocates nothing.
    bool Matches(const uint8_t* section, size_t size) const;

    // Eight positions, in the byte order of memory.
    struct Word {
        uint64_t pattern;
        uint64_t equal;   // bits that must be as in the pattern
        uint64_t differ;  // bits of which at least one must differ
    };

    // The first eight positions. Positions past the end are zeros.
    Word first_word() const { return words()[0]; }

    // The criteria as they were given. An empty mode is returned as zeros.
    const std::vector<uint8_t>& pattern() const { return pattern_; }
    const std::vector<uint8_t>& mask() const { return mask_; }
    const std::vector<uint8_t>& mode() const { return mode_; }

    // Whether both were compiled from the same bytes; bits outside the mask count too.
    friend bool operator==(const SectionFilter& a, const SectionFilter& b) {
        return a.pattern_ == b.pattern_ && a.mask_ == b.mask_ && a.mode_ == b.mode_;
    }

  private:
    static constexpr size_t kInlineWords = 4;

    SectionFilter() = default;
    const Word* words() const {
        return moreWords_.empty() ? inlineWords_.data() : moreWords_.data();
    }

    std::array<Word, kInlineWords> inlineWords_{};
    size_t wordCount_ = 0;
    size_t askedSize_ = 0;  // up to the last position with a mask bit
    bool asksDifference_ = false;
    std::vector<Word> moreWords_;  // all words, when there are too many for the inline array

    std::vector<uint8_t> pattern_;
    std::vector<uint8_t> mask_;
    std::vector<uint8_t> mode_;
};

}  // namespace tvservice
