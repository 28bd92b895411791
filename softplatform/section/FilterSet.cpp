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
    candidates.words.Clear();
    for (const std::unique_ptr<Filter>& filter : filters_) {
        const SectionFilter::Word first = filter->criteria.first_word();
        const uint64_t wanted = first.pattern & first.equal;
        uint8_t equalBits = 0;
        uint8_t wantedBits = 0;
        std::memcpy(&equalBits, &first.equal, 1);
        std::memcpy(&wantedBits, &wanted, 1);
        if ((table_id & equalBits) == wantedBits) {
            candidates.filters.push_back(filter.get());
            candidates.words.Add(first);
        }
    }
    candidates.change = change_;
}

}  // namespace tvservice
