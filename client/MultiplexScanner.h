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

    /// Plays the source to its end and returns how it ended; after anything but `kEndOfInput` the
    /// result is what was acquired until then.
    ///
    /// What can be rewound is played twice: the first pass collects the PIDs that PATs name, so
    /// that in the second, the one that counts, all subscriptions are in force from the first
    /// packet on. In a large input the first pass ends with the first PAT; should a later one name
    /// another PID in the second pass, both are made again, and then the first goes to the end.
    /// What cannot be rewound is played once, in lock-step: the PMT filters that a PAT asks for are
    /// in force from the next packet on. Either way the result depends neither on read sizes nor on
    /// thread timing.
    ///
    /// A process can make 65535 subscriptions (kLastServedId), and a scan makes a few for each
    /// program: a scan that finds none left fails.
    ///
    /// What is live is played until the multiplex is complete or `timeout` has passed
    /// (kDefaultTimeout if none is given), and then interrupted: the end is `kEndOfInput` in both
    /// cases. What is not live but cannot be rewound either is played like that if there is a
    /// `timeout`, to its end otherwise.
    tvservice::InputEnd Scan(const tvservice::SourcePtr& source,
                             std::optional<std::chrono::milliseconds> timeout = {});

    static constexpr std::chrono::seconds kDefaultTimeout{30};

    /// Which pass over the source this is, from 1 on; 0 before. On any thread.
    int Pass() const;

    /// What the last scan found. May be called on any thread, also while scanning.
    Multiplex Result() const;

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace client
