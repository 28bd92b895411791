#include "softplatform/service/SectionSubscriber.h"

#include <optional>

#include "platform/TCSectionCriteriaHelper.h"
#include "platform/TCSectionFilterCriteriaHelper.h"
#include "softplatform/section/SectionFilter.h"

namespace tvservice {

namespace {

constexpr int kSucceeded = 1;
constexpr int kRefused = 0;

}  // namespace

int SectionSubscriber::SubscribeTable(int id, TCSectionCriteriaHelper* criteria, int* handle) {
    if (criteria == nullptr || criteria->m_tableId > 0xFF) {
        return Refuse(handle);
    }
    const auto filter =
        SectionFilter::Compile({static_cast<uint8_t>(criteria->m_tableId)}, {0xFF}, {});
    return Subscribe(id, criteria->m_pid, *filter, handle);
}

int SectionSubscriber::SubscribeFilter(int id, TCSectionFilterCriteriaHelper* criteria,
                                       int* handle) {
    if (criteria == nullptr) {
        return Refuse(handle);
    }
    const auto filter =
        SectionFilter::Compile(criteria->m_filter, criteria->m_mask, criteria->m_mode);
    return filter ? Subscribe(id, criteria->m_pid, *filter, handle) : Refuse(handle);
}

int SectionSubscriber::Subscribe(int id, uint16_t pid, const SectionFilter& filter, int* handle) {
    if (handle == nullptr) {
        return Refuse(handle);
    }
    // A section may arrive before the handle is written: it is known by its id.
    *handle = engine_.Subscribe(pid, filter, *this, id);
    return *handle == FilterEngine::kNoHandle ? Refuse(handle) : kSucceeded;
}

int SectionSubscriber::Refuse(int* handle) {
    counters_.AddShared(Counter::kRefusedSubscriptions);
    if (handle != nullptr) {
        *handle = FilterEngine::kNoHandle;
    }
    return kRefused;
}

bool SectionSubscriber::Unsubscribe(int handle) {
    return engine_.Unsubscribe(handle);
}

void SectionSubscriber::OnSection(int id, const uint8_t* section, size_t size) {
    // The bytes lie in a buffer of this library's own; the callback's type is older than const.
    callback_(false, static_cast<unsigned short>(size), const_cast<unsigned char*>(section), id);
}

}  // namespace tvservice
