#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "softplatform/base/Mutex.h"
#include "softplatform/base/RunningCall.h"
#include "softplatform/fault/FaultPlan.h"
#include "softplatform/section/SectionSink.h"
#include "softplatform/section/SectionView.h"

namespace tvservice {

// Receives the sections of the filter engine, injects the delivery faults of the plan, and calls
// the client's callback.
//
// All faults are applied to every delivery, in this order. `silent` swallows it, and nothing else
// happens to it. `zero-length` and `unknown-id` make additional deliveries before the section.
// `cut` keeps the first `to` bytes; without `to` it keeps a random number of bytes, at least 1.
// section_length stays as it is. A section already that short is not counted as cut.
// `delay` keeps a copy and delivers it after `by` later deliveries have come. Swallowed deliveries
// count too. After each delivery, the delayed sections that are due are delivered. Without planned
// delivery faults every section is passed on unchanged.
//
// After an id was released nothing is delivered to it, as in the engine: sections that are held
// back for the id are dropped. The fault `late` is the exception: it delivers the last section of a
// released id to that id once more, after `by` later deliveries.
//
// OnSection and Flush are called on the delivery thread; Subscribed and Unsubscribed may be called
// on any thread, also inside a callback.
class FaultySections final : public SectionSink {
  public:
    // Receives the deliveries. `size` can be any size, 0 included, because of the faults.
    using Callback = std::function<void(int id, const uint8_t* bytes, size_t size)>;

    // `callback` is called with no lock held, on the delivery thread.
    FaultySections(std::shared_ptr<FaultPlan> plan, Callback callback);
    FaultySections(const FaultySections&) = delete;
    FaultySections& operator=(const FaultySections&) = delete;

    // Replaces the plan. The new plan starts at its event 0. Sections that are held back stay held
    // back, and the ids of the filters stay known. Call it only while nothing is delivered.
    void Use(std::shared_ptr<FaultPlan> plan) TV_EXCLUDES(mutex_);

    // One delivery of the engine.
    void OnSection(int id, SectionView section) override TV_EXCLUDES(mutex_);

    // Delivers everything that is held back. Called when the source has ended, because no later
    // delivery will come.
    void Flush() TV_EXCLUDES(mutex_);

    // Tells that the filter of `handle` delivers to `id` from now on, in addition to its other ids.
    void Subscribed(int handle, int id) TV_EXCLUDES(mutex_);

    // Tells that the filter of `handle` was released with all its ids, and that the engine makes no
    // more deliveries to them. After the return no callback for these ids begins, except those of
    // `late`. Waits only for a callback with a delayed section that runs on another thread. Unknown
    // handles are ignored.
    void Unsubscribed(int handle) TV_EXCLUDES(mutex_);

  private:
    struct Fault {
        FaultTrigger trigger;
        uint64_t silentFor = 0;  // deliveries still to be swallowed
    };

    // What happens to one delivery.
    struct Decision {
        bool isSwallowed = false;
        size_t size = 0;
        unsigned zeroLengths = 0;
        std::vector<std::optional<uint32_t>> unknownIds{};  // none: an unused id
        uint64_t delay = 0;
    };

    struct Held {
        int id;
        std::vector<uint8_t> section;
        uint64_t due;  // delivered after the delivery with this number
        bool isLate;
    };

    Decision Decide(SectionView section);
    int UnusedId() TV_REQUIRES(mutex_);
    void Remember(int id, const uint8_t* section, size_t size) TV_REQUIRES(mutex_);
    void DeliverHeld(uint64_t due) TV_EXCLUDES(mutex_);
    void PlanLate(int id) TV_REQUIRES(mutex_);

    const Callback callback_;

    // Use changes these members, while nothing is delivered.
    std::shared_ptr<FaultPlan> plan_;
    bool hasLate_ TV_GUARDED_BY(mutex_) = false;
    bool isIdle_ = true;  // no faults and nothing held back: sections pass unchanged

    std::vector<Fault> faults_;  // used only by the delivery thread

    Mutex mutex_;
    std::vector<FaultTrigger> lateFaults_ TV_GUARDED_BY(mutex_);
    uint64_t deliveries_ TV_GUARDED_BY(mutex_) = 0;           // the number of the last one, from 1
    std::map<int, std::set<int>> ids_ TV_GUARDED_BY(mutex_);  // by handle
    std::map<int, std::vector<uint8_t>> lastSections_ TV_GUARDED_BY(mutex_);  // by id, for `late`
    std::vector<Held> held_ TV_GUARDED_BY(mutex_);   // in the order in which they came
    bool isReleased_ TV_GUARDED_BY(mutex_) = false;  // deliveringId_ was released since it was set
    int deliveringId_ TV_GUARDED_BY(mutex_) = 0;     // the id of the last delivery

    RunningCall<int> delayedCall_ TV_GUARDED_BY(mutex_);  // by id
};

}  // namespace tvservice
