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

// Stands between the filter engine and the client's callback, and does to the deliveries what the
// plan says.
//
// Every delivery meets all faults, in this order. `silent` swallows it, and nothing else happens.
// `zero-length` and `unknown-id` make additional deliveries before the section's.
// `cut` keeps the first `to` bytes, or without `to` a random number of them, at least 1;
// section_length stays as it is. A section already that short is not counted as cut.
// `delay` holds a copy back until `by` later deliveries have come, swallowed ones included. After
// each delivery, the delayed ones that are due are delivered. Without planned delivery faults every
// section is passed on unchanged.
//
// Like the engine, it delivers nothing to an id that was released: a section held back for it is
// dropped. Only the fault `late` does: the last section that a released id got is delivered to it
// once more, after `by` later deliveries.
//
// OnSection and Flush are the delivery thread's; Subscribed and Unsubscribed may be called on any
// thread, also inside a callback.
class FaultySections final : public SectionSink {
  public:
    // What gets the deliveries: any number of bytes, because they may be cut or empty.
    using Callback = std::function<void(int id, const uint8_t* bytes, size_t size)>;

    // `callback` is called with no lock held, on the delivery thread.
    FaultySections(std::shared_ptr<FaultPlan> plan, Callback callback);
    FaultySections(const FaultySections&) = delete;
    FaultySections& operator=(const FaultySections&) = delete;

    // Another plan, from its first event on. What is held stays held, ids stay known. Only while
    // nothing is delivered.
    void Use(std::shared_ptr<FaultPlan> plan) TV_EXCLUDES(mutex_);

    // One delivery.
    void OnSection(int id, SectionView section) override TV_EXCLUDES(mutex_);

    // The source has ended, no later delivery will come: delivers all that is held.
    void Flush() TV_EXCLUDES(mutex_);

    // The filter of `handle` delivers to `id` from now on, beside the ids that it has already.
    void Subscribed(int handle, int id) TV_EXCLUDES(mutex_);

    // The filter of `handle` was released for all its ids, and the engine calls for none of them
    // any more. After this has returned no callback for them begins but late ones. Waits for a
    // delayed one that runs on another thread, for nothing else. Unknown handles are ignored.
    void Unsubscribed(int handle) TV_EXCLUDES(mutex_);

  private:
    struct Fault {
        FaultTrigger trigger;
        uint64_t silentFor = 0;  // deliveries still to be swallowed
    };

    // What shall happen to one delivery.
    struct Decision {
        bool isSwallowed = false;
        size_t size = 0;
        unsigned zeroLengths = 0;
        std::vector<std::optional<uint32_t>> unknownIds{};  // none: any
        uint64_t delay = 0;
    };

    struct Held {
        int id;
        std::vector<uint8_t> section;
        uint64_t due;  // leaves behind the delivery of that number
        bool isLate;
    };

    Decision Decide(SectionView section);
    int UnusedId() TV_REQUIRES(mutex_);
    void Remember(int id, const uint8_t* section, size_t size) TV_REQUIRES(mutex_);
    void DeliverHeld(uint64_t due) TV_EXCLUDES(mutex_);
    void PlanLate(int id) TV_REQUIRES(mutex_);

    const Callback callback_;

    // Change with the plan, while nothing is delivered.
    std::shared_ptr<FaultPlan> plan_;
    bool hasLate_ TV_GUARDED_BY(mutex_) = false;
    bool isIdle_ = true;  // there is nothing to be done

    std::vector<Fault> faults_;  // the delivery thread's

    Mutex mutex_;
    std::vector<FaultTrigger> lateFaults_ TV_GUARDED_BY(mutex_);
    uint64_t deliveries_ TV_GUARDED_BY(mutex_) = 0;           // the number of the last one
    std::map<int, std::set<int>> ids_ TV_GUARDED_BY(mutex_);  // by handle
    std::map<int, std::vector<uint8_t>> lastSections_ TV_GUARDED_BY(mutex_);  // by id, for late
    std::vector<Held> held_ TV_GUARDED_BY(mutex_);   // in the order in which they came
    bool isReleased_ TV_GUARDED_BY(mutex_) = false;  // the id of this delivery, while it lasts
    int deliveringId_ TV_GUARDED_BY(mutex_) = 0;     // of the last delivery

    RunningCall<int> delayedCall_ TV_GUARDED_BY(mutex_);  // by id
};

}  // namespace tvservice
