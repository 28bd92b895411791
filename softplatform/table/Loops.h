#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>
#include <vector>

#include "platform/TCBaseDesc.h"
#include "softplatform/base/ByteView.h"
#include "softplatform/descriptor/DescriptorArena.h"
#include "softplatform/descriptor/DescriptorLoop.h"
#include "softplatform/descriptor/Internals.h"

namespace tvservice {

// Adds to Counter::kDescriptorOverruns.
void CountOverruns(uint64_t overruns);

// The `length` bytes of `body` from `at` on. When they reach past the end of `body`, they are cut
// there, and this is counted (Counter::kDescriptorOverruns).
ByteView Field(ByteView body, size_t at, size_t length);

// Walks through the loop of a PMT, SDT, EIT, NIT or BAT. Each entry is a head of `headSize` bytes
// and a descriptor loop; the last 12 bits of the head are the loop's length. A head that reaches
// past the end ends the loop. A descriptor loop that reaches past the end is cut there.
class EntryReader {
  public:
    EntryReader(ByteView loop, size_t headSize) : loop_(loop), headSize_(headSize) {}

    // Steps to the next entry; false at the end of the loop.
    bool Next();

    // The current entry. Only after Next() returned true.
    ByteView head() const { return head_; }
    ByteView descriptors() const { return descriptors_; }

    // How many heads and descriptor loops reached past the end so far: for CountOverruns.
    uint64_t overruns() const { return overruns_; }

  private:
    ByteView loop_;
    size_t headSize_;
    size_t next_ = 0;
    uint64_t overruns_ = 0;
    ByteView head_;
    ByteView descriptors_;
};

// How many objects are decoded from a section: the entries of its loop, and all its descriptors.
struct Room {
    size_t entries = 0;
    size_t descriptors = 0;
};

// The number of entries in a loop, and of the descriptors in them.
Room RoomForEntries(ByteView loop, size_t headSize);

// The entries of the loop of one section, decoded to objects. They lie in an arena and live until
// its next Begin. A copy shares them.
template <class Item>
class Items {
  public:
    using Impl = TVServiceInternals::Impl<Item>;

    // The bytes that each entry takes from the arena, without its descriptors.
    static constexpr size_t RoomEach() { return DescriptorArena::Rounded(sizeof(Place)); }

    Items() = default;

    // Makes an item for each entry; `make` is given the reader at that entry and returns the item's
    // Impl. `count` is the number of entries that RoomForEntries found, and the arena has
    // count * RoomEach() bytes left.
    template <class Make>
    Items(ByteView loop, size_t headSize, size_t count, DescriptorArena& arena, Make make)
        : places_(static_cast<Place*>(arena.Take(count * sizeof(Place)))) {
        EntryReader reader(loop, headSize);
        while (reader.Next()) {
            Place* const place = places_ + size_++;
            Impl& impl = *::new (&place->impl) Impl(make(reader));
            TVServiceInternals::MakeAt<Item>(place->object, impl);
        }
        CountOverruns(reader.overruns());
    }

    size_t size() const { return size_; }
    Item* At(size_t index) const { return reinterpret_cast<Item*>(places_[index].object); }

  private:
    struct Place {
        Impl impl;
        alignas(Item) unsigned char object[sizeof(Item)];
    };

    Place* places_ = nullptr;
    size_t size_ = 0;
};

// The entries of all sections of a sub-table as one list, in section_number order. `Entries` holds
// those of one section: Items<Item>.
template <class Entries>
class ItemLoop {
  public:
    // Allocates for this many sections, so that Put need not.
    void Reserve(size_t sections) { sections_.reserve(sections); }

    // Sets the entries of one section, in place of its earlier ones.
    void Put(uint8_t sectionNumber, Entries entries) {
        if (sectionNumber >= sections_.size()) {
            sections_.resize(size_t{sectionNumber} + 1);
        }
        sections_[sectionNumber].entries = std::move(entries);
        size_t end = 0;
        for (Section& section : sections_) {
            end += section.entries.size();
            section.end = end;
        }
    }

    void Clear() { sections_.clear(); }

    size_t size() const { return sections_.empty() ? 0 : sections_.back().end; }

    // The entry at `index`; null past the end.
    auto At(size_t index) const -> decltype(std::declval<const Entries&>().At(0)) {
        const auto section =
            std::upper_bound(sections_.begin(), sections_.end(), index,
                             [](size_t at, const Section& of) { return at < of.end; });
        return section == sections_.end()
                   ? nullptr
                   : section->entries.At(index - (section->end - section->entries.size()));
    }

    // The first entry for which `is` returns true; null when there is none.
    template <class Predicate>
    auto Find(Predicate is) const -> decltype(std::declval<const Entries&>().At(0)) {
        for (const Section& section : sections_) {
            for (size_t index = 0; index < section.entries.size(); ++index) {
                if (is(*section.entries.At(index))) {
                    return section.entries.At(index);
                }
            }
        }
        return nullptr;
    }

  private:
    struct Section {
        size_t end = 0;  // one more than the index of its last entry
        Entries entries;
    };
    std::vector<Section> sections_;  // by section_number
};

// The descriptor loops of all sections of a sub-table as one list, in section_number order.
// Descriptors that are equal are all kept. Clients ask for the descriptors of one tag in ascending
// order: that takes one walk through the sections.
class SpanningLoop {
  public:
    // Allocates for this many sections, so that Put need not.
    void Reserve(size_t sections) { sections_.reserve(sections); }

    // Sets the loop of one section, in place of its earlier one.
    void Put(uint8_t sectionNumber, DescriptorLoop loop);

    void Clear() {
        sections_.clear();
        cursor_ = {};
    }

    int size() const { return sections_.empty() ? 0 : static_cast<int>(sections_.back().end); }
    // The number of descriptors with that Tag().
    int Count(int tag) const;
    // The descriptor at `index`; null past the end.
    TCBaseDesc* At(size_t index);
    // The `index`-th descriptor with that Tag(); null past the end.
    TCBaseDesc* Find(int tag, size_t index);

  private:
    struct Section {
        size_t end = 0;  // one more than the index of its last descriptor
        DescriptorLoop loop;
    };
    // The last search by tag. The next one for the same tag goes on from there.
    struct Cursor {
        int tag = -1;        // at first one that no descriptor has
        size_t count = 0;    // descriptors of that tag
        size_t section = 0;  // the section that was reached
        size_t before = 0;   // descriptors of that tag in the sections before it
    };

    std::vector<Section> sections_;  // by section_number
    mutable Cursor cursor_;
};

}  // namespace tvservice
