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
/// When a PAT comes, filters are set on the PIDs that it names, on the event thread, unless they
/// are set already. What was found may be asked for on any thread.
class Acquisition {
  public:
    enum Extent {
        kPatOnly,  ///< to learn what PIDs there are
        kAll
    };

    explicit Acquisition(Extent extent);
    Acquisition(const Acquisition&) = delete;
    Acquisition& operator=(const Acquisition&) = delete;

    /// Sets the filters; with `kAll` also on the PIDs that an earlier pass found. `earlier` may be
    /// null.
    void Subscribe(const Acquisition* earlier);

    /// Releases the filters. Sections that are queued already still arrive: this object must live
    /// until a barrier has passed, or until the queue is known to be empty.
    void Unsubscribe();

    /// Waits until a PAT has come, and answers true; false as soon as Unsubscribe is called before.
    bool WaitForPat();

    /// Waits until a PAT names a PID that Subscribe knew nothing of, and answers true; false as
    /// soon as Unsubscribe is called before. What came on that PID until then was lost.
    bool WaitForNewPid();

    /// Whether a PAT has named such a PID.
    bool FoundNewPid() const;

    /// Whether a filter was set that gets no sections because ids have run out (kLastServedId).
    bool OutOfIds() const;

    /// Waits until nothing is missing or `timeout` has passed, and answers true; false as soon as
    /// Unsubscribe is called before. Once nothing is missing the result is final: what comes later
    /// does not change it.
    bool WaitUntilComplete(std::chrono::milliseconds timeout);

    /// The tables that were found, and what is missing: now, or, when WaitUntilComplete has seen
    /// that nothing was missing, at that time.
    Multiplex Found() const;

  private:
    void OnPat(const Pat& pat);
    void OnNews();
    void Filter(unsigned short pid, unsigned int tableId, TORVEL_MW::ISectionObserver& observer);
    bool FilterPmt(int pid);  // whether the PID is new
    bool FilterNit(int pid);
    bool WasRefused(unsigned int tableId) const;
    Multiplex Look() const;  // as of now
    void FillPrograms(Multiplex& multiplex) const;
    void FillConditionalAccess(Multiplex& multiplex) const;  // after the programs
    void FillServices(Multiplex& multiplex) const;           // after the PAT
    void FillNetworks(Multiplex& multiplex) const;           // after the PAT
    void FillBouquets(Multiplex& multiplex) const;
    void FillEvents(Multiplex& multiplex) const;  // after the services

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
    std::set<unsigned int> refused_;           // guarded by mutex_; table ids without a filter
    bool released_ = false;                    // guarded by mutex_
    bool outOfIds_ = false;                    // guarded by mutex_
    bool hasPat_ = false;                      // guarded by mutex_
    bool foundNewPid_ = false;                 // guarded by mutex_; since Subscribe
    unsigned long news_ = 0;                   // guarded by mutex_; complete tables so far
    std::condition_variable changed_;
};

}  // namespace client
