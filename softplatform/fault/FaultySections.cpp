#include "softplatform/fault/FaultySections.h"

#include <algorithm>
#include <set>
#include <utility>

namespace tvservice {

namespace {

constexpr int kHighestId = 0xFFFF;

}  // namespace

FaultySections::FaultySections(std::shared_ptr<FaultPlan> plan, SectionSink& next) : next_(next) {
    Use(std::move(plan));
}

void FaultySections::Use(std::shared_ptr<FaultPlan> plan) {
    // The triggers borrow from the plan, and a release may ask them on any thread: both change
    // under the lock.
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

void FaultySections::OnSection(int id, const uint8_t* section, size_t size) {
    if (isIdle_) {
        next_.OnSection(id, section, size);
        return;
    }
    const Decision decision = Decide(section, size);
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
        next_.OnSection(id, section, 0);
    }
    for (const int unknownId : extraIds) {
        next_.OnSection(unknownId, section, decision.size);
    }

    bool isDelivered = false;
    {
        MutexLock lock(mutex_);
        // The callbacks just made may have released it.
        if (!isReleased_) {
            if (decision.delay > 0) {
                held_.push_back(
                    {id, {section, section + decision.size}, number + decision.delay, false});
            } else {
                isDelivered = true;
                Remember(id, section, decision.size);
            }
        }
    }
    if (isDelivered) {
        next_.OnSection(id, section, decision.size);
    }
    DeliverHeld(number);
}

FaultySections::Decision FaultySections::Decide(const uint8_t* section, size_t size) {
    Decision decision;
    decision.size = size;
    uint64_t cuts = 0;
    for (Fault& fault : faults_) {
        FaultTrigger& trigger = fault.trigger;
        if (!trigger.LooksAt(section[0])) {
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
                const auto kept =
                    static_cast<size_t>(amount ? *amount : 1 + trigger.random().Below(size - 1));
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
    if (callingId_ && caller_ != std::this_thread::get_id() && released.count(*callingId_) != 0) {
        const uint64_t call = callNumber_;
        while (callingId_ && callNumber_ == call) {
            callEnded_.Wait(mutex_);
        }
    }
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
    mutex_.Lock();
    for (;;) {
        const auto first = std::min_element(
            held_.begin(), held_.end(), [](const Held& a, const Held& b) { return a.due < b.due; });
        if (first == held_.end() || first->due > due) {
            break;
        }
        const Held held = std::move(*first);
        held_.erase(first);
        if (held.isLate) {
            plan_->Count(FaultKind::kLate);
        } else {
            Remember(held.id, held.section.data(), held.section.size());
            callingId_ = held.id;
            caller_ = std::this_thread::get_id();
            ++callNumber_;
        }
        mutex_.Unlock();
        next_.OnSection(held.id, held.section.data(), held.section.size());
        mutex_.Lock();
        callingId_.reset();
        callEnded_.NotifyAll();
    }
    mutex_.Unlock();
}

}  // namespace tvservice
