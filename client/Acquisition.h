#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <vector>

#include "client/BatTable.h"
#include "client/CatTable.h"
#include "client/EitTable.h"
#include "client/Multiplex.h"
#include "client/NitTable.h"
#include "client/PatTable.h"
#include "client/PmtTable.h"
#include "client/SdtTable.h"
#include "client/SubTableReader.h"

namespace client {

/// One pass over a multiplex: the subscriptions, and the tables that they fill.
///
/// When a PAT arrives and all tables are read, the event thread sets filters on those of its PIDs
/// that have none yet. All members may be called on any thread.
class Acquisition {
  public:
    enum Extent {
        kPatOnly,  ///< reads the PAT only, to learn the PIDs of the other tables
        kAll       ///< reads all tables
    };

    explicit Acquisition(Extent extent);
    Acquisition(const Acquisition&) = delete;
    Acquisition& operator=(const Acquisition&) = delete;

    /// Sets the filters.
    /// @param earlier  an earlier pass: with `kAll`, filters are set on the PIDs that it found too.
    ///                 May be null; borrowed for the call
    void Subscribe(const Acquisition* earlier);

    /// Releases the filters and ends the waits below. A section whose delivery has begun may still
    /// arrive after this: this object must live until a barrier has passed, or until the queue is
    /// known to be empty.
    void Unsubscribe();

    /// Waits for a complete PAT.
    /// @return true when there is one; false when Unsubscribe was called first
    bool WaitForPat();

    /// Waits until a PAT names a PID that had no filter yet. The sections that came on that PID
    /// before are lost.
    /// @return true when a PAT named one; false when Unsubscribe was called first
    bool WaitForNewPid();

    /// Whether a PAT has named such a PID.
    bool FoundNewPid() const;

    /// Whether a filter was set with an id above kLastServedId, so that it gets no sections.
    bool OutOfIds() const;

    /// Waits until nothing is missing, or until `timeout` has passed. When nothing is missing the
    /// result is final: later sections do not change it.
    /// @return true in both cases; false when Unsubscribe was called first
    bool WaitUntilComplete(std::chrono::milliseconds timeout);

    /// The tables that were found so far, and what is missing. Once WaitUntilComplete has seen that
    /// nothing is missing, the result of that moment.
    Multiplex Found() const;

  private:
    void OnPat(const Pat& pat);
    void OnNews();
    void Filter(unsigned short pid, unsigned int tableId, TORVEL_MW::ISectionObserver& observer);
    // Both remember a PID and, with `kAll`, set filters on it. They return whether it was new.
    bool FilterPmt(int pid);
    bool FilterNit(int pid);
    bool WasRefused(unsigned int tableId) const;
    Multiplex Look() const;  // the tables of this moment, and what is missing
    void FillPrograms(Multiplex& multiplex) const;
    void FillConditionalAccess(Multiplex& multiplex) const;  // reads the programs
    void FillServices(Multiplex& multiplex) const;           // reads the PAT
    void FillNetworks(Multiplex& multiplex) const;           // reads the PAT
    void FillBouquets(Multiplex& multiplex) const;
    void FillEvents(Multiplex& multiplex) const;  // reads the services

    const Extent extent_;
    SubTableReader<PatTable> pats_;
    SubTableReader<CatTable> cats_;
    SubTableReader<PmtTable> pmts_;
    SubTableReader<SdtTable> sdts_;
    SubTableReader<EitTable> eits_;
    SubTableReader<NitActualTable> actualNits_;
    SubTableReader<NitOtherTable> otherNits_;
    SubTableReader<BatTable> bats_;

    mutable std::mutex mutex_;
    std::optional<Multiplex> complete_;        // guarded by mutex_; set once, by WaitUntilComplete
    std::set<int> pmtPids_;                    // guarded by mutex_; every PMT PID that a PAT named
    std::set<int> nitPids_;                    // guarded by mutex_
    std::vector<unsigned int> subscriptions_;  // guarded by mutex_
    std::set<unsigned int> refused_;           // guarded by mutex_; table_ids of refused filters
    bool released_ = false;                    // guarded by mutex_
    bool outOfIds_ = false;                    // guarded by mutex_
    bool hasPat_ = false;                      // guarded by mutex_
    bool foundNewPid_ = false;                 // guarded by mutex_; since Subscribe
    unsigned long news_ = 0;                   // guarded by mutex_; complete tables so far
    std::condition_variable changed_;
};

}  // namespace client
