#include "softplatform/section/FilterEngine.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

namespace tvservice {

namespace {

// A fuzzer does not find the CRC_32 that what it made up would need.
bool IsIntact([[maybe_unused]] SectionView section) {
#ifdef FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION
    return true;
#else
    return CrcIsGood(section);
#endif
}

// Whether a filter lets every section of a sub-table pass if it lets one: it does not ask about the
// length, version_number, current_next_indicator and the section numbers
// (ISO/IEC 13818-1 2.4.4.11).
bool AsksForEveryVersion(const SectionFilter& criteria) {
    constexpr size_t kChanging[] = {1, 2, 5, 6, 7};
    const std::vector<uint8_t>& mask = criteria.mask();
    return std::all_of(criteria.mode().begin(), criteria.mode().end(),
                       [](uint8_t mode) { return mode == 0; }) &&
           std::all_of(std::begin(kChanging), std::end(kChanging),
                       [&mask](size_t at) { return at >= mask.size() || mask[at] == 0; });
}

template <class Element>
void ReserveOneMore(std::vector<Element>& elements) {
    if (elements.size() == elements.capacity()) {
        elements.reserve(2 * elements.size() + 1);
    }
}

}  // namespace

FilterEngine::FilterEngine(Counters& counters, std::function<void()> onChange, unsigned slots)
    : counters_(counters), onChange_(std::move(onChange)), handles_(slots) {}

FilterEngine::~FilterEngine() = default;

int FilterEngine::Subscribe(uint16_t pid, const SectionFilter& criteria, SectionSink& sink, int id,
                            bool fromCache) {
    auto fresh = std::make_unique<Filter>(Filter{pid, criteria, {{&sink, id}}});
    Filter* filter = fresh.get();
    int handle = kNoHandle;
    bool isChange = true;
    {
        MutexLock lock(mutex_);
        // What may throw comes first: a request fails whole.
        ReserveOneMore(toAdd_);
        ReserveOneMore(toServe_);
        if (const std::optional<int> taken = handles_.Take()) {
            handle = *taken;
            try {
                inUse_.emplace(handle, filter);
            } catch (...) {
                handles_.Release(handle);
                throw;
            }
            toAdd_.push_back(std::move(fresh));
        } else {
            const auto shared = std::find_if(inUse_.begin(), inUse_.end(), [&](const auto& entry) {
                return entry.second->pid == pid && entry.second->criteria == criteria;
            });
            if (shared == inUse_.end()) {
                return kNoHandle;
            }
            handle = shared->first;
            filter = shared->second;
            // Who asks for the past joins when that has been served.
            if (!fromCache) {
                Join(*filter, {&sink, id});
            }
            isChange = fromCache;
        }
        if (fromCache) {
            toServe_.push_back({filter, {&sink, id}});
        }
        isChange = isChange && !changesQueued_.exchange(true, std::memory_order_release);
    }
    if (isChange && onChange_) {
        onChange_();
    }
    return handle;
}

bool FilterEngine::Unsubscribe(int handle) {
    bool news = false;
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
        toServe_.erase(std::remove_if(toServe_.begin(), toServe_.end(),
                                      [filter](const auto& r) { return r.filter == filter; }),
                       toServe_.end());

        const auto waiting = std::find_if(toAdd_.begin(), toAdd_.end(),
                                          [filter](const auto& f) { return f.get() == filter; });
        if (waiting != toAdd_.end()) {
            toAdd_.erase(waiting);
            return true;
        }
        filter->released = true;
        toRemove_.push_back(filter);
        news = !changesQueued_.exchange(true, std::memory_order_release);

        // The delivery thread may free the filter, and another one get its address, before this
        // thread wakes up: the number tells the calls apart.
        if (calling_ == filter && caller_ != std::this_thread::get_id()) {
            const uint64_t call = callNumber_;
            while (calling_ != nullptr && callNumber_ == call) {
                callEnded_.Wait(mutex_);
            }
        }
    }
    if (news && onChange_) {
        onChange_();
    }
    return true;
}

bool FilterEngine::SetSlots(unsigned slots) {
    MutexLock lock(mutex_);
    return handles_.Resize(slots);
}

void FilterEngine::SetCacheLimit(size_t bytes) {
    bool news = false;
    {
        MutexLock lock(mutex_);
        cacheLimit_ = bytes;
        news = !changesQueued_.exchange(true, std::memory_order_release);
    }
    if (news && onChange_) {
        onChange_();
    }
}

