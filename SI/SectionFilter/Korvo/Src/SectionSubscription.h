#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "SI/Include/ISectionManager.h"
#include "SI/SectionFilter/Korvo/Src/TimerCallback.h"

class ISectionSubscriber;

namespace TORVEL_MW {

/// One live section filter on the platform's section subscriber, with its mode and its time-out.
///
/// Only the three factories make one, after they have set the filter. Destroying the object
/// releases the filter, unless another subscription holds the same platform handle.
///
/// The factories run on client threads under the section manager's lock. `OnCallback` and `Toggle`
/// run on its event thread. A subscription is destroyed on either. Its time-out runs on a thread of
/// its own.
class CSectionSubscription {
  public:
    using EFilterMode = ISectionManager::EFilterMode;

    /// Sets a filter by table_id. Returns an empty pointer when the platform refuses it. The
    /// platform delivers sections under `id`; `timeout` is in milliseconds, 4294967295 for none.
    static std::shared_ptr<CSectionSubscription> SubscribeSection(
        ISectionSubscriber* subscriber, ISectionObserver& observer, unsigned short pid,
        unsigned char tableId, unsigned short id, EFilterMode mode, unsigned int timeout,
        bool fromCache);

    /// Sets a filter by table_id and table_id_extension; otherwise as above.
    static std::shared_ptr<CSectionSubscription> SubscribeSection(
        ISectionSubscriber* subscriber, ISectionObserver& observer, unsigned short pid,
        unsigned char tableId, unsigned short tableIdExt, unsigned short id, EFilterMode mode,
        unsigned int timeout);

    /// Sets a filter by pattern, of at least one byte; otherwise as above.
    static std::shared_ptr<CSectionSubscription> SubscribeSection(
        ISectionSubscriber* subscriber, ISectionObserver& observer, unsigned short pid,
        const std::vector<unsigned char>& pattern, const std::vector<unsigned char>& mask,
        const std::vector<unsigned char>& mode, unsigned short id, EFilterMode filterMode,
        unsigned int timeout);

    ~CSectionSubscription();

    CSectionSubscription(const CSectionSubscription&) = delete;
    CSectionSubscription& operator=(const CSectionSubscription&) = delete;

    /// A section arrived. Drops it when it is empty or, in `EToggle` mode, when it came from the
    /// filter before; otherwise cancels the time-out and calls the observer. The bytes stay the
    /// caller's.
    void OnCallback(unsigned short length, unsigned char* pData);

    /// Called after a section with that table_id. In `EToggle` mode releases the filter and sets
    /// one for the table_id that differs in the lowest bit. False when the platform refused it.
    bool Toggle(unsigned char tableId);

    /// The mode in force: `EContinuous` where `EToggle` was asked for a filter by table_id.
    EFilterMode FilterMode() const { return m_filterMode; }

  private:
    friend struct SectionSubscriptionPeer;  // tests look at members and handle counts

    CSectionSubscription(ISectionSubscriber* subscriber, ISectionObserver& observer,
                         unsigned short pid, unsigned char tableId, unsigned short tableIdExt,
                         unsigned short id, int tvsHandle, EFilterMode filterMode,
                         unsigned int timeout);
    CSectionSubscription(ISectionSubscriber* subscriber, ISectionObserver& observer,
                         unsigned short pid, unsigned char tableId, unsigned short id,
                         int tvsHandle, EFilterMode filterMode, unsigned int timeout);
    CSectionSubscription(ISectionSubscriber* subscriber, ISectionObserver& observer,
                         unsigned short pid, const std::vector<unsigned char>& pattern,
                         const std::vector<unsigned char>& mask,
                         const std::vector<unsigned char>& mode, unsigned short id, int tvsHandle,
                         EFilterMode filterMode, unsigned int timeout);

    /// The subscription in one line, for the log.
    std::string m_Info() const;

    void m_ArmTimer();

    /// Add 1 to, or subtract 1 from, the number of subscriptions that hold a platform handle.
    /// Return the new count. A count is never erased: when the platform gives out the handle again,
    /// it goes on from there.
    static int s_AddHandleRef(int tvsHandle);
    static int s_RemoveHandleRef(int tvsHandle);

    static std::map<int, int> s_handleRefCount;

    ISectionObserver* m_observer;
    ISectionSubscriber* m_subscriber;
    unsigned short m_id;
    unsigned short m_pid;
    unsigned char m_tableId;
    unsigned short m_tableIdExt;
    std::vector<unsigned char> m_pattern;
    std::vector<unsigned char> m_mask;
    std::vector<unsigned char> m_mode;
    int m_tvsHandle;
    EFilterMode m_filterMode;
    unsigned int m_timeout;
    TimerCallback m_timer;
};

}  // namespace TORVEL_MW
