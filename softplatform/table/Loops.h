#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/TCBaseDesc.h"
#include "softplatform/base/ByteView.h"
#include "softplatform/descriptor/DescriptorLoop.h"
#include "softplatform/table/SubTable.h"

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

// Stores a section unless it is a repeat. When it starts the sub-table afresh, `clear` is called
// first: what was decoded from the old sections borrows their bytes.
template <class Clear>
std::optional<SectionView> StoreIfNew(SubTable& table, SectionView section, Clear clear) {
    const SubTable::Change change = table.Judge(section);
    if (change == SubTable::Change::kRepeat) {
        return std::nullopt;
    }
    if (change == SubTable::Change::kAfresh) {
        clear();
    }
    return table.Store(section);
}

// The entries of a loop that spans the sections of a sub-table, in section_number order.
template <class Item>
class ItemLoop {
  public:
    // Replaces the entries of one section.
    void Put(uint8_t sectionNumber, std::vector<std::unique_ptr<Item>> items) {
        all_.clear();
        bySection_[sectionNumber] = std::move(items);
        for (const auto& section : bySection_) {
            for (const std::unique_ptr<Item>& item : section.second) {
                all_.push_back(item.get());
            }
        }
    }

    void Clear() { *this = ItemLoop(); }

    const std::vector<Item*>& all() const { return all_; }
    int size() const { return static_cast<int>(all_.size()); }

    // Null past the end.
    Item* At(size_t index) const { return index < all_.size() ? all_[index] : nullptr; }

  private:
    std::map<uint8_t, std::vector<std::unique_ptr<Item>>> bySection_;
    std::vector<Item*> all_;
};

// A descriptor loop that spans the sections of a sub-table: one after the other in section_number
// order, repetitions included.
class SpanningLoop {
  public:
    // Replaces the loop of one section.
    void Put(uint8_t sectionNumber, DescriptorLoop loop) {
        bySection_[sectionNumber] = std::move(loop);
    }

    void Clear() { bySection_.clear(); }

    int size() const;
    int Count(int tag) const;
    // Null past the end.
    TCBaseDesc* At(size_t index);
    TCBaseDesc* Find(int tag, size_t index);

  private:
    std::map<uint8_t, DescriptorLoop> bySection_;
};

}  // namespace tvservice
