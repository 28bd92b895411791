#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "softplatform/base/Mutex.h"
#include "softplatform/fault/FaultPlan.h"

namespace tvservice {

// What shall become of a request for a filter.
struct SubscribeFault {
    bool isRefused = false;  // no filter is set
    uint32_t back = 0;  // else: how many requests before the handle was given; 0: its own handle
};

// Decides which requests to set and to release filters go wrong, and keeps the book that ties the
// handles which clients were told to those of the engine: they differ after an `old-handle`. Such a
// handle may be in use, and then stands for several filters; they are released together.
//
// All members may be called on any thread.
class FaultySubscriptions {
  public:
    explicit FaultySubscriptions(std::shared_ptr<FaultPlan> plan);
    FaultySubscriptions(const FaultySubscriptions&) = delete;
    FaultySubscriptions& operator=(const FaultySubscriptions&) = delete;

    // Another plan, from its first event on. The book stays.
    void Use(std::shared_ptr<FaultPlan> plan) TV_EXCLUDES(mutex_);

    // The next request for a filter. A refusal is counted here.
    SubscribeFault NextSubscribe() TV_EXCLUDES(mutex_);

    // The engine has given `handle` to a request that NextSubscribe had `fault` for. Returns the
    // handle to tell the client: the one told `back` requests before, which is counted, unless
    // there were fewer or it is `handle` itself; else `handle`. Refused requests are left out.
    int HandOut(int handle, SubscribeFault fault) TV_EXCLUDES(mutex_);

    // The engine has given `handle` to a request which no fault shall touch: it takes no number,
    // and neither does its release.
    void Exempt(int handle) TV_EXCLUDES(mutex_);

    // The next request to release what the client knows as `told`. True when it shall be refused,
    // which is counted here: the filter then stays as it is.
    bool NextUnsubscribe(int told) TV_EXCLUDES(mutex_);

    // The engine's handles that `told` stood for and that are to be released; it stands for none
    // from now on. `told` itself when it stands for none: let the engine say what to think of it.
    std::vector<int> TakeBack(int told) TV_EXCLUDES(mutex_);

  private:
    void Book(int told, int handle) TV_REQUIRES(mutex_);

    Mutex mutex_;
    std::shared_ptr<FaultPlan> plan_ TV_GUARDED_BY(mutex_);
    std::vector<FaultTrigger> subscribeFaults_ TV_GUARDED_BY(mutex_);
    std::vector<FaultTrigger> unsubscribeFaults_ TV_GUARDED_BY(mutex_);
    std::deque<int> told_ TV_GUARDED_BY(mutex_);                  // the last 1000, in their order
    std::map<int, std::vector<int>> book_ TV_GUARDED_BY(mutex_);  // engine's handles, by told one
    std::set<int> exempt_ TV_GUARDED_BY(mutex_);                  // told ones
};

}  // namespace tvservice
