#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <thread>
#include <vector>

#include "softplatform/base/ByteView.h"
#include "softplatform/base/Counters.h"
#include "softplatform/base/Mutex.h"
#include "softplatform/section/HandlePool.h"
#include "softplatform/section/SectionAssembler.h"
#include "softplatform/section/SectionCache.h"
#include "softplatform/section/SectionFilter.h"
#include "softplatform/section/SectionView.h"
#include "softplatform/ts/Continuity.h"
#include "softplatform/ts/PacketView.h"
#include "softplatform/ts/PidTable.h"

namespace tvservice {

// Takes the sections of a filter.
class SectionSink {
  public:
    // One section that matched, whole and with a good CRC (CrcIsGood): `size` bytes (3 to
    // 4096), borrowed for the call. `id` is what the subscription named. On the delivery thread,
    // one call at a time, with no lock of the engine's held; may call Subscribe and Unsubscribe.
    virtual void OnSection(int id, const uint8_t* section, size_t size) = 0;

  protected:
    SectionSink() = default;
    SectionSink(const SectionSink&) = default;
    SectionSink& operator=(const SectionSink&) = default;
    ~SectionSink() = default;
};

// Everything between the packets and the callbacks: the wanted PIDs, continuity, assembly, CRC, and
// the filters, which come and go while packets flow.
//
// Two sides. Subscribe, Unsubscribe and SetSlots may be called on any thread, at any time. All else
// belongs to one thread at a time, the delivery thread. What the first side asks for is queued and
// takes effect at the next packet boundary, so that a packet costs one look at an atomic flag and
// no lock; a new filter gets the sections that end in later packets, and the first one of a PID
// that was not assembled yet those that start in later packets. A release holds at once, see
// Unsubscribe.
class FilterEngine {
  public:
    static constexpr int kNoHandle = -1;
    static constexpr uint16_t kCachedPids = 0x20;  // the tables of ETSI EN 300 468 5.1.3
    static constexpr size_t kKeptPids = 256;

    // `counters` is borrowed and outlives the engine. `onChange` is called, on the thread that asks
    // for a change and with no lock held, when the delivery thread has something to apply and was
    // not told so yet: it should call ApplyChanges soon. May be empty.
    FilterEngine(Counters& counters, std::function<void()> onChange,
                 unsigned slots = kDefaultFilterSlots);
    FilterEngine(const FilterEngine&) = delete;
    FilterEngine& operator=(const FilterEngine&) = delete;
    ~FilterEngine();

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
                  bool fromCache = false) TV_EXCLUDES(mutex_);

    // Releases a filter for all that share it. After it has returned no callback of that handle
    // begins. A callback of it that runs on another thread is waited for; nothing else is.
    //
    // Returns false for a handle that is not in use. A value that could have been in use is then
    // retired and counted (retired_handles): somebody keeps books on it that no longer balance.
    bool Unsubscribe(int handle) TV_EXCLUDES(mutex_);

    // How many filters can be set at once, 1 to kMaxFilterSlots. Returns false, and changes
    // nothing, when out of range or when more are in use.
    bool SetSlots(unsigned slots) TV_EXCLUDES(mutex_);

    // Room for the cache; 0: none. While there is some, the PIDs below kCachedPids are assembled
    // whether or not a filter is set on them, and others from their first filter on, after its
    // release only as long as there are no more than kKeptPids such. From the next change on.
    void SetCacheLimit(size_t bytes) TV_EXCLUDES(mutex_);

    // Whether a packet with payload came on `pid` since the last Reset while a filter was set on
    // it.
    bool Seen(uint16_t pid) const {
        return pid < kPidCount &&
               (seen_[pid / 64].load(std::memory_order_relaxed) >> (pid % 64) & 1) != 0;
    }

    // The remaining operations are the delivery thread's.

    // Takes the next packet. Of one whose PID nobody wants only the header is looked at. Returns
    // the number of callbacks made.
    size_t OnPacket(PacketView packet);

    // Takes a section of `pid` that a device has assembled: `size` bytes, not looked at yet. It is
    // checked and counted as those from packets are. Returns the number of callbacks made.
    size_t OnDeviceSection(uint16_t pid, const uint8_t* section, size_t size);

