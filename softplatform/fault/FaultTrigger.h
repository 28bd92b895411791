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

    // Whether the fault looks at what has this PID or table_id at all.
    bool LooksAt(uint32_t pidOrTable) const { return !spec_->only || *spec_->only == pidOrTable; }

    // Whether it happens at the next event that it looks at.
    bool Next();

    // Events so far.
    uint64_t seen() const { return seen_; }

    const FaultSpec& spec() const { return *spec_; }

    // For what else the fault has to choose.
    Random& random() { return random_; }

  private:
    const FaultSpec* spec_;
    Random random_;
    uint64_t seen_ = 0;
    size_t nextIndex_ = 0;  // in spec_->indexes
};

}  // namespace tvservice
