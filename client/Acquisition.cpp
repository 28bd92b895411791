#include "client/Acquisition.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <tuple>
#include <utility>

#include "SI/Include/ISectionManager.h"
#include "client/SubscriptionIds.h"
#include "client/TableIds.h"

namespace client {

using TORVEL_MW::ISectionManager;
using TORVEL_MW::ISectionObserver;

namespace {

// Appends an entry for each sub-table that was never complete. The key of `Reader` is one id.
template <class Reader>
void NameUnfinished(const Reader& reader, Missing::What what, std::vector<Missing>& missing) {
    for (auto& [id, sections] : reader.Unfinished()) {
        missing.push_back({.what = what, .id = id, .sections = std::move(sections)});
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
    bool foundNewPid = false;
    for (const PatProgram& program : pat.programs) {
        foundNewPid |= FilterPmt(program.pmtPid);
    }
    if (pat.networkPid) {
        foundNewPid |= FilterNit(*pat.networkPid);
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        hasPat_ = true;
        foundNewPid_ = foundNewPid_ || foundNewPid;
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

bool Acquisition::WaitForPat() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return hasPat_ || released_; });
    return hasPat_;
}

bool Acquisition::WaitForNewPid() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return foundNewPid_ || released_; });
    return foundNewPid_;
}

bool Acquisition::FoundNewPid() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return foundNewPid_;
}

bool Acquisition::WaitUntilComplete(std::chrono::milliseconds timeout) {
    // Looking takes time in proportion to the tables, and every section may complete one: without
    // this pause a large multiplex would be looked at all the time.
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
        // Tested here too, because the wait below returns at once as long as tables keep coming.
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

bool Acquisition::FilterPmt(int pid) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!pmtPids_.insert(pid).second) {
            return false;
        }
    }
    if (extent_ == kAll) {
        Filter(static_cast<unsigned short>(pid), kPmtTableId, pmts_);
    }
    return true;
}

bool Acquisition::FilterNit(int pid) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!nitPids_.insert(pid).second) {
            return false;
        }
    }
    if (extent_ == kAll) {
        Filter(static_cast<unsigned short>(pid), kNitActualTableId, actualNits_);
        Filter(static_cast<unsigned short>(pid), kNitOtherTableId, otherNits_);
    }
    return true;
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
        Missing missing{.what = Missing::kPat};
        for (auto& pat : pats_.Unfinished()) {
            missing.sections = std::move(pat.second);
        }
        multiplex.missing.push_back(std::move(missing));
        return;
    }
    multiplex.pat = *pats.begin()->second;
    const auto pmts = pmts_.Whole();
    const auto unfinished = pmts_.Unfinished();
    for (const PatProgram& program : multiplex.pat->programs) {
        const auto pid = static_cast<unsigned int>(program.pmtPid);
        const auto number = static_cast<unsigned int>(program.programNumber);
        const auto found = pmts.find({pid, number});
        if (found != pmts.end()) {
            multiplex.programs.push_back(found->second);
            continue;
        }
        Missing missing{.what = Missing::kPmt, .pid = pid, .id = number};
        if (const auto begun = unfinished.find({pid, number}); begun != unfinished.end()) {
            missing.sections = begun->second;
        }
        multiplex.missing.push_back(std::move(missing));
    }
}

void Acquisition::FillConditionalAccess(Multiplex& multiplex) const {
    const auto cats = cats_.Whole();
    if (!cats.empty()) {
        multiplex.caSystemIds = *cats.begin()->second;
        return;
    }
    auto unfinished = cats_.Unfinished();
    const bool scrambled =
        tvservice::SoftwarePlatform::Instance().Counter(tvservice::Counter::kScrambledPackets) > 0;
    if (!unfinished.empty()) {
        multiplex.missing.push_back(
            {.what = Missing::kCat, .sections = std::move(unfinished.begin()->second)});
    } else if (scrambled || WasRefused(kCatTableId) ||
               std::any_of(multiplex.programs.begin(), multiplex.programs.end(),
                           [](const auto& program) { return program->hasCaDescriptor; })) {
        multiplex.missing.push_back({.what = Missing::kCat});
    }
}

