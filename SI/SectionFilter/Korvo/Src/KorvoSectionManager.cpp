#include "SI/SectionFilter/Korvo/Src/KorvoSectionManager.h"

#include <atomic>
#include <string>
#include <utility>

#include "SI/Common/Log.h"
#include "SI/SectionFilter/Korvo/Src/SectionSubscription.h"
#include "platform/TVServiceAPI.h"

namespace TORVEL_MW {

namespace {

constexpr unsigned int kFirstId = 1;
constexpr unsigned int kLastId = 4294967294;  // 4294967295 is never handed out

// Guards m_subscriptions beside m_mutex, see the header. Not held while a log line is written, the
// platform is called or a subscription ends.
constinit std::mutex s_tableMutex;

void AppendHex(std::string& text, const std::vector<unsigned char>& bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    for (const unsigned char byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0x0F];
        text += ' ';
    }
}

}  // namespace

ISectionManager* ISectionManager::Instance() {
    static CKorvoSectionManager s_instance;
    return &s_instance;
}

CKorvoSectionManager::CKorvoSectionManager() : m_nextId(kFirstId), m_subscriber(nullptr) {
    m_eventThread = std::thread(&CKorvoSectionManager::m_EventLoop, this);
    TVServiceAPI::CreateSectionSubscriber(&CKorvoSectionManager::s_OnSectionData, PROFILE_MAIN, 0,
                                          &m_subscriber);
}

unsigned int CKorvoSectionManager::Subscribe(unsigned short pid, unsigned int tableId,
                                             ISectionObserver& observer, EFilterMode mode,
                                             unsigned int timeout, bool fromCache) {
    SI_LOG_LINE(121, LOG_PRIORITY_DEBUG, "id: %d, pid: %d, tableId: %d, mode: %d", m_LoadNextId(),
                pid, tableId, mode);
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    std::shared_ptr<CSectionSubscription> subscription = CSectionSubscription::SubscribeSection(
        m_subscriber, observer, pid, static_cast<unsigned char>(tableId),
        static_cast<unsigned short>(m_LoadNextId()), mode, timeout, fromCache);
    if (!subscription) {
        SI_LOG_LINE(139, LOG_PRIORITY_ERROR, "\033[31mFailed with id: %d\033[0m", m_LoadNextId());
        return 0;
    }
    return m_Store(std::move(subscription));
}

unsigned int CKorvoSectionManager::Subscribe(unsigned short pid, unsigned int tableId,
                                             unsigned int tableIdExt, ISectionObserver& observer,
                                             EFilterMode mode, unsigned int timeout) {
    SI_LOG_LINE(148, LOG_PRIORITY_DEBUG, "id: %d, pid: %d, tableId: %d, tableIdExt: %d, mode: %d",
                m_LoadNextId(), pid, tableId, tableIdExt, mode);
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    std::shared_ptr<CSectionSubscription> subscription = CSectionSubscription::SubscribeSection(
        m_subscriber, observer, pid, static_cast<unsigned char>(tableId),
        static_cast<unsigned short>(tableIdExt), static_cast<unsigned short>(m_LoadNextId()), mode,
        timeout);
    if (!subscription) {
        SI_LOG_LINE(167, LOG_PRIORITY_ERROR, "\033[31mFailed with id: %d\033[0m", m_LoadNextId());
        return 0;
    }
    return m_Store(std::move(subscription));
}

unsigned int CKorvoSectionManager::Subscribe(unsigned short pid,
                                             const std::vector<unsigned char>& pattern,
                                             const std::vector<unsigned char>& mask,
                                             const std::vector<unsigned char>& mode,
                                             ISectionObserver& observer, EFilterMode filterMode,
                                             unsigned int timeout) {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    std::string bytes;
    AppendHex(bytes, pattern);
    bytes += '\n';
    AppendHex(bytes, mask);
    SI_LOG_LINE(186, LOG_PRIORITY_DEBUG, "id: %d, pid: %d, mode: %d, pattern/mask:\n%s",
                m_LoadNextId(), pid, filterMode, bytes.c_str());
    std::shared_ptr<CSectionSubscription> subscription = CSectionSubscription::SubscribeSection(
        m_subscriber, observer, pid, pattern, mask, mode,
        static_cast<unsigned short>(m_LoadNextId()), filterMode, timeout);
    if (!subscription) {
        SI_LOG_LINE(204, LOG_PRIORITY_ERROR, "\033[31mFailed with id: %d\033[0m", m_LoadNextId());
        return 0;
    }
    return m_Store(std::move(subscription));
}

