// A stream that never ends, and clients that subscribe and leave. The resources of the receiver
// must stay the same, and its counters must agree with those of the clients. soak.cpp is the long
// form.

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "SI/Include/ISectionManager.h"
#include "client/Barrier.h"
#include "softplatform/base/Counters.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tests/hostile/ProcessUse.h"
#include "tests/hostile/Visitors.h"
#include "tests/support/Forever.h"
#include "tests/support/PacketWriter.h"
#include "tests/support/Slowdown.h"
#include "tests/support/TsBytes.h"

namespace testsupport {
namespace {

using TORVEL_MW::ISectionManager;
using tvservice::Counter;
using tvservice::SoftwarePlatform;

// Where the test runs slower (under a sanitizer or an emulator), the memory of the process says
// nothing either.
constexpr bool kMemoryIsAMeasure = kSlowdown == 1;
constexpr uint64_t kBytesToPlay = kMemoryIsAMeasure ? 40'000'000 : 12'000'000;
constexpr size_t kMemoryBound = 2 * 1024 * 1024;
constexpr uint64_t kReadSize = 256 * 1024;  // of the platform
constexpr unsigned kNoTimeout = 0xFFFFFFFF;
constexpr unsigned kVisitorThreads = 2;
constexpr uint64_t kStay = 300;  // packets
constexpr uint64_t kVisitors = 400;

// Each round of the stream has one packet with one section on each of these PIDs, and then packets
// on other PIDs that no client asks for.
constexpr std::array<uint16_t, 5> kPids{0x0000, 0x0010, 0x0011, 0x0012, 0x0100};
constexpr size_t kPermanent = 2;  // of kPids
constexpr uint16_t kOtherPid = 0x0300;
constexpr uint8_t kTable = 0x42;
constexpr size_t kPacketsARound = 32;
constexpr size_t kRounds = 160;  // a multiple of 16: continuity goes on from end to start

class LoopedStreamTest : public testing::Test {
  protected:
    LoopedStreamTest() {
        tvservice::SetLogPriority(6);
        tvservice::SetLogSink([this](int, int, const char*, const char* line) {
            const std::string text = line;
            (text.find("Couldn't find section subscription") != std::string::npos ? orphans_
                                                                                  : otherErrors_)++;
        });
    }
    ~LoopedStreamTest() override {
        platform_.Stop();
        tvservice::SetLogSink({});
    }

    static Bytes Stream() {
        PacketWriter writer;
        const Bytes section = SectionOfSize(183, kTable);
        for (size_t round = 0; round < kRounds; ++round) {
            for (const uint16_t pid : kPids) {
                writer.Section(pid, section);
            }
            for (size_t i = kPids.size(); i < kPacketsARound; ++i) {
                writer.Packet({.PID = kOtherPid}, Bytes(184));
            }
        }
        return writer.Take();
    }

    // Waits until the platform has read this many bytes and this many clients have come. Returns
    // false when that takes too long.
    bool WaitFor(uint64_t bytes, const Visitors& visitors, uint64_t came) {
        const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (platform_.Counter(Counter::kBytes) < bytes || visitors.came() < came) {
            if (std::chrono::steady_clock::now() > giveUp) {
                return false;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return true;
    }

    SoftwarePlatform& platform_ = SoftwarePlatform::Instance();
    ISectionManager& manager_ = *ISectionManager::Instance();
    std::atomic<uint64_t> orphans_{0}, otherErrors_{0};
};

TEST_F(LoopedStreamTest, ServesClientsThatComeAndGoAndLeavesNothingBehind) {
    Forever<client::Barrier>();
    SectionCounter& permanent = Forever<SectionCounter>();
    const unsigned permanentId = manager_.Subscribe(
        kPids[kPermanent], kTable, permanent, ISectionManager::EContinuous, kNoTimeout, false);
    const size_t threadsBefore = ThreadsOfThisProcess();

    std::string error;
    const tvservice::SourcePtr source =
        tvservice::WithOptions(tvservice::MemorySource("looped", Stream()), {.loop = true}, error);
    ASSERT_NE(source, nullptr) << error;
    ASSERT_TRUE(platform_.Start(tvservice::Config{}, error)) << error;
    tvservice::PlayOptions options;
    options.barrierInterval = 64 * 1024;  // keeps the queue of sections short
    ASSERT_TRUE(platform_.Play(source, options));

    std::vector<Visitors::Table> tables;
    for (const uint16_t pid : kPids) {
        tables.push_back({pid, kTable});
    }
    Visitors visitors(tables, kStay, kVisitorThreads);
    EXPECT_TRUE(WaitFor(kBytesToPlay / 10, visitors, kVisitors / 10));
    const size_t memoryEarly = ResidentBytesOfThisProcess();
    EXPECT_TRUE(WaitFor(kBytesToPlay, visitors, kVisitors));
    const size_t memoryLate = ResidentBytesOfThisProcess();
    visitors.SendAway();
    platform_.Interrupt();
    EXPECT_EQ(platform_.WaitEnd().reason, tvservice::InputEnd::kInterrupted);

    const uint64_t bytes = platform_.Counter(Counter::kBytes),
                   packets = platform_.Counter(Counter::kPackets);
    const uint64_t delivered = platform_.Counter(Counter::kDeliveredSections);
    for (const Counter loss :
         {Counter::kContinuityGaps, Counter::kCrcErrors, Counter::kTruncatedSections,
          Counter::kSyncLosses, Counter::kSkippedBytes, Counter::kDuplicatePackets,
          Counter::kRefusedSubscriptions, Counter::kRetiredHandles}) {
        EXPECT_EQ(platform_.Counter(loss), 0u) << tvservice::Describe(loss).name;
    }
    // When a barrier passes, all sections delivered before it are handled.
    ASSERT_TRUE(platform_.Play(tvservice::MemorySource("nothing", {})));
    EXPECT_EQ(platform_.WaitEnd().reason, tvservice::InputEnd::kEndOfInput);

    EXPECT_EQ(visitors.refused(), 0u);
    EXPECT_EQ(otherErrors_, 0u);
    EXPECT_EQ(permanent.sections() + visitors.sections() + orphans_, delivered)
        << "a section without a subscription must follow a release";
    EXPECT_EQ(visitors.oneShotSections(), visitors.oneShots());
    EXPECT_GT(visitors.sections(), visitors.came());

    // Play is interrupted, so some of the last bytes read may not be used.
    EXPECT_LE(packets, bytes / 188);
    EXPECT_LT(bytes / 188 - packets, kReadSize / 188 + 2);
    // Each round has one packet with a section: none is missing, none came twice. The packet that
    // was next when Play was interrupted may be missing.
    const auto sectionsIn = [](uint64_t count) {
        return (count + kPacketsARound - 1 - kPermanent) / kPacketsARound;
    };
    EXPECT_GE(permanent.sections(), sectionsIn(packets - 1));
    EXPECT_LE(permanent.sections(), sectionsIn(packets));

    manager_.Unsubscribe(permanentId);
    platform_.Stop();
    EXPECT_TRUE(ThreadsBecome(threadsBefore - 1))
        << ThreadsOfThisProcess() << " threads, " << threadsBefore
        << " before; one thread of these is the permanent client's timer";

    RecordProperty("visitors", static_cast<int>(visitors.came()));
    RecordProperty("resident_early", std::to_string(memoryEarly));
    RecordProperty("resident_late", std::to_string(memoryLate));
    if (kMemoryIsAMeasure) {
        EXPECT_LT(memoryLate, memoryEarly + kMemoryBound);
    }
}

}  // namespace
}  // namespace testsupport
