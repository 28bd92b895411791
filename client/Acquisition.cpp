#include "client/Acquisition.h"

#include <algorithm>
#include <string>
#include <tuple>
#include <utility>

#include "SI/Include/ISectionManager.h"
#include "client/SubscriptionIds.h"
#include "client/TableIds.h"

namespace client {

using TORVEL_MW::ISectionManager;
using TORVEL_MW::ISectionObserver;

namespace {

// Names each sub-table that was begun and never became whole.
template <class Reader>
void NameUnfinished(const Reader& reader, const char* table, std::vector<std::string>& missing) {
    const auto whole = reader.Whole();
    for (const auto& key : reader.Begun()) {
        if (whole.count(key) == 0) {
            missing.push_back(table + std::to_string(key));
        }
    }
}

}  // namespace

Acquisition::Acquisition(Extent extent)
    : extent_(extent),
      pats_([this](const Pat& pat) { OnPat(pat); }),
      cats_([this](const auto&) { OnNews(); }),
      pmts_([this](const auto&) { OnNews(); }),
      sdts_([this](const auto&) { OnNews(); }),
      eits_([this](const auto&) { OnNews(); }),
      actualNits_([this](const auto&) { OnNews(); }),
      otherNits_([this](const auto&) { OnNews(); }),
      bats_([this](const auto&) { OnNews(); }) {}

void Acquisition::Subscribe(const Acquisition* earlier) {
    Filter(kPatPid, kPatTableId, pats_);
    if (extent_ == kPatOnly) {
        return;
    }
    Filter(kCatPid, kCatTableId, cats_);
    FilterNit(kNitPid);
    Filter(kSdtBatPid, kSdtActualTableId, sdts_);
    Filter(kSdtBatPid, kBatTableId, bats_);
    Filter(kEitPid, kEitPresentFollowingTableId, eits_);
    if (earlier != nullptr) {
        std::set<int> pmtPids;
        std::set<int> nitPids;
        {
            std::lock_guard<std::mutex> lock(earlier->mutex_);
            pmtPids = earlier->pmtPids_;
            nitPids = earlier->nitPids_;
        }
        std::for_each(pmtPids.begin(), pmtPids.end(), [this](int pid) { FilterPmt(pid); });
        std::for_each(nitPids.begin(), nitPids.end(), [this](int pid) { FilterNit(pid); });
    }
}

void Acquisition::Unsubscribe() {
    std::vector<unsigned int> subscriptions;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        released_ = true;
        subscriptions.swap(subscriptions_);
    }
    changed_.notify_all();
    for (const unsigned int subscription : subscriptions) {
        ISectionManager::Instance()->Unsubscribe(subscription);
    }
}

void Acquisition::OnPat(const Pat& pat) {
    for (const PatProgram& program : pat.programs) {
        FilterPmt(program.pmtPid);
    }
    if (pat.networkPid) {
        FilterNit(*pat.networkPid);
    }
    OnNews();
}

void Acquisition::OnNews() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        ++news_;
    }
    changed_.notify_all();
}

bool Acquisition::WaitUntilComplete(std::chrono::milliseconds timeout) {
    // A look takes as long as what was found is large; news can come with every section.
    constexpr std::chrono::milliseconds kBetweenLooks{50};
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    unsigned long seen = 0;
    for (;;) {
        const auto nextLook = std::chrono::steady_clock::now() + kBetweenLooks;
        Multiplex found = Look();
        std::unique_lock<std::mutex> lock(mutex_);
        if (found.missing.empty()) {
            complete_ = std::move(found);
            return true;
        }
        // News that never end must not carry the wait past its time.
        if (std::chrono::steady_clock::now() >= deadline) {
            return true;
        }
        if (!changed_.wait_until(lock, deadline, [&] { return released_ || news_ != seen; })) {
            return true;
        }
        changed_.wait_until(lock, std::min(nextLook, deadline), [&] { return released_; });
        if (released_) {
            return false;
        }
        seen = news_;
    }
}

void Acquisition::FilterPmt(int pid) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!pmtPids_.insert(pid).second) {
            return;
        }
    }
    if (extent_ == kAll) {
        Filter(static_cast<unsigned short>(pid), kPmtTableId, pmts_);
    }
}

void Acquisition::FilterNit(int pid) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!nitPids_.insert(pid).second) {
            return;
        }
    }
    if (extent_ == kAll) {
        Filter(static_cast<unsigned short>(pid), kNitActualTableId, actualNits_);
        Filter(static_cast<unsigned short>(pid), kNitOtherTableId, otherNits_);
    }
}

void Acquisition::Filter(unsigned short pid, unsigned int tableId, ISectionObserver& observer) {
    const unsigned int subscription = ISectionManager::Instance()->Subscribe(
        pid, tableId, observer, ISectionManager::EContinuous, kNoTimeout, false);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (subscription == 0) {
            refused_.insert(tableId);
            return;
        }
        outOfIds_ = outOfIds_ || subscription > kLastServedId;
        if (!released_) {
            subscriptions_.push_back(subscription);
            return;
        }
    }
    ISectionManager::Instance()->Unsubscribe(subscription);
}

bool Acquisition::WasRefused(unsigned int tableId) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return refused_.count(tableId) != 0;
}

