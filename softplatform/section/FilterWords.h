#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "softplatform/section/SectionFilter.h"

namespace tvservice {

// The first words of many filters, side by side: one pass tells which filters a section's first
// eight bytes leave. Used by one thread.
class FilterWords {
  public:
    size_t size() const { return size_; }
    void Clear();
    void Add(const SectionFilter::Word& word);

    // The first filter from `start` on that lets a section begin with `word` (eight bytes in the
    // order of memory), as far as its `equal` bits say; size() when there is none. The fastest way
    // that this processor knows.
    size_t Next(size_t start, uint64_t word) const;

    // The same, one filter after the other.
    size_t NextPlain(size_t start, uint64_t word) const;

    // Which of the ways below Next may use.
    enum class Way { kTwoWords, kFourWords };
    static bool Has(Way way);
    // The same in that way, which this processor has.
    size_t NextBy(Way way, size_t start, uint64_t word) const;

  private:
    static constexpr size_t kBlock = 8;  // so many filters are compared at a time

    bool Allows(size_t at, uint64_t word) const { return (word & equal_[at]) == wanted_[at]; }

    size_t size_ = 0;
    // By filter; then some that allow no word, up to a multiple of kBlock.
    std::vector<uint64_t> equal_;   // bits that must be as in the pattern
    std::vector<uint64_t> wanted_;  // these bits of the pattern
};

}  // namespace tvservice
