#include "softplatform/section/FilterSet.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace tvservice {

void FilterSet::Add(std::unique_ptr<Filter> filter) {
    filters_.push_back(std::move(filter));
    ++change_;
}

void FilterSet::Remove(const Filter& filter) {
    filters_.erase(std::find_if(filters_.begin(), filters_.end(),
                                [&filter](const auto& known) { return known.get() == &filter; }));
    ++change_;
}

uint64_t FilterSet::FirstWord(const uint8_t* section, size_t size) {
    uint64_t word = 0;
    if (size >= sizeof word) {
        std::memcpy(&word, section, sizeof word);
    } else {
        std::memcpy(&word, section, size);
    }
    return word;
}

const FilterSet::Candidates& FilterSet::CandidatesOf(uint8_t table_id) {
    if (places_.empty()) {
        places_.resize(256);
    }
    uint16_t& place = places_[table_id];
    if (place == 0) {
        candidates_.emplace_back();
        place = static_cast<uint16_t>(candidates_.size());
    }
    Candidates& candidates = candidates_[place - size_t{1}];
    if (candidates.change != change_) {
        Fill(candidates, table_id);
    }
    return candidates;
}

void FilterSet::Fill(Candidates& candidates, uint8_t table_id) const {
    candidates.filters.clear();
    candidates.equal.clear();
    candidates.wanted.clear();
    for (const std::unique_ptr<Filter>& filter : filters_) {
        const SectionFilter::Word first = filter->criteria.first_word();
        const uint64_t wanted = first.pattern & first.equal;
        uint8_t equalBits = 0;
        uint8_t wantedBits = 0;
        std::memcpy(&equalBits, &first.equal, 1);
        std::memcpy(&wantedBits, &wanted, 1);
        if ((table_id & equalBits) == wantedBits) {
            candidates.filters.push_back(filter.get());
            candidates.equal.push_back(first.equal);
            candidates.wanted.push_back(wanted);
        }
    }
    while (candidates.equal.size() % kBlock != 0) {
        candidates.equal.push_back(0);
        candidates.wanted.push_back(1);
    }
    candidates.change = change_;
}

size_t FilterSet::Candidates::Next(size_t start, uint64_t word) const {
    const size_t count = filters.size();
    size_t i = start;
    const auto allows = [&](size_t at) { return (word & equal[at]) == wanted[at]; };
    for (; i < count && i % kBlock != 0; ++i) {
        if (allows(i)) {
            return i;
        }
    }
    for (; i < count; i += kBlock) {
        bool any = false;
        for (size_t j = 0; j < kBlock; ++j) {
            any |= allows(i + j);
        }
        if (any) {
            while (!allows(i)) {
                ++i;
            }
            return i;
        }
    }
    return count;
}

}  // namespace tvservice
