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

void Counters::Reset() {
    for (std::atomic<uint64_t>& value : values_) {
        value.store(0, std::memory_order_relaxed);
    }
}

}  // namespace tvservice
