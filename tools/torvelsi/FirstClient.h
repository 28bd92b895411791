#pragma once

#include <functional>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

#include "SI/Include/ISectionObserver.h"

namespace tool {

/// A first client of a table. It fills the receiver's cache, so that the printer can subscribe
/// later and get its first sections from the cache. When the table begins to repeat, it lets the
/// printer subscribe. An object must live as long as the process.
class FirstClient final : public TORVEL_MW::ISectionObserver {
  public:
    /// @param begin  makes the printer's subscription; called at most once, on the event thread. It
    ///               returns false when the platform refuses the filter
    explicit FirstClient(std::function<bool()> begin) : begin_(std::move(begin)) {}

    /// Subscribes to the table.
    /// @return false when the platform refuses the filter
    bool Subscribe(unsigned short pid, unsigned int tableId);

    void OnSectionReceived(unsigned short id, unsigned short pid, unsigned short length,
                           unsigned char* data) override;
    void OnSectionTimeout(unsigned int /*id*/) override {}

    enum Outcome {
        kWaiting,  ///< the table has not repeated yet
        kBegun,    ///< `begin` was called and subscribed
        kRefused,  ///< `begin` was called, and the platform refused the filter
        kOver      ///< `End` was called first
    };

    /// Ends the wait: after this `begin` is not called any more.
    Outcome End();

  private:
    const std::function<bool()> begin_;
    std::mutex mutex_;                           // held while `begin` runs
    std::set<std::vector<unsigned char>> seen_;  // guarded by mutex_
    Outcome outcome_ = kWaiting;                 // guarded by mutex_
};

}  // namespace tool
