#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "softplatform/ts/PacketView.h"

namespace tvservice {

// Which of the 8192 PIDs have been seen. One thread writes, any thread may read.
class SeenPids {
  public:
    // `pid` is below kPidCount. Costs one load when it was seen before.
    void Add(uint16_t pid) {
        std::atomic<uint64_t>& word = words_[pid / 64];
        const uint64_t before = word.load(std::memory_order_relaxed);
        const uint64_t bit = uint64_t{1} << (pid % 64);
        if ((before & bit) == 0) {
            word.store(before | bit, std::memory_order_relaxed);
        }
    }

    // False for a PID that no packet can carry.
    bool Has(uint16_t pid) const {
        return pid < kPidCount &&
               (words_[pid / 64].load(std::memory_order_relaxed) >> (pid % 64) & 1) != 0;
    }

    void Clear() {
        for (std::atomic<uint64_t>& word : words_) {
            word.store(0, std::memory_order_relaxed);
        }
    }

  private:
    std::array<std::atomic<uint64_t>, kPidCount / 64> words_{};
};

}  // namespace tvservice