size_t FilterEngine::OnPacket(PacketView packet) {
    size_t calls = ApplyChanges();
    // ISO/IEC 13818-1 2.4.3.3: nothing in this packet can be relied on, its PID included.
    if (packet.transport_error_indicator()) {
        counters_.Add(Counter::kTransportErrors);
        return calls;
    }
    const bool isScrambled = packet.transport_scrambling_control() != 0;
    if (isScrambled) {
        counters_.Add(Counter::kScrambledPackets);
    }
    Stream* const stream = byPid_.Find(packet.PID());
    if (stream == nullptr) {
        return calls;
    }
    if (!packet.well_formed()) {
        counters_.Add(Counter::kMalformedPackets);
        return calls;
    }
    switch (stream->continuity.Check(packet)) {
        case ContinuityVerdict::kFirst:
        case ContinuityVerdict::kNext:
            break;
        case ContinuityVerdict::kDuplicate:
            counters_.Add(Counter::kDuplicatePackets);
            return calls;
        case ContinuityVerdict::kGap:
            counters_.Add(Counter::kContinuityGaps);
            stream->assembler.Discontinuity();
            break;
        case ContinuityVerdict::kAnnouncedJump:
            counters_.Add(Counter::kAnnouncedDiscontinuities);
            stream->assembler.Discontinuity();
            break;
        case ContinuityVerdict::kNoPayload:
            return calls;
    }
    See(*stream, packet.PID());
    if (isScrambled) {
        stream->assembler.Discontinuity();
        return calls;
    }
    stream->assembler.Feed(packet.payload(), packet.payload_unit_start_indicator(),
                           [&](const uint8_t* section, size_t size) {
                               calls += OnSection(*stream, packet.PID(), section, size);
                           });
    return calls;
}

size_t FilterEngine::OnSection(Stream& stream, uint16_t pid, const uint8_t* bytes, size_t size) {
    const std::optional<SectionView> section = SectionView::From(bytes, size);
    if (!section) {
        return 0;  // the assembler hands on none such
    }
    if (!IsIntact(*section)) {
        counters_.Add(Counter::kCrcErrors);
        return 0;
    }
    counters_.Add(Counter::kSections);
    if (SeesChanges(stream, *section)) {
        cache_.Put(pid, *section);
    }
    const size_t calls = Offer(stream, *section);
    counters_.Add(Counter::kDeliveredSections, calls);
    return calls;
}

bool FilterEngine::SeesChanges(const Stream& stream, SectionView section) const {
    return feed_ == Feed::kPackets ||
           std::any_of(stream.filters.begin(), stream.filters.end(), [&](const auto& filter) {
               return AsksForEveryVersion(filter->criteria) &&
                      filter->criteria.Matches(section.data(), section.size());
           });
}

size_t FilterEngine::OnDeviceSection(uint16_t pid, const uint8_t* section, size_t size) {
    const size_t calls = ApplyChanges();
    Stream* const stream = pid < kPidCount ? byPid_.Find(pid) : nullptr;
    if (stream == nullptr) {
        return calls;
    }
    See(*stream, pid);
    return calls + OnSection(*stream, pid, section, size);
}

size_t FilterEngine::DeliverTo(uint16_t pid, SectionView section) {
    ApplyChanges();
    const auto found = streams_.find(pid);
    return found == streams_.end() ? 0 : Offer(*found->second, section);
}

size_t FilterEngine::Offer(Stream& stream, SectionView section) {
    size_t calls = 0;
    for (const std::unique_ptr<Filter>& filter : stream.filters) {
        if (filter->criteria.Matches(section.data(), section.size())) {
            calls += Call(*filter, section);
        }
    }
    return calls;
}

size_t FilterEngine::Call(Filter& filter, SectionView section) {
    size_t calls = 0;
    mutex_.Lock();
    const size_t count = filter.receivers.size();
    for (; calls < count && !filter.released; ++calls) {
        const Receiver receiver = filter.receivers[calls];
        Call(filter, receiver, section);
    }
    mutex_.Unlock();
    return calls;
}

void FilterEngine::Call(const Filter& filter, const Receiver& receiver, SectionView section) {
    calling_ = &filter;
    caller_ = std::this_thread::get_id();
    ++callNumber_;
    mutex_.Unlock();
    receiver.sink->OnSection(receiver.id, section.data(), section.size());
    mutex_.Lock();
    calling_ = nullptr;
    callEnded_.NotifyAll();
}