void Acquisition::FillServices(Multiplex& multiplex) const {
    // The SDT with the PAT's transport_stream_id is taken, even if there are others of the same
    // table_id. If no section of it came, another one is taken, because some multiplexers change
    // the transport_stream_id in the PAT only.
    const auto sdts = sdts_.Whole();
    const auto unfinished = sdts_.Unfinished();
    const auto isOwn = [&multiplex](const auto& sdt) {
        return multiplex.pat && sdt.first.second == multiplex.pat->transportStreamId;
    };
    const auto own = std::find_if(sdts.begin(), sdts.end(), isOwn);
    const auto ownUnfinished = std::find_if(unfinished.begin(), unfinished.end(), isOwn);
    if (own != sdts.end()) {
        multiplex.services = own->second;
    } else if (!sdts.empty() && ownUnfinished == unfinished.end()) {
        multiplex.services = sdts.begin()->second;
    } else if (!unfinished.empty()) {
        const auto& lacking =
            ownUnfinished != unfinished.end() ? *ownUnfinished : *unfinished.begin();
        multiplex.missing.push_back({.what = Missing::kSdt,
                                     .originalNetworkId = lacking.first.first,
                                     .transportStreamId = lacking.first.second,
                                     .sections = lacking.second});
    } else {
        Missing missing{.what = Missing::kSdt};
        if (multiplex.pat) {
            missing.transportStreamId = multiplex.pat->transportStreamId;
        }
        multiplex.missing.push_back(missing);
    }
}

void Acquisition::FillNetworks(Multiplex& multiplex) const {
    const auto actualNits = actualNits_.Whole();
    const bool isAnnounced = (multiplex.pat && multiplex.pat->networkPid) ||
                             tvservice::SoftwarePlatform::Instance().Seen(kNitPid);
    // NITs can come on several PIDs: 0x0010 and those that PATs name. If a filter on one of them
    // was refused, a NIT is missing, even if another PID brought one.
    if (WasRefused(kNitActualTableId) ||
        (actualNits.empty() && actualNits_.Unfinished().empty() && isAnnounced)) {
        multiplex.missing.push_back({.what = Missing::kNitActual});
    }
    NameUnfinished(actualNits_, Missing::kNitActual, multiplex.missing);
    if (WasRefused(kNitOtherTableId)) {
        multiplex.missing.push_back({.what = Missing::kNitOther});
    }
    NameUnfinished(otherNits_, Missing::kNitOther, multiplex.missing);
    for (const auto& network : actualNits) {
        multiplex.networks.push_back(network.second);
    }
    for (const auto& network : otherNits_.Whole()) {
        multiplex.networks.push_back(network.second);
    }
    std::stable_sort(multiplex.networks.begin(), multiplex.networks.end(),
                     [](const auto& a, const auto& b) { return a->networkId < b->networkId; });
}

void Acquisition::FillBouquets(Multiplex& multiplex) const {
    if (WasRefused(kBatTableId)) {
        multiplex.missing.push_back({.what = Missing::kBat});
    }
    NameUnfinished(bats_, Missing::kBat, multiplex.missing);
    for (const auto& bouquet : bats_.Whole()) {
        multiplex.bouquets.push_back(bouquet.second);
    }
}

void Acquisition::FillEvents(Multiplex& multiplex) const {
    const auto eits = eits_.Whole();
    // The missing section_numbers of each service; no value when nothing of its EIT came.
    std::map<EitTable::Key, std::optional<std::vector<unsigned char>>> missing;
    for (const Service& service : *multiplex.services) {
        const EitTable::Key key{service.originalNetworkId, service.transportStreamId,
                                service.serviceId};
        if (service.hasPresentFollowing && eits.count(key) == 0) {
            missing[key];
        }
    }
    for (auto& [key, sections] : eits_.Unfinished()) {
        missing[key] = std::move(sections);
    }
    if (WasRefused(kEitPresentFollowingTableId)) {
        multiplex.missing.push_back({.what = Missing::kEit});
    }
    for (auto& [key, sections] : missing) {
        multiplex.missing.push_back({.what = Missing::kEit,
                                     .originalNetworkId = std::get<0>(key),
                                     .transportStreamId = std::get<1>(key),
                                     .id = std::get<2>(key),
                                     .sections = std::move(sections)});
    }
    for (const auto& eit : eits) {
        multiplex.events.push_back(eit.second);
    }
    for (auto& eit : eits_.Partial(kEitPid)) {
        auto table = std::make_shared<EventTable>(std::move(eit.second.front()));
        for (std::size_t i = 1; i < eit.second.size(); ++i) {
            std::vector<Event>& events = eit.second[i].events;
            table->events.insert(table->events.end(), std::make_move_iterator(events.begin()),
                                 std::make_move_iterator(events.end()));
        }
        multiplex.partialEvents.insert(table);
        multiplex.events.push_back(std::move(table));
    }
    std::sort(multiplex.events.begin(), multiplex.events.end(), [](const auto& a, const auto& b) {
        const auto ids = [](const EventTable& table) {
            return std::tuple(table.serviceId, table.originalNetworkId, table.transportStreamId);
        };
        return ids(*a) < ids(*b);
    });
}

}  // namespace client
