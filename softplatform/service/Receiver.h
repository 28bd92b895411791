#pragma once

#include <memory>
#include <vector>

#include "platform/TVServiceAPI.h"
#include "softplatform/base/Counters.h"
#include "softplatform/base/Mutex.h"
#include "softplatform/section/FilterEngine.h"
#include "softplatform/service/Pump.h"
#include "softplatform/service/SectionSubscriber.h"

namespace tvservice {

// What stands behind both doors, SoftwarePlatform and TVServiceAPI: the parts of the one receiver,
// joined.
class Receiver {
  public:
    // Made at the first call, by any thread, and never destroyed: the delivery thread and the
    // subscribers may be in use until the very end of the process.
    static Receiver& Instance();

    // `callback` is not null. The subscriber lives as long as the process.
    SectionSubscriber& MakeSubscriber(TVServiceAPI::SectionCallback callback) TV_EXCLUDES(mutex_);

    Counters& counters() { return counters_; }
    Pump& pump() { return pump_; }
    const FilterEngine& engine() const { return engine_; }

    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

  private:
    Receiver();

    Counters& counters_;
    FilterEngine engine_;
    Pump pump_;

    Mutex mutex_;
    std::vector<std::unique_ptr<SectionSubscriber>> subscribers_ TV_GUARDED_BY(mutex_);
};

}  // namespace tvservice
