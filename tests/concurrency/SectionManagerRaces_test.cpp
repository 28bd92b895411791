// Races of the section manager, one per test, over the software platform with few filters. Threads
// of the test push sections as the delivery threads of a platform would. Seeds choose which thread
// does what, and where a thread yields.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <mutex>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include "SI/SectionFilter/Korvo/Src/KorvoSectionManager.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tests/support/Forever.h"
#include "tests/unit/si/SiFixture.h"

namespace {

constexpr unsigned kFilters = 16;
constexpr unsigned kThreads = 4;

/// The random choices of one thread.
class Chance {
  public:
    Chance(unsigned seed, unsigned thread) : random_(seed * 1000 + thread) {}

    unsigned Below(unsigned limit) { return static_cast<unsigned>(random_()) % limit; }

    /// Sometimes lets other threads run, for a short or a longer time.
    void GiveWay() {
        switch (Below(8)) {
            case 0:
                std::this_thread::yield();
                break;
            case 1:
                std::this_thread::sleep_for(std::chrono::microseconds(Below(100)));
                break;
            default:
                break;
        }
    }

  private:
    std::mt19937 random_;
};

void Push(unsigned int id, unsigned char table_id = 0x42) {
    unsigned char section[] = {table_id, 0x30, 5, 0, 0, 0, 0, 0};
    CKorvoSectionManager::s_OnSectionData(true, sizeof section, section, static_cast<int>(id));
}

/// Counts its sections. With `leaves` it unsubscribes at the first one. Observers are never
/// destroyed: a delivery may reach one after its subscription ended.
class Counter : public TORVEL_MW::ISectionObserver {
  public:
    explicit Counter(bool leaves = false) : leaves_(leaves) {}

    void OnSectionReceived(unsigned short id, unsigned short, unsigned short,
                           unsigned char* data) override {
        ++sections_;
        isInTurn_ = isInTurn_ && data[0] != last_.exchange(data[0]);
        if (leaves_) {
            ISectionManager::Instance()->Unsubscribe(id);
        }
    }
    void OnSectionTimeout(unsigned int) override { ++timeouts_; }

    int sections() const { return sections_; }
    int timeouts() const { return timeouts_; }
    bool isInTurn() const { return isInTurn_; }  // no table_id came twice in succession

    void WaitForSections(int count) const {
        while (sections_ < count) {
            std::this_thread::yield();
        }
    }

    void WaitForTimeout() const {
        while (timeouts_ == 0) {
            std::this_thread::yield();
        }
    }

  private:
    const bool leaves_;
    std::atomic<int> sections_{0};
    std::atomic<int> timeouts_{0};
    std::atomic<int> last_{-1};
    std::atomic<bool> isInTurn_{true};
};

class SectionManagerRaces : public testing::TestWithParam<unsigned> {
  protected:
    void SetUp() override {
        tvservice::SetLogPriority(7);
        tvservice::Config config;
        config.filters = kFilters;
        ASSERT_TRUE(tvservice::SoftwarePlatform::Instance().Start(config));
        lastId_ = Subscribe(last_, 0x1FF0);
        ASSERT_NE(lastId_, 0u);
    }

    void TearDown() override { tvservice::SoftwarePlatform::Instance().Stop(); }

    /// Subscribes by one of the three overloads. Each of them sets the same filter.
    static unsigned int Subscribe(Counter& counter, unsigned short pid,
                                  ISectionManager::EFilterMode mode = ISectionManager::EContinuous,
                                  unsigned int timeout = kNoTimeout, unsigned overload = 0) {
        ISectionManager& manager = *ISectionManager::Instance();
        switch (overload) {
            case 0:
                return manager.Subscribe(pid, 0x42, counter, mode, timeout, false);
            case 1:
                return manager.Subscribe(pid, 0x42, 0x0001, counter, mode, timeout);
            default:
                return manager.Subscribe(pid, {0x42}, {0xFF}, {0x00}, counter, mode, timeout);
        }
    }

    /// Waits until all sections that were pushed before are handled.
    void Settle() {
        const std::lock_guard<std::mutex> lock(settling_);
        const int before = last_.sections();
        Push(lastId_);
        last_.WaitForSections(before + 1);
    }

