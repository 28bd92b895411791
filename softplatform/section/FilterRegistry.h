#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "softplatform/base/Counters.h"
#include "softplatform/base/Mutex.h"
#include "softplatform/base/RunningCall.h"
#include "softplatform/section/HandlePool.h"
#include "softplatform/section/SectionFilter.h"
#include "softplatform/section/SectionSink.h"
#include "softplatform/section/SectionView.h"

namespace tvservice {

// One filter on one PID, and its recipients.
struct Filter {
    struct Recipient {
        SectionSink* sink;
        int id;
        friend bool operator==(const Recipient& a, const Recipient& b) {
            return a.sink == b.sink && a.id == b.id;
        }
    };

    const uint16_t pid;
    const SectionFilter criteria;
    // Both members below are protected by the lock of the registry, which an annotation cannot name
    // here.
    std::vector<Recipient> recipients;  // each once; none is removed before the filter goes
    bool released = false;
};

// A recipient that is to get the sections in the cache first.
struct CacheRequest {
    Filter* filter;
    Filter::Recipient recipient;
};

// The requests that the delivery thread has not taken yet.
struct FilterChanges {
    std::vector<std::unique_ptr<Filter>> added;  // in the order of the requests
    std::vector<Filter*> released;               // of those that the delivery thread has
    std::vector<CacheRequest> cacheRequests;
    std::optional<size_t> cacheLimit;  // in bytes
};

// Has the filters that clients have set, by handle, and the changes that the delivery thread has
// not applied yet. It also makes the callbacks, because only it knows whether a filter was
// released.
class FilterRegistry {
  public:
    static constexpr int kNoHandle = -1;

    // See FilterEngine.
    FilterRegistry(Counters& counters, std::function<void()> onChange, unsigned slots);
    FilterRegistry(const FilterRegistry&) = delete;
    FilterRegistry& operator=(const FilterRegistry&) = delete;

    // For any thread; FilterEngine says what they do.
    int Subscribe(uint16_t pid, const SectionFilter& criteria, SectionSink& sink, int id,
                  bool fromCache) TV_EXCLUDES(mutex_);
    bool Unsubscribe(int handle) TV_EXCLUDES(mutex_);
    bool SetSlots(unsigned slots) TV_EXCLUDES(mutex_);
    void SetCacheLimit(size_t bytes) TV_EXCLUDES(mutex_);

    // The remaining operations are for the delivery thread only.

    // Whether TakeChanges would return any change. Costs one load and no lock.
    bool HasChanges() const { return hasChanges_.load(std::memory_order_acquire); }

    // The requests since the last call. Each filter in `released` was in `added` of an earlier call
    // or of this one. The caller owns it since then, and frees it now.
    FilterChanges TakeChanges() TV_EXCLUDES(mutex_);

    // Delivers the section to the recipients of the filter, until all have it or the filter is
    // released. Returns the number of callbacks.
    size_t Deliver(Filter& filter, SectionView section) TV_EXCLUDES(mutex_);

    // Delivers the section to one recipient. Returns false when the filter was released.
    bool DeliverTo(Filter& filter, const Filter::Recipient& recipient, SectionView section)
        TV_EXCLUDES(mutex_);

    // Adds a recipient after its request for the cache was served. Does nothing if the filter has
    // it already or was released.
    void Join(Filter& filter, const Filter::Recipient& recipient) TV_EXCLUDES(mutex_);

  private:
    static void Add(Filter& filter, const Filter::Recipient& recipient);
    // Returns whether onChange must be called.
    bool SetHasChanges() TV_REQUIRES(mutex_) {
        return !hasChanges_.exchange(true, std::memory_order_release);
    }
    void TellOfChange(bool isFirst) TV_EXCLUDES(mutex_);

    Counters& counters_;
    const std::function<void()> onChange_;

    Mutex mutex_;
    HandlePool handles_ TV_GUARDED_BY(mutex_);
    std::map<int, Filter*> inUse_ TV_GUARDED_BY(mutex_);  // by handle, none of them released
    FilterChanges changes_ TV_GUARDED_BY(mutex_);
    std::atomic<bool> hasChanges_{false};  // written under mutex_
    RunningCall<const Filter*> call_ TV_GUARDED_BY(mutex_);
};

}  // namespace tvservice
