#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <utility>

#include "softplatform/base/Counters.h"
#include "softplatform/descriptor/DescriptorArena.h"
#include "softplatform/descriptor/DescriptorLoop.h"
#include "softplatform/descriptor/Internals.h"
#include "softplatform/table/BaseSection.h"
#include "softplatform/table/Loops.h"
#include "softplatform/table/SubTable.h"

namespace tvservice {

// All sub-tables of one parser. `Key` is what tells them apart, for example the network_id.
// `Instance` is one of the platform's table classes. Its Impl has
//
//     static Room RoomFor(SectionView section);  // what will be decoded from the section
//     static constexpr size_t kRoomEach;         // bytes for each entry of its loop
//     void Reserve(size_t sections);             // so that Clear and Take allocate nothing
//     void Clear();                              // drops everything decoded; does not throw
//     // Decodes a section, in place of an earlier one with its number. Does not throw.
//     void Take(SubTable::Held held, Room room);
//
// Clients hold pointers to the instances, so an instance is destroyed only by Clear(). To bound the
// memory, a section that would exceed kMaxBytes is refused and counted
// (Counter::kParserOverflows).
template <class Key, class Instance>
class SubTables {
  public:
    using Map = std::map<Key, std::unique_ptr<Instance>>;

    // The limit for the sections of all sub-tables with the tables of them.
    static constexpr size_t kMaxBytes = size_t{16} << 20;

    // Gives a section to the sub-table of `key`. The first section of a key begins it: `make`
    // returns the new Instance. Returns false when the section is refused for want of room. A
    // repeated section is compared, not decoded again.
    template <class Make>
    bool Take(const Key& key, SectionView section, Make make) {
        const auto known = instances_.find(key);
        if (known == instances_.end()) {
            if (!HasRoomFor(section, 0)) {
                return false;
            }
            std::unique_ptr<Instance> begun = make();
            Store(*begun, section, false);
            const size_t bytes = kInstanceBytes + Sections(*begun).bytes();
            instances_.emplace(key, std::move(begun));
            bytes_ += bytes;
            return true;
        }
        Instance& instance = *known->second;
        const SubTable& table = Sections(instance);
        const SubTable::Change change = table.Judge(section);
        if (change == SubTable::Change::kRepeat) {
            return true;
        }
        const bool isAfresh = change == SubTable::Change::kAfresh;
        if (!HasRoomFor(section, isAfresh ? table.bytes() : 0)) {
            return false;
        }
        const size_t before = table.bytes();
        Store(instance, section, isAfresh);
        bytes_ += table.bytes() - before;
        return true;
    }

    // The sub-table of `key`; null when none of its sections came.
    Instance* Find(const Key& key) const {
        const auto found = instances_.find(key);
        return found == instances_.end() ? nullptr : found->second.get();
    }

    void Clear() { *this = SubTables(); }

    // All sub-tables, in the order of their keys.
    const Map& all() const { return instances_; }

  private:
    static constexpr size_t kInstanceBytes = 512;  // an Instance without its sections, about

    static SubTable& Sections(Instance& instance) {
        return TVServiceInternals::Of<TCBaseSection>(instance).sections;
    }

    // Whether the section fits when it replaces `freed` bytes.
    bool HasRoomFor(SectionView section, size_t freed) const {
        const size_t most = kInstanceBytes + SubTable::BytesFor(section);
        if (bytes_ - freed + most <= kMaxBytes) {
            return true;
        }
        ReceiverCounters().AddShared(Counter::kParserOverflows);
        return false;
    }

    // Everything that can throw comes before the first change. When the sub-table starts afresh,
    // the decoded objects go at once: they borrow the bytes of the dropped sections.
    void Store(Instance& instance, SectionView section, bool isAfresh) {
        auto& decoded = TVServiceInternals::Of(instance);
        using Decoded = TVServiceInternals::Impl<Instance>;
        const Room room = Decoded::RoomFor(section);
        decoded.Reserve(size_t{section.last_section_number()} + 1);
        const SubTable::Held held = Sections(instance).Store(
            section, pool_,
            room.entries * Decoded::kRoomEach + room.descriptors * DescriptorLoop::kRoomEach);
        if (isAfresh) {
            decoded.Clear();
        }
        decoded.Take(held, room);
    }

    ArenaPool pool_;
    Map instances_;
    size_t bytes_ = 0;
};

}  // namespace tvservice
