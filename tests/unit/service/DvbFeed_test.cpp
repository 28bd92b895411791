// The pump with a demux device whose kernel is simulated by the test.

#include "softplatform/service/DvbFeed.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "softplatform/base/Counters.h"
#include "softplatform/input/Source.h"
#include "softplatform/log/PlatformLog.h"
#include "softplatform/section/FilterEngine.h"
#include "softplatform/service/Pump.h"
#include "tests/support/Signal.h"
#include "tests/support/Slowdown.h"
#include "tests/unit/input/dvb/FakeDemux.h"

namespace tvservice {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;
using testsupport::Bytes;
using testsupport::FakeKernel;
using testsupport::SectionBytes;
using testsupport::Signal;

// Takes sections on the delivery thread and hands them to the thread of the test.
class Inbox final : public SectionSink {
  public:
    void OnSection(int id, SectionView section) override {
        std::function<void()> hook;
        {
            MutexLock lock(mutex_);
            sections_.push_back({id, Bytes(section.data(), section.data() + section.size())});
            changed_.NotifyAll();
            hook.swap(hook_);
        }
        if (hook) {
            hook();
        }
    }

    // Called once, inside the next callback.
    void SetHook(std::function<void()> hook) {
        MutexLock lock(mutex_);
        hook_ = std::move(hook);
    }

    // Waits for `count` sections and returns them.
    std::vector<std::pair<int, Bytes>> Wait(size_t count) {
        MutexLock lock(mutex_);
        while (sections_.size() < count) {
            changed_.Wait(mutex_);
        }
        return sections_;
    }

  private:
    Mutex mutex_;
    CondVar changed_;
    std::vector<std::pair<int, Bytes>> sections_ TV_GUARDED_BY(mutex_);
    std::function<void()> hook_ TV_GUARDED_BY(mutex_);
};

class DvbFeedTest : public testing::Test {
  protected:
    ~DvbFeedTest() override {
        pump_.Stop();
        ReplaceLogReceiver({});
    }

    int Subscribe(uint16_t pid, uint8_t table_id, int id, bool fromCache = false) {
        return engine_.Subscribe(pid, *SectionFilter::Compile({table_id}, {0xFF}, {}), inbox_, id,
                                 fromCache);
    }
    void Play(const PlayOptions& options = {}) {
        ASSERT_TRUE(pump_.Start());
        ASSERT_TRUE(pump_.Play(Device(), options));
    }
    SourcePtr Device() {
        return std::make_shared<Source>(
            std::make_shared<DvbSource>("dvb:0", kernel_.path(), kernel_.Opener()));
    }

