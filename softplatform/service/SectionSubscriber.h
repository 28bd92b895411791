#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/ISectionSubscriber.h"
#include "platform/TVServiceAPI.h"
#include "softplatform/base/Counters.h"
#include "softplatform/fault/FaultPlan.h"
#include "softplatform/fault/FaultySections.h"
#include "softplatform/fault/FaultySubscriptions.h"
#include "softplatform/section/FilterEngine.h"

namespace tvservice {

// The subscriber that TVServiceAPI::CreateSectionSubscriber returns. Each call creates one.
//
// These requests are refused and counted (refused_subscriptions): null arguments, a table id above
// 255, criteria that SectionFilter::Compile refuses, requests that FilterEngine::Subscribe refuses,
// and requests that the fault plan refuses. No faults are injected on PIDs above 0x1FFF.
class SectionSubscriber final : public ISectionSubscriber, private SectionSink {
  public:
    // `engine` and `counters` are borrowed and outlive the subscriber. The subscriber must outlive
    // its filters.
    SectionSubscriber(FilterEngine& engine, Counters& counters, std::shared_ptr<FaultPlan> faults,
                      TVServiceAPI::SectionCallback callback);
    SectionSubscriber(const SectionSubscriber&) = delete;
    SectionSubscriber& operator=(const SectionSubscriber&) = delete;

    int SubscribeTable(int id, TCSectionCriteriaHelper* criteria, int* handle) override;
    int SubscribeFilter(int id, TCSectionFilterCriteriaHelper* criteria, int* handle) override;
    bool Unsubscribe(int handle) override;

    // Injects these faults from now on, also for filters that were set before. Call it only while
    // nothing is delivered.
    void Use(const std::shared_ptr<FaultPlan>& faults);

    // Delivers the sections that faults hold back; called on the delivery thread when the input has
    // ended.
    void Flush() { sections_.Flush(); }

  private:
    int Subscribe(int id, uint16_t pid, const SectionFilter& filter, bool fromCache, int* handle);
    int Refuse(int* handle);
    void OnSection(int id, SectionView section) override {
        Call(id, section.data(), section.size());
    }
    void Call(int id, const uint8_t* bytes, size_t size) const;

    FilterEngine& engine_;
    Counters& counters_;
    const TVServiceAPI::SectionCallback callback_;
    FaultySubscriptions subscriptions_;
    FaultySections sections_;
};

}  // namespace tvservice