    // Offers a section that no packet carried to the filters of `pid`, at a packet boundary.
    // Returns the number of callbacks made; they do not count as delivered_sections.
    size_t DeliverTo(uint16_t pid, SectionView section);

    // Applies what was asked for since, at a packet boundary. OnPacket and DeliverTo do that by
    // themselves. Returns the number of callbacks made from the cache.
    size_t ApplyChanges() TV_EXCLUDES(mutex_);

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
            for (const std::unique_ptr<Filter>& filter : stream->filters) {
                visit(pid, filter->criteria);
            }
        }
    }
    uint64_t changes() const { return changes_; }

    // What a source consists of.
    enum class Feed { kPackets, kDeviceSections };

    // A new source: forgets open sections, continuity and the cache. Filters stay. A device gives
    // only what filters ask for: then the cache takes only what a filter asks for in every version,
    // and of a PID that loses a filter it forgets what it held, because nobody might see that
    // change.
    void Reset(Feed feed = Feed::kPackets);

    // Has the cache forget a PID of which something was lost, or of which nothing comes any more.
    void Forget(uint16_t pid) { cache_.Forget(pid); }

  private:
    struct Receiver {
        SectionSink* sink;
        int id;
    };

    struct Filter {
        const uint16_t pid;
        const SectionFilter criteria;
        // Both under the engine's mutex_, which an annotation here has no name for.
        std::vector<Receiver> receivers;  // each once; grows only
        bool released = false;
    };

    // What a new receiver shall get from the cache.
    struct CacheRequest {
        Filter* filter;
        Receiver receiver;
    };

    // One wanted PID.
    struct Stream {
        explicit Stream(Counters& counters) : assembler(counters) {}

        Continuity continuity;
        SectionAssembler assembler;
        std::vector<std::unique_ptr<Filter>> filters;  // in the order of their subscription
        bool isSeen = false;                           // see Seen
        bool isKept = false;                           // for the cache, without a filter
    };

    void See(Stream& stream, uint16_t pid);
    Stream& StreamOf(uint16_t pid);
    void DropStream(uint16_t pid);
    void LimitCache(size_t bytes);
    // Adds the receiver unless it is there.
    static void Join(Filter& filter, const Receiver& receiver);
    size_t ServeFromCache(const CacheRequest& request) TV_EXCLUDES(mutex_);
    void Remove(const Filter& filter);
    size_t OnSection(Stream& stream, uint16_t pid, const uint8_t* bytes, size_t size);
    bool SeesChanges(const Stream& stream, SectionView section) const;
    size_t Offer(Stream& stream, SectionView section);
    size_t Call(Filter& filter, SectionView section) TV_EXCLUDES(mutex_);
    void Call(const Filter& filter, const Receiver& receiver, SectionView section)
        TV_REQUIRES(mutex_);

    Counters& counters_;
    const std::function<void()> onChange_;

    // The delivery thread's. A filter lives here from the boundary at which it takes effect to the
    // one after its release.
    std::map<uint16_t, std::unique_ptr<Stream>> streams_;
    PidTable<Stream> byPid_;  // those of streams_ that a packet can reach
    std::array<std::atomic<uint64_t>, kPidCount / 64> seen_{};  // read on any thread
    uint64_t changes_ = 0;
    SectionCache cache_;
    size_t keptPids_ = 0;
    Feed feed_ = Feed::kPackets;

    Mutex mutex_;
    HandlePool handles_ TV_GUARDED_BY(mutex_);
    std::map<int, Filter*> inUse_ TV_GUARDED_BY(mutex_);  // by handle, none of them released
    std::vector<std::unique_ptr<Filter>> toAdd_ TV_GUARDED_BY(mutex_);
    std::vector<Filter*> toRemove_ TV_GUARDED_BY(mutex_);
    std::vector<CacheRequest> toServe_ TV_GUARDED_BY(mutex_);
    size_t cacheLimit_ TV_GUARDED_BY(mutex_) = 0;
    std::atomic<bool> changesQueued_{false};  // set under mutex_ when there is any of these

    // The callback that runs now, null when none does.
    const Filter* calling_ TV_GUARDED_BY(mutex_) = nullptr;
    std::thread::id caller_ TV_GUARDED_BY(mutex_);
    uint64_t callNumber_ TV_GUARDED_BY(mutex_) = 0;
    CondVar callEnded_;
};

}  // namespace tvservice
