#pragma once

#include <cstddef>
#include <cstdint>

#include "softplatform/fault/FaultSpec.h"
#include "softplatform/fault/Random.h"

namespace tvservice {

// Decides at which events a fault happens. The same spec and seed give the same answers. Used by
// one thread at a time.
class FaultTrigger {
  public:
    // `spec` is borrowed and outlives the trigger.
    FaultTrigger(const FaultSpec& spec, uint64_t seed) : spec_(&spec), random_(seed) {}

    // Whether the fault looks at events with this PID or table_id.
    bool LooksAt(uint32_t pidOrTable) const { return !spec_->only || *spec_->only == pidOrTable; }

    // Takes the next event that the fault looks at. Returns whether the fault happens to it.
    bool Next();

    // How many events it has taken.
    uint64_t seen() const { return seen_; }

    const FaultSpec& spec() const { return *spec_; }

    // The random numbers for other choices of the fault, for example which bit it inverts.
    Random& random() { return random_; }

  private:
    const FaultSpec* spec_;
    Random random_;
    uint64_t seen_ = 0;
    size_t nextIndex_ = 0;  // in spec_->indexes
};

}  // namespace tvservice
