// The shared library from outside: the service library's interface and the start-up interface.

#include "softplatform/service/SoftwarePlatform.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/ISectionSubscriber.h"
#include "platform/TCSectionCriteriaHelper.h"
#include "platform/TCSectionFilterCriteriaHelper.h"
#include "platform/TVServiceAPI.h"
#include "tests/support/PacketWriter.h"
#include "tests/support/Signal.h"
#include "tests/support/TempDir.h"
#include "tests/support/TsBytes.h"

namespace tvservice {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::Bytes;
using testsupport::Counting;
using testsupport::Join;
using testsupport::PacketWriter;
using testsupport::SectionBytes;
using testsupport::SectionOfSize;
using testsupport::Signal;
using testsupport::TempDir;

constexpr int kBarrierId = 1000;

// What the callbacks received, and what else they do.
struct Received {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::pair<int, Bytes>> sections;
    std::vector<uint32_t> barriers;
    std::function<void(int id)> onSection;
    std::function<void(uint32_t sequence)> onBarrier;
};
Received& Inbox() {
    static Received& inbox = *new Received;
    return inbox;
}

void OnSection(bool, unsigned short length, unsigned char* data, int id) {
    Received& inbox = Inbox();
    if (id == kBarrierId) {
        ASSERT_EQ(Bytes(data, data + 3), Bytes({kBarrierTableId, 0x30, 4}));
        ASSERT_EQ(length, 7);
        const uint32_t sequence =
            uint32_t{data[3]} << 24 | uint32_t{data[4]} << 16 | uint32_t{data[5]} << 8 | data[6];
        {
            const std::lock_guard<std::mutex> lock(inbox.mutex);
            inbox.barriers.push_back(sequence);
            inbox.changed.notify_all();
        }
        inbox.onBarrier(sequence);
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(inbox.mutex);
        inbox.sections.push_back({id, Bytes(data, data + length)});
        inbox.changed.notify_all();
    }
    if (inbox.onSection) {
        inbox.onSection(id);
    }
}

class SoftwarePlatformTest : public testing::Test {
  protected:
    SoftwarePlatformTest() {
        Inbox().sections.clear();
        Inbox().barriers.clear();
        Inbox().onSection = nullptr;
        Inbox().onBarrier = [this](uint32_t sequence) { platform_.BarrierPassed(sequence); };
        TVServiceAPI::CreateSectionSubscriber(OnSection, PROFILE_MAIN, 0, &subscriber_);
    }
    ~SoftwarePlatformTest() override {
        platform_.Stop();
        platform_.Start();  // without the faults of this test
        platform_.Stop();
        for (const int handle : handles_) {
            subscriber_->Unsubscribe(handle);
        }
    }

    int Subscribe(unsigned short pid, unsigned short table_id, int id, bool fromCache = false) {
        TCSectionCriteriaHelper criteria;
        criteria.m_selector = fromCache ? 1 : 2;
        criteria.m_pid = pid;
        criteria.m_tableId = table_id;
        int handle = -1;
        const int result = subscriber_->SubscribeTable(id, &criteria, &handle);
        EXPECT_EQ(result == 1, handle != -1);
        if (result == 1) {
            handles_.push_back(handle);
        }
        return handle;
    }
    int SubscribeFilter(Bytes pattern, Bytes mask, Bytes mode) {
        TCSectionFilterCriteriaHelper criteria;
        criteria.m_pid = 0x0100;
        criteria.m_filter = std::move(pattern);
        criteria.m_mask = std::move(mask);
        criteria.m_mode = std::move(mode);
        int handle = -1;
        if (subscriber_->SubscribeFilter(1, &criteria, &handle) == 1) {
            handles_.push_back(handle);
        }
        return handle;
    }
    int SubscribeBarrier() { return Subscribe(kBarrierPid, kBarrierTableId, kBarrierId); }

    std::vector<int> TakeIds() {
        const std::lock_guard<std::mutex> lock(Inbox().mutex);
        std::vector<int> ids;
        for (const auto& [id, bytes] : std::exchange(Inbox().sections, {})) {
            ids.push_back(id);
        }
        return ids;
    }
    void WaitForSections(size_t count) {
        std::unique_lock<std::mutex> lock(Inbox().mutex);
        EXPECT_TRUE(Inbox().changed.wait_for(lock, std::chrono::seconds(30),
                                             [&] { return Inbox().sections.size() >= count; }));
    }
    void WaitForBarriers(size_t count) {
        std::unique_lock<std::mutex> lock(Inbox().mutex);
        EXPECT_TRUE(Inbox().changed.wait_for(lock, std::chrono::seconds(30),
                                             [&] { return Inbox().barriers.size() >= count; }));
    }
    InputEnd::Reason PlayWhole(const SourcePtr& source, const PlayOptions& options = {}) {
        EXPECT_TRUE(platform_.Play(source, options));
        return platform_.WaitEnd().reason;
    }

