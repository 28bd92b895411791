#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace tvservice {

// Criteria for a section's first bytes, compiled once and then matched with and/xor on machine
// words. Position i of the pattern is byte i of the section; bytes 1 and 2 (section_length) count
// as positions.
//
// Under the mask each bit asks one of two things, as in the Linux demux: where its mode bit is 0
// the section's bit must equal the pattern's; of the bits whose mode bit is 1 at least one must
// differ (nothing is asked when there is none). Bits outside the mask ask nothing, so an all-zero
// mask lets everything pass.
//
// A value: copyable, and safe to use from several threads once compiled.
class SectionFilter {
  public:
    // None when `pattern` is empty, `mask` has another length, or `mode` is neither empty (all
    // equal) nor of that length.
    static std::optional<SectionFilter> Compile(const std::vector<uint8_t>& pattern,
                                                const std::vector<uint8_t>& mask,
                                                const std::vector<uint8_t>& mode);

    // Whether the section of `size` bytes matches. One that ends before the last position with a
    // mask bit does not. Reads nothing past `size`, allocates nothing.
    bool Matches(const uint8_t* section, size_t size) const;

    // Eight positions, in the byte order of memory.
    struct Word {
        uint64_t pattern;
        uint64_t equal;   // bits that must be as in the pattern
        uint64_t differ;  // bits of which one must not be
    };

    // The first eight positions; those that ask nothing, and those past the end, as zeros.
    Word first_word() const { return words()[0]; }

    // The criteria as they were given; an empty mode as zeros.
    const std::vector<uint8_t>& pattern() const { return pattern_; }
    const std::vector<uint8_t>& mask() const { return mask_; }
    const std::vector<uint8_t>& mode() const { return mode_; }

    // Whether both were compiled from the same criteria, byte by byte (bits outside the mask too).
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
    std::vector<Word> moreWords_;  // all of them, when there are more than fit inline

    std::vector<uint8_t> pattern_;
    std::vector<uint8_t> mask_;
    std::vector<uint8_t> mode_;
};

}  // namespace tvservice
