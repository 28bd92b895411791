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
/// Sections come in on the platform's delivery thread, which only copies and queues them; the event
/// thread looks up the subscription and runs its observer. `m_mutex` is held across `Subscribe` and
/// `Unsubscribe`, platform calls and destructions included, and in the event loop for the lookup
/// alone, never while a client's code runs.
///
/// The event loop takes a completed one-shot out of `m_subscriptions` without `m_mutex`, so that it
/// completes while a client sits in `Subscribe`. Each structural access to the map is therefore
/// guarded by a lock of its own too, held for nothing else.
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

    /// Stops nothing: the queue goes, then the event thread's handle, which ends the process.
    ~CKorvoSectionManager() override = default;

    /// The platform's section callback. The bytes are copied before it returns.
    static void s_OnSectionData(bool, unsigned short length, unsigned char* data, int id);

  private:
    friend struct KorvoSectionManagerPeer;  // tests set the id counter and push records

    void m_OnSectionData(unsigned short length, unsigned char* data, int id);
    void m_EventLoop();

    /// Stores a new subscription under the next id, in place of an old one that may still hold it,
    /// and advances the id. Returns the id. The caller holds `m_mutex`.
    unsigned int m_Store(std::shared_ptr<CSectionSubscription> subscription);

    /// The id that the next subscription gets. Read without `m_mutex` by the traces.
    unsigned int m_NextId();

    std::recursive_mutex m_mutex;
    std::map<unsigned int, std::shared_ptr<CSectionSubscription>> m_subscriptions;
    unsigned int m_nextId;
    ISectionSubscriber* m_subscriber;
    std::thread m_eventThread;
    EventQueue<SectionData> m_eventQueue;
};

}  // namespace TORVEL_MW
