#include "softplatform/fault/FaultySubscriptions.h"

#include <algorithm>
#include <utility>

namespace tvservice {

FaultySubscriptions::FaultySubscriptions(std::shared_ptr<FaultPlan> plan) {
    Use(std::move(plan));
}

void FaultySubscriptions::Use(std::shared_ptr<FaultPlan> plan) {
    MutexLock lock(mutex_);
    plan_ = std::move(plan);
    subscribeFaults_ = plan_->Triggers(FaultEvent::kSubscribe);
    unsubscribeFaults_ = plan_->Triggers(FaultEvent::kUnsubscribe);
}

SubscribeFault FaultySubscriptions::NextSubscribe() {
    MutexLock lock(mutex_);
    SubscribeFault result;
    for (FaultTrigger& fault : subscribeFaults_) {
        if (!fault.Next()) {
            continue;
        }
        if (fault.spec().kind == FaultKind::kRefuseSubscribe) {
            result.isRefused = true;
        } else {
            result.back = *fault.spec().amount;
        }
    }
    if (result.isRefused) {
        plan_->Count(FaultKind::kRefuseSubscribe);
    }
    return result;
}

int FaultySubscriptions::HandOut(int handle, SubscribeFault fault) {
    MutexLock lock(mutex_);
    int told = handle;
    if (fault.back > 0 && fault.back <= told_.size()) {
        told = told_[told_.size() - fault.back];
        plan_->Count(FaultKind::kOldHandle, told == handle ? 0 : 1);
    }
    Book(told, handle);
    told_.push_back(told);
    if (told_.size() > Describe(FaultKind::kOldHandle).most) {
        told_.pop_front();
    }
    return told;
}

void FaultySubscriptions::Exempt(int handle) {
    MutexLock lock(mutex_);
    Book(handle, handle);
    exempt_.insert(handle);
}

void FaultySubscriptions::Book(int told, int handle) {
    std::vector<int>& handles = book_[told];
    // All requests that share a filter get the same handle, which must be in the list once.
    if (std::find(handles.begin(), handles.end(), handle) == handles.end()) {
        handles.push_back(handle);
    }
}

bool FaultySubscriptions::NextUnsubscribe(int told) {
    MutexLock lock(mutex_);
    if (exempt_.count(told) != 0) {
        return false;
    }
    bool isRefused = false;
    for (FaultTrigger& fault : unsubscribeFaults_) {
        isRefused = fault.Next() || isRefused;
    }
    if (isRefused) {
        plan_->Count(FaultKind::kRefuseUnsubscribe);
    }
    return isRefused;
}

std::vector<int> FaultySubscriptions::TakeBack(int told) {
    MutexLock lock(mutex_);
    exempt_.erase(told);
    auto entry = book_.extract(told);
    return entry.empty() ? std::vector<int>{told} : std::move(entry.mapped());
}

}  // namespace tvservice
