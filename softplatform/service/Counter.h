#pragma once

// The names of the counters for programs. Usable from C++14.

#include <cstddef>

namespace tvservice {

/// The counters of the receiver: the amount of data that it handled, and every kind of loss.
/// `SoftwarePlatform::Counters` gives all of them in this order, each with its name and meaning.
/// A new counter is added at the end, so that the values of the others do not change.
enum class Counter : std::size_t {
    kBytes,
    kPackets,
    kSyncLocks,
    kSyncLosses,
    kSkippedBytes,
    kTransportErrors,
    kScrambledPackets,
    kMalformedPackets,
    kContinuityGaps,
    kDuplicatePackets,
    kAnnouncedDiscontinuities,
    kMalformedPointers,
    kSections,
    kCrcErrors,
    kTruncatedSections,
    kOversizeSections,
    kShortSections,
    kDeliveredSections,
    kCachedSections,
    kMalformedTables,
    kDescriptorOverruns,
    kMalformedDescriptors,
    kParserOverflows,
    kRefusedSubscriptions,
    kRetiredHandles,
    kKernelDrops,
    kMalformedDatagrams,
    kRtpLosses,
    kRtpReordered,
    kDeviceOverflows,
    kMalformedReads,
    kCount  ///< how many there are; not a counter
};

}  // namespace tvservice
