#include "SI/SectionFilter/Korvo/Src/SectionSubscription.h"

#include <charconv>
#include <functional>
#include <iterator>
#include <limits>
#include <mutex>

#include "SI/Common/Log.h"
#include "platform/ISectionSubscriber.h"
#include "platform/TCSectionCriteriaHelper.h"
#include "platform/TCSectionFilterCriteriaHelper.h"

namespace TORVEL_MW {

namespace {

constexpr unsigned int kNoTimeout = 0xFFFFFFFF;

// The platform's selector of a table filter.
constexpr unsigned int kCachedThenLive = 1;
constexpr unsigned int kLiveOnly = 2;

constexpr int kSubscribed = 1;
constexpr int kNoHandle = -1;

// Guards s_handleRefCount. Client threads count handles with the manager's lock held, but the event
// thread does so without it, in Toggle and when it drops the last reference to a subscription.
constinit std::mutex s_handleRefCountMutex;

// Sets a byte filter. True when the platform accepted it and wrote its handle.
bool SubscribeFilter(ISectionSubscriber* subscriber, unsigned short id, unsigned short pid,
                     const std::vector<unsigned char>& pattern,
                     const std::vector<unsigned char>& mask, const std::vector<unsigned char>& mode,
                     int& tvsHandle) {
    TCSectionFilterCriteriaHelper criteria;
    criteria.m_pid = pid;
    criteria.m_filter = pattern;
    criteria.m_mask = mask;
    criteria.m_mode = mode;
    criteria.m_flag = 1;
    tvsHandle = kNoHandle;
    return subscriber != nullptr &&
           subscriber->SubscribeFilter(id, &criteria, &tvsHandle) == kSubscribed;
}

// Writes whether the platform set the filter that a factory asked for, in the factory's name.
void LogAnswer(const LogPlace& factory, bool isSet, unsigned short id, int tvsHandle) {
    if (isSet) {
        SI_LOG_AT(factory, LOG_PRIORITY_INFO,
                  "\033[32mSubscribe section succeeded. id: %d, TVS handle: %d\033[0m", id,
                  tvsHandle);
    } else {
        SI_LOG_AT(factory, LOG_PRIORITY_WARNING,
                  "\033[33mSubscribe section failed. id: %d, TVS handle: %d\033[0m", id, tvsHandle);
    }
}

void AppendDecimal(std::string& text, int number) {
    char digits[std::numeric_limits<int>::digits10 + 2];  // all digits and a sign
    const std::to_chars_result end = std::to_chars(std::begin(digits), std::end(digits), number);
    text.append(digits, end.ptr);
}

}  // namespace

std::map<int, int> CSectionSubscription::s_handleRefCount;

int CSectionSubscription::s_AddHandleRef(int tvsHandle) {
    std::lock_guard<std::mutex> lock(s_handleRefCountMutex);
    return ++s_handleRefCount[tvsHandle];
}

int CSectionSubscription::s_RemoveHandleRef(int tvsHandle) {
    std::lock_guard<std::mutex> lock(s_handleRefCountMutex);
    return --s_handleRefCount[tvsHandle];
}

std::shared_ptr<CSectionSubscription> CSectionSubscription::SubscribeSection(
    ISectionSubscriber* subscriber, ISectionObserver& observer, unsigned short pid,
    unsigned char tableId, unsigned short id, EFilterMode mode, unsigned int timeout,
    bool fromCache) {
    SI_LOG(LOG_PRIORITY_DEBUG, "pid: %d, tableId: %d, id: %d, mode: %d, timeout: %d, fromCache: %s",
           pid, tableId, id, mode, timeout, fromCache ? "true" : "false");

    TCSectionCriteriaHelper criteria;
    criteria.m_pid = pid;
    criteria.m_tableId = tableId;
    criteria.m_reserved = 0;
    criteria.m_selector = fromCache ? kCachedThenLive : kLiveOnly;
    criteria.m_flag = 1;
    int tvsHandle = kNoHandle;
    const bool isSet = subscriber != nullptr &&
                       subscriber->SubscribeTable(id, &criteria, &tvsHandle) == kSubscribed;
    LogAnswer(SI_LOG_PLACE(__LINE__), isSet, id, tvsHandle);
    if (!isSet) {
        return nullptr;
    }
    // Not make_shared: when there is no memory for the control block, the subscription is already
    // complete. It is destroyed and releases its filter.
    return std::shared_ptr<CSectionSubscription>(
        new CSectionSubscription(subscriber, observer, pid, tableId, id, tvsHandle, mode, timeout));
}

std::shared_ptr<CSectionSubscription> CSectionSubscription::SubscribeSection(
    ISectionSubscriber* subscriber, ISectionObserver& observer, unsigned short pid,
    unsigned char tableId, unsigned short tableIdExt, unsigned short id, EFilterMode mode,
    unsigned int timeout) {
    SI_LOG(LOG_PRIORITY_DEBUG,
           "pid: %d, tableId: %d, tableIdExt: %d, id: %d, mode: %d, timeout: %d", pid, tableId,
           tableIdExt, id, mode, timeout);

    // The first five bytes of a section. The two of section_length are not compared.
    const std::vector<unsigned char> pattern = {tableId, 0x00, 0x00,
                                                static_cast<unsigned char>(tableIdExt >> 8),
                                                static_cast<unsigned char>(tableIdExt & 0xFF)};
    const std::vector<unsigned char> mask = {0xFF, 0x00, 0x00, 0xFF, 0xFF};
    const std::vector<unsigned char> matchMode(pattern.size(), 0);
    int tvsHandle = kNoHandle;
    const bool isSet = SubscribeFilter(subscriber, id, pid, pattern, mask, matchMode, tvsHandle);
    LogAnswer(SI_LOG_PLACE(__LINE__), isSet, id, tvsHandle);
    if (!isSet) {
        return nullptr;
    }
    return std::shared_ptr<CSectionSubscription>(new CSectionSubscription(
        subscriber, observer, pid, tableId, tableIdExt, id, tvsHandle, mode, timeout));
}

std::shared_ptr<CSectionSubscription> CSectionSubscription::SubscribeSection(
    ISectionSubscriber* subscriber, ISectionObserver& observer, unsigned short pid,
    const std::vector<unsigned char>& pattern, const std::vector<unsigned char>& mask,
    const std::vector<unsigned char>& mode, unsigned short id, EFilterMode filterMode,
    unsigned int timeout) {
    SI_LOG(LOG_PRIORITY_DEBUG, "pid: %d, id: %d, mode: %d, timeout: %d", pid, id, filterMode,
           timeout);

    int tvsHandle = kNoHandle;
    const bool isSet = SubscribeFilter(subscriber, id, pid, pattern, mask, mode, tvsHandle);
    LogAnswer(SI_LOG_PLACE(__LINE__), isSet, id, tvsHandle);
    if (!isSet) {
        return nullptr;
    }
    return std::shared_ptr<CSectionSubscription>(new CSectionSubscription(
        subscriber, observer, pid, pattern, mask, mode, id, tvsHandle, filterMode, timeout));
}

CSectionSubscription::CSectionSubscription(ISectionSubscriber* subscriber,
                                           ISectionObserver& observer, unsigned short pid,
                                           unsigned char tableId, unsigned short tableIdExt,
                                           unsigned short id, int tvsHandle, EFilterMode filterMode,
                                           unsigned int timeout)
    : m_observer(&observer),
      m_subscriber(subscriber),
      m_id(id),
      m_pid(pid),
      m_tableId(tableId),
      m_tableIdExt(tableIdExt),
      m_tvsHandle(tvsHandle),
      m_filterMode(filterMode),
      m_timeout(timeout) {
    if (m_timeout != kNoTimeout) {
        SI_LOG(LOG_PRIORITY_INFO, "\033[32mSet timer for %dms for id: %d\033[0m", m_timeout, m_id);
        m_ArmTimer();
    }
    const int refCount = s_AddHandleRef(m_tvsHandle);
    SI_LOG(LOG_PRIORITY_INFO, "\033[32m%s refcount=%d\033[0m", m_Info().c_str(), refCount);
    if (m_filterMode == ISectionManager::EToggle) {
        SI_LOG(LOG_PRIORITY_ERROR,
               "\033[31mEToggle mode used for tableid/tableid_ext filter! Resetting to "
               "EContinuous\033[0m");
        m_filterMode = ISectionManager::EContinuous;
    }
}

CSectionSubscription::CSectionSubscription(ISectionSubscriber* subscriber,
                                           ISectionObserver& observer, unsigned short pid,
                                           unsigned char tableId, unsigned short id, int tvsHandle,
                                           EFilterMode filterMode, unsigned int timeout)
    : CSectionSubscription(subscriber, observer, pid, tableId, 0, id, tvsHandle, filterMode,
                           timeout) {
    SI_LOG(LOG_PRIORITY_DEBUG, "Subscribed successfully. pid: %d, TVS handle: %d", m_pid,
           m_tvsHandle);
}

CSectionSubscription::CSectionSubscription(ISectionSubscriber* subscriber,
                                           ISectionObserver& observer, unsigned short pid,
                                           const std::vector<unsigned char>& pattern,
                                           const std::vector<unsigned char>& mask,
                                           const std::vector<unsigned char>& mode,
                                           unsigned short id, int tvsHandle, EFilterMode filterMode,
                                           unsigned int timeout)
    : m_observer(&observer),
      m_subscriber(subscriber),
      m_id(id),
      m_pid(pid),
      m_tableId(pattern.front()),
      m_tableIdExt(0),
      m_pattern(pattern),
      m_mask(mask),
      m_mode(mode),
      m_tvsHandle(tvsHandle),
      m_filterMode(filterMode),
      m_timeout(timeout) {
    if (m_timeout != kNoTimeout) {
        SI_LOG(LOG_PRIORITY_WARNING, "\033[33mSet timer for %dms for id: %d\033[0m", m_timeout,
               m_id);
        m_ArmTimer();
    }
    const int refCount = s_AddHandleRef(m_tvsHandle);
    SI_LOG(LOG_PRIORITY_DEBUG, "%s refcount=%d", m_Info().c_str(), refCount);
}

CSectionSubscription::~CSectionSubscription() {
    const int refCount = s_RemoveHandleRef(m_tvsHandle);
    SI_LOG(LOG_PRIORITY_INFO, "\033[32m%s refcount: %d\033[0m", m_Info().c_str(), refCount);
    if (refCount < 1) {
        SI_LOG(LOG_PRIORITY_INFO, "\033[32mrefcount = 0, unsubscribe section\033[0m");
        if (!m_subscriber->Unsubscribe(m_tvsHandle)) {
            SI_LOG(LOG_PRIORITY_WARNING, "\033[33mUnsubscribe section failed\033[0m");
        }
    } else {
        SI_LOG(LOG_PRIORITY_INFO, "\033[32mrefcount > 0, do not unsubscribe section\033[0m");
    }
}

void CSectionSubscription::OnCallback(unsigned short length, unsigned char* pData) {
    if (length == 0) {
        SI_LOG(LOG_PRIORITY_WARNING, "\033[33mLength is 0\033[0m");
        return;
    }
    if (pData == nullptr) {
        SI_LOG(LOG_PRIORITY_WARNING, "\033[33mpData is NULL\033[0m");
        return;
    }
    if (m_filterMode == ISectionManager::EToggle &&
        (pData[0] & m_mask[0]) != (m_pattern[0] & m_mask[0])) {
        SI_LOG(LOG_PRIORITY_WARNING,
               "\033[33mOld section data from previous filter, ignore it\033[0m");
        return;
    }
    SI_LOG(LOG_PRIORITY_INFO, "\033[32m%s length: %d\033[0m", m_Info().c_str(), length);
    SI_LOG(LOG_PRIORITY_INFO, "\033[32mCancel the timer for id: %d\033[0m", m_id);
    m_timer.CancelTimer();
    m_observer->OnSectionReceived(m_id, m_pid, length, pData);
}

bool CSectionSubscription::Toggle(unsigned char tableId) {
    if (m_filterMode != ISectionManager::EToggle) {
        return true;
    }
    SI_LOG(LOG_PRIORITY_INFO,
           "\033[32mToggle mode filter. current tableId: %X, current pattern: %X, current mask: "
           "%X\033[0m",
           tableId, m_pattern[0], m_mask[0]);
    if ((m_mask[0] & tableId) != (m_pattern[0] & m_mask[0])) {
        SI_LOG(LOG_PRIORITY_WARNING,
               "\033[33mOld section data from previous filter, ignore it\033[0m");
        return true;
    }

    m_pattern[0] = tableId ^ 0x01;
    m_mask[0] = 0xFF;
    m_tableId = m_pattern[0];

    // Exactly 0, not below: the count is below 0 when a refused Toggle has given the handle up
    // before, and then it is not released again here.
    if (s_RemoveHandleRef(m_tvsHandle) == 0) {
        if (m_subscriber->Unsubscribe(m_tvsHandle)) {
            SI_LOG(LOG_PRIORITY_INFO, "\033[32mUnsubscribe previous section filter\033[0m");
        } else {
            SI_LOG(LOG_PRIORITY_WARNING, "\033[33mUnsubscribe section failed\033[0m");
        }
    }

    int tvsHandle = kNoHandle;
    if (!SubscribeFilter(m_subscriber, m_id, m_pid, m_pattern, m_mask, m_mode, tvsHandle)) {
        SI_LOG(LOG_PRIORITY_WARNING,
               "\033[33mRe-subscribe section failed id: %d, TVS handle: %d\033[0m", m_id,
               tvsHandle);
        return false;
    }
    m_tvsHandle = tvsHandle;
    s_AddHandleRef(m_tvsHandle);
    SI_LOG(LOG_PRIORITY_WARNING,
           "\033[33mToggle mode filter. Resubscribed, just received tableId: %X, new pattern: %X, "
           "new mask: %X, TVS handle: %d\033[0m",
           tableId, m_pattern[0], m_mask[0], m_tvsHandle);
    return true;
}

std::string CSectionSubscription::m_Info() const {
    // Made for every section that comes, so in one allocation and without a stream.
    std::string text;
    text.reserve(80);  // the longest is 71
    text += " TVS handle=";
    AppendDecimal(text, m_tvsHandle);
    text += " id=";
    AppendDecimal(text, m_id);
    text += " pid=";
    AppendDecimal(text, m_pid);
    text += " tableid=";
    AppendDecimal(text, m_tableId);
    text += " mode=";
    AppendDecimal(text, m_filterMode);
    return text;
}

void CSectionSubscription::m_ArmTimer() {
    m_timer.SetTimer(m_timeout, std::bind(&ISectionObserver::OnSectionTimeout, m_observer, m_id));
}

}  // namespace TORVEL_MW
