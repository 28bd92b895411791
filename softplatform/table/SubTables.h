#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <utility>

#include "softplatform/base/Counters.h"
#include "softplatform/descriptor/Internals.h"
#include "softplatform/table/BaseSection.h"
#include "softplatform/table/SubTable.h"

namespace tvservice {

// The sub-tables that one parser was given, by what tells them apart. `Instance` is one of the
// platform's table classes; its Impl has
//
//     void Clear();                    // forgets what was decoded from the sections held
//     void Take(SectionView section);  // decodes one more, or one in the place of another
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
            Instance& instance = *instances_.emplace(key, make()).first->second;
            bytes_ += kInstanceBytes;
            Store(instance, section);
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
        if (isAfresh) {
            TVServiceInternals::Of(instance).Clear();
        }
        Store(instance, section);
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

    void Store(Instance& instance, SectionView section) {
        SubTable& table = Sections(instance);
        bytes_ -= table.bytes();
        const SectionView held = table.Store(section);
        bytes_ += table.bytes();
        TVServiceInternals::Of(instance).Take(held);
    }

    Map instances_;
    size_t bytes_ = 0;
};

}  // namespace tvservice
