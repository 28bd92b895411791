#include "softplatform/base/Counters.h"

namespace tvservice {

namespace {

constexpr bool TableFollowsEnumeration() {
    for (size_t i = 0; i < kCounterCount; ++i) {
        if (kCounterTable[i].counter != static_cast<Counter>(i)) {
            return false;
        }
    }
    return true;
}
static_assert(TableFollowsEnumeration());

}  // namespace

void Counters::ResetStream() {
    for (size_t i = 0; i < kCounterCount; ++i) {
        const auto counter = static_cast<Counter>(i);
        if (counter != Counter::kRefusedSubscriptions && counter != Counter::kRetiredHandles) {
            values_[i].store(0, std::memory_order_relaxed);
        }
    }
}

Counters& ReceiverCounters() {
    static Counters& counters = *new Counters;
    return counters;
}

}  // namespace tvservice
