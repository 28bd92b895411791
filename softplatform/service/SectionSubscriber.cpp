#include "softplatform/service/SectionSubscriber.h"

#include <optional>
#include <utility>

#include "platform/TCSectionCriteriaHelper.h"
#include "platform/TCSectionFilterCriteriaHelper.h"
#include "softplatform/section/SectionFilter.h"
#include "softplatform/ts/PacketView.h"

namespace tvservice {

namespace {

constexpr int kSucceeded = 1;
constexpr int kRefused = 0;
constexpr unsigned kFromCache = 1;  // TCSectionCriteriaHelper::m_selector

}  // namespace

SectionSubscriber::SectionSubscriber(FilterEngine& engine, Counters& counters,
                                     std::shared_ptr<FaultPlan> faults,
                                     TVServiceAPI::SectionCallback callback)
    : engine_(engine),
      counters_(counters),
      callback_(callback),
      subscriptions_(faults),
      sections_(std::move(faults),
                [this](int id, const uint8_t* bytes, size_t size) { Call(id, bytes, size); }) {}

int SectionSubscriber::SubscribeTable(int id, TCSectionCriteriaHelper* criteria, int* handle) {
    if (criteria == nullptr || criteria->m_tableId > 0xFF) {
        return Refuse(handle);
    }
    const auto filter =
        SectionFilter::Compile({static_cast<uint8_t>(criteria->m_tableId)}, {0xFF}, {});
    return Subscribe(id, criteria->m_pid, *filter, criteria->m_selector == kFromCache, handle);
}

int SectionSubscriber::SubscribeFilter(int id, TCSectionFilterCriteriaHelper* criteria,
                                       int* handle) {
    if (criteria == nullptr) {
        return Refuse(handle);
    }
    const auto filter =
        SectionFilter::Compile(criteria->m_filter, criteria->m_mask, criteria->m_mode);
    return filter ? Subscribe(id, criteria->m_pid, *filter, false, handle) : Refuse(handle);
}

int SectionSubscriber::Subscribe(int id, uint16_t pid, const SectionFilter& filter, bool fromCache,
                                 int* handle) {
    if (handle == nullptr) {
        return Refuse(handle);
    }
    // A section may be delivered before *handle is written. The callback is given `id`, so it does
    // not need the handle.
    if (pid >= kPidCount) {
        *handle = engine_.Subscribe(pid, filter, *this, id);
        if (*handle == FilterEngine::kNoHandle) {
            return Refuse(handle);
        }
        subscriptions_.Exempt(*handle);
        return kSucceeded;
    }
    const SubscribeFault fault = subscriptions_.NextSubscribe();
    const int own = fault.isRefused ? FilterEngine::kNoHandle
                                    : engine_.Subscribe(pid, filter, sections_, id, fromCache);
    if (own == FilterEngine::kNoHandle) {
        return Refuse(handle);
    }
    sections_.Subscribed(own, id);
    *handle = subscriptions_.HandOut(own, fault);
    return kSucceeded;
}

int SectionSubscriber::Refuse(int* handle) {
    counters_.AddShared(Counter::kRefusedSubscriptions);
    if (handle != nullptr) {
        *handle = FilterEngine::kNoHandle;
    }
    return kRefused;
}

bool SectionSubscriber::Unsubscribe(int handle) {
    if (subscriptions_.NextUnsubscribe(handle)) {
        return false;
    }
    bool isReleased = false;
    for (const int own : subscriptions_.TakeBack(handle)) {
        isReleased = engine_.Unsubscribe(own) || isReleased;
        sections_.Unsubscribed(own);
    }
    return isReleased;
}

void SectionSubscriber::Use(const std::shared_ptr<FaultPlan>& faults) {
    subscriptions_.Use(faults);
    sections_.Use(faults);
}

void SectionSubscriber::Call(int id, const uint8_t* bytes, size_t size) const {
    // The callback takes a pointer to non-const. The bytes are in a buffer of this library.
    callback_(false, static_cast<unsigned short>(size), const_cast<unsigned char*>(bytes), id);
}

}  // namespace tvservice
