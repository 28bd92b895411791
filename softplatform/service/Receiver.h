#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/TVServiceAPI.h"
#include "softplatform/base/Counters.h"
#include "softplatform/base/Mutex.h"
#include "softplatform/fault/FaultPlan.h"
#include "softplatform/section/FilterEngine.h"
#include "softplatform/service/Pump.h"
#include "softplatform/service/SectionSubscriber.h"
#include "softplatform/service/SoftwarePlatform.h"

namespace tvservice {

// The one receiver of the process: the filter engine, the pump and the subscribers, which
// SoftwarePlatform and TVServiceAPI use. SoftwarePlatform.h describes the functions. All may be
// called on any thread.
class Receiver {
  public:
    // Made at the first call and never destroyed, because the delivery thread and the subscribers
    // may be in use until the process ends.
    static Receiver& Instance();

    // `callback` is not null. The subscriber lives as long as the process.
    SectionSubscriber& MakeSubscriber(TVServiceAPI::SectionCallback callback) TV_EXCLUDES(mutex_);

    bool Start(const Config& config, std::string& error) TV_EXCLUDES(lifecycle_, mutex_);
    void Stop() TV_EXCLUDES(lifecycle_, mutex_);
    bool Play(SourcePtr source, const PlayOptions& options) TV_EXCLUDES(mutex_);

    std::shared_ptr<const FaultPlan> faults() const TV_EXCLUDES(mutex_);

    Counters& counters() { return counters_; }
    Pump& pump() { return pump_; }
    const FilterEngine& engine() const { return engine_; }

    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

  private:
    Receiver();

    void Use(const std::shared_ptr<FaultPlan>& faults) TV_EXCLUDES(mutex_);
    void Flush() TV_EXCLUDES(mutex_);

    Counters& counters_;
    FilterEngine engine_;
    Pump pump_;

    Mutex lifecycle_;  // one Start or Stop at a time; taken before mutex_
    bool isStarted_ TV_GUARDED_BY(lifecycle_) = false;

    mutable Mutex mutex_;
    std::shared_ptr<FaultPlan> faults_ TV_GUARDED_BY(mutex_);
    std::vector<std::unique_ptr<SectionSubscriber>> subscribers_ TV_GUARDED_BY(mutex_);
};

}  // namespace tvservice
