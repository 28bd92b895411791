#include "softplatform/fault/FaultySections.h"

#include <algorithm>
#include <set>
#include <utility>

namespace tvservice {

namespace {

constexpr int kHighestId = 0xFFFF;

}  // namespace

FaultySections::FaultySections(std::shared_ptr<FaultPlan> plan, Callback callback)
    : callback_(std::move(callback)) {
    Use(std::move(plan));
}

void FaultySections::Use(std::shared_ptr<FaultPlan> plan) {
    // The triggers borrow from the plan, and Unsubscribed uses both on any thread. So they are
    // replaced together, under the lock.
    MutexLock lock(mutex_);
    plan_ = std::move(plan);
    hasLate_ = plan_->Has(FaultEvent::kRelease);
    lateFaults_ = plan_->Triggers(FaultEvent::kRelease);
    faults_.clear();
    for (const FaultTrigger& trigger : plan_->Triggers(FaultEvent::kDelivery)) {
        faults_.push_back({trigger});
    }
    isIdle_ = !hasLate_ && faults_.empty() && held_.empty();
}

void FaultySections::OnSection(int id, SectionView section) {
    const uint8_t* const bytes = section.data();
    if (isIdle_) {
        callback_(id, bytes, section.size());
        return;
    }
    const Decision decision = Decide(section);
    uint64_t number = 0;
    std::vector<int> extraIds;
    {
        MutexLock lock(mutex_);
        number = ++deliveries_;
        if (decision.isSwallowed) {
            return;
        }
        deliveringId_ = id;
        isReleased_ = false;
        for (const std::optional<uint32_t>& unknownId : decision.unknownIds) {
            extraIds.push_back(unknownId ? static_cast<int>(*unknownId) : UnusedId());
        }
    }
    for (unsigned i = 0; i < decision.zeroLengths; ++i) {
        callback_(id, bytes, 0);
    }
    for (const int unknownId : extraIds) {
        callback_(unknownId, bytes, decision.size);
    }

    bool isDelivered = false;
    {
        MutexLock lock(mutex_);
        // The callbacks above may have released the id.
        if (!isReleased_) {
            if (decision.delay > 0) {
                held_.push_back(
                    {id, {bytes, bytes + decision.size}, number + decision.delay, false});
            } else {
                isDelivered = true;
                Remember(id, bytes, decision.size);
            }
        }
    }
    if (isDelivered) {
        callback_(id, bytes, decision.size);
    }
    DeliverHeld(number);
}

FaultySections::Decision FaultySections::Decide(SectionView section) {
    Decision decision;
    decision.size = section.size();
    uint64_t cuts = 0;
    for (Fault& fault : faults_) {
        FaultTrigger& trigger = fault.trigger;
        if (!trigger.LooksAt(section.table_id())) {
            continue;
        }
        const bool happens = trigger.Next();
        const std::optional<uint32_t> amount = trigger.spec().amount;
        if (trigger.spec().kind == FaultKind::kSilent) {
            if (happens) {
                fault.silentFor = std::max<uint64_t>(fault.silentFor, *amount);
            }
            if (fault.silentFor > 0) {
                --fault.silentFor;
                decision.isSwallowed = true;
            }
            continue;
        }
        if (!happens) {
            continue;
        }
        switch (trigger.spec().kind) {
            case FaultKind::kZeroLength:
                ++decision.zeroLengths;
                break;
            case FaultKind::kUnknownId:
                decision.unknownIds.push_back(amount);
                break;
            case FaultKind::kCut: {
                const auto kept = static_cast<size_t>(
                    amount ? *amount : 1 + trigger.random().Below(section.size() - 1));
                if (kept < decision.size) {
                    decision.size = kept;
                    cuts = 1;
                }
                break;
            }
            case FaultKind::kDelay:
                decision.delay = std::max<uint64_t>(decision.delay, *amount);
                break;
            default:
                break;
        }
    }
    if (decision.isSwallowed) {
        plan_->Count(FaultKind::kSilent);
    } else {
        plan_->Count(FaultKind::kZeroLength, decision.zeroLengths);
        plan_->Count(FaultKind::kUnknownId, decision.unknownIds.size());
        plan_->Count(FaultKind::kCut, cuts);
        plan_->Count(FaultKind::kDelay, decision.delay > 0 ? 1 : 0);
    }
    return decision;
}

void FaultySections::Flush() {
    DeliverHeld(UINT64_MAX);
}

void FaultySections::Subscribed(int handle, int id) {
    MutexLock lock(mutex_);
    ids_[handle].insert(id);
}

void FaultySections::Unsubscribed(int handle) {
    MutexLock lock(mutex_);
    const auto found = ids_.find(handle);
    if (found == ids_.end()) {
        return;
    }
    const std::set<int> released = std::move(found->second);
    ids_.erase(found);
    for (const int id : released) {
        held_.erase(
            std::remove_if(held_.begin(), held_.end(),
                           [id](const Held& held) { return held.id == id && !held.isLate; }),
            held_.end());
        isReleased_ = isReleased_ || id == deliveringId_;
        PlanLate(id);
    }
    delayedCall_.WaitForEnd(mutex_, [&released](int id) { return released.count(id) != 0; });
}

int FaultySections::UnusedId() {
    std::set<int> used;
    for (const auto& [handle, ids] : ids_) {
        used.insert(ids.begin(), ids.end());
    }
    int id = kHighestId;
    while (used.count(id) != 0) {
        --id;
    }
    return id;
}

void FaultySections::Remember(int id, const uint8_t* section, size_t size) {
    if (hasLate_) {
        lastSections_[id].assign(section, section + size);
    }
}

void FaultySections::PlanLate(int id) {
    auto last = lastSections_.extract(id);
    if (last.empty()) {
        return;
    }
    for (FaultTrigger& fault : lateFaults_) {
        if (fault.Next()) {
            held_.push_back({id, last.mapped(), deliveries_ + *fault.spec().amount, true});
        }
    }
}

void FaultySections::DeliverHeld(uint64_t due) {
    MutexLock lock(mutex_);
    for (;;) {
        const auto first = std::min_element(
            held_.begin(), held_.end(), [](const Held& a, const Held& b) { return a.due < b.due; });
        if (first == held_.end() || first->due > due) {
            return;
        }
        const Held held = std::move(*first);
        held_.erase(first);
        const auto call = [&] { callback_(held.id, held.section.data(), held.section.size()); };
        if (held.isLate) {
            // No RunningCall is needed: Unsubscribed does not wait for late deliveries.
            plan_->Count(FaultKind::kLate);
            mutex_.Unlock();
            call();
            mutex_.Lock();
        } else {
            Remember(held.id, held.section.data(), held.section.size());
            delayedCall_.Make(mutex_, held.id, call);
        }
    }
}

}  // namespace tvservice
