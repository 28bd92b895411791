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

// The field of `length` bytes at `at`, as far as it lies in `body`. One that does not fit is cut
// and counted (Counter::kDescriptorOverruns).
ByteView Field(ByteView body, size_t at, size_t length);

// Walks a loop of entries that each have a head of `headSize` bytes, whose last 12 bits give the
// size of the descriptor loop behind it: those of PMT, SDT, EIT, NIT and BAT. An entry whose head
// does not fit ends the loop; a descriptor loop that does not fit is cut.
class EntryReader {
  public:
    EntryReader(ByteView loop, size_t headSize) : loop_(loop), headSize_(headSize) {}

    // Steps to the next entry; false at the end of the loop.
    bool Next();
    // Those of the entry stepped to. After Next() was true.
    ByteView head() const { return head_; }
    ByteView descriptors() const { return descriptors_; }

    // How often something did not fit so far: for Count.
    uint64_t overruns() const { return overruns_; }

  private:
    ByteView loop_;
    size_t headSize_;
    size_t next_ = 0;
    uint64_t overruns_ = 0;
    ByteView head_;
    ByteView descriptors_;
};

// What is decoded from a section: entries of its loop, and descriptors everywhere in it.
struct Room {
    size_t entries = 0;
    size_t descriptors = 0;
};

// What the entries of a loop need.
Room RoomForEntries(ByteView loop, size_t headSize);

// The entries of the loop of one section, as objects in an arena, where they live as long as what
// was taken there. Copies are the same entries.
template <class Item>
class Items {
  public:
    using Impl = TVServiceInternals::Impl<Item>;

    // What each entry takes from the arena, its descriptors not counted.
    static constexpr size_t RoomEach() { return DescriptorArena::Rounded(sizeof(Place)); }

    Items() = default;

    // Makes an item of each entry, over the Impl that `make` gives for the reader that stands at
    // it. The arena has room for them: `count` is what RoomForEntries found.
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

// The entries of a loop that spans the sections of a sub-table, in section_number order. `Entries`
// are those of one section, Items of some class.
template <class Entries>
class ItemLoop {
  public:
    // So that Put needs no memory for this many sections.
    void Reserve(size_t sections) { sections_.reserve(sections); }

    // Replaces the entries of one section.
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

    // Null past the end.
    auto At(size_t index) const -> decltype(std::declval<const Entries&>().At(0)) {
        const auto section =
            std::upper_bound(sections_.begin(), sections_.end(), index,
                             [](size_t at, const Section& of) { return at < of.end; });
        return section == sections_.end()
                   ? nullptr
                   : section->entries.At(index - (section->end - section->entries.size()));
    }

    // The first for which `is` holds; null when there is none.
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
        size_t end = 0;  // the index after its last entry's
        Entries entries;
    };
    std::vector<Section> sections_;  // by section_number
};

// A descriptor loop that spans the sections of a sub-table: one after the other in section_number
// order, repetitions included. Asked for the descriptors of one tag one after the other, as clients
// do, it walks the sections once.
class SpanningLoop {
  public:
    // So that Put needs no memory for this many sections.
    void Reserve(size_t sections) { sections_.reserve(sections); }

    // Replaces the loop of one section.
    void Put(uint8_t sectionNumber, DescriptorLoop loop);

    void Clear() {
        sections_.clear();
        cursor_ = {};
    }

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
