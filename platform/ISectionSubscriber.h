#pragma once

#include "Export.h"

struct TCSectionCriteriaHelper;
struct TCSectionFilterCriteriaHelper;

/// The platform's section filters: made by `TVServiceAPI::CreateSectionSubscriber`, owned by the
/// platform, alive as long as the process.
///
/// Every call may come from any thread, from several at once, also from inside the section
/// callback and with a lock of the caller's held; none may wait for a running callback of another
/// handle, or for data. The virtual operations stand in the order of their slots.
class TVSERVICE_API ISectionSubscriber {
  public:
    /// Sets a filter on all sections of one table.
    ///
    /// @param id        passed to the callback with every section of this filter. The caller
    /// chooses
    ///                  it, and several filters may have the same one
    /// @param criteria  never null, borrowed for the call
    /// @param handle    never null; -1 on entry. On success the platform writes its handle, which
    ///                  it may hand out to several subscriptions that share one filter; on refusal
    ///                  it leaves -1
    /// @return 1 on success, anything else is a refusal. Sections may arrive before it returns.
    virtual int SubscribeTable(int id, TCSectionCriteriaHelper* criteria, int* handle) = 0;

    /// Sets a filter on section bytes; otherwise as `SubscribeTable`.
    virtual int SubscribeFilter(int id, TCSectionFilterCriteriaHelper* criteria, int* handle) = 0;

    /// Releases the filter behind a handle, for all that share it. After it has returned no
    /// callback for that handle begins; one that runs on another thread has ended.
    /// @return true on success, false for a handle that is not in use
    virtual bool Unsubscribe(int handle) = 0;

  protected:
    ISectionSubscriber() = default;
    ISectionSubscriber(const ISectionSubscriber&) = default;
    ISectionSubscriber& operator=(const ISectionSubscriber&) = default;
    ~ISectionSubscriber() = default;  // the platform's alone to destroy
};
