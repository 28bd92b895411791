#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "platform/TCBaseDesc.h"
#include "softplatform/base/ByteView.h"
#include "softplatform/descriptor/DescriptorLoop.h"

namespace tvservice {

// The field of `length` bytes at `at`, as far as it lies in `body`. One that does not fit is cut
// and counted (Counter::kDescriptorOverruns).
ByteView Field(ByteView body, size_t at, size_t length);

// Walks a loop of entries that each have a head of `headSize` bytes, whose last 12 bits give the
// size of the descriptor loop behind it: those of PMT, SDT, EIT, NIT and BAT. An entry whose head
// does not fit ends the loop; a descriptor loop that does not fit is cut; both are counted.
class EntryReader {
  public:
    EntryReader(ByteView loop, size_t headSize) : loop_(loop), headSize_(headSize) {}

    bool Next();
    // Those of the entry stepped to. After Next() was true.
    ByteView head() const { return head_; }
    ByteView descriptors() const { return descriptors_; }

  private:
    ByteView loop_;
    size_t headSize_;
    size_t next_ = 0;
    ByteView head_;
    ByteView descriptors_;
};

// The entries of a loop that spans the sections of a sub-table, in section_number order.
template <class Item>
class ItemLoop {
  public:
    // Replaces the entries of one section.
    void Put(uint8_t sectionNumber, std::vector<std::unique_ptr<Item>> items) {
        if (sectionNumber >= sections_.size()) {
            sections_.resize(size_t{sectionNumber} + 1);
        }
        sections_[sectionNumber].items = std::move(items);
        size_t end = 0;
        for (Section& section : sections_) {
            end += section.items.size();
            section.end = end;
        }
    }

    void Clear() { sections_.clear(); }

    size_t size() const { return sections_.empty() ? 0 : sections_.back().end; }

    // Null past the end.
    Item* At(size_t index) const {
        const auto section =
            std::upper_bound(sections_.begin(), sections_.end(), index,
                             [](size_t at, const Section& of) { return at < of.end; });
        return section == sections_.end()
                   ? nullptr
                   : section->items[index - (section->end - section->items.size())].get();
    }

    // The first for which `is` holds; null when there is none.
    template <class Predicate>
    Item* Find(Predicate is) const {
        for (const Section& section : sections_) {
            for (const std::unique_ptr<Item>& item : section.items) {
                if (is(*item)) {
                    return item.get();
                }
            }
        }
        return nullptr;
    }

  private:
    struct Section {
        size_t end = 0;  // the index after its last entry's
        std::vector<std::unique_ptr<Item>> items;
    };
    std::vector<Section> sections_;  // by section_number
};

// A descriptor loop that spans the sections of a sub-table: one after the other in section_number
// order, repetitions included. Asked for the descriptors of one tag one after the other, as clients
// do, it walks the sections once.
class SpanningLoop {
  public:
    // Replaces the loop of one section.
    void Put(uint8_t sectionNumber, DescriptorLoop loop);

    void Clear() { *this = SpanningLoop(); }

    int size() const { return sections_.empty() ? 0 : static_cast<int>(sections_.back().end); }
    int Count(int tag) const;
    // Null past the end.
    TCBaseDesc* At(size_t index);
    TCBaseDesc* Find(int tag, size_t index);

  private:
    struct Section {
        size_t end = 0;  // the index after its last descriptor's
        DescriptorLoop loop;
    };
    // Where the search for the tag that was asked for last stands.
    struct Cursor {
        int tag = -1;  // of no descriptor
        size_t count = 0;
        size_t section = 0;
        size_t before = 0;  // descriptors of that tag in the sections before
    };

    std::vector<Section> sections_;  // by section_number
    mutable Cursor cursor_;
};

}  // namespace tvservice