    SoftwarePlatform& platform_ = SoftwarePlatform::Instance();
    ISectionSubscriber* subscriber_ = nullptr;
    std::vector<int> handles_;
    PacketWriter writer_;
    const Bytes section_ = SectionOfSize(50);
};

TEST_F(SoftwarePlatformTest, DeliversFromTheFirstPacketOn) {
    Subscribe(0x0100, 0x42, 7);
    ASSERT_TRUE(platform_.Start());
    EXPECT_EQ(PlayWhole(MemorySource("m", writer_.Section(0x0100, section_).Take())),
              InputEnd::kEndOfInput);
    EXPECT_THAT(Inbox().sections, ElementsAre(testing::Pair(7, section_)));
    EXPECT_EQ(platform_.Counter(Counter::kPackets), 1u);
    EXPECT_EQ(platform_.Counter(Counter::kDeliveredSections), 1u);
    EXPECT_EQ(platform_.Counter(Counter::kCount), 0u);
}

TEST_F(SoftwarePlatformTest, PlaysNothingUnlessStarted) {
    Subscribe(0x0100, 0x42, 7);
    const SourcePtr source = MemorySource("m", writer_.Section(0x0100, section_).Take());
    EXPECT_FALSE(platform_.Play(source));
    ASSERT_TRUE(platform_.Start());
    EXPECT_FALSE(platform_.Start()) << "it runs already";
    EXPECT_THAT(TakeIds(), IsEmpty());
    EXPECT_EQ(PlayWhole(source), InputEnd::kEndOfInput);
    EXPECT_THAT(TakeIds(), ElementsAre(7));
}

TEST_F(SoftwarePlatformTest, TakesOneTo4096Filters) {
    EXPECT_FALSE(platform_.Start({0}));
    EXPECT_FALSE(platform_.Start({4097}));
    for (int id = 0; id < 3; ++id) {
        Subscribe(0x0100, 0x42, id);
    }
    EXPECT_FALSE(platform_.Start({2})) << "three are in use";
    EXPECT_TRUE(platform_.Start({3}));
    EXPECT_EQ(Subscribe(0x0101, 0x42, 4), -1);
    EXPECT_NE(Subscribe(0x0100, 0x42, 5), -1) << "shared";
    EXPECT_EQ(platform_.Counter(Counter::kRefusedSubscriptions), 1u);
}

TEST_F(SoftwarePlatformTest, PlaysASourceAgainFromItsStart) {
    Subscribe(0x0100, 0x42, 7);
    ASSERT_TRUE(platform_.Start());
    const SourcePtr source = MemorySource("m", writer_.Section(0x0100, section_).Take());
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(PlayWhole(source), InputEnd::kEndOfInput);
        EXPECT_THAT(TakeIds(), ElementsAre(7));
        EXPECT_EQ(platform_.Counter(Counter::kPackets), 1u) << "counters begin at 0";
        EXPECT_EQ(platform_.Counter(Counter::kContinuityGaps), 0u)
            << "the demultiplexer begins afresh";
    }
}

TEST_F(SoftwarePlatformTest, DeliversTheSameInPiecesOfAnySize) {
    Subscribe(0x0100, 0x42, 7);
    ASSERT_TRUE(platform_.Start());
    for (int i = 0; i < 20; ++i) {
        writer_.Section(0x0100, SectionOfSize(300));
    }
    const Bytes stream = writer_.Take();
    for (const size_t piece : {1u, 17u, 188u, 1000u, 0u}) {
        EXPECT_EQ(PlayWhole(MemorySource("m", stream, piece)), InputEnd::kEndOfInput);
        EXPECT_EQ(TakeIds().size(), 20u) << piece;
    }
}

TEST_F(SoftwarePlatformTest, FindsThePacketSize) {
    ASSERT_TRUE(platform_.Start());
    EXPECT_EQ(PlayWhole(MemorySource("m", Bytes(5000))), InputEnd::kEndOfInput);
    EXPECT_EQ(platform_.PacketSize(), 0u);
    for (const size_t size : {188u, 192u, 204u}) {
        Bytes stream;
        for (int i = 0; i < 20; ++i) {
            const Bytes packet = writer_.Section(0x0100, section_).Take();
            const Bytes time{0, 0, static_cast<uint8_t>(i), 0};
            stream = Join(
                {stream, size == 192 ? time : Bytes(), packet, size == 204 ? Bytes(16) : Bytes()});
        }
        EXPECT_EQ(PlayWhole(MemorySource("m", stream)), InputEnd::kEndOfInput);
        EXPECT_EQ(platform_.PacketSize(), size);
        EXPECT_EQ(platform_.Counter(Counter::kPackets), 20u);
    }
}

