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

// The sub-tables that one parser was given, by what tells them apart. `Instance` is one of the
// platform's table classes; its Impl has
//
//     static Room RoomFor(SectionView section);  // for what is decoded from the section
//     static constexpr size_t kRoomEach;         // bytes for each entry of its loop
//     void Reserve(size_t sections);             // so that the next two need no memory
//     void Clear() noexcept;                     // forgets what was decoded
//     void Take(SubTable::Held held, Room room) noexcept;  // decodes one more, or one in the place
//                                                          // of another
//
// Clients hold pointers to the instances, so none goes before Clear(), and they are bounded: a
// section beyond kMaxBytes is refused and counted (Counter::kParserOverflows).
template <class Key, class Instance>
class SubTables {
  public:
    using Map = std::map<Key, std::unique_ptr<Instance>>;

    // What the sections of all sub-tables take, their bookkeeping included.
    static constexpr size_t kMaxBytes = size_t{16} << 20;

    // Hands a section to the sub-table of `key`, which `make` begins when there is none; false when
    // there is no room. A repeat costs a comparison. When a section starts its sub-table afresh,
    // what was decoded is cleared first: it borrows the old sections' bytes.
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

    // Null when no section of it came.
    Instance* Find(const Key& key) const {
        const auto found = instances_.find(key);
        return found == instances_.end() ? nullptr : found->second.get();
    }

    void Clear() { *this = SubTables(); }

    // In the order of the keys.
    const Map& all() const { return instances_; }

  private:
    static constexpr size_t kInstanceBytes = 512;

    static SubTable& Sections(Instance& instance) {
        return TVServiceInternals::Of<TCBaseSection>(instance).sections;
    }

    // Whether the section can come when `freed` bytes go for it.
    bool HasRoomFor(SectionView section, size_t freed) const {
        const size_t most = kInstanceBytes + SubTable::BytesFor(section);
        if (bytes_ - freed + most <= kMaxBytes) {
            return true;
        }
        ReceiverCounters().AddShared(Counter::kParserOverflows);
        return false;
    }

    // All that can fail comes before anything changes.
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