    /// No filter was kept and none was released twice: as many are free as at the start.
    void ExpectAllFiltersFree() {
        Settle();
        std::vector<unsigned int> ids;
        for (unsigned short pid = 0x1000; pid < 0x1000 + kFilters - 1; ++pid) {
            ids.push_back(Subscribe(Forever<Counter>(), pid));
            EXPECT_NE(ids.back(), 0u) << pid;
        }
        EXPECT_EQ(Subscribe(Forever<Counter>(), 0x1FFF), 0u);
        for (const unsigned int id : ids) {
            ISectionManager::Instance()->Unsubscribe(id);
        }
    }

    /// Runs `body(thread, chance)` on so many threads. Until they are done, another thread repeats
    /// `beside(chance)`.
    template <class Body, class Beside>
    void Run(Body body, Beside beside) {
        std::atomic<unsigned> running{kThreads};
        std::vector<std::thread> threads;
        for (unsigned thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([&, thread] {
                Chance chance(GetParam(), thread);
                body(thread, chance);
                --running;
            });
        }
        threads.emplace_back([&] {
            Chance chance(GetParam(), kThreads);
            while (running > 0) {
                beside(chance);
            }
        });
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

    Counter& last_ = Forever<Counter>();
    unsigned int lastId_ = 0;
    std::mutex settling_;
};

// A one-shot, or a client that unsubscribes inside its first delivery, races against Unsubscribe on
// another thread. Whichever is first, there is at most one delivery, and one release.
TEST_P(SectionManagerRaces, OneShotsAgainstUnsubscribe) {
    constexpr int kRounds = 300;
    std::array<std::atomic<unsigned int>, kThreads> current{};
    std::atomic<int> delivered{0};
    Run(
        [&](unsigned thread, Chance& chance) {
            for (int round = 0; round < kRounds; ++round) {
                const bool isOneShot = chance.Below(2) == 0;
                Counter& counter = Forever<Counter>(!isOneShot);
                const unsigned int id =
                    Subscribe(counter, static_cast<unsigned short>(0x100 + thread),
                              isOneShot ? ISectionManager::EOneShot : ISectionManager::EContinuous,
                              kNoTimeout, chance.Below(3));
                ASSERT_NE(id, 0u);
                current[thread] = id;
                chance.GiveWay();
                if (chance.Below(3) == 0) {
                    counter.WaitForSections(1);
                }
                ISectionManager::Instance()->Unsubscribe(id);
                if (chance.Below(8) == 0) {
                    Settle();  // until then a delivery may still be on its way
                    EXPECT_LE(counter.sections(), 1);
                }
                delivered += counter.sections();
            }
        },
        [&](Chance& chance) {
            for (const auto& id : current) {
                Push(id);
                chance.GiveWay();
            }
            Settle();
        });
    EXPECT_GT(delivered, 0);
    EXPECT_LE(delivered, kRounds * static_cast<int>(kThreads));
    ExpectAllFiltersFree();
}

// Each section sets the filter anew, while other clients subscribe to the same filter and leave.
TEST_P(SectionManagerRaces, TogglesAtAHighRate) {
    constexpr int kSections = 1000;
    constexpr unsigned short kPid = 0x0012;
    Run(
        [&](unsigned, Chance& chance) {
            Counter& counter = Forever<Counter>();
            const unsigned int id = ISectionManager::Instance()->Subscribe(
                kPid, {0x4E}, {0xFE}, {0x00}, counter, ISectionManager::EToggle, kNoTimeout);
            ASSERT_NE(id, 0u);
            for (int i = 0; i < kSections; ++i) {
                Push(id, i % 2 == 0 ? 0x4E : 0x4F);
                chance.GiveWay();
            }
            Settle();
            EXPECT_EQ(counter.sections(), kSections);
            EXPECT_TRUE(counter.isInTurn());
            ISectionManager::Instance()->Unsubscribe(id);
        },
        [&](Chance& chance) {
            Counter& counter = Forever<Counter>();
            const auto table_id = static_cast<unsigned char>(0x4E + chance.Below(2));
            const unsigned int id =
                ISectionManager::Instance()->Subscribe(kPid, {table_id}, {0xFF}, {0x00}, counter,
                                                       ISectionManager::EContinuous, kNoTimeout);
            EXPECT_NE(id, 0u);
            Push(id, table_id);
            chance.GiveWay();
            ISectionManager::Instance()->Unsubscribe(id);
        });
    ExpectAllFiltersFree();
}

// A section and a time-out come at the same moment: each is reported at most once, and the section
// is not lost.
TEST_P(SectionManagerRaces, TimeoutsAgainstSections) {
    constexpr int kRounds = 100;
    std::atomic<int> inTime{0};
    std::atomic<int> late{0};
    Run(
        [&](unsigned thread, Chance& chance) {
            for (int round = 0; round < kRounds; ++round) {
                constexpr ISectionManager::EFilterMode kModes[] = {ISectionManager::EContinuous,
                                                                   ISectionManager::EOneShot};
                Counter& counter = Forever<Counter>();
                const unsigned int id =
                    Subscribe(counter, static_cast<unsigned short>(0x200 + thread),
                              kModes[chance.Below(2)], 1, chance.Below(3));
                ASSERT_NE(id, 0u);
                if (chance.Below(8) == 0) {
                    counter.WaitForTimeout();
                } else {
                    std::this_thread::sleep_for(std::chrono::microseconds(chance.Below(2000)));
                }
                Push(id);
                const bool isHasty = chance.Below(4) == 0;
                if (!isHasty) {
                    Settle();
                    EXPECT_EQ(counter.sections(), 1);
                }
                ISectionManager::Instance()->Unsubscribe(id);
                EXPECT_LE(counter.sections(), 1);
                EXPECT_LE(counter.timeouts(), 1);
                late += counter.timeouts();
                inTime += counter.sections() == 1 && counter.timeouts() == 0 ? 1 : 0;
            }
        },
        [&](Chance& chance) { chance.GiveWay(); });
    EXPECT_GT(inTime, 0);
    EXPECT_GT(late, 0);
    ExpectAllFiltersFree();
}

// Ids wrap at the end of their range. Each is given once, and sections reach the subscription of
// their id.
TEST_P(SectionManagerRaces, IdsAroundTheEndOfTheirRange) {
    constexpr unsigned kPerThread = 100;
    constexpr unsigned kBeforeTheEnd = 200;
    constexpr unsigned int kLastId = 4294967294u;
    KorvoSectionManagerPeer::SetNextId(
        dynamic_cast<CKorvoSectionManager&>(*ISectionManager::Instance()),
        kLastId - kBeforeTheEnd + 1);
    // Ids wrap to 1, so an id from there that is still in use would be given twice.
    ISectionManager::Instance()->Unsubscribe(lastId_);
    std::mutex mutex;
    std::vector<unsigned int> given;
    std::atomic<unsigned int> some{0};
    Run(
        [&](unsigned thread, Chance& chance) {
            for (unsigned i = 0; i < kPerThread; ++i) {
                Counter& counter = Forever<Counter>();
                const unsigned int id =
                    Subscribe(counter, static_cast<unsigned short>(0x300 + thread),
                              ISectionManager::EContinuous, kNoTimeout, chance.Below(3));
                ASSERT_NE(id, 0u);
                some = id;
                chance.GiveWay();
                Push(id);
                counter.WaitForSections(1);
                if (chance.Below(2) == 0) {
                    chance.GiveWay();
                }
                ISectionManager::Instance()->Unsubscribe(id);
                const std::lock_guard<std::mutex> lock(mutex);
                given.push_back(id);
            }
        },
        [&](Chance& chance) {
            Push(some);
            std::this_thread::sleep_for(std::chrono::microseconds(50));
            chance.GiveWay();
        });
    std::set<unsigned int> wanted;
    for (unsigned i = 0; i < kBeforeTheEnd; ++i) {
        wanted.insert(kLastId - i);
    }
    for (unsigned i = 0; i < kThreads * kPerThread - kBeforeTheEnd; ++i) {
        wanted.insert(1 + i);
    }
    EXPECT_EQ(given.size(), wanted.size());
    EXPECT_EQ(std::set<unsigned int>(given.begin(), given.end()), wanted);
    lastId_ = Subscribe(last_, 0x1FF0);
    ExpectAllFiltersFree();
}

INSTANTIATE_TEST_SUITE_P(Seeds, SectionManagerRaces, testing::Values(1u, 2u, 3u, 4u));

}  // namespace
