#pragma once

#include <cstddef>
#include <cstdint>
#include <set>

#include "softplatform/section/FilterSet.h"
#include "softplatform/section/SectionCache.h"
#include "softplatform/section/SectionView.h"

namespace tvservice {

// What a source consists of.
enum class Feed { kPackets, kDeviceSections };

// Decides which PIDs are assembled for the cache although no filter is set on them, and which
// sections the cache takes.
//
// While the cache has room, the PIDs below kCachedPids are assembled always, and others from their
// first filter on; after the release of their last filter only as long as there are no more than
// kKeptPids such.
//
// A demux device gives only what filters ask for. There the cache takes only what some filter asks
// for in every version, and forgets a PID that loses a filter: a change might come by unseen. Used
// by one thread.
class CachePolicy {
  public:
    static constexpr uint16_t kCachedPids = 0x20;  // the tables of ETSI EN 300 468 5.1.3
    static constexpr size_t kKeptPids = 256;

    // In bytes; 0 keeps nothing.
    void SetLimit(size_t bytes);
    bool isOn() const { return cache_.limit() > 0; }

    // A filter was set on `pid`.
    void OnFilterAdded(uint16_t pid) { kept_.erase(pid); }

    // A filter of `pid` was released. `isLast`: it has no other now. Returns whether the PID is to
    // be assembled further.
    bool OnFilterReleased(uint16_t pid, bool isLast);

    // Another source begins.
    void Reset(Feed feed);

    // Whether the section is, byte by byte, one that Take has taken of this PID and that is still
    // held. Its CRC_32 is good then.
    bool Holds(uint16_t pid, SectionView section) { return cache_.Renew(pid, section); }

    // A section came on `pid`, where `filters` are set; its CRC is good.
    void Take(uint16_t pid, const FilterSet& filters, SectionView section);

    // See SectionCache.
    template <class Visit>
    void VisitTable(uint16_t pid, uint8_t table_id, Visit visit) const {
        cache_.VisitTable(pid, table_id, visit);
    }
    void Forget(uint16_t pid) { cache_.Forget(pid); }

  private:
    SectionCache cache_;
    std::set<uint16_t> kept_;  // PIDs that have no filter any more
    Feed feed_ = Feed::kPackets;
};

}  // namespace tvservice
