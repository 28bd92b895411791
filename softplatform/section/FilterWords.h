#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "softplatform/section/SectionFilter.h"

namespace tvservice {

// The first eight positions of many filters, side by side. One pass finds the filters that the
// first eight bytes of a section match. Used by one thread.
class FilterWords {
  public:
    size_t size() const { return size_; }
    void Clear();
    void Add(const SectionFilter::Word& word);

    // The first filter from `start` on that a section with these first eight bytes (in the byte
    // order of memory) can match, judged by the `equal` bits alone; size() when there is none. Uses
    // the fastest method of this processor.
    size_t Next(size_t start, uint64_t word) const;

    // As Next, but compares one filter after the other.
    size_t NextPlain(size_t start, uint64_t word) const;

    // The methods that Next may use.
    enum class Way { kTwoWords, kFourWords };
    static bool Has(Way way);
    // As Next, with that method, which this processor must have.
    size_t NextBy(Way way, size_t start, uint64_t word) const;

  private:
    static constexpr size_t kBlock = 8;  // filters that are compared at a time

    bool Allows(size_t at, uint64_t word) const { return (word & equal_[at]) == wanted_[at]; }

    size_t size_ = 0;
    // One entry for each filter. Entries that match no word follow, up to a multiple of kBlock.
    std::vector<uint64_t> equal_;   // bits that must be as in the pattern
    std::vector<uint64_t> wanted_;  // these bits of the pattern
};

}  // namespace tvservice
