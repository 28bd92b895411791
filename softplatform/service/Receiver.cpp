#include "softplatform/service/Receiver.h"

namespace tvservice {

Receiver::Receiver()
    : counters_(ReceiverCounters()),
      engine_(counters_, [this] { pump_.Wake(); }),
      pump_(engine_, counters_) {}

Receiver& Receiver::Instance() {
    static Receiver& instance = *new Receiver;
    return instance;
}

SectionSubscriber& Receiver::MakeSubscriber(TVServiceAPI::SectionCallback callback) {
    MutexLock lock(mutex_);
    subscribers_.push_back(std::make_unique<SectionSubscriber>(engine_, counters_, callback));
    return *subscribers_.back();
}

}  // namespace tvservice
