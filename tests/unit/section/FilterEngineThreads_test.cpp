// The engine with its own delivery thread, and clients on other threads.

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <thread>
#include <utility>

#include "softplatform/base/Counters.h"
#include "softplatform/section/FilterEngine.h"
#include "tests/support/PacketWriter.h"
#include "tests/support/Signal.h"

namespace tvservice {
namespace {

using testsupport::Bytes;
using testsupport::PacketWriter;
using testsupport::SectionOfSize;
using testsupport::Signal;

class CallingSink final : public SectionSink {
  public:
    explicit CallingSink(std::function<void(int)> call) : call_(std::move(call)) {}
    void OnSection(int id, SectionView) override { call_(id); }

  private:
    const std::function<void(int)> call_;
};

class FilterEngineThreadsTest : public testing::Test {
  protected:
    int Subscribe(uint16_t pid, SectionSink& sink, int id) {
        return engine_.Subscribe(pid, *SectionFilter::Compile({0x42}, {0xFF}, {}), sink, id);
    }

    void FeedSection(uint16_t pid) {
        const Bytes packets = writer_.Section(pid, section_).Take();
        for (size_t at = 0; at < packets.size(); at += 188) {
            engine_.OnPacket(PacketView(packets.data() + at));
        }
    }

    Counters counters_;
    FilterEngine engine_{counters_, nullptr, 64};
    PacketWriter writer_;
    const Bytes section_ = SectionOfSize(300);
};

TEST_F(FilterEngineThreadsTest, TenThousandChangesLoseNoSectionOfOtherFilters) {
    std::atomic<int> steady{0};
    CallingSink steadySink([&](int) { ++steady; });
    CallingSink otherSink([](int) {});
    Subscribe(0x0100, steadySink, 1);

    std::atomic<bool> done{false};
    std::thread client([&] {
        for (int i = 0; i < 10000; ++i) {
            // Sometimes on the PID of the steady filter, sometimes the only filter of a PID.
            const uint16_t pid = i % 2 == 0 ? 0x0100 : 0x0200;
            const int handle = Subscribe(pid, otherSink, 2);
            EXPECT_TRUE(engine_.Unsubscribe(handle));
        }
        done = true;
    });
    int fed = 0;
    while (!done || fed < 1000) {
        FeedSection(0x0100);
        FeedSection(0x0200);
        ++fed;
    }
    client.join();
    EXPECT_EQ(steady, fed);
    EXPECT_EQ(counters_.Get(Counter::kTruncatedSections), 0u);
}

TEST_F(FilterEngineThreadsTest, UnsubscribeWaitsForTheCallbackThatRunsOnAnotherThread) {
    Signal isCalled;
    Signal isReleased;
    Signal mayReturn;
    std::atomic<bool> hasReturned{false};
    CallingSink sink([&](int) {
        isCalled.Set();
        EXPECT_TRUE(mayReturn.Wait());
        hasReturned = true;
    });
    const int handle = Subscribe(0x0100, sink, 1);
    std::thread delivery([&] {
        FeedSection(0x0100);
        FeedSection(0x0100);
    });
    ASSERT_TRUE(isCalled.Wait());
    std::thread client([&] {
        EXPECT_TRUE(engine_.Unsubscribe(handle));
        EXPECT_TRUE(hasReturned);
        isReleased.Set();
    });
    EXPECT_FALSE(isReleased.Wait(std::chrono::milliseconds(50)));
    mayReturn.Set();
    EXPECT_TRUE(isReleased.Wait());
    client.join();
    delivery.join();
    EXPECT_EQ(counters_.Get(Counter::kDeliveredSections), 1u);
}

TEST_F(FilterEngineThreadsTest, UnsubscribeDoesNotWaitForTheCallbackOfAnotherHandle) {
    int other = 0;
    CallingSink sink([&](int) {
        std::thread client([&] { EXPECT_TRUE(engine_.Unsubscribe(other)); });
        client.join();  // would block for ever if the client waited for this callback
    });
    Subscribe(0x0100, sink, 1);
    other = Subscribe(0x0100, sink, 2);
    FeedSection(0x0100);
    EXPECT_EQ(counters_.Get(Counter::kDeliveredSections), 1u);
}

TEST_F(FilterEngineThreadsTest, AFilterCanBeSetWhileACallbackRuns) {
    CallingSink sink([&](int id) {
        if (id == 1) {
            std::thread client([&] { EXPECT_GT(Subscribe(0x0200, sink, 2), 0); });
            client.join();
        }
    });
    Subscribe(0x0100, sink, 1);
    FeedSection(0x0100);
    FeedSection(0x0200);
    EXPECT_EQ(counters_.Get(Counter::kDeliveredSections), 2u);
}

TEST_F(FilterEngineThreadsTest, NoCallbackBeginsAfterUnsubscribeHasReturned) {
    constexpr int kRounds = 500;
    std::array<std::atomic<bool>, kRounds> isGone{};
    std::array<Signal, kRounds> isCalled;
    CallingSink sink([&](int id) {
        const auto round = static_cast<size_t>(id);
        EXPECT_FALSE(isGone[round]) << id;
        isCalled[round].Set();
    });
    std::atomic<bool> done{false};
    std::thread delivery([&] {
        while (!done) {
            FeedSection(0x0100);
        }
    });
    for (size_t round = 0; round < kRounds; ++round) {
        const int handle = Subscribe(0x0100, sink, static_cast<int>(round));
        EXPECT_TRUE(isCalled[round].Wait());
        EXPECT_TRUE(engine_.Unsubscribe(handle));
        isGone[round] = true;
    }
    done = true;
    delivery.join();
}

}  // namespace
}  // namespace tvservice
