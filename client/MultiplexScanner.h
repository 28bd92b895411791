#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "client/Multiplex.h"
#include "softplatform/service/SoftwarePlatform.h"

namespace client {

/// Acquires a multiplex through the section manager and the table parsers.
///
/// The platform must have been started. One scanner at a time; nothing else may be playing.
class MultiplexScanner {
  public:
    MultiplexScanner();
    ~MultiplexScanner();
    MultiplexScanner(const MultiplexScanner&) = delete;
    MultiplexScanner& operator=(const MultiplexScanner&) = delete;

    /// Plays the source to its end, and waits for that.
    ///
    /// A source that can be rewound is played twice. The first pass collects the PIDs that the PATs
    /// name. In the second pass all filters are set from the first packet on; its result is the
    /// result of the scan. In a large input the first pass ends with the first PAT. If a later PAT
    /// names another PID during the second pass, both passes are made again, and this time the
    /// first one goes to the end.
    ///
    /// A source that cannot be rewound is played once, in lock-step: the PMT filters that a PAT
    /// asks for are set before the next packet is read. In both cases the result depends neither on
    /// the sizes of reads nor on the timing of threads.
    ///
    /// A live source is played until nothing is missing or until `timeout` has passed, and is then
    /// interrupted; the end is `kEndOfInput` in both cases. A source that is not live and cannot be
    /// rewound is played in this way if a `timeout` is given, otherwise to its end.
    ///
    /// A process can make 65535 subscriptions (kLastServedId), and a scan makes several for each
    /// program. A scan for which too few are left fails.
    ///
    /// @param source   not null
    /// @param timeout  for a live source kDefaultTimeout when none is given
    /// @return how the source ended. After anything but `kEndOfInput` the result holds what was
    ///         acquired until then
    tvservice::InputEnd Scan(const tvservice::SourcePtr& source,
                             std::optional<std::chrono::milliseconds> timeout = {});

    static constexpr std::chrono::seconds kDefaultTimeout{30};

    /// The number of the pass that is being made or was made last, from 1; 0 before the first one.
    /// May be called on any thread.
    int Pass() const;

    /// What the last scan found, or what the current one has found so far. May be called on any
    /// thread.
    Multiplex Result() const;

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace client
