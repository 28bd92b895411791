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

// The fault of a request for a filter.
struct SubscribeFault {
    bool isRefused = false;  // the request is refused; no filter is set
    // Otherwise: the client gets the handle of the request this many granted requests before. 0: it
    // gets the handle that the engine gave.
    uint32_t back = 0;
};

// Decides which requests to set and to release filters get a fault. It also maps the handles that
// clients were given to the handles of the engine, because they differ after an `old-handle`. An
// old handle may still be in use. It then means several filters, which are released together.
//
// All members may be called on any thread.
class FaultySubscriptions {
  public:
    explicit FaultySubscriptions(std::shared_ptr<FaultPlan> plan);
    FaultySubscriptions(const FaultySubscriptions&) = delete;
    FaultySubscriptions& operator=(const FaultySubscriptions&) = delete;

    // Replaces the plan. The new plan starts at its event 0. The mapping of handles stays.
    void Use(std::shared_ptr<FaultPlan> plan) TV_EXCLUDES(mutex_);

    // Decides the fault of the next request for a filter. Counts a refusal.
    SubscribeFault NextSubscribe() TV_EXCLUDES(mutex_);

    // The engine has given `handle` to a request for which NextSubscribe returned `fault`. Returns
    // the handle for the client: the one that a client was given `back` requests before, which is
    // counted as a fault. When there were not that many requests, or when that handle is `handle`,
    // it returns `handle` and counts nothing. Refused requests are not counted in `back`.
    int HandOut(int handle, SubscribeFault fault) TV_EXCLUDES(mutex_);

    // The engine has given `handle` to a request that gets no faults. Neither the request nor its
    // release is counted as an event.
    void Exempt(int handle) TV_EXCLUDES(mutex_);

    // Decides the fault of the next request to release the client's handle `told`. True when the
    // request must be refused and the filter must stay set. Counts the refusal.
    bool NextUnsubscribe(int told) TV_EXCLUDES(mutex_);

    // Removes the client's handle `told` from the mapping. Returns the handles of the engine that
    // it meant; the caller releases them. Returns `told` itself when it is not in the mapping, so
    // that the engine decides what to answer.
    std::vector<int> TakeBack(int told) TV_EXCLUDES(mutex_);

  private:
    void Book(int told, int handle) TV_REQUIRES(mutex_);

    Mutex mutex_;
    std::shared_ptr<FaultPlan> plan_ TV_GUARDED_BY(mutex_);
    std::vector<FaultTrigger> subscribeFaults_ TV_GUARDED_BY(mutex_);
    std::vector<FaultTrigger> unsubscribeFaults_ TV_GUARDED_BY(mutex_);
    // The last 1000 handles that clients were given, the oldest first.
    std::deque<int> told_ TV_GUARDED_BY(mutex_);
    // The engine's handles, by client's handle.
    std::map<int, std::vector<int>> book_ TV_GUARDED_BY(mutex_);
    // Handles of clients.
    std::set<int> exempt_ TV_GUARDED_BY(mutex_);
};

}  // namespace tvservice
