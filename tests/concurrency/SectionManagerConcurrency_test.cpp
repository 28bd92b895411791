// The section manager over the software platform, with clients that subscribe and unsubscribe on
// four threads.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include "SI/Include/ISectionManager.h"
#include "generator/Scenarios.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tests/support/Forever.h"

namespace {

using TORVEL_MW::ISectionManager;

constexpr unsigned int kNoTimeout = 0xFFFFFFFF;
constexpr std::size_t kThreads = 4;
constexpr std::size_t kRoundsPerThread = 300;

/// Counts its sections, and unsubscribes itself in every third delivery.
class Client : public TORVEL_MW::ISectionObserver {
  public:
    void OnSectionReceived(unsigned short id, unsigned short, unsigned short length,
                           unsigned char* data) override {
        EXPECT_GE(length, 3);
        bytes_ += data[length - 1];
        if (++sections_ % 3 == 0) {
            ISectionManager::Instance()->Unsubscribe(id);
        }
    }
    void OnSectionTimeout(unsigned int) override { ++timeouts_; }

    int Events() const { return sections_ + timeouts_; }

  private:
    std::atomic<int> sections_{0};
    std::atomic<int> timeouts_{0};
    std::atomic<unsigned> bytes_{0};
};

class SectionManagerUnderLoad : public testing::TestWithParam<unsigned> {
  protected:
    void SetUp() override {
        tvservice::SetLogPriority(7);
        ASSERT_TRUE(tvservice::SoftwarePlatform::Instance().Start());
    }

    /// Subscribes by a random overload, with a random mode and time-out.
    static unsigned int Subscribe(Client& client, std::mt19937& random) {
        ISectionManager& manager = *ISectionManager::Instance();
        constexpr ISectionManager::EFilterMode kModes[] = {
            ISectionManager::EToggle, ISectionManager::EContinuous, ISectionManager::EOneShot};
        constexpr unsigned int kTimeouts[] = {kNoTimeout, 0, 1, 20};
        const ISectionManager::EFilterMode mode = kModes[random() % 3];
        const unsigned int timeout = kTimeouts[random() % 4];
        switch (random() % 3) {
            case 0:
                return manager.Subscribe(0x0000, 0x00, client, mode, timeout, random() % 2 == 0);
            case 1:
                return manager.Subscribe(0x0011, 0x42, 0x0421, client, mode, timeout);
            default:
                return manager.Subscribe(0x0012, {0x4E}, {0xFE}, {0x00}, client, mode, timeout);
        }
    }
};

TEST_P(SectionManagerUnderLoad, ServesClientsThatComeAndGoOnFourThreads) {
    std::atomic<std::size_t> running{kThreads};
    std::atomic<std::size_t> accepted{0};
    // An observer must outlive its subscription, because deliveries may still be on their way to
    // it.
    auto& clients = Forever<std::vector<std::vector<std::unique_ptr<Client>>>>(kThreads);
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        auto& mine = clients[thread];
        threads.emplace_back([&, thread] {
            std::mt19937 random(GetParam() * 1000 + static_cast<unsigned>(thread));
            std::vector<unsigned int> held;
            for (std::size_t round = 0; round < kRoundsPerThread; ++round) {
                mine.push_back(std::make_unique<Client>());
                const unsigned int id = Subscribe(*mine.back(), random);
                if (id != 0) {
                    ++accepted;
                    held.push_back(id);
                }
                if (held.size() > 8 || random() % 2 == 0) {
                    const std::size_t which = random() % (held.empty() ? 1 : held.size());
                    if (!held.empty()) {
                        ISectionManager::Instance()->Unsubscribe(held[which]);
                        held.erase(held.begin() + static_cast<std::ptrdiff_t>(which));
                    }
                }
            }
            for (const unsigned int id : held) {
                ISectionManager::Instance()->Unsubscribe(id);
            }
            --running;
        });
    }
    const std::vector<std::uint8_t> stream = generator::MakeScenario("demo", GetParam());
    ASSERT_FALSE(stream.empty());
    while (running > 0) {
        ASSERT_TRUE(
            tvservice::SoftwarePlatform::Instance().Play(tvservice::MemorySource("demo", stream)));
        tvservice::SoftwarePlatform::Instance().WaitEnd();
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(accepted, kThreads * kRoundsPerThread);
    int events = 0;
    for (const auto& mine : clients) {
        for (const auto& client : mine) {
            events += client->Events();
        }
    }
    EXPECT_GT(events, 0);

    // The manager still works: a new client gets its PAT.
    Client& late = Forever<Client>();
    ASSERT_NE(ISectionManager::Instance()->Subscribe(
                  0x0000, 0x00, late, ISectionManager::EContinuous, kNoTimeout, false),
              0u);
    ASSERT_TRUE(
        tvservice::SoftwarePlatform::Instance().Play(tvservice::MemorySource("demo", stream)));
    tvservice::SoftwarePlatform::Instance().WaitEnd();
    while (late.Events() == 0) {
        std::this_thread::yield();
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, SectionManagerUnderLoad, testing::Values(1u, 2u, 3u));

}  // namespace
