#include "softplatform/section/FilterRegistry.h"

#include <algorithm>
#include <utility>

namespace tvservice {

namespace {

template <class Element>
void ReserveOneMore(std::vector<Element>& elements) {
    if (elements.size() == elements.capacity()) {
        elements.reserve(2 * elements.size() + 1);
    }
}

}  // namespace

FilterRegistry::FilterRegistry(Counters& counters, std::function<void()> onChange, unsigned slots)
    : counters_(counters), onChange_(std::move(onChange)), handles_(slots) {}

int FilterRegistry::Subscribe(uint16_t pid, const SectionFilter& criteria, SectionSink& sink,
                              int id, bool fromCache) {
    const Filter::Recipient recipient{&sink, id};
    auto fresh = std::make_unique<Filter>(Filter{pid, criteria, {recipient}});
    Filter* filter = fresh.get();
    int handle = kNoHandle;
    bool isFirst = false;
    {
        MutexLock lock(mutex_);
        // All that may throw comes first: a request that fails changes nothing.
        ReserveOneMore(changes_.added);
        ReserveOneMore(changes_.cacheRequests);
        bool isChange = true;
        if (const std::optional<int> taken = handles_.Take()) {
            handle = *taken;
            try {
                inUse_.emplace(handle, filter);
            } catch (...) {
                handles_.Release(handle);
                throw;
            }
            changes_.added.push_back(std::move(fresh));
        } else {
            const auto shared = std::find_if(inUse_.begin(), inUse_.end(), [&](const auto& entry) {
                return entry.second->pid == pid && entry.second->criteria == criteria;
            });
            if (shared == inUse_.end()) {
                return kNoHandle;
            }
            handle = shared->first;
            filter = shared->second;
            // A recipient that asks for the cache joins after it got the cached sections (Join), so
            // that it gets older sections before newer ones.
            if (!fromCache) {
                Add(*filter, recipient);
            }
            isChange = fromCache;
        }
        if (fromCache) {
            changes_.cacheRequests.push_back({filter, recipient});
        }
        isFirst = isChange && SetHasChanges();
    }
    TellOfChange(isFirst);
    return handle;
}

bool FilterRegistry::Unsubscribe(int handle) {
    bool isFirst = false;
    {
        MutexLock lock(mutex_);
        const auto found = inUse_.find(handle);
        if (found == inUse_.end()) {
            if (handles_.Retire(handle)) {
                counters_.AddShared(Counter::kRetiredHandles);
            }
            return false;
        }
        Filter* const filter = found->second;
        inUse_.erase(found);
        handles_.Release(handle);
        auto& requests = changes_.cacheRequests;
        requests.erase(std::remove_if(requests.begin(), requests.end(),
                                      [filter](const auto& r) { return r.filter == filter; }),
                       requests.end());

        const auto waiting =
            std::find_if(changes_.added.begin(), changes_.added.end(),
                         [filter](const auto& added) { return added.get() == filter; });
        if (waiting != changes_.added.end()) {
            changes_.added.erase(waiting);
            return true;
        }
        filter->released = true;
        changes_.released.push_back(filter);
        isFirst = SetHasChanges();
        call_.WaitForEnd(mutex_, [filter](const Filter* called) { return called == filter; });
    }
    TellOfChange(isFirst);
    return true;
}

bool FilterRegistry::SetSlots(unsigned slots) {
    MutexLock lock(mutex_);
    return handles_.Resize(slots);
}

void FilterRegistry::SetCacheLimit(size_t bytes) {
    bool isFirst = false;
    {
        MutexLock lock(mutex_);
        changes_.cacheLimit = bytes;
        isFirst = SetHasChanges();
    }
    TellOfChange(isFirst);
}

FilterChanges FilterRegistry::TakeChanges() {
    MutexLock lock(mutex_);
    hasChanges_.store(false, std::memory_order_relaxed);
    return std::exchange(changes_, {});
}

size_t FilterRegistry::Deliver(Filter& filter, SectionView section) {
    MutexLock lock(mutex_);
    // Recipients that join inside a callback get the next section, not this one.
    const size_t count = filter.recipients.size();
    size_t calls = 0;
    for (; calls < count && !filter.released; ++calls) {
        const Filter::Recipient recipient = filter.recipients[calls];
        call_.Make(mutex_, &filter, [&] { recipient.sink->OnSection(recipient.id, section); });
    }
    return calls;
}

bool FilterRegistry::DeliverTo(Filter& filter, const Filter::Recipient& recipient,
                               SectionView section) {
    MutexLock lock(mutex_);
    if (filter.released) {
        return false;
    }
    call_.Make(mutex_, &filter, [&] { recipient.sink->OnSection(recipient.id, section); });
    return true;
}

void FilterRegistry::Join(Filter& filter, const Filter::Recipient& recipient) {
    MutexLock lock(mutex_);
    if (!filter.released) {
        Add(filter, recipient);
    }
}

void FilterRegistry::Add(Filter& filter, const Filter::Recipient& recipient) {
    auto& known = filter.recipients;
    if (std::find(known.begin(), known.end(), recipient) == known.end()) {
        known.push_back(recipient);
    }
}

void FilterRegistry::TellOfChange(bool isFirst) {
    if (isFirst && onChange_) {
        onChange_();
    }
}

}  // namespace tvservice