size_t FilterEngine::ApplyChanges() {
    if (!changesQueued_.load(std::memory_order_acquire)) {
        return 0;
    }
    std::vector<std::unique_ptr<Filter>> added;
    std::vector<Filter*> removed;
    std::vector<CacheRequest> requests;
    size_t cacheLimit = 0;
    {
        MutexLock lock(mutex_);
        added.swap(toAdd_);
        removed.swap(toRemove_);
        requests.swap(toServe_);
        cacheLimit = cacheLimit_;
        changesQueued_.store(false, std::memory_order_relaxed);
    }
    LimitCache(cacheLimit);
    // Additions first: a PID on which one filter replaces another keeps its open section.
    for (std::unique_ptr<Filter>& filter : added) {
        Stream& stream = StreamOf(filter->pid);
        if (stream.isKept) {
            stream.isKept = false;
            --keptPids_;
        }
        stream.filters.push_back(std::move(filter));
    }
    for (const Filter* filter : removed) {
        Remove(*filter);
    }
    ++changes_;
    size_t calls = 0;
    for (const CacheRequest& request : requests) {
        calls += ServeFromCache(request);
    }
    return calls;
}

size_t FilterEngine::ServeFromCache(const CacheRequest& request) {
    Filter& filter = *request.filter;
    size_t calls = 0;
    cache_.VisitTable(filter.pid, filter.criteria.pattern().front(), [&](SectionView section) {
        if (!filter.criteria.Matches(section.data(), section.size())) {
            return;
        }
        MutexLock lock(mutex_);
        if (!filter.released) {
            Call(filter, request.receiver, section);
            ++calls;
        }
    });
    counters_.Add(Counter::kDeliveredSections, calls);
    counters_.Add(Counter::kCachedSections, calls);
    MutexLock lock(mutex_);
    if (!filter.released) {
        Join(filter, request.receiver);
    }
    return calls;
}

void FilterEngine::Join(Filter& filter, const Receiver& receiver) {
    const bool isKnown =
        std::any_of(filter.receivers.begin(), filter.receivers.end(), [&](const Receiver& known) {
            return known.sink == receiver.sink && known.id == receiver.id;
        });
    if (!isKnown) {
        filter.receivers.push_back(receiver);
    }
}

void FilterEngine::LimitCache(size_t bytes) {
    if (bytes == cache_.limit()) {
        return;
    }
    cache_.SetLimit(bytes);
    for (uint16_t pid = 0; bytes > 0 && pid < kCachedPids; ++pid) {
        StreamOf(pid);
    }
    for (auto next = streams_.begin(); bytes == 0 && next != streams_.end();) {
        const auto stream = next++;
        if (stream->second->filters.empty()) {
            DropStream(stream->first);
            keptPids_ = 0;
        }
    }
}

void FilterEngine::See(Stream& stream, uint16_t pid) {
    if (!stream.isSeen && !stream.filters.empty()) {
        stream.isSeen = true;
        seen_[pid / 64].fetch_or(uint64_t{1} << (pid % 64), std::memory_order_relaxed);
    }
}

FilterEngine::Stream& FilterEngine::StreamOf(uint16_t pid) {
    std::unique_ptr<Stream>& stream = streams_[pid];
    if (stream == nullptr) {
        stream = std::make_unique<Stream>(counters_);
        if (pid < kPidCount) {
            byPid_.Set(pid, stream.get());
        }
    }
    return *stream;
}

void FilterEngine::Remove(const Filter& filter) {
    const uint16_t pid = filter.pid;
    std::vector<std::unique_ptr<Filter>>& filters = streams_.at(pid)->filters;
    filters.erase(std::find_if(filters.begin(), filters.end(),
                               [&filter](const auto& f) { return f.get() == &filter; }));
    if (feed_ == Feed::kDeviceSections) {
        cache_.Forget(pid);
    }
    if (!filters.empty()) {
        return;
    }
    if (cache_.limit() == 0 || pid >= kPidCount) {
        DropStream(pid);
    } else if (pid >= kCachedPids) {
        if (keptPids_ < kKeptPids) {
            streams_.at(pid)->isKept = true;
            ++keptPids_;
        } else {
            DropStream(pid);
        }
    }
}

void FilterEngine::DropStream(uint16_t pid) {
    if (pid < kPidCount) {
        byPid_.Set(pid, nullptr);
    }
    streams_.erase(pid);
    cache_.Forget(pid);  // nobody would see that it changes
}

void FilterEngine::Reset(Feed feed) {
    feed_ = feed;
    cache_.Clear();
    for (std::atomic<uint64_t>& pids : seen_) {
        pids.store(0, std::memory_order_relaxed);
    }
    for (auto& [pid, stream] : streams_) {
        auto fresh = std::make_unique<Stream>(counters_);
        fresh->filters = std::move(stream->filters);
        fresh->isKept = stream->isKept;
        stream = std::move(fresh);
        if (pid < kPidCount) {
            byPid_.Set(pid, stream.get());
        }
    }
}

}  // namespace tvservice