TEST_F(SoftwarePlatformTest, PlaysAFile) {
    const TempDir dir;
    Subscribe(0x0100, 0x42, 7);
    ASSERT_TRUE(platform_.Start());
    std::string error;
    const SourcePtr source =
        OpenSource(dir.WriteFile("a.ts", writer_.Section(0x0100, section_).Take()), error);
    ASSERT_NE(source, nullptr) << error;
    const SourceInfo info = Describe(*source);
    EXPECT_EQ(info.name, dir.Path("a.ts"));
    EXPECT_EQ(info.size, 188u);
    EXPECT_TRUE(info.rewindable);
    EXPECT_EQ(PlayWhole(source), InputEnd::kEndOfInput);
    EXPECT_THAT(TakeIds(), ElementsAre(7));
    EXPECT_EQ(OpenSource(dir.Path("b.ts"), error), nullptr);
    EXPECT_EQ(error, "cannot open " + dir.Path("b.ts") + ": No such file or directory");
}

TEST_F(SoftwarePlatformTest, PlaysANamedPipeAsItsBytesComeAndOnlyOnce) {
    const TempDir dir;
    ASSERT_EQ(::mkfifo(dir.Path("fifo").c_str(), 0600), 0);
    Subscribe(0x0100, 0x42, 7);
    ASSERT_TRUE(platform_.Start());
    std::string error;
    const SourcePtr source = OpenSource(dir.Path("fifo"), error);
    EXPECT_FALSE(Describe(*source).rewindable);
    ASSERT_TRUE(platform_.Play(source));
    EXPECT_FALSE(platform_.Play(MemorySource("m", {}))) << "another one plays";
    const int writer = ::open(dir.Path("fifo").c_str(), O_WRONLY);
    // The first packet comes out only after five sync bytes in a row and one more packet.
    for (int i = 0; i < 10; ++i) {
        writer_.Section(0x0100, section_);
    }
    const Bytes bytes = writer_.Take();
    ASSERT_EQ(::write(writer, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    WaitForSections(10);
    const Bytes more = writer_.Section(0x0100, section_).Take();
    ASSERT_EQ(::write(writer, more.data(), more.size()), 188);
    WaitForSections(11);
    ::close(writer);
    EXPECT_EQ(platform_.WaitEnd().reason, InputEnd::kEndOfInput);
    EXPECT_EQ(TakeIds().size(), 11u);
    EXPECT_FALSE(platform_.Play(source)) << "it cannot be rewound";
}

TEST_F(SoftwarePlatformTest, InterruptEndsAnInputThatNeverSends) {
    const TempDir dir;
    ASSERT_EQ(::mkfifo(dir.Path("fifo").c_str(), 0600), 0);
    ASSERT_TRUE(platform_.Start());
    std::string error;
    ASSERT_TRUE(platform_.Play(OpenSource(dir.Path("fifo"), error)));
    platform_.Interrupt();
    EXPECT_EQ(platform_.WaitEnd().reason, InputEnd::kInterrupted);
}

TEST_F(SoftwarePlatformTest, InterruptEndsAnInputThatHasMuchToSay) {
    ASSERT_TRUE(platform_.Start());
    std::string error;
    ASSERT_TRUE(platform_.Play(OpenSource("/dev/zero", error)));
    while (platform_.Counter(Counter::kBytes) == 0) {
        std::this_thread::yield();
    }
    platform_.Interrupt();
    EXPECT_EQ(platform_.WaitEnd().reason, InputEnd::kInterrupted);
}

TEST_F(SoftwarePlatformTest, InterruptEndsTheWaitForABarrier) {
    SubscribeBarrier();
    Inbox().onBarrier = [](uint32_t) {};
    ASSERT_TRUE(platform_.Start());
    ASSERT_TRUE(platform_.Play(MemorySource("m", {})));
    WaitForBarriers(1);
    platform_.Interrupt();
    EXPECT_EQ(platform_.WaitEnd().reason, InputEnd::kInterrupted);
}

TEST_F(SoftwarePlatformTest, StopEndsWhateverPlaysAndAnotherStartFollows) {
    const TempDir dir;
    ASSERT_EQ(::mkfifo(dir.Path("fifo").c_str(), 0600), 0);
    Subscribe(0x0100, 0x42, 7);
    std::string error;
    for (int i = 0; i < 50; ++i) {
        ASSERT_TRUE(platform_.Start());
        ASSERT_TRUE(platform_.Play(OpenSource(dir.Path("fifo"), error)));
        platform_.Stop();
        EXPECT_EQ(platform_.WaitEnd().reason, InputEnd::kInterrupted);
    }
    platform_.Stop();
    ASSERT_TRUE(platform_.Start());
    EXPECT_EQ(PlayWhole(MemorySource("m", writer_.Section(0x0100, section_).Take())),
              InputEnd::kEndOfInput);
    EXPECT_THAT(TakeIds(), ElementsAre(7)) << "filters outlive the receiver";
}

TEST_F(SoftwarePlatformTest, EndsAnInputOnlyWhenTheLastBarrierWasPassed) {
    SubscribeBarrier();
    Signal asked;
    uint32_t sequence = 0;
    Inbox().onBarrier = [&](uint32_t number) {
        sequence = number;
        asked.Set();
    };
    ASSERT_TRUE(platform_.Start());
    ASSERT_TRUE(platform_.Play(MemorySource("m", writer_.Section(0x0100, section_).Take())));
    Signal ended;
    std::thread waiter([&] {
        EXPECT_EQ(platform_.WaitEnd().reason, InputEnd::kEndOfInput);
        ended.Set();
    });
    ASSERT_TRUE(asked.Wait());
    platform_.BarrierPassed(sequence - 1);
    platform_.BarrierPassed(sequence + 1);
    EXPECT_FALSE(ended.Wait(std::chrono::milliseconds(50)));
    platform_.BarrierPassed(sequence);
    EXPECT_TRUE(ended.Wait());
    waiter.join();
}

TEST_F(SoftwarePlatformTest, AsksAFreeRunningBarrierByTheBytes) {
    SubscribeBarrier();
    ASSERT_TRUE(platform_.Start());
    for (int i = 0; i < 100; ++i) {
        writer_.Section(0x0100, section_);
    }
    PlayOptions options;
    options.barrierInterval = 188 * 30;
    EXPECT_EQ(PlayWhole(MemorySource("m", writer_.Take()), options), InputEnd::kEndOfInput);
    ASSERT_EQ(Inbox().barriers.size(), 4u) << "after 30, 60 and 90 packets and at the end";
    for (size_t i = 1; i < 4; ++i) {
        EXPECT_EQ(Inbox().barriers[i], Inbox().barriers[0] + i);
    }
    EXPECT_EQ(platform_.Counter(Counter::kDeliveredSections), 0u) << "barriers are no sections";
}

TEST_F(SoftwarePlatformTest, AsksALockStepBarrierAfterEachPacketThatDelivered) {
    SubscribeBarrier();
    Subscribe(0x0100, 0x42, 7);
    ASSERT_TRUE(platform_.Start());
    writer_.Section(0x0100, section_)
        .Section(0x0200, section_)
        .Section(0x0100, SectionOfSize(300))
        .Section(0x0200, section_);
    PlayOptions options;
    options.reading = PlayOptions::kLockStep;
    EXPECT_EQ(PlayWhole(MemorySource("m", writer_.Take()), options), InputEnd::kEndOfInput);
    EXPECT_EQ(Inbox().barriers.size(), 3u) << "two, and one at the end";
}

TEST_F(SoftwarePlatformTest, LockStepPutsASubscriptionInForceForTheNextPacket) {
    // Each section leads to a subscription on the PID of the next packet, made on another thread
    // before that thread answers.
    constexpr int kChain = 200;
    SubscribeBarrier();
    Subscribe(0x0100, 0x42, 0);
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::function<void()>> tasks;
    bool done = false;
    std::thread worker([&] {
        std::unique_lock<std::mutex> lock(mutex);
        for (;;) {
            changed.wait(lock, [&] { return done || !tasks.empty(); });
            if (tasks.empty()) {
                return;
            }
            const auto task = std::move(tasks.front());
            tasks.erase(tasks.begin());
            lock.unlock();
            task();
            lock.lock();
        }
    });
    const auto post = [&](std::function<void()> task) {
        const std::lock_guard<std::mutex> lock(mutex);
        tasks.push_back(std::move(task));
        changed.notify_all();
    };
    Inbox().onSection = [&](int id) {
        post([this, id] {
            subscriber_->Unsubscribe(handles_.back());
            handles_.pop_back();
            Subscribe(static_cast<unsigned short>(0x0101 + id), 0x42, id + 1);
        });
    };
    Inbox().onBarrier = [&](uint32_t sequence) {
        post([this, sequence] { platform_.BarrierPassed(sequence); });
    };
    for (int i = 0; i < kChain; ++i) {
        writer_.Section(static_cast<uint16_t>(0x0100 + i), section_);
    }
    ASSERT_TRUE(platform_.Start());
    PlayOptions options;
    options.reading = PlayOptions::kLockStep;
    EXPECT_EQ(PlayWhole(MemorySource("m", writer_.Take()), options), InputEnd::kEndOfInput);
    post([&] {
        const std::lock_guard<std::mutex> lock(mutex);
        done = true;
    });
    worker.join();
    EXPECT_EQ(TakeIds().size(), size_t{kChain});
}

TEST_F(SoftwarePlatformTest, GoesOnWhenTheBarrierIsGivenUpUnanswered) {
    const int barrier = SubscribeBarrier();
    Inbox().onBarrier = [](uint32_t) {};
    ASSERT_TRUE(platform_.Start());
    ASSERT_TRUE(platform_.Play(MemorySource("m", {})));
    WaitForBarriers(1);
    EXPECT_TRUE(subscriber_->Unsubscribe(barrier));
    EXPECT_EQ(platform_.WaitEnd().reason, InputEnd::kEndOfInput);
}

std::vector<int>& IdsOfTheSecond() {
    static std::vector<int>& ids = *new std::vector<int>;
    return ids;
}

TEST_F(SoftwarePlatformTest, CallsTheCallbackOfTheSubscriberThatWasAsked) {
    IdsOfTheSecond().clear();
    ISectionSubscriber* second = nullptr;
    EXPECT_EQ(TVServiceAPI::CreateSectionSubscriber([](bool, unsigned short, unsigned char*,
                                                       int id) { IdsOfTheSecond().push_back(id); },
                                                    PROFILE_MAIN, 0, &second),
              1);
    ASSERT_NE(second, nullptr);
    TCSectionCriteriaHelper criteria;
    criteria.m_pid = 0x0100;
    criteria.m_tableId = 0x42;
    int handle = -1;
    EXPECT_EQ(second->SubscribeTable(8, &criteria, &handle), 1);
    handles_.push_back(handle);
    Subscribe(0x0100, 0x42, 7);
    ASSERT_TRUE(platform_.Start());
    EXPECT_EQ(PlayWhole(MemorySource("m", writer_.Section(0x0100, section_).Take())),
              InputEnd::kEndOfInput);
    EXPECT_THAT(TakeIds(), ElementsAre(7));
    EXPECT_THAT(IdsOfTheSecond(), ElementsAre(8));
}

TEST_F(SoftwarePlatformTest, MakesNoSubscriberWithoutACallback) {
    ISectionSubscriber* none = subscriber_;
    EXPECT_NE(TVServiceAPI::CreateSectionSubscriber(nullptr, PROFILE_MAIN, 0, &none), 1);
    EXPECT_EQ(none, nullptr);
}

TEST_F(SoftwarePlatformTest, RefusesInvalidCriteriaAndLeavesTheHandle) {
    const uint64_t before = platform_.Counter(Counter::kRefusedSubscriptions);
    EXPECT_EQ(SubscribeFilter({}, {}, {}), -1) << "empty pattern";
    EXPECT_EQ(SubscribeFilter({1, 2}, {0xFF}, {}), -1) << "short mask";
    EXPECT_EQ(SubscribeFilter({1}, {0xFF, 0xFF}, {}), -1) << "long mask";
    EXPECT_EQ(SubscribeFilter({1, 2}, {0xFF, 0xFF}, {0}), -1) << "short mode";
    EXPECT_EQ(Subscribe(0x0100, 0x100, 1), -1) << "table_id has eight bits";
    int handle = -1;
    EXPECT_NE(subscriber_->SubscribeTable(1, nullptr, &handle), 1);
    EXPECT_NE(subscriber_->SubscribeFilter(1, nullptr, &handle), 1);
    EXPECT_EQ(handle, -1);
    TCSectionCriteriaHelper criteria;
    EXPECT_NE(subscriber_->SubscribeTable(1, &criteria, nullptr), 1);
    EXPECT_EQ(platform_.Counter(Counter::kRefusedSubscriptions), before + 8);
    EXPECT_NE(SubscribeFilter({1, 2}, {0xFF, 0xFF}, {}), -1);
    EXPECT_NE(SubscribeFilter({1, 2}, {0xFF, 0xFF}, {0, 0}), -1);
}

TEST_F(SoftwarePlatformTest, ReleasesAHandleOnce) {
    const int handle = Subscribe(0x0100, 0x42, 7);
    EXPECT_TRUE(subscriber_->Unsubscribe(handle));
    EXPECT_FALSE(subscriber_->Unsubscribe(handle));
    EXPECT_FALSE(subscriber_->Unsubscribe(-1));
    handles_.clear();
}

TEST_F(SoftwarePlatformTest, SharesATableFilterWithTheByteFilterOfTheSameQuestion) {
    ASSERT_TRUE(platform_.Start({1}));
    const int handle = Subscribe(0x0100, 0x42, 7);
    EXPECT_EQ(SubscribeFilter({0x42}, {0xFF}, {0}), handle);
}

TEST_F(SoftwarePlatformTest, TellsItsCountersInTheOrderOfTheEnumeration) {
    const std::vector<CounterValue> counters = platform_.Counters();
    ASSERT_EQ(counters.size(), static_cast<size_t>(Counter::kCount));
    EXPECT_STREQ(counters[static_cast<size_t>(Counter::kBytes)].name, "bytes");
    EXPECT_STREQ(counters[static_cast<size_t>(Counter::kRefusedSubscriptions)].name,
                 "refused_subscriptions");
    for (size_t i = 0; i < counters.size(); ++i) {
        EXPECT_GT(std::string(counters[i].meaning).size(), 0u) << counters[i].name;
        EXPECT_EQ(counters[i].value, platform_.Counter(static_cast<Counter>(i)))
            << counters[i].name;
    }
}

TEST_F(SoftwarePlatformTest, AppliesReleasesWhileTheInputIsSilent) {
    const TempDir dir;
    ASSERT_EQ(::mkfifo(dir.Path("fifo").c_str(), 0600), 0);
    ASSERT_TRUE(platform_.Start({4}));
    std::string error;
    ASSERT_TRUE(platform_.Play(OpenSource(dir.Path("fifo"), error)));
    for (int i = 0; i < 2000; ++i) {
        const int handle = Subscribe(0x0100, 0x42, 7);
        ASSERT_NE(handle, -1);
        ASSERT_TRUE(subscriber_->Unsubscribe(handle));
        handles_.clear();
    }
    platform_.Interrupt();
    EXPECT_EQ(platform_.WaitEnd().reason, InputEnd::kInterrupted);
}

TEST_F(SoftwarePlatformTest, SaysWhyItDoesNotStart) {
    std::string error = "untouched";
    Config config;
    config.filters = 4097;
    EXPECT_FALSE(platform_.Start(config, error));
    EXPECT_EQ(error, "4097 filters: 1 to 4096 are possible, and no fewer than are in use");
    config.filters = 4;
    config.faults = {"drop=1/1000", "delay@1:by=0"};
    EXPECT_FALSE(platform_.Start(config, error));
    EXPECT_EQ(error, "fault \"delay@1:by=0\", offset 11: by is a number from 1 to 1000");
    EXPECT_TRUE(platform_.FaultCounts().empty());
    config.faults.clear();
    EXPECT_TRUE(platform_.Start(config, error));
    EXPECT_FALSE(platform_.Start(config, error));
    EXPECT_EQ(error, "the receiver runs already");
}

TEST_F(SoftwarePlatformTest, TellsItsCountersWhileItPlays) {
    for (int i = 0; i < 10; ++i) {
        writer_.Section(0x0011, section_);
    }
    Subscribe(0x0011, 0x42, 1);
    ASSERT_TRUE(platform_.Start());
    std::string error;
    SourceOptions options;
    options.loop = true;
    ASSERT_TRUE(platform_.Play(WithOptions(MemorySource("m", writer_.Take()), options, error)));
    std::map<std::string, uint64_t> last;
    for (int grown = 0; grown < 100;) {
        const uint64_t before = last["delivered_sections"];
        for (const CounterValue& counter : platform_.Counters()) {
            EXPECT_GE(counter.value, last[counter.name]) << counter.name;
            last[counter.name] = counter.value;
        }
        grown += last["delivered_sections"] > before ? 1 : 0;
    }
    EXPECT_EQ(platform_.PacketSize(), 188u);
    platform_.Interrupt();
    platform_.WaitEnd();
    EXPECT_GE(platform_.Counter(Counter::kDeliveredSections), last["delivered_sections"]);
}

TEST_F(SoftwarePlatformTest, GivesWhatItHasCachedAfterTheEndOfTheInput) {
    ASSERT_TRUE(platform_.Start());
    EXPECT_EQ(PlayWhole(MemorySource("m", writer_.Section(0x0011, section_).Take())),
              InputEnd::kEndOfInput);
    Subscribe(0x0011, 0x42, 1);
    Subscribe(0x0011, 0x42, 2, true);
    WaitForSections(1);
    EXPECT_THAT(TakeIds(), ElementsAre(2));
    platform_.Stop();
    EXPECT_EQ(platform_.Counter(Counter::kCachedSections), 1u);
}

TEST_F(SoftwarePlatformTest, GivesWhatItHasCachedWhileTheInputIsSilent) {
    const TempDir dir;
    ASSERT_EQ(::mkfifo(dir.Path("fifo").c_str(), 0600), 0);
    Subscribe(0x0011, 0x42, 1);
    ASSERT_TRUE(platform_.Start());
    std::string error;
    ASSERT_TRUE(platform_.Play(OpenSource(dir.Path("fifo"), error)));
    const int writer = ::open(dir.Path("fifo").c_str(), O_WRONLY | O_CLOEXEC);
    for (int i = 0; i < 10; ++i) {
        writer_.Section(0x0011, section_);
    }
    const Bytes bytes = writer_.Take();
    ASSERT_EQ(::write(writer, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    WaitForSections(10);
    TakeIds();
    Subscribe(0x0011, 0x42, 2, true);
    WaitForSections(1);
    EXPECT_THAT(TakeIds(), ElementsAre(2));
    ::close(writer);
    EXPECT_EQ(platform_.WaitEnd().reason, InputEnd::kEndOfInput);
}

TEST_F(SoftwarePlatformTest, HasNoCacheWhenItIsGivenNoRoom) {
    Config config;
    config.cacheBytes = 0;
    ASSERT_TRUE(platform_.Start(config));
    EXPECT_EQ(PlayWhole(MemorySource("m", writer_.Section(0x0011, section_).Take())),
              InputEnd::kEndOfInput);
    EXPECT_EQ(platform_.Counter(Counter::kSections), 0u);
    Subscribe(0x0011, 0x42, 1, true);
    platform_.Stop();
    EXPECT_THAT(TakeIds(), IsEmpty());
}

TEST_F(SoftwarePlatformTest, HoldsTheStreamForWhatTheCacheGaveWhileABarrierWasAwaited) {
    SubscribeBarrier();
    Subscribe(0x0100, 0x42, 1);
    Inbox().onBarrier = [this](uint32_t sequence) {
        if (Inbox().barriers.size() == 1) {
            Subscribe(0x0011, 0x42, 2, true);
        }
        platform_.BarrierPassed(sequence);
    };
    Inbox().onSection = [](int id) {
        if (id == 2) {
            EXPECT_EQ(Inbox().barriers.size(), 1u);
        }
    };
    ASSERT_TRUE(platform_.Start());
    PlayOptions options;
    options.reading = PlayOptions::kLockStep;
    EXPECT_EQ(
        PlayWhole(
            MemorySource("m", writer_.Section(0x0011, section_).Section(0x0100, section_).Take()),
            options),
        InputEnd::kEndOfInput);
    EXPECT_THAT(TakeIds(), ElementsAre(1, 2));
    // One after the section, one after the section from the cache, and one at the end.
    EXPECT_EQ(Inbox().barriers.size(), 3u);
}

TEST_F(SoftwarePlatformTest, LoopsASourceUntilItIsInterrupted) {
    Subscribe(0x0100, 0x42, 7);
    ASSERT_TRUE(platform_.Start());
    std::string error;
    SourceOptions loop;
    loop.loop = true;
    for (int i = 0; i < 20; ++i) {
        writer_.Section(0x0100, section_);
    }
    const SourcePtr source = WithOptions(MemorySource("m", writer_.Take()), loop, error);
    ASSERT_NE(source, nullptr) << error;
    EXPECT_TRUE(Describe(*source).live);
    ASSERT_TRUE(platform_.Play(source));
    WaitForSections(100);
    platform_.Interrupt();
    EXPECT_EQ(platform_.WaitEnd().reason, InputEnd::kInterrupted);
    loop.follow = true;
    EXPECT_EQ(WithOptions(MemorySource("m", {}), loop, error), nullptr);
    EXPECT_EQ(error, "cannot open m: it can be looped or followed, not both");
}

TEST_F(SoftwarePlatformTest, InjuresWhatIsPlayedAndAskedForAsTheFaultsSay) {
    Config config;
    config.faults = {"drop@1", "refuse-subscribe@0", "silent@1"};
    ASSERT_TRUE(platform_.Start(config));
    EXPECT_EQ(Subscribe(0x0100, 0x42, 6), -1);
    EXPECT_NE(Subscribe(0x0100, 0x42, 7), -1);
    for (int i = 0; i < 5; ++i) {
        writer_.Section(0x0100,
                        SectionBytes{.table_id_extension = static_cast<uint16_t>(i)}.Build());
    }
    const SourcePtr source = MemorySource("m", writer_.Take());
    EXPECT_EQ(PlayWhole(source), InputEnd::kEndOfInput);
    EXPECT_EQ(platform_.Counter(Counter::kPackets), 4u);
    EXPECT_EQ(Inbox().sections.size(), 3u);
    EXPECT_EQ(Inbox().sections[0].second[4], 0);
    EXPECT_EQ(Inbox().sections[1].second[4], 3);
    std::vector<std::pair<std::string, uint64_t>> counts;
    for (const CounterValue& count : platform_.FaultCounts()) {
        counts.emplace_back(count.name, count.value);
    }
    EXPECT_THAT(counts, ElementsAre(testing::Pair("drop", 1), testing::Pair("silent", 1),
                                    testing::Pair("refuse-subscribe", 1)));
}

TEST_F(SoftwarePlatformTest, HasNoFaultsLeftAfterAStartWithoutAny) {
    Config config;
    config.faults = {"silent=1/1"};
    ASSERT_NE(Subscribe(0x0100, 0x42, 7), -1);
    ASSERT_TRUE(platform_.Start(config));
    const SourcePtr source = MemorySource("m", writer_.Section(0x0100, section_).Take());
    EXPECT_EQ(PlayWhole(source), InputEnd::kEndOfInput);
    EXPECT_THAT(TakeIds(), IsEmpty()) << "what was asked for before suffers too";
    platform_.Stop();
    ASSERT_TRUE(platform_.Start());
    EXPECT_EQ(PlayWhole(source), InputEnd::kEndOfInput);
    EXPECT_THAT(TakeIds(), ElementsAre(7));
    EXPECT_TRUE(platform_.FaultCounts().empty());
}

TEST_F(SoftwarePlatformTest, DeliversWhatAFaultHoldsBackBeforeTheLastBarrier) {
    Config config;
    config.faults = {"delay@0:by=1000"};
    ASSERT_TRUE(platform_.Start(config));
    SubscribeBarrier();
    Subscribe(0x0100, 0x42, 7);
    Inbox().onBarrier = [this](uint32_t sequence) {
        EXPECT_EQ(Inbox().sections.size(), 1u);
        platform_.BarrierPassed(sequence);
    };
    EXPECT_EQ(PlayWhole(MemorySource("m", writer_.Section(0x0100, section_).Take())),
              InputEnd::kEndOfInput);
    EXPECT_EQ(Inbox().barriers.size(), 1u);
}

TEST_F(SoftwarePlatformTest, LeavesTheBarrierOutOfAllFaults) {
    Config config;
    config.faults = {"silent=1/1", "refuse-subscribe=1/1", "refuse-unsubscribe=1/1"};
    ASSERT_TRUE(platform_.Start(config));
    const int barrier = SubscribeBarrier();
    EXPECT_NE(barrier, -1);
    EXPECT_EQ(PlayWhole(MemorySource("m", writer_.Section(0x0100, section_).Take())),
              InputEnd::kEndOfInput);
    EXPECT_EQ(Inbox().barriers.size(), 1u);
    EXPECT_TRUE(subscriber_->Unsubscribe(barrier));
    handles_.clear();
}

TEST_F(SoftwarePlatformTest, ReleasesTogetherWhatOneOldHandleStandsFor) {
    Config config;
    config.faults = {"old-handle@1"};
    ASSERT_TRUE(platform_.Start(config));
    const int first = Subscribe(0x0100, 0x42, 1);
    EXPECT_EQ(Subscribe(0x0101, 0x42, 2), first);
    EXPECT_TRUE(subscriber_->Unsubscribe(first));
    EXPECT_FALSE(subscriber_->Unsubscribe(first));
    handles_.clear();
    writer_.Section(0x0100, section_).Section(0x0101, section_);
    EXPECT_EQ(PlayWhole(MemorySource("m", writer_.Take())), InputEnd::kEndOfInput);
    EXPECT_THAT(TakeIds(), IsEmpty());
}

}  // namespace
}  // namespace tvservice
