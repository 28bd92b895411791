#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "softplatform/service/Counter.h"

namespace tvservice {

constexpr size_t kCounterCount = static_cast<size_t>(Counter::kCount);

struct CounterInfo {
    Counter counter;
    const char* name;     // snake_case, as shown to people and in JSON
    const char* meaning;  // one line, without a full stop
};

// One row for each counter, in the order of the enumeration.
inline constexpr std::array<CounterInfo, kCounterCount> kCounterTable{{
    {Counter::kBytes, "bytes", "bytes handed in by the source"},
    {Counter::kPackets, "packets", "transport packets found"},
    {Counter::kSyncLocks, "sync_locks", "times packet sync was found, the first time included"},
    {Counter::kSyncLosses, "sync_losses", "times packet sync was lost"},
    {Counter::kSkippedBytes, "skipped_bytes", "bytes that belong to no packet that was found"},
    {Counter::kTransportErrors, "transport_errors", "packets with transport_error_indicator"},
    {Counter::kScrambledPackets, "scrambled_packets",
     "packets left alone because they are scrambled"},
    {Counter::kMalformedPackets, "malformed_packets",
     "packets of wanted PIDs with a bad adaptation field or adaptation_field_control"},
    {Counter::kContinuityGaps, "continuity_gaps", "jumps of continuity_counter on wanted PIDs"},
    {Counter::kDuplicatePackets, "duplicate_packets", "packets sent twice on wanted PIDs"},
    {Counter::kAnnouncedDiscontinuities, "announced_discontinuities",
     "jumps of continuity_counter under discontinuity_indicator"},
    {Counter::kMalformedPointers, "malformed_pointers", "pointer_field past the end of its packet"},
    {Counter::kSections, "sections",
     "sections assembled whole, with a good CRC where they have one"},
    {Counter::kCrcErrors, "crc_errors", "sections dropped for a wrong CRC_32"},
    {Counter::kTruncatedSections, "truncated_sections", "sections cut off before their end"},
    {Counter::kOversizeSections, "oversize_sections",
     "sections dropped for section_length over 4093"},
    {Counter::kShortSections, "short_sections",
     "sections dropped for a section_length too small for their header and CRC_32"},
    {Counter::kDeliveredSections, "delivered_sections", "callbacks with a section"},
    {Counter::kCachedSections, "cached_sections", "those of them with a section from the cache"},
    {Counter::kMalformedTables, "malformed_tables",
     "sections with a good CRC_32 whose table is not one"},
    {Counter::kDescriptorOverruns, "descriptor_overruns",
     "loops of tables whose descriptors or entries reach past their end"},
    {Counter::kMalformedDescriptors, "malformed_descriptors",
     "descriptors whose fields do not fill their length, each time one is decoded"},
    {Counter::kParserOverflows, "parser_overflows",
     "sections of sub-tables that a table parser had no room for"},
    {Counter::kRefusedSubscriptions, "refused_subscriptions", "subscriptions that were refused"},
    {Counter::kRetiredHandles, "retired_handles", "handle values that will never be given again"},
    {Counter::kKernelDrops, "kernel_drops",
     "datagrams that the system had no room for, as the next one tells"},
    {Counter::kMalformedDatagrams, "malformed_datagrams",
     "datagrams left out: empty, or no RTP where RTP is expected"},
    {Counter::kRtpLosses, "rtp_losses", "RTP packets that never came, or came too late"},
    {Counter::kRtpReordered, "rtp_reordered", "RTP packets that came late and were put in order"},
    {Counter::kDeviceOverflows, "device_overflows",
     "times the buffer of a device ran over, each with the loss of some of the stream"},
    {Counter::kMalformedReads, "malformed_reads",
     "what a demux device handed over although it was no section"},
}};

// One number for each Counter. Any thread may read any counter at any time, also while the stream
// runs. Two counters that are read one after the other may be from different moments.
class Counters {
  public:
    Counters() = default;
    Counters(const Counters&) = delete;
    Counters& operator=(const Counters&) = delete;

    // Adds `n`. Only for the one thread that writes this counter (the delivery thread). Faster than
    // AddShared: a load and a store instead of an atomic addition.
    void Add(Counter counter, uint64_t n = 1) {
        std::atomic<uint64_t>& value = values_[static_cast<size_t>(counter)];
        value.store(value.load(std::memory_order_relaxed) + n, std::memory_order_relaxed);
    }

    // Adds `n`, for counters that several threads write. Each counter is written either with Add or
    // with AddShared, never with both.
    void AddShared(Counter counter, uint64_t n = 1) {
        values_[static_cast<size_t>(counter)].fetch_add(n, std::memory_order_relaxed);
    }

    uint64_t Get(Counter counter) const {
        return values_[static_cast<size_t>(counter)].load(std::memory_order_relaxed);
    }

    // Sets the counters of the stream to 0. Those of subscriptions stay, because subscriptions
    // outlive a stream. If a thread adds to a counter at the same time, that counter may keep its
    // old value.
    void ResetStream();

  private:
    std::array<std::atomic<uint64_t>, kCounterCount> values_{};
};

// The counters of the process's one receiver; never destroyed. Any thread.
Counters& ReceiverCounters();

// The row of `counter`, which must not be kCount.
constexpr const CounterInfo& Describe(Counter counter) {
    return kCounterTable[static_cast<size_t>(counter)];
}

}  // namespace tvservice
