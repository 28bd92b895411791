#pragma once

#include <cstddef>
#include <cstdint>
#include <set>

#include "softplatform/section/FilterSet.h"
#include "softplatform/section/SectionCache.h"
#include "softplatform/section/SectionView.h"

namespace tvservice {

// What a source gives: packets, or the sections of a demux device.
enum class Feed { kPackets, kDeviceSections };

// Decides which sections the cache takes, and which PIDs are assembled for it although no filter is
// set on them.
//
// While the cache is on, the PIDs below kCachedPids are always assembled. Any other PID is
// assembled from its first filter on. After its last filter was released it is assembled further
// only if fewer than kKeptPids such PIDs are kept already.
//
// A demux device gives only what filters ask for. There a new version could pass unseen. So the
// cache takes only sections that some filter asks for in every version, and forgets the sections of
// a PID when a filter of that PID is released. Used by one thread.
class CachePolicy {
  public:
    static constexpr uint16_t kCachedPids = 0x20;  // the tables of ETSI EN 300 468 5.1.3
    static constexpr size_t kKeptPids = 256;

    // The room for the cache in bytes. With 0 nothing is kept.
    void SetLimit(size_t bytes);
    bool isOn() const { return cache_.limit() > 0; }

    // A filter was set on `pid`.
    void OnFilterAdded(uint16_t pid) { kept_.erase(pid); }

    // A filter of `pid` was released. `isLast`: no other filter is set on the PID now. Returns
    // whether the PID is to be assembled further.
    bool OnFilterReleased(uint16_t pid, bool isLast);

    // Another source starts. Empties the cache.
    void Reset(Feed feed);

    // Whether the cache holds this section of this PID with the same bytes. Then its CRC_32 is
    // good, because it was checked before Take.
    bool Holds(uint16_t pid, SectionView section) { return cache_.Renew(pid, section); }

    // A section with a good CRC came on `pid`, which has these filters. Puts it into the cache
    // unless that may not have it.
    void Take(uint16_t pid, const FilterSet& filters, SectionView section);

    // See SectionCache.
    template <class Visit>
    void VisitTable(uint16_t pid, uint8_t table_id, Visit visit) const {
        cache_.VisitTable(pid, table_id, visit);
    }
    void Forget(uint16_t pid) { cache_.Forget(pid); }

  private:
    SectionCache cache_;
    std::set<uint16_t> kept_;  // PIDs that are assembled after their last filter was released
    Feed feed_ = Feed::kPackets;
};

}  // namespace tvservice