void CKorvoSectionManager::Unsubscribe(unsigned int id) {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    long useCount = 0;
    {
        std::lock_guard<std::mutex> tableLock(s_tableMutex);
        const auto entry = m_subscriptions.find(id);
        if (entry != m_subscriptions.end()) {
            useCount = entry->second.use_count();
        }
    }
    if (useCount == 0) {
        SI_LOG_LINE(222, LOG_PRIORITY_ERROR, "\033[31mFailed to find %d in m_subscriptions\033[0m",
                    id);
        return;
    }
    SI_LOG_LINE(217, LOG_PRIORITY_INFO,
                "\033[32mRemoving %u from m_subscriptions refcount %lu\033[0m", id,
                static_cast<unsigned long>(useCount));
    decltype(m_subscriptions)::node_type entry;  // destroyed after the inner lock
    std::lock_guard<std::mutex> tableLock(s_tableMutex);
    entry = m_subscriptions.extract(id);
}

void CKorvoSectionManager::s_OnSectionData(bool, unsigned short length, unsigned char* data,
                                           int id) {
    auto* manager = dynamic_cast<CKorvoSectionManager*>(ISectionManager::Instance());
    if (manager != nullptr) {
        manager->m_OnSectionData(length, data, id);
    }
}

void CKorvoSectionManager::m_OnSectionData(unsigned short length, unsigned char* data, int id) {
    m_eventQueue.Push(std::make_unique<SectionData>(id, data, length));
}

void CKorvoSectionManager::m_EventLoop() {
    for (;;) {
        const std::unique_ptr<SectionData> section = m_eventQueue.Pop();
        if (!section) {
            SI_LOG_LINE(55, LOG_PRIORITY_ERROR, "\033[31mNULL data\033[0m");
            continue;
        }
        // The platform's id is the key as it is. The platform knows 16 bits of an id, so sections
        // of ids from 65536 on are not found, or go to an older subscription with those 16 bits.
        const auto id = static_cast<unsigned int>(section->m_id);
        std::unique_lock<std::recursive_mutex> lock(m_mutex);
        std::shared_ptr<CSectionSubscription> subscription;
        {
            std::lock_guard<std::mutex> tableLock(s_tableMutex);
            const auto entry = m_subscriptions.find(id);
            if (entry != m_subscriptions.end()) {
                subscription = entry->second;
            }
        }
        if (!subscription) {
            SI_LOG_LINE(71, LOG_PRIORITY_ERROR,
                        "\033[31mCouldn't find section subscription for id: %d\033[0m",
                        section->m_id);
            continue;
        }
        lock.unlock();

        subscription->OnCallback(static_cast<unsigned short>(section->m_data.size()),
                                 section->m_data.data());

        const EFilterMode filterMode = subscription->FilterMode();
        if (filterMode == EOneShot) {
            SI_LOG_LINE(83, LOG_PRIORITY_WARNING, "\033[33mOneShot filter completed\033[0m");
            decltype(m_subscriptions)::node_type entry;  // destroyed after the inner lock
            std::lock_guard<std::mutex> tableLock(s_tableMutex);
            entry = m_subscriptions.extract(id);
        } else if (filterMode == EToggle && !section->m_data.empty()) {
            subscription->Toggle(section->m_data[0]);
        }
    }
}

unsigned int CKorvoSectionManager::m_Store(std::shared_ptr<CSectionSubscription> subscription) {
    // Read again: inside the platform's call this thread may have called Subscribe once more, which
    // advanced the id.
    const unsigned int id = m_LoadNextId();
    std::shared_ptr<CSectionSubscription> replaced = std::move(subscription);
    {
        std::lock_guard<std::mutex> tableLock(s_tableMutex);
        m_subscriptions[id].swap(replaced);
    }
    replaced.reset();
    std::atomic_ref<unsigned int>(m_nextId).store(id == kLastId ? kFirstId : id + 1,
                                                  std::memory_order_relaxed);
    return id;
}

unsigned int CKorvoSectionManager::m_LoadNextId() {
    return std::atomic_ref<unsigned int>(m_nextId).load(std::memory_order_relaxed);
}

}  // namespace TORVEL_MW
