#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>

#include "softplatform/base/ByteView.h"
#include "softplatform/base/Counters.h"
#include "softplatform/section/CachePolicy.h"
#include "softplatform/section/FilterRegistry.h"
#include "softplatform/section/FilterSet.h"
#include "softplatform/section/PidDemux.h"
#include "softplatform/section/SectionFilter.h"
#include "softplatform/section/SectionSink.h"
#include "softplatform/section/SectionView.h"
#include "softplatform/ts/PacketView.h"
#include "softplatform/ts/PidTable.h"
#include "softplatform/ts/SeenPids.h"

namespace tvservice {

// Everything between the packets and the callbacks. It joins five parts: FilterRegistry (the
// filters and what clients ask for), PidDemux (packets to sections, for each PID), FilterSet (which
// filters a section matches), CachePolicy and SeenPids.
//
// Two sides. Subscribe, Unsubscribe and SetSlots may be called on any thread, at any time. All else
// belongs to one thread at a time, the delivery thread. What the first side asks for is queued and
// takes effect at the next packet boundary, so that a packet costs one look at an atomic flag and
// no lock; a new filter gets the sections that end in later packets, and the first one of a PID
// that was not assembled yet those that start in later packets. A release holds at once, see
// Unsubscribe.
class FilterEngine {
  public:
    static constexpr int kNoHandle = FilterRegistry::kNoHandle;

    // `counters` is borrowed and outlives the engine. `onChange` is called, on the thread that asks
    // for a change and with no lock held, when the delivery thread has something to apply and was
    // not told so yet: it should call ApplyChanges soon. May be empty.
    FilterEngine(Counters& counters, std::function<void()> onChange,
                 unsigned slots = kDefaultFilterSlots);
    FilterEngine(const FilterEngine&) = delete;
    FilterEngine& operator=(const FilterEngine&) = delete;

    // Sets a filter on a PID. Those of 0x2000 and above match no packet, see DeliverTo.
    //
    // Every filter has a slot and a handle of its own (HandlePool) as long as slots are free. When
    // none is, a filter with the same PID and criteria is shared: its handle is returned once more,
    // and `id` gets its sections too, once each however often it asked, until that handle is given
    // up. Otherwise kNoHandle.
    //
    // `sink` is borrowed until Unsubscribe has returned. With `fromCache` it first gets what the
    // cache holds of the PID and of the table_id with which the criteria begin.
    int Subscribe(uint16_t pid, const SectionFilter& criteria, SectionSink& sink, int id,
                  bool fromCache = false) {
        return registry_.Subscribe(pid, criteria, sink, id, fromCache);
    }

    // Releases a filter for all that share it. After it has returned no callback of that handle
    // begins. A callback of it that runs on another thread is waited for; nothing else is.
    //
    // Returns false for a handle that is not in use. A value that could have been in use is then
    // retired and counted (retired_handles): somebody keeps books on it that no longer balance.
    bool Unsubscribe(int handle) { return registry_.Unsubscribe(handle); }

    // How many filters can be set at once, 1 to kMaxFilterSlots. Returns false, and changes
    // nothing, when out of range or when more are in use.
    bool SetSlots(unsigned slots) { return registry_.SetSlots(slots); }

    // Room for the cache in bytes; 0: none. CachePolicy says what it keeps.
    void SetCacheLimit(size_t bytes) { registry_.SetCacheLimit(bytes); }

    // Whether a packet with payload came on `pid` since the last Reset while a filter was set on
    // it.
    bool Seen(uint16_t pid) const { return seen_.Has(pid); }

    // The remaining operations are the delivery thread's.

    // Takes the next packet. Of one whose PID nobody wants only the header is looked at. Returns
    // the number of callbacks made.
    size_t OnPacket(PacketView packet) {
        size_t calls = ApplyChanges();
        // ISO/IEC 13818-1 2.4.3.3: nothing in this packet can be relied on, its PID included.
        if (packet.transport_error_indicator()) {
            counters_.Add(Counter::kTransportErrors);
            return calls;
        }
        if (packet.transport_scrambling_control() != 0) {
            counters_.Add(Counter::kScrambledPackets);
        }
        if (Stream* const stream = byPid_.Find(packet.PID())) {
            calls += OnWantedPacket(*stream, packet);
        }
        return calls;
    }

    // Takes what a device gave as a section of `pid`; nothing of it was checked. It is checked and
    // counted as those from packets are. Returns the number of callbacks made.
    size_t OnDeviceSection(uint16_t pid, ByteView bytes);

    // Offers a section that no packet carried to the filters of `pid`, at a packet boundary.
    // Returns the number of callbacks made; they do not count as delivered_sections.
    size_t DeliverTo(uint16_t pid, SectionView section);

    // Applies what was asked for since, at a packet boundary. OnPacket and DeliverTo do that by
    // themselves. Returns the number of callbacks made from the cache.
    size_t ApplyChanges() { return registry_.HasChanges() ? ApplyQueuedChanges() : 0; }

    // Whether a filter is set on `pid`, as of the last change that was applied.
    bool IsWanted(uint16_t pid) const {
        const auto found = streams_.find(pid);
        return found != streams_.end() && !found->second->filters.empty();
    }

    // Calls visit(pid, criteria) for each filter, and a number that grows whenever these change; as
    // of the last change that was applied.
    template <class Visit>
    void VisitFilters(Visit visit) const {
        for (const auto& [pid, stream] : streams_) {
            for (const std::unique_ptr<Filter>& filter : stream->filters.all()) {
                visit(pid, filter->criteria);
            }
        }
    }
    uint64_t changes() const { return changes_; }

    // A new source: forgets open sections, continuity and the cache. Filters stay.
    void Reset(Feed feed = Feed::kPackets);

    // Has the cache forget a PID of which something was lost, or of which nothing comes any more.
    void Forget(uint16_t pid) { cache_.Forget(pid); }

  private:
    // One PID that is assembled, or to which DeliverTo can deliver.
    struct Stream {
        explicit Stream(Counters& counters) : demux(counters) {}

        PidDemux demux;
        FilterSet filters;
    };

    size_t OnWantedPacket(Stream& stream, PacketView packet);
    size_t OnSection(Stream& stream, uint16_t pid, SectionView section);
    size_t Offer(Stream& stream, SectionView section);

    size_t ApplyQueuedChanges();
    void LimitCache(size_t bytes);
    void Remove(const Filter& filter);
    size_t ServeFromCache(const CacheRequest& request);
    Stream& StreamOf(uint16_t pid);
    void DropStream(uint16_t pid);

    Counters& counters_;
    FilterRegistry registry_;

    // The delivery thread's. A filter lives here from the boundary at which it takes effect to the
    // one after its release.
    std::map<uint16_t, std::unique_ptr<Stream>> streams_;
    PidTable<Stream> byPid_;  // those of streams_ that a packet can reach
    SeenPids seen_;           // read on any thread
    CachePolicy cache_;
    uint64_t changes_ = 0;
};

}  // namespace tvservice
