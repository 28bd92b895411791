#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/ISectionSubscriber.h"
#include "platform/TVServiceAPI.h"
#include "softplatform/base/Counters.h"
#include "softplatform/section/FilterEngine.h"

namespace tvservice {

// The subscriber that clients of the service library get: one for each callback they name.
//
// Refused and counted (refused_subscriptions): null arguments, a table id above 255, criteria that
// SectionFilter::Compile refuses, and what FilterEngine::Subscribe refuses.
class SectionSubscriber final : public ISectionSubscriber, private SectionSink {
  public:
    // `engine` and `counters` are borrowed and outlive the subscriber, which outlives its filters.
    SectionSubscriber(FilterEngine& engine, Counters& counters,
                      TVServiceAPI::SectionCallback callback)
        : engine_(engine), counters_(counters), callback_(callback) {}
    SectionSubscriber(const SectionSubscriber&) = delete;
    SectionSubscriber& operator=(const SectionSubscriber&) = delete;

    int SubscribeTable(int id, TCSectionCriteriaHelper* criteria, int* handle) override;
    int SubscribeFilter(int id, TCSectionFilterCriteriaHelper* criteria, int* handle) override;
    bool Unsubscribe(int handle) override;

  private:
    int Subscribe(int id, uint16_t pid, const SectionFilter& filter, int* handle);
    int Refuse(int* handle);
    void OnSection(int id, const uint8_t* section, size_t size) override;

    FilterEngine& engine_;
    Counters& counters_;
    const TVServiceAPI::SectionCallback callback_;
};

}  // namespace tvservice
