#pragma once

#include "Export.h"

namespace TORVEL_MW {

/// What a client implements to receive sections. The library borrows observers: it never makes or
/// deletes one.
///
/// **Lifetime.** An observer must outlive its subscription, and a little more: after
/// `ISectionManager::Unsubscribe` has returned, one delivery that was already running on the event
/// thread may still finish, and until it has, a time-out may still come. An observer that
/// unsubscribes inside its own `OnSectionReceived` gets no further section of that subscription.
///
/// The id that both operations see is the low 16 bits of the one that `Subscribe` returned.
class TORVELSI_API ISectionObserver {
  public:
    virtual ~ISectionObserver() = default;

    /// A section arrived. Called on the manager's event thread, for all subscriptions one section
    /// at a time, with no lock of the library held: `Subscribe` and `Unsubscribe` may be called.
    /// An exception that leaves it ends the process.
    ///
    /// @param id      the subscription
    /// @param pid     the PID of the subscription
    /// @param length  bytes of the section, at least 1
    /// @param data    the section from table_id on; valid and writable during the call only
    virtual void OnSectionReceived(unsigned short id, unsigned short pid, unsigned short length,
                                   unsigned char* data) = 0;

    /// No section was accepted within the subscription's time-out. Called at most once, on the
    /// subscription's own timer thread, possibly just before a first section arrives after all.
    ///
    /// The timer's lock is held during the call. Do not drop the last hold on the subscription from
    /// here: the timer would have to join itself, which ends the process. And an observer that
    /// calls `Subscribe` or `Unsubscribe` from here can deadlock with an `Unsubscribe` of this
    /// subscription on another thread, which holds the manager's lock and waits for this call to
    /// end. Hand such work to another thread.
    ///
    /// @param id  the subscription
    virtual void OnSectionTimeout(unsigned int id) = 0;
};

}  // namespace TORVEL_MW
