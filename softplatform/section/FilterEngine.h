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

// Takes packets and calls back with the sections that filters ask for. It joins five parts:
// FilterRegistry (the filters and the requests of clients), PidDemux (makes sections of the packets
// of one PID), FilterSet (finds the filters that a section matches), CachePolicy and SeenPids.
//
// Subscribe, Unsubscribe and SetSlots may be called on any thread, at any time. All else belongs to
// one thread at a time, the delivery thread. Requests are queued and take effect at the next packet
// boundary; so a packet costs one load of an atomic flag and no lock. A new filter gets the
// sections that end in later packets. If its PID was not assembled before, it gets those that start
// in later packets. A release takes effect at once, see Unsubscribe.
class FilterEngine {
  public:
    static constexpr int kNoHandle = FilterRegistry::kNoHandle;

    // `counters` is borrowed and outlives the engine. `onChange` may be empty. It is called when
    // requests begin to wait for the delivery thread, which should then call ApplyChanges soon. It
    // runs on the thread that made the request, with no lock held.
    FilterEngine(Counters& counters, std::function<void()> onChange,
                 unsigned slots = kDefaultFilterSlots);
    FilterEngine(const FilterEngine&) = delete;
    FilterEngine& operator=(const FilterEngine&) = delete;

    // Sets a filter on a PID. No packet has a PID of 0x2000 or above: such a filter gets only what
    // DeliverTo offers.
    //
    // While slots are free, every filter has a slot and a handle of its own (HandlePool). When none
    // is free, a filter with the same PID and criteria is shared: its handle is returned again, and
    // `id` gets its sections too until that handle is released. An `id` that shares a filter
    // several times gets each section once. Without such a filter the result is kNoHandle.
    //
    // `sink` is borrowed until Unsubscribe has returned. With `fromCache` it first gets what the
    // cache holds of the PID and of the table_id with which the criteria begin.
    int Subscribe(uint16_t pid, const SectionFilter& criteria, SectionSink& sink, int id,
                  bool fromCache = false) {
        return registry_.Subscribe(pid, criteria, sink, id, fromCache);
    }

    // Releases a filter for all that share it. After it has returned, no callback of that handle
    // begins. If one is running on another thread, this waits for its end; it waits for nothing
    // else.
    //
    // Returns false for a handle that is not in use. If the value could have been a handle, it is
    // then retired, so that it is never given again, and counted (retired_handles): some client has
    // lost track of what it released.
    bool Unsubscribe(int handle) { return registry_.Unsubscribe(handle); }

    // How many filters can be set at once, 1 to kMaxFilterSlots. Returns false, and changes
    // nothing, when the number is out of range or more filters are in use.
    bool SetSlots(unsigned slots) { return registry_.SetSlots(slots); }

    // The room for the cache in bytes; 0: no cache. CachePolicy says what is kept.
    void SetCacheLimit(size_t bytes) { registry_.SetCacheLimit(bytes); }

    // Whether a packet with payload came on `pid` since the last Reset while a filter was set on
    // it.
    bool Seen(uint16_t pid) const { return seen_.Has(pid); }

    // The remaining operations are for the delivery thread only.

    // Takes the next packet. If its PID is not wanted, only its header is read. Returns the number
    // of callbacks made.
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

    // Takes what a device gave as a section of `pid`; it has not been checked. It is checked and
    // counted like a section from packets. Returns the number of callbacks made.
    size_t OnDeviceSection(uint16_t pid, ByteView bytes);

    // Offers a section that no packet carried to the filters of `pid`, at a packet boundary.
    // Returns the number of callbacks made; they do not count as delivered_sections.
    size_t DeliverTo(uint16_t pid, SectionView section);

    // Applies the requests that came since the last call, at a packet boundary. OnPacket and
    // DeliverTo do it too. Returns the number of callbacks with sections from the cache.
    size_t ApplyChanges() { return registry_.HasChanges() ? ApplyQueuedChanges() : 0; }

    // Whether a filter is set on `pid`, as of the last change that was applied.
    bool IsWanted(uint16_t pid) const {
        const auto found = streams_.find(pid);
        return found != streams_.end() && !found->second->filters.empty();
    }

    // VisitFilters calls visit(pid, criteria) for each filter. The other is a number that grows
    // whenever the filters change. Both as of the last change that was applied.
    template <class Visit>
    void VisitFilters(Visit visit) const {
        for (const auto& [pid, stream] : streams_) {
            for (const std::unique_ptr<Filter>& filter : stream->filters.all()) {
                visit(pid, filter->criteria);
            }
        }
    }
    uint64_t changes() const { return changes_; }

    // To be called for a new source: forgets open sections, continuity and the cache. Filters stay.
    void Reset(Feed feed = Feed::kPackets);

    // Removes the sections of a PID from the cache, because some were lost or no more will come.
    void Forget(uint16_t pid) { cache_.Forget(pid); }

  private:
    // One PID: it is assembled, or has filters that DeliverTo can deliver to.
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

    // For the delivery thread only. A filter is here from the packet boundary at which it takes
    // effect to the first one after its release.
    std::map<uint16_t, std::unique_ptr<Stream>> streams_;
    PidTable<Stream> byPid_;  // those of streams_ that a packet can reach
    SeenPids seen_;           // read on any thread
    CachePolicy cache_;
    uint64_t changes_ = 0;
};

}  // namespace tvservice
