#include "softplatform/section/HandlePool.h"

#include <algorithm>

namespace tvservice {

std::optional<int> HandlePool::Take() {
    while (!free_.empty()) {
        const unsigned slot = free_.front();
        for (unsigned tried = 0; tried < kHandleGenerations; ++tried) {
            const unsigned generation = nextGeneration_[slot];
            nextGeneration_[slot] = (generation + 1) % kHandleGenerations;
            const int handle = static_cast<int>(1 + slot + slots_ * generation);
            if (!retired_[static_cast<size_t>(handle)] && slotInUse_.count(handle) == 0) {
                slotInUse_.emplace(handle, slot);
                free_.pop_front();
                return handle;
            }
        }
        free_.pop_front();  // every value of this slot is retired, so the slot is never used again
    }
    return std::nullopt;
}

bool HandlePool::Release(int handle) {
    const auto found = slotInUse_.find(handle);
    if (found == slotInUse_.end()) {
        return false;
    }
    free_.push_back(found->second);
    slotInUse_.erase(found);
    return true;
}

bool HandlePool::Retire(int handle) {
    if (handle < 1 || static_cast<size_t>(handle) >= retired_.size() ||
        retired_[static_cast<size_t>(handle)] || slotInUse_.count(handle) != 0) {
        return false;
    }
    retired_[static_cast<size_t>(handle)] = true;
    return true;
}

bool HandlePool::Resize(unsigned slots) {
    if (slots < 1 || slots > kMaxFilterSlots || slotInUse_.size() > slots) {
        return false;
    }
    if (slots == slots_) {
        return true;
    }
    slots_ = slots;
    nextGeneration_.assign(slots, 0);
    retired_.resize(std::max(retired_.size(), size_t{1} + slots * kHandleGenerations));
    unsigned slot = 0;
    for (auto& inUse : slotInUse_) {
        inUse.second = slot++;
    }
    free_.clear();
    for (; slot < slots; ++slot) {
        free_.push_back(slot);
    }
    return true;
}

}  // namespace tvservice
