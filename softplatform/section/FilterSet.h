#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "softplatform/section/FilterRegistry.h"
#include "softplatform/section/FilterWords.h"
#include "softplatform/section/SectionView.h"

namespace tvservice {

// The filters of one PID. Finds those that a section matches, in the order of their subscription.
//
// For each table_id it lists the filters that can match it, with their first eight positions side
// by side (FilterWords). One pass over these finds the few filters whose other positions must be
// compared too. The list of a table_id is made when the first section with that table_id comes
// after a change; nothing else is allocated. Used by one thread.
class FilterSet {
  public:
    bool empty() const { return filters_.empty(); }
    const std::vector<std::unique_ptr<Filter>>& all() const { return filters_; }

    void Add(std::unique_ptr<Filter> filter);

    // Frees a filter of this set.
    void Remove(const Filter& filter);

    // Calls visit(Filter&) for each filter that the section matches. `visit` must not change the
    // set.
    template <class Visit>
    void VisitMatching(SectionView section, Visit&& visit) {
        if (filters_.empty()) {
            return;
        }
        const Candidates& candidates = CandidatesOf(section.table_id());
        const uint64_t word = FirstWord(section.data(), section.size());
        for (size_t i = candidates.words.Next(0, word); i < candidates.filters.size();
             i = candidates.words.Next(i + 1, word)) {
            if (candidates.filters[i]->criteria.Matches(section.data(), section.size())) {
                visit(*candidates.filters[i]);
            }
        }
    }

  private:
    // The filters that can match a table_id.
    struct Candidates {
        uint64_t change = 0;  // of the set, when this was made
        std::vector<Filter*> filters;
        FilterWords words;  // theirs
    };

    // The first eight bytes of a section, in the byte order of memory; zeros past its end.
    static uint64_t FirstWord(const uint8_t* section, size_t size);

    const Candidates& CandidatesOf(uint8_t table_id);
    void Fill(Candidates& candidates, uint8_t table_id) const;

    std::vector<std::unique_ptr<Filter>> filters_;  // in the order of their subscription
    uint64_t change_ = 1;                           // grows with every change of filters_
    std::vector<Candidates> candidates_;
    // By table_id: 1 + the place in candidates_; 0 when there is none yet. Empty at first.
    std::vector<uint16_t> places_;
};

}  // namespace tvservice