bool Acquisition::OutOfIds() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return outOfIds_;
}

Multiplex Acquisition::Found() const {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (complete_) {
            return *complete_;
        }
    }
    return Look();
}

Multiplex Acquisition::Look() const {
    Multiplex multiplex;
    FillPrograms(multiplex);
    FillConditionalAccess(multiplex);
    FillServices(multiplex);
    FillNetworks(multiplex);
    FillBouquets(multiplex);
    FillEvents(multiplex);
    return multiplex;
}

void Acquisition::FillPrograms(Multiplex& multiplex) const {
    const auto pats = pats_.Whole();
    if (pats.empty()) {
        multiplex.missing.emplace_back("pat");
        return;
    }
    multiplex.pat = pats.begin()->second;
    const auto pmts = pmts_.Whole();
    for (const PatProgram& program : multiplex.pat->programs) {
        const auto found = pmts.find({static_cast<unsigned int>(program.pmtPid),
                                      static_cast<unsigned int>(program.programNumber)});
        if (found == pmts.end()) {
            multiplex.missing.push_back("pmt " + std::to_string(program.programNumber));
        } else {
            multiplex.programs.push_back(found->second);
        }
    }
}

void Acquisition::FillConditionalAccess(Multiplex& multiplex) const {
    const auto cats = cats_.Whole();
    if (!cats.empty()) {
        multiplex.caSystemIds = cats.begin()->second;
        return;
    }
    const bool scrambled = tvservice::SoftwarePlatform::Instance().Counter("scrambled_packets") > 0;
    if (scrambled || std::any_of(multiplex.programs.begin(), multiplex.programs.end(),
                                 [](const Program& program) { return program.hasCaDescriptor; })) {
        multiplex.missing.emplace_back("cat");
    }
}

void Acquisition::FillServices(Multiplex& multiplex) const {
    // The own transport stream's, should there be others under the same table_id; where none of it
    // came, as behind a multiplexer that renumbers only the PAT, what says that it is the actual.
    const auto sdts = sdts_.Whole();
    const auto begun = sdts_.Begun();
    const auto isOwn = [&multiplex](unsigned int tsid) {
        return multiplex.pat && tsid == multiplex.pat->transportStreamId;
    };
    const auto own = std::find_if(sdts.begin(), sdts.end(),
                                  [&isOwn](const auto& sdt) { return isOwn(sdt.first.second); });
    if (own == sdts.end() &&
        (sdts.empty() || std::any_of(begun.begin(), begun.end(),
                                     [&isOwn](const auto& key) { return isOwn(key.second); }))) {
        multiplex.missing.emplace_back("sdt");
        return;
    }
    multiplex.services = (own != sdts.end() ? own : sdts.begin())->second;
    std::stable_sort(multiplex.services.begin(), multiplex.services.end(),
                     [](const Service& a, const Service& b) { return a.serviceId < b.serviceId; });
}

void Acquisition::FillNetworks(Multiplex& multiplex) const {
    const auto actualNits = actualNits_.Whole();
    const bool needsNit = (multiplex.pat && multiplex.pat->networkPid) ||
                          tvservice::SoftwarePlatform::Instance().Seen(kNitPid);
    if (actualNits.empty() && actualNits_.Begun().empty() && needsNit) {
        multiplex.missing.emplace_back("nit");
    }
    NameUnfinished(actualNits_, "nit ", multiplex.missing);
    NameUnfinished(otherNits_, "nit other ", multiplex.missing);
    if (WasRefused(kNitOtherTableId) && otherNits_.Begun().empty()) {
        multiplex.missing.emplace_back("nit other");
    }
    for (const auto& network : actualNits) {
        multiplex.networks.push_back(network.second);
    }
    for (const auto& network : otherNits_.Whole()) {
        multiplex.networks.push_back(network.second);
    }
    std::stable_sort(multiplex.networks.begin(), multiplex.networks.end(),
                     [](const Network& a, const Network& b) { return a.networkId < b.networkId; });
}

void Acquisition::FillBouquets(Multiplex& multiplex) const {
    NameUnfinished(bats_, "bat ", multiplex.missing);
    if (WasRefused(kBatTableId) && bats_.Begun().empty()) {
        multiplex.missing.emplace_back("bat");
    }
    for (const auto& bouquet : bats_.Whole()) {
        multiplex.bouquets.push_back(bouquet.second);
    }
}

void Acquisition::FillEvents(Multiplex& multiplex) const {
    const auto eits = eits_.Whole();
    for (const Service& service : multiplex.services) {
        if (service.hasPresentFollowing &&
            eits.count({service.originalNetworkId, service.transportStreamId, service.serviceId}) ==
                0) {
            multiplex.missing.push_back("eit " + std::to_string(service.serviceId));
        }
    }
    for (const auto& eit : eits) {
        multiplex.events.insert(multiplex.events.end(), eit.second.begin(), eit.second.end());
    }
    std::stable_sort(multiplex.events.begin(), multiplex.events.end(),
                     [](const Event& a, const Event& b) {
                         return std::tie(a.serviceId, a.section) < std::tie(b.serviceId, b.section);
                     });
}

}  // namespace client
