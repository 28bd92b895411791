#include "softplatform/section/SectionFilter.h"

#include <algorithm>
#include <cstring>

namespace tvservice {

std::optional<SectionFilter> SectionFilter::Compile(const std::vector<uint8_t>& pattern,
                                                    const std::vector<uint8_t>& mask,
                                                    const std::vector<uint8_t>& mode) {
    const size_t size = pattern.size();
    if (size == 0 || mask.size() != size || (!mode.empty() && mode.size() != size)) {
        return std::nullopt;
    }
    SectionFilter filter;
    filter.pattern_ = pattern;
    filter.mask_ = mask;
    filter.mode_ = mode;
    filter.mode_.resize(size);

    filter.askedSize_ = size;
    while (filter.askedSize_ > 0 && mask[filter.askedSize_ - 1] == 0) {
        --filter.askedSize_;
    }
    filter.wordCount_ = (filter.askedSize_ + 7) / 8;
    if (filter.wordCount_ > kInlineWords) {
        filter.moreWords_.resize(filter.wordCount_);
    }
    Word* words =
        filter.wordCount_ > kInlineWords ? filter.moreWords_.data() : filter.inlineWords_.data();
    for (size_t i = 0; i < filter.askedSize_; ++i) {
        const auto put = [i](uint64_t& word, unsigned value) {
            reinterpret_cast<uint8_t*>(&word)[i % 8] = static_cast<uint8_t>(value);
        };
        Word& word = words[i / 8];
        put(word.pattern, pattern[i]);
        put(word.equal, mask[i] & ~filter.mode_[i]);
        put(word.differ, mask[i] & filter.mode_[i]);
        filter.asksDifference_ |= (mask[i] & filter.mode_[i]) != 0;
    }
    return filter;
}

bool SectionFilter::Matches(const uint8_t* section, size_t size) const {
    if (size < askedSize_) {
        return false;
    }
    const Word* const words = this->words();
    uint64_t different = 0;
    for (size_t i = 0; i < wordCount_; ++i) {
        uint64_t bytes = 0;
        if (const size_t left = size - i * 8; left >= 8) {
            std::memcpy(&bytes, section + i * 8, 8);
        } else {
            std::memcpy(&bytes, section + i * 8, left);
        }
        const uint64_t changed = bytes ^ words[i].pattern;
        if ((changed & words[i].equal) != 0) {
            return false;
        }
        different |= changed & words[i].differ;
    }
    return different != 0 || !asksDifference_;
}

}  // namespace tvservice
