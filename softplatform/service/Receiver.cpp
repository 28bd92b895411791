#include "softplatform/service/Receiver.h"

#include <utility>

#include "softplatform/fault/FaultySource.h"
#include "softplatform/input/Source.h"

namespace tvservice {

namespace {

std::shared_ptr<FaultPlan> NoFaults() {
    std::string noError;
    return FaultPlan::Parse({}, 0, noError);
}

}  // namespace

Receiver::Receiver()
    : counters_(ReceiverCounters()),
      engine_(counters_, [this] { pump_.Wake(); }),
      pump_(engine_, counters_, [this] { Flush(); }),
      faults_(NoFaults()) {}

Receiver& Receiver::Instance() {
    static Receiver& instance = *new Receiver;
    return instance;
}

SectionSubscriber& Receiver::MakeSubscriber(TVServiceAPI::SectionCallback callback) {
    MutexLock lock(mutex_);
    subscribers_.push_back(
        std::make_unique<SectionSubscriber>(engine_, counters_, faults_, callback));
    return *subscribers_.back();
}

bool Receiver::Start(const Config& config, std::string& error) {
    MutexLock lifecycle(lifecycle_);
    if (isStarted_) {
        error = "the receiver runs already";
        return false;
    }
    const std::shared_ptr<FaultPlan> faults =
        FaultPlan::Parse(config.faults, config.faultSeed, error);
    if (faults == nullptr) {
        return false;
    }
    if (!engine_.SetSlots(config.filters)) {
        error = std::to_string(config.filters) + " filters: 1 to " +
                std::to_string(kMaxFilterSlots) + " are possible, and no fewer than are in use";
        return false;
    }
    engine_.SetCacheLimit(config.cacheBytes);
    Use(faults);
    isStarted_ = pump_.Start();
    return isStarted_;
}

void Receiver::Stop() {
    MutexLock lifecycle(lifecycle_);
    pump_.Stop();
    isStarted_ = false;
}

bool Receiver::Play(SourcePtr source, const PlayOptions& options) {
    const std::shared_ptr<FaultPlan> faults = [this] {
        MutexLock lock(mutex_);
        return faults_;
    }();
    if (source != nullptr && source->bytes() != nullptr && faults->Has(FaultEvent::kPacket)) {
        source = std::make_shared<Source>(std::make_shared<FaultySource>(source->bytes(), faults));
    }
    return pump_.Play(std::move(source), options);
}

std::shared_ptr<const FaultPlan> Receiver::faults() const {
    MutexLock lock(mutex_);
    return faults_;
}

void Receiver::Use(const std::shared_ptr<FaultPlan>& faults) {
    MutexLock lock(mutex_);
    faults_ = faults;
    for (const auto& subscriber : subscribers_) {
        subscriber->Use(faults);
    }
}

void Receiver::Flush() {
    // Flush is called without the lock, because its callbacks may call MakeSubscriber.
    std::vector<SectionSubscriber*> subscribers;
    {
        MutexLock lock(mutex_);
        for (const auto& subscriber : subscribers_) {
            subscribers.push_back(subscriber.get());
        }
    }
    for (SectionSubscriber* const subscriber : subscribers) {
        subscriber->Flush();
    }
}

}  // namespace tvservice
