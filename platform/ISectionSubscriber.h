#pragma once

#include "Export.h"

struct TCSectionCriteriaHelper;
struct TCSectionFilterCriteriaHelper;

/// The platform's section filters. `TVServiceAPI::CreateSectionSubscriber` makes the subscriber.
/// The platform owns it, and it lives as long as the process.
///
/// The operations may be called on any thread, on several threads at once, from inside the section
/// callback, and while the caller holds a lock of its own. An operation must not wait for data, nor
/// for a running callback of another handle. Clients rely on the order of the virtual operations.
class TVSERVICE_API ISectionSubscriber {
  public:
    /// Sets a filter on all sections of one table.
    ///
    /// @param id        passed to the callback with every section of this filter. The caller
    ///                  chooses it, and several filters may have the same one
    /// @param criteria  never null, borrowed for the call
    /// @param handle    never null; -1 on entry. On success the platform writes its handle, which
    ///                  it may hand out to several subscriptions that share one filter; on refusal
    ///                  it leaves -1
    /// @return 1 on success, any other value on refusal. Sections may arrive before it returns
    virtual int SubscribeTable(int id, TCSectionCriteriaHelper* criteria, int* handle) = 0;

    /// Sets a filter on section bytes. In all else it is like `SubscribeTable`.
    virtual int SubscribeFilter(int id, TCSectionFilterCriteriaHelper* criteria, int* handle) = 0;

    /// Releases the filter of a handle, for all subscriptions that share it. Waits for a callback
    /// of this handle that runs on another thread. After it has returned, no callback for this
    /// handle begins.
    /// @return true on success, false for a handle that is not in use
    virtual bool Unsubscribe(int handle) = 0;

  protected:
    ISectionSubscriber() = default;
    ISectionSubscriber(const ISectionSubscriber&) = default;
    ISectionSubscriber& operator=(const ISectionSubscriber&) = default;
    ~ISectionSubscriber() = default;  // protected: only the platform may destroy it
};
