#pragma once

#include <memory>
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

    /// Plays the source to its end and returns what it held. What cannot be rewound is read once,
    /// in lock-step, so that the result depends neither on read sizes nor on thread timing.
    ///
    /// @return how the input ended; after anything but `kEndOfInput` the result is what was
    ///         acquired until then
    tvservice::InputEnd Scan(tvservice::SourcePtr source);

    /// What the last scan found. May be called on any thread, also while scanning.
    Multiplex Result() const;

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace client
