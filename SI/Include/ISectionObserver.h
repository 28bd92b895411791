#pragma once

#include "Export.h"

namespace TORVEL_MW {

/// What a client implements to receive sections. The library borrows observers: it never makes or
/// deletes one.
///
/// **Lifetime.** An observer must outlive its subscription by one delivery. When
/// `ISectionManager::Unsubscribe` returns on another thread, the event thread may be inside
/// `OnSectionReceived`, or may have looked up the subscription for a section already and call
/// `OnSectionReceived` only afterwards. Until that call has returned, a time-out may come too. An
/// observer that unsubscribes inside its own `OnSectionReceived` gets no further section of that
/// subscription.
///
/// Both operations are given the low 16 bits of the id that `Subscribe` returned.
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
    /// Call neither `Subscribe` nor `Unsubscribe` from here; hand such work to another thread. The
    /// timer's lock is held during this call, and the subscription ends by joining this thread:
    /// - An `Unsubscribe` of this subscription from here would join its own thread, which ends the
    ///   process.
    /// - On another thread, an `Unsubscribe` of this subscription, or a `Subscribe` that takes over
    ///   its id (see `ISectionManager`), holds the manager's lock and waits until this call has
    ///   returned. If this call waits for the manager's lock, neither ever returns.
    ///
    /// @param id  the subscription
    virtual void OnSectionTimeout(unsigned int id) = 0;
};

}  // namespace TORVEL_MW
