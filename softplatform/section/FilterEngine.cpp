#include "softplatform/section/FilterEngine.h"

#include <optional>
#include <utility>

namespace tvservice {

namespace {

// A fuzzer cannot guess the right CRC_32 for the sections that it makes up, so its build accepts
// any.
bool IsIntact([[maybe_unused]] SectionView section) {
#ifdef FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION
    return true;
#else
    return CrcIsGood(section);
#endif
}

}  // namespace

FilterEngine::FilterEngine(Counters& counters, std::function<void()> onChange, unsigned slots)
    : counters_(counters), registry_(counters, std::move(onChange), slots) {}

size_t FilterEngine::OnWantedPacket(Stream& stream, PacketView packet) {
    size_t calls = 0;
    stream.demux.Feed(
        packet,
        [&] {
            if (!stream.filters.empty()) {
                seen_.Add(packet.PID());
            }
        },
        [&](SectionView section) { calls += OnSection(stream, packet.PID(), section); });
    return calls;
}

size_t FilterEngine::OnDeviceSection(uint16_t pid, ByteView bytes) {
    const size_t calls = ApplyChanges();
    Stream* const stream = pid < kPidCount ? byPid_.Find(pid) : nullptr;
    if (stream == nullptr) {
        return calls;
    }
    if (!stream->filters.empty()) {
        seen_.Add(pid);
    }
    const std::optional<SectionView> section = SectionView::From(bytes);
    if (!section) {
        counters_.Add(IsTooShort(bytes) ? Counter::kShortSections : Counter::kMalformedReads);
        return calls;
    }
    return calls + OnSection(*stream, pid, *section);
}

size_t FilterEngine::OnSection(Stream& stream, uint16_t pid, SectionView section) {
    // Most sections repeat what the cache holds, whose CRC_32 was checked then.
    if (!cache_.Holds(pid, section)) {
        if (!IsIntact(section)) {
            counters_.Add(Counter::kCrcErrors);
            return 0;
        }
        cache_.Take(pid, stream.filters, section);
    }
    counters_.Add(Counter::kSections);
    const size_t calls = Offer(stream, section);
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
    stream.filters.VisitMatching(
        section, [&](Filter& filter) { calls += registry_.Deliver(filter, section); });
    return calls;
}

size_t FilterEngine::ApplyQueuedChanges() {
    FilterChanges changes = registry_.TakeChanges();
    if (changes.cacheLimit) {
        LimitCache(*changes.cacheLimit);
    }
    // Filters are added before others are released: so a PID on which one filter replaces another
    // keeps its open section.
    for (std::unique_ptr<Filter>& filter : changes.added) {
        const uint16_t pid = filter->pid;
        StreamOf(pid).filters.Add(std::move(filter));
        cache_.OnFilterAdded(pid);
    }
    for (const Filter* filter : changes.released) {
        Remove(*filter);
    }
    ++changes_;
    size_t calls = 0;
    for (const CacheRequest& request : changes.cacheRequests) {
        calls += ServeFromCache(request);
    }
    return calls;
}

size_t FilterEngine::ServeFromCache(const CacheRequest& request) {
    Filter& filter = *request.filter;
    size_t calls = 0;
    cache_.VisitTable(filter.pid, filter.criteria.pattern().front(), [&](SectionView section) {
        if (filter.criteria.Matches(section.data(), section.size()) &&
            registry_.DeliverTo(filter, request.recipient, section)) {
            ++calls;
        }
    });
    counters_.Add(Counter::kDeliveredSections, calls);
    counters_.Add(Counter::kCachedSections, calls);
    registry_.Join(filter, request.recipient);
    return calls;
}

void FilterEngine::LimitCache(size_t bytes) {
    cache_.SetLimit(bytes);
    if (cache_.isOn()) {
        for (uint16_t pid = 0; pid < CachePolicy::kCachedPids; ++pid) {
            StreamOf(pid);
        }
        return;
    }
    for (auto next = streams_.begin(); next != streams_.end();) {
        const auto stream = next++;
        if (stream->second->filters.empty()) {
            DropStream(stream->first);
        }
    }
}

void FilterEngine::Remove(const Filter& filter) {
    const uint16_t pid = filter.pid;
    FilterSet& filters = streams_.at(pid)->filters;
    filters.Remove(filter);
    if (!cache_.OnFilterReleased(pid, filters.empty())) {
        DropStream(pid);
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

void FilterEngine::DropStream(uint16_t pid) {
    if (pid < kPidCount) {
        byPid_.Set(pid, nullptr);
    }
    streams_.erase(pid);
}

void FilterEngine::Reset(Feed feed) {
    cache_.Reset(feed);
    seen_.Clear();
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
