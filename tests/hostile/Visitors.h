#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include "SI/Include/ISectionManager.h"
#include "SI/Include/ISectionObserver.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tests/support/Forever.h"

namespace testsupport {

class SectionCounter final : public TORVEL_MW::ISectionObserver {
  public:
    void OnSectionReceived(unsigned short, unsigned short, unsigned short,
                           unsigned char*) override {
        ++sections_;
    }
    void OnSectionTimeout(unsigned int) override { ++timeouts_; }

    std::uint64_t sections() const { return sections_; }
    std::uint64_t timeouts() const { return timeouts_; }

  private:
    std::atomic<std::uint64_t> sections_{0}, timeouts_{0};
};

// Clients of the section manager that subscribe, stay for a while and leave, from construction to
// SendAway. Every second one wants one section only and leaves with it.
class Visitors {
  public:
    struct Table {
        std::uint16_t pid;
        std::uint8_t table_id;
    };

    // Starts `threads` threads. Each makes a new client after every `stay` packets that the
    // platform plays.
    Visitors(std::vector<Table> tables, std::uint64_t stay, unsigned threads)
        : tables_(std::move(tables)), stay_(stay) {
        for (unsigned seed = 1; seed <= threads; ++seed) {
            threads_.emplace_back([this, seed] { ComeAndGo(seed); });
        }
    }
    ~Visitors() { SendAway(); }
    Visitors(const Visitors&) = delete;
    Visitors& operator=(const Visitors&) = delete;

    // Waits until all clients have left. The stream must go on meanwhile, because some clients wait
    // for a section.
    void SendAway() {
        isOver_ = true;
        for (std::thread& thread : threads_) {
            thread.join();
        }
        threads_.clear();
    }

    std::uint64_t came() const { return came_; }
    std::uint64_t oneShots() const { return oneShots_; }
    std::uint64_t refused() const { return refused_; }
    std::uint64_t sections() const { return staying_.sections() + oneShotSections(); }
    std::uint64_t oneShotSections() const { return brief_.sections(); }

  private:
    static constexpr unsigned kNoTimeout = 0xFFFFFFFF;
    static constexpr std::size_t kMostHeld = 4;

    void ComeAndGo(unsigned seed) {
        std::mt19937 random(seed);
        std::vector<unsigned> held;
        while (!isOver_) {
            const Table table = tables_[random() % tables_.size()];
            const bool isOneShot = random() % 2 == 0;
            const unsigned id = Subscribe(table, isOneShot, static_cast<unsigned>(random() % 3));
            if (id == 0) {
                ++refused_;
            } else if (isOneShot) {
                ++oneShots_;
            } else {
                held.push_back(id);
            }
            ++came_;
            if (held.size() > kMostHeld) {
                manager_.Unsubscribe(held.front());
                held.erase(held.begin());
            }
            const std::uint64_t start = platform_.Counter(tvservice::Counter::kPackets);
            while (!isOver_ && platform_.Counter(tvservice::Counter::kPackets) < start + stay_) {
                std::this_thread::sleep_for(std::chrono::microseconds(100));
            }
        }
        for (const unsigned id : held) {
            manager_.Unsubscribe(id);
        }
        while (brief_.sections() < oneShots_) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    unsigned Subscribe(Table table, bool isOneShot, unsigned way) {
        using TORVEL_MW::ISectionManager;
        SectionCounter& observer = isOneShot ? brief_ : staying_;
        const auto mode = isOneShot ? ISectionManager::EOneShot : ISectionManager::EContinuous;
        constexpr unsigned kMinute = 60'000;
        return way == 0
                   ? manager_.Subscribe(table.pid, table.table_id, observer, mode, kMinute, true)
               : way == 1 ? manager_.Subscribe(table.pid, table.table_id, observer, mode,
                                               kNoTimeout, false)
                          : manager_.Subscribe(table.pid, {table.table_id}, {0xFF}, {0x00},
                                               observer, mode, kMinute);
    }

    const std::vector<Table> tables_;
    const std::uint64_t stay_;
    TORVEL_MW::ISectionManager& manager_ = *TORVEL_MW::ISectionManager::Instance();
    tvservice::SoftwarePlatform& platform_ = tvservice::SoftwarePlatform::Instance();
    // Deliveries to clients that left may still come.
    SectionCounter& staying_ = Forever<SectionCounter>();
    SectionCounter& brief_ = Forever<SectionCounter>();
    std::atomic<bool> isOver_{false};
    std::atomic<std::uint64_t> came_{0}, oneShots_{0}, refused_{0};
    std::vector<std::thread> threads_;
};

}  // namespace testsupport
