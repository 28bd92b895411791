#pragma once

#include <vector>

#include "Export.h"
#include "ISectionObserver.h"

namespace TORVEL_MW {

/// Section acquisition: sets section filters on PIDs of the transport stream and delivers the
/// sections that match to observers, on one event thread.
///
/// All operations may be called on any thread, also from inside `OnSectionReceived`. `Subscribe`
/// and `Unsubscribe` hold one lock, the manager's, for the whole of their work, so one of them
/// waits until another has returned.
///
/// **Process end.** The one manager lives as long as the process and its event thread is never
/// stopped. A process that used it and returns from `main`, or calls `exit`, therefore ends through
/// the termination handler (SIGABRT), promptly, once the static objects are destroyed. The same
/// happens when the library is unloaded after the manager was used. A program that wants an exit
/// status of its own flushes its output and leaves by `std::quick_exit` or `_Exit`.
///
/// **Ids** count up from 1. After 4294967294 they begin at 1 again. If an old subscription still
/// holds the id that comes next, `Subscribe` ends that subscription and takes its id. Ending it
/// joins its timer thread, with the manager's lock held: if its `OnSectionTimeout` is running, the
/// call waits until that has returned.
class TORVELSI_API ISectionManager {
  public:
    enum EFilterMode {
        EToggle,  ///< after each section the filter is re-armed for the table_id that differs in
                  ///< the lowest bit; pattern filters only, the others turn it to EContinuous
        EContinuous,  ///< every section until `Unsubscribe`
        EOneShot      ///< the subscription ends with its first section
    };

    /// Subscribes to all sections with one table_id on one PID.
    ///
    /// @param pid        13-bit PID
    /// @param tableId    its low 8 bits are used
    /// @param observer   receives sections and the time-out; borrowed, see `ISectionObserver`
    /// @param mode       see `EFilterMode`
    /// @param timeout    milliseconds to the first section; 4294967295 for no time-out, 2147483648
    ///                   to 4294967294 fire at once
    /// @param fromCache  true: what the platform already holds first, then live
    /// @return the subscription's id, 1 to 4294967294; 0 when the platform refused the filter
    virtual unsigned int Subscribe(unsigned short pid, unsigned int tableId,
                                   ISectionObserver& observer, EFilterMode mode,
                                   unsigned int timeout, bool fromCache) = 0;

    /// Subscribes to all sections with one table_id and one table_id_extension on one PID; the low
    /// 8 and 16 bits of them are used. Otherwise as above, always live.
    virtual unsigned int Subscribe(unsigned short pid, unsigned int tableId,
                                   unsigned int tableIdExt, ISectionObserver& observer,
                                   EFilterMode mode, unsigned int timeout) = 0;

    /// Subscribes to sections that match a byte pattern from table_id on; bytes 1 and 2
    /// (section_length) count as positions. Otherwise as above, always live.
    ///
    /// @param pattern     at least one byte
    /// @param mask        which bits count; as long as `pattern`
    /// @param mode        how they count: bits 0 must equal, of bits 1 at least one must differ;
    ///                    empty or as long as `pattern`
    /// @param filterMode  see `EFilterMode`
    virtual unsigned int Subscribe(unsigned short pid, const std::vector<unsigned char>& pattern,
                                   const std::vector<unsigned char>& mask,
                                   const std::vector<unsigned char>& mode,
                                   ISectionObserver& observer, EFilterMode filterMode,
                                   unsigned int timeout) = 0;

    /// Ends a subscription. An unknown id is reported in the log and has no other effect.
    ///
    /// One delivery may still come after this has returned: the event thread may have looked up the
    /// subscription for a section before, and calls `OnSectionReceived` only now. Called from
    /// inside `OnSectionReceived` of this subscription, that call is the last.
    virtual void Unsubscribe(unsigned int id) = 0;

    virtual ~ISectionManager() = default;

    /// The one manager, made by the first call. Never null.
    static ISectionManager* Instance();
};

}  // namespace TORVEL_MW
