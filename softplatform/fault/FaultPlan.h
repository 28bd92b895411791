#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "softplatform/fault/FaultSpec.h"
#include "softplatform/fault/FaultTrigger.h"

namespace tvservice {

// How often a kind of fault was injected.
struct FaultCount {
    const char* name;     // as in specs
    const char* meaning;  // one line for people
    uint64_t count;
};

// The faults to inject, and how many were injected. Shared by the classes that inject them:
// FaultySource, FaultySections, FaultySubscriptions. All members may be called on any thread.
//
// The same specs in the same order with the same seed damage the same events in the same way. Each
// spec has its own random numbers, so a spec that is added at the end does not change what the
// others do.
class FaultPlan {
  public:
    // FaultSpec describes the syntax of `specs`. Without specs the plan has no faults. Returns null
    // on failure; `error` then receives the line of FaultSpec::Parse. Otherwise `error` keeps its
    // value.
    static std::shared_ptr<FaultPlan> Parse(const std::vector<std::string>& specs, uint64_t seed,
                                            std::string& error);

    FaultPlan(const FaultPlan&) = delete;
    FaultPlan& operator=(const FaultPlan&) = delete;

    // Whether the plan has a fault of that kind, or a fault that happens to such events.
    bool Has(FaultKind kind) const;
    bool Has(FaultEvent event) const;

    // A trigger for each fault that happens to such events, in the order of the specs. Each starts
    // at event 0. The triggers borrow from the plan, so the plan must outlive them.
    std::vector<FaultTrigger> Triggers(FaultEvent event) const;

    // Adds `n` injected faults to the count of `kind`.
    void Count(FaultKind kind, uint64_t n = 1) {
        counts_[static_cast<size_t>(kind)].fetch_add(n, std::memory_order_relaxed);
    }

    // The counts since the plan was made: one row for each kind that is planned, in the order of
    // kFaultTable. The counts are read one after the other, so faults that are injected meanwhile
    // may be in some rows and not in others.
    std::vector<FaultCount> counts() const;
    uint64_t count(FaultKind kind) const {
        return counts_[static_cast<size_t>(kind)].load(std::memory_order_relaxed);
    }

  private:
    FaultPlan(std::vector<FaultSpec> specs, uint64_t seed)
        : specs_(std::move(specs)), seed_(seed) {}

    const std::vector<FaultSpec> specs_;
    const uint64_t seed_;
    std::array<std::atomic<uint64_t>, kFaultKindCount> counts_{};
};

}  // namespace tvservice
