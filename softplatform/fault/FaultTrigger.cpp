#include "softplatform/fault/FaultTrigger.h"

namespace tvservice {

bool FaultTrigger::Next() {
    const uint64_t event = seen_++;
    if (spec_->rate > 0) {
        return random_.Below(spec_->rate) == 0;
    }
    if (nextIndex_ < spec_->indexes.size() && spec_->indexes[nextIndex_] == event) {
        ++nextIndex_;
        return true;
    }
    return false;
}

}  // namespace tvservice
