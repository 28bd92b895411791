#include "softplatform/section/FilterEngine.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace tvservice {

FilterEngine::FilterEngine(Counters& counters, std::function<void()> onChange, unsigned slots)
    : counters_(counters), onChange_(std::move(onChange)), handles_(slots) {}

FilterEngine::~FilterEngine() = default;

int FilterEngine::Subscribe(uint16_t pid, const SectionFilter& criteria, SectionSink& sink,
                            int id) {
    auto filter = std::make_unique<Filter>(Filter{pid, criteria, {{&sink, id}}});
    int handle = kNoHandle;
    bool news = false;
    {
        MutexLock lock(mutex_);
        const std::optional<int> taken = handles_.Take();
        if (!taken) {
            for (const auto& [sharedHandle, shared] : inUse_) {
                if (shared->pid == pid && shared->criteria == criteria) {
                    shared->receivers.push_back({&sink, id});
                    return sharedHandle;
                }
            }
            return kNoHandle;
        }
        handle = *taken;
        inUse_.emplace(handle, filter.get());
        toAdd_.push_back(std::move(filter));
        news = !changesQueued_.exchange(true, std::memory_order_release);
    }
    if (news && onChange_) {
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

size_t FilterEngine::OnPacket(PacketView packet) {
    ApplyChanges();
    // ISO/IEC 13818-1 2.4.3.3: nothing in this packet can be relied on, its PID included.
    if (packet.transport_error_indicator()) {
        counters_.Add(Counter::kTransportErrors);
        return 0;
    }
    const bool isScrambled = packet.transport_scrambling_control() != 0;
    if (isScrambled) {
        counters_.Add(Counter::kScrambledPackets);
    }
    Stream* const stream = byPid_.Find(packet.PID());
    if (stream == nullptr) {
        return 0;
    }
    if (!packet.well_formed()) {
        counters_.Add(Counter::kMalformedPackets);
        return 0;
    }
    switch (stream->continuity.Check(packet)) {
        case ContinuityVerdict::kFirst:
            seen_[packet.PID() / 64].fetch_or(uint64_t{1} << (packet.PID() % 64),
                                              std::memory_order_relaxed);
            break;
        case ContinuityVerdict::kNext:
            break;
        case ContinuityVerdict::kDuplicate:
            counters_.Add(Counter::kDuplicatePackets);
            return 0;
        case ContinuityVerdict::kGap:
            counters_.Add(Counter::kContinuityGaps);
            stream->assembler.Discontinuity();
            break;
        case ContinuityVerdict::kAnnouncedJump:
            counters_.Add(Counter::kAnnouncedDiscontinuities);
            stream->assembler.Discontinuity();
            break;
        case ContinuityVerdict::kNoPayload:
            return 0;
    }
    if (isScrambled) {
        stream->assembler.Discontinuity();
        return 0;
    }
    size_t calls = 0;
    stream->assembler.Feed(
        packet.payload(), packet.payload_unit_start_indicator(),
        [&](const uint8_t* section, size_t size) { calls += OnSection(*stream, section, size); });
    return calls;
}

size_t FilterEngine::OnSection(Stream& stream, const uint8_t* bytes, size_t size) {
    const std::optional<SectionView> section = SectionView::From(bytes, size);
    if (!section) {
        return 0;  // the assembler hands on none such
    }
    if (!CrcIsGood(*section)) {
        counters_.Add(Counter::kCrcErrors);
        return 0;
    }
    counters_.Add(Counter::kSections);
    const size_t calls = Offer(stream, *section);
    counters_.Add(Counter::kDeliveredSections, calls);
    return calls;
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
        calling_ = &filter;
        caller_ = std::this_thread::get_id();
        ++callNumber_;
        mutex_.Unlock();
        receiver.sink->OnSection(receiver.id, section.data(), section.size());
        mutex_.Lock();
        calling_ = nullptr;
        callEnded_.NotifyAll();
    }
    mutex_.Unlock();
    return calls;
}

void FilterEngine::ApplyChanges() {
    if (!changesQueued_.load(std::memory_order_acquire)) {
        return;
    }
    std::vector<std::unique_ptr<Filter>> added;
    std::vector<Filter*> removed;
    {
        MutexLock lock(mutex_);
        added.swap(toAdd_);
        removed.swap(toRemove_);
        changesQueued_.store(false, std::memory_order_relaxed);
    }
    // Additions first: a PID on which one filter replaces another keeps its open section.
    for (std::unique_ptr<Filter>& filter : added) {
        Stream& stream = StreamOf(filter->pid);
        stream.filters.push_back(std::move(filter));
    }
    for (const Filter* filter : removed) {
        Remove(*filter);
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
    if (filters.empty()) {
        if (pid < kPidCount) {
            byPid_.Set(pid, nullptr);
        }
        streams_.erase(pid);
    }
}

void FilterEngine::Reset() {
    for (std::atomic<uint64_t>& pids : seen_) {
        pids.store(0, std::memory_order_relaxed);
    }
    for (auto& [pid, stream] : streams_) {
        auto fresh = std::make_unique<Stream>(counters_);
        fresh->filters = std::move(stream->filters);
        stream = std::move(fresh);
        if (pid < kPidCount) {
            byPid_.Set(pid, stream.get());
        }
    }
}

}  // namespace tvservice