    FakeKernel kernel_;
    Counters counters_;
    Inbox inbox_;
    FilterEngine engine_{counters_, [this] { pump_.Wake(); }};
    Pump pump_{engine_, counters_};
    const Bytes sdt_ = SectionBytes{.table_id = 0x42}.Build();
    const Bytes changedSdt_ = SectionBytes{.table_id = 0x42, .version_number = 1}.Build();
    const Bytes bat_ = SectionBytes{.table_id = 0x4A}.Build();
};

TEST_F(DvbFeedTest, AsksTheDeviceForWhatIsWantedAndDeliversIt) {
    Subscribe(0x0011, 0x42, 1);
    Play();
    ASSERT_TRUE(kernel_.WaitForFilters(1));
    kernel_.Broadcast(0x0011, bat_);
    kernel_.Broadcast(0x0011, sdt_);
    EXPECT_THAT(inbox_.Wait(1), ElementsAre(Pair(1, sdt_)));
    EXPECT_TRUE(engine_.Seen(0x0011));
    EXPECT_FALSE(engine_.Seen(0x0012));
}

TEST_F(DvbFeedTest, FollowsFiltersThatComeAndGo) {
    const int first = Subscribe(0x0011, 0x42, 1);
    Play();
    ASSERT_TRUE(kernel_.WaitForFilters(1));
    Subscribe(0x0012, 0x4E, 2);
    ASSERT_TRUE(kernel_.WaitForFilters(2));
    engine_.Unsubscribe(first);
    ASSERT_TRUE(kernel_.WaitForFilters(1));
    EXPECT_EQ(kernel_.Filters()[0].pid, 0x0012);
}

TEST_F(DvbFeedTest, AsksOnceForWhatSeveralWant) {
    Subscribe(0x0011, 0x42, 1);
    Subscribe(0x0011, 0x42, 2);
    Play();
    ASSERT_TRUE(kernel_.WaitForFilters(1));
    kernel_.Broadcast(0x0011, sdt_);
    EXPECT_THAT(inbox_.Wait(2), ElementsAre(Pair(1, sdt_), Pair(2, sdt_)));
    EXPECT_THAT(kernel_.Filters(), SizeIs(1));
}

TEST_F(DvbFeedTest, LeavesTheFiltersOfTheDeviceAloneThatStay) {
    Subscribe(0x0011, 0x42, 1);
    Play();
    ASSERT_TRUE(kernel_.WaitForFilters(1));
    const size_t calls = kernel_.SetFilterCalls();
    Subscribe(0x0012, 0x4E, 2);
    ASSERT_TRUE(kernel_.WaitForFilters(2));
    EXPECT_EQ(kernel_.SetFilterCalls(), calls + 1);
}

TEST_F(DvbFeedTest, NeverAsksTheDeviceForPidsBeyondThoseOfPackets) {
    Subscribe(kBarrierPid, kBarrierTableId, 9);
    Subscribe(0x0011, 0x42, 1);
    Play();
    ASSERT_TRUE(kernel_.WaitForFilters(1));
    kernel_.Broadcast(0x0011, sdt_);
    inbox_.Wait(1);
    EXPECT_THAT(kernel_.Filters(), SizeIs(1));
}

TEST_F(DvbFeedTest, ChecksTheCrcItself) {
    Bytes broken = sdt_;
    broken.back() ^= 1;
    Subscribe(0x0011, 0x42, 1);
    Play();
    ASSERT_TRUE(kernel_.WaitForFilters(1));
    kernel_.Broadcast(0x0011, broken);
    kernel_.Broadcast(0x0011, sdt_);
    EXPECT_THAT(inbox_.Wait(1), ElementsAre(Pair(1, sdt_)));
    EXPECT_EQ(counters_.Get(Counter::kCrcErrors), 1u);
    EXPECT_EQ(counters_.Get(Counter::kSections), 1u);
}

TEST_F(DvbFeedTest, CountsAndLogsWhatTheDeviceLost) {
    Mutex mutex;
    std::vector<std::string> lines;
    ReplaceLogReceiver([&](int, int priority, const char*, const char* line) {
        MutexLock lock(mutex);
        lines.push_back(std::to_string(priority) + " " + line);
    });
    Subscribe(0x0011, 0x42, 1);
    Play();
    ASSERT_TRUE(kernel_.WaitForFilters(1));
    kernel_.FailReads(EOVERFLOW);
    kernel_.BroadcastRaw(0x0011, {0x42, 0x30, 0x00, 0x00});
    kernel_.Broadcast(0x0011, sdt_);
    inbox_.Wait(1);
    pump_.Stop();
    EXPECT_EQ(counters_.Get(Counter::kDeviceOverflows), 1u);
    EXPECT_EQ(counters_.Get(Counter::kMalformedReads), 1u);
    MutexLock lock(mutex);
    EXPECT_THAT(lines, ElementsAre("5 sections lost on PID 0x0011 of " + kernel_.path() +
                                   ": the buffer overflowed"));
}

TEST_F(DvbFeedTest, EndsWhenTheDeviceIsUnplugged) {
    Subscribe(0x0011, 0x42, 1);
    Play();
    ASSERT_TRUE(kernel_.WaitForFilters(1));
    kernel_.Broadcast(0x0011, sdt_);
    inbox_.Wait(1);
    kernel_.Unplug();
    const InputEnd end = pump_.WaitEnd();
    EXPECT_EQ(end.reason, InputEnd::kFailed);
    EXPECT_EQ(end.error, "cannot read PID 0x0011 of " + kernel_.path() + " at byte " +
                             std::to_string(sdt_.size()) + ": No such device");
    EXPECT_EQ(kernel_.OpenFiles(), 0u);
}

TEST_F(DvbFeedTest, EndsWithinATenthOfASecondWhenItIsInterruptedAndCanBePlayedAgain) {
    Subscribe(0x0011, 0x42, 1);
    const SourcePtr source = Device();
    ASSERT_TRUE(pump_.Start());
    const auto timeToEnd = [&] {
        EXPECT_TRUE(pump_.Play(source, {}));
        EXPECT_TRUE(kernel_.WaitForFilters(1));
        const auto begin = std::chrono::steady_clock::now();
        pump_.Interrupt();
        EXPECT_EQ(pump_.WaitEnd().reason, InputEnd::kInterrupted);
        const auto end = std::chrono::steady_clock::now();
        EXPECT_EQ(kernel_.OpenFiles(), 0u);
        return end - begin;
    };
    const bool isQuick = testsupport::AnyIsQuick([&] {
        const auto first = timeToEnd();
        return std::max(first, timeToEnd());
    });
    EXPECT_TRUE(isQuick);
}

TEST_F(DvbFeedTest, GivesNothingFromTheCacheThatNobodyCouldSeeChange) {
    engine_.SetCacheLimit(65536);
    const int first = Subscribe(0x0011, 0x42, 1);
    Play();
    ASSERT_TRUE(kernel_.WaitForFilters(1));
    kernel_.Broadcast(0x0011, sdt_);
    inbox_.Wait(1);
    Subscribe(0x0011, 0x42, 2, true);
    EXPECT_THAT(inbox_.Wait(2)[1], Pair(2, sdt_));
    engine_.Unsubscribe(first + 1);
    engine_.Unsubscribe(first);
    ASSERT_TRUE(kernel_.WaitForFilters(0));
    kernel_.Broadcast(0x0011, changedSdt_);
    Subscribe(0x0011, 0x42, 3, true);
    ASSERT_TRUE(kernel_.WaitForFilters(1));
    kernel_.Broadcast(0x0011, changedSdt_);
    EXPECT_THAT(inbox_.Wait(3)[2], Pair(3, changedSdt_));
}

TEST_F(DvbFeedTest, DoesNotCacheWhatAFilterThatHasGoneLeftInTheDevice) {
    engine_.SetCacheLimit(65536);
    const int first = Subscribe(0x0011, 0x42, 1);
    Subscribe(0x0011, 0x4A, 2);
    Play();
    ASSERT_TRUE(kernel_.WaitForFilters(2));
    // The delivery thread is held in a callback while the filter is released and its section
    // comes.
    Signal isCalled;
    Signal mayReturn;
    inbox_.SetHook([&] {
        isCalled.Set();
        EXPECT_TRUE(mayReturn.Wait());
    });
    kernel_.Broadcast(0x0011, bat_);
    ASSERT_TRUE(isCalled.Wait());
    engine_.Unsubscribe(first);
    kernel_.Broadcast(0x0011, sdt_);
    mayReturn.Set();
    ASSERT_TRUE(kernel_.WaitForFilters(1));
    Subscribe(0x0011, 0x42, 3, true);
    ASSERT_TRUE(kernel_.WaitForFilters(2));
    kernel_.Broadcast(0x0011, changedSdt_);
    EXPECT_THAT(inbox_.Wait(2)[1], Pair(3, changedSdt_));
}

TEST_F(DvbFeedTest, DoesNotCacheForAFilterThatSeesOneVersionOnly) {
    engine_.SetCacheLimit(65536);
    engine_.Subscribe(
        0x0011, *SectionFilter::Compile({0x42, 0, 0, 0, 0, 0x00}, {0xFF, 0, 0, 0, 0, 0x3E}, {}),
        inbox_, 1);
    Play();
    ASSERT_TRUE(kernel_.WaitForFilters(1));
    kernel_.Broadcast(0x0011, sdt_);
    inbox_.Wait(1);
    // One filter of the device serves both requests. The filter on the other PID is set after it,
    // so when that one is set, both are.
    Subscribe(0x0011, 0x42, 2, true);
    Subscribe(0x0012, 0x4E, 3);
    ASSERT_TRUE(kernel_.WaitForFilters(2));
    kernel_.Broadcast(0x0011, changedSdt_);
    EXPECT_THAT(inbox_.Wait(2)[1], Pair(2, changedSdt_));
}

TEST_F(DvbFeedTest, AsksTheBarrierAfterEachSectionInLockStep) {
    Subscribe(kBarrierPid, kBarrierTableId, 9);
    Subscribe(0x0011, 0x42, 1);
    PlayOptions options;
    options.reading = PlayOptions::kLockStep;
    Play(options);
    ASSERT_TRUE(kernel_.WaitForFilters(1));
    kernel_.Broadcast(0x0011, sdt_);
    kernel_.Broadcast(0x0011, sdt_);
    auto arrivals = inbox_.Wait(2);
    EXPECT_EQ(arrivals[1].first, 9);
    const Bytes& barrier = arrivals[1].second;
    pump_.BarrierPassed(uint32_t{barrier[5]} << 8 | barrier[6]);
    arrivals = inbox_.Wait(4);
    EXPECT_EQ(arrivals[2].first, 1);
    EXPECT_EQ(arrivals[3].first, 9);
}

TEST(DvbSource, TellsWhetherTheDeviceOpensAndLeavesItClosed) {
    FakeKernel kernel;
    const DvbSource source("dvb:0", kernel.path(), kernel.Opener());
    std::string error = "untouched";
    kernel.Fail(FakeKernel::Call::kOpen, EINTR);
    EXPECT_TRUE(source.Probe(error));
    EXPECT_EQ(error, "untouched");
    EXPECT_EQ(kernel.OpenFiles(), 0u);
    kernel.Unplug();
    EXPECT_FALSE(source.Probe(error));
    EXPECT_EQ(error, "cannot open " + kernel.path() + ": No such file or directory");
}

TEST(DvbSource, IsLive) {
    FakeKernel kernel;
    const Source source(std::make_shared<DvbSource>("dvb:0", kernel.path(), kernel.Opener()));
    const SourceInfo info = Describe(source);
    EXPECT_EQ(info.name, "dvb:0");
    EXPECT_EQ(info.size, 0u);
    EXPECT_TRUE(info.live);
    EXPECT_FALSE(info.rewindable);
}

TEST(DvbSource, CannotBeReadAsOptionsForBytesSay) {
    FakeKernel kernel;
    const auto source = std::make_shared<Source>(
        std::make_shared<DvbSource>("dvb:0", kernel.path(), kernel.Opener()));
    std::string error;
    EXPECT_EQ(WithOptions(source, {}, error), source);
    for (const auto& [options, why] : std::vector<std::pair<SourceOptions, std::string>>{
             {{.loop = true}, ": a live input has no end, so it cannot be looped or followed"},
             {{.follow = true}, ": a live input has no end, so it cannot be looped or followed"},
             {{.pace = 1}, ": a live input cannot be paced"}}) {
        EXPECT_EQ(WithOptions(source, options, error), nullptr);
        EXPECT_EQ(error, "cannot open dvb:0" + why);
    }
}

TEST(DvbSource, NamesTheDeviceThatIsNotThere) {
    std::string error;
    EXPECT_EQ(DvbSource::Open("dvb:255:254", error), nullptr);
    EXPECT_EQ(error, "cannot open /dev/dvb/adapter255/demux254: No such file or directory");
    EXPECT_EQ(DvbSource::Open("dvb:x", error), nullptr);
    EXPECT_EQ(error,
              "\"dvb:x\" is not dvb:ADAPTER[:DEMUX]: ADAPTER must be a number from 0 to 255");
}

}  // namespace
}  // namespace tvservice
