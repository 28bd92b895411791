#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "SI/Include/ISectionManager.h"
#include "SI/SectionFilter/Korvo/Src/EventQueue.h"
#include "SI/SectionFilter/Korvo/Src/SectionData.h"

class ISectionSubscriber;

namespace TORVEL_MW {

class CSectionSubscription;

/// The section manager over the platform's section subscriber.
///
/// Sections come in on the platform's delivery thread, which only copies and queues them. The event
/// thread looks up the subscription and calls its observer.
///
/// `m_mutex` is held for the whole of `Subscribe` and `Unsubscribe`: during their platform calls
/// and while a subscription ends there, which joins its timer thread. The event loop holds it only
/// to look up a subscription. No client is called with it held.
///
/// The event loop erases a completed one-shot from `m_subscriptions` without `m_mutex`, so that the
/// one-shot completes although another thread is inside `Subscribe`. Therefore a second lock,
/// inside `m_mutex`, guards each look-up, insertion and erasure in the map.
class CKorvoSectionManager : public ISectionManager {
  public:
    /// Starts the event thread, then asks the platform for its subscriber.
    CKorvoSectionManager();

    unsigned int Subscribe(unsigned short pid, unsigned int tableId, ISectionObserver& observer,
                           EFilterMode mode, unsigned int timeout, bool fromCache) override;
    unsigned int Subscribe(unsigned short pid, unsigned int tableId, unsigned int tableIdExt,
                           ISectionObserver& observer, EFilterMode mode,
                           unsigned int timeout) override;
    unsigned int Subscribe(unsigned short pid, const std::vector<unsigned char>& pattern,
                           const std::vector<unsigned char>& mask,
                           const std::vector<unsigned char>& mode, ISectionObserver& observer,
                           EFilterMode filterMode, unsigned int timeout) override;
    void Unsubscribe(unsigned int id) override;

    /// Does not stop the event thread. Destroys the queue, then the handle of the running event
    /// thread, which ends the process.
    ~CKorvoSectionManager() override = default;

    /// The platform's section callback. The bytes are copied before it returns.
    static void s_OnSectionData(bool, unsigned short length, unsigned char* data, int id);

  private:
    friend struct KorvoSectionManagerPeer;  // tests set the id counter and push records

    void m_OnSectionData(unsigned short length, unsigned char* data, int id);
    void m_EventLoop();

    /// Stores a new subscription under the next id and advances the id. An old subscription that
    /// still holds the id ends here. Returns the id. The caller holds `m_mutex`.
    unsigned int m_Store(std::shared_ptr<CSectionSubscription> subscription);

    /// The id that the next subscription gets. Two log lines read it without `m_mutex`.
    unsigned int m_LoadNextId();

    std::recursive_mutex m_mutex;
    std::map<unsigned int, std::shared_ptr<CSectionSubscription>> m_subscriptions;
    unsigned int m_nextId;
    ISectionSubscriber* m_subscriber;
    std::thread m_eventThread;
    EventQueue<SectionData> m_eventQueue;
};

}  // namespace TORVEL_MW
