#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <regex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "SI/Include/ISectionManager.h"
#include "SI/Include/ISectionObserver.h"
#include "client/Barrier.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tests/support/Forever.h"
#include "tests/support/PacketWriter.h"
#include "tests/support/TsBytes.h"

namespace testsupport {

using TORVEL_MW::ISectionManager;
using tvservice::Counter;
using SectionList = std::vector<Bytes>;

// Records what an observer is told, and then calls what a test asks for.
class Inbox final : public TORVEL_MW::ISectionObserver {
  public:
    // Called after each section with the id of the subscription, on the event thread. Set it only
    // while nothing plays.
    void Then(std::function<void(unsigned id)> onSection) { onSection_ = std::move(onSection); }

    void OnSectionReceived(unsigned short id, unsigned short, unsigned short length,
                           unsigned char* data) override {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            sections_.emplace_back(data, data + length);
        }
        if (onSection_) {
            onSection_(id);
        }
    }
    void OnSectionTimeout(unsigned int id) override {
        const std::lock_guard<std::mutex> lock(mutex_);
        timeouts_.push_back(id);
        changed_.notify_all();
    }

    // Returns the sections since the last call.
    SectionList Take() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return std::exchange(sections_, {});
    }
    std::vector<unsigned> Timeouts() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return timeouts_;
    }
    // Waits for a time-out. Returns false when none comes within the limit.
    bool WaitForTimeout() {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(30),
                                 [this] { return !timeouts_.empty(); });
    }

  private:
    std::function<void(unsigned)> onSection_;
    std::mutex mutex_;
    std::condition_variable changed_;
    SectionList sections_;
    std::vector<unsigned> timeouts_;
};

// A receiver with faults, and the SI layer on it. Play ends with a barrier: when it returns, the
// observers have handled every section of the stream, and every log line was written.
//
// The barrier has the id 1; the subscriptions of a test have the ids from 2 on.
class HostileTest : public testing::Test {
  protected:
    static constexpr unsigned kNoTimeout = 0xFFFFFFFF;
    static constexpr uint16_t kPid = 0x0100;
    static constexpr uint16_t kOtherPid = 0x0200;
    static constexpr uint8_t kTable = 0x42;
    static constexpr uint8_t kOtherTable = 0x46;
    static constexpr auto kLockStep = tvservice::PlayOptions::kLockStep;
    static constexpr size_t kColourEnd = 4;  // bytes of \033[0m

    HostileTest() {
        tvservice::SetLogPriority(3);
        tvservice::SetLogSink([this](int bufferId, int priority, const char* tag,
                                     const char* line) {
            static const std::regex subscriptionsLine(
                R"(^(SectionSubscription\.cpp: [~\w]+)\(\d+\))");
            const std::lock_guard<std::mutex> lock(logMutex_);
            log_.push_back({priority, std::to_string(bufferId) + "/" + std::to_string(priority) +
                                          "/" + tag + " " +
                                          std::regex_replace(line, subscriptionsLine, "$1(*)")});
        });
    }
    ~HostileTest() override {
        platform_.Stop();
        tvservice::SetLogPriority(7);
        tvservice::SetLogSink({});
    }

    // Starts the receiver. `filters` does not count the filter of the barrier.
    void Suffer(const std::vector<std::string>& faults, unsigned filters = 255, uint64_t seed = 1) {
        tvservice::Config config;
        config.filters = filters + 1;
        config.faults = faults;
        config.faultSeed = seed;
        std::string error;
        ASSERT_TRUE(platform_.Start(config, error)) << error;
        if (barrier_ == nullptr) {
            barrier_ = &Forever<client::Barrier>();
        }
        TakeLog();
    }

    ISectionManager& Manager() { return *ISectionManager::Instance(); }
    unsigned Subscribe(Inbox& inbox, uint16_t pid = kPid, uint8_t table_id = kTable,
                       ISectionManager::EFilterMode mode = ISectionManager::EContinuous,
                       unsigned timeout = kNoTimeout) {
        return Manager().Subscribe(pid, table_id, inbox, mode, timeout, false);
    }
    unsigned SubscribeToggling(Inbox& inbox) {
        return Manager().Subscribe(kPid, {0x4E}, {0xFE}, {0x00}, inbox, ISectionManager::EToggle,
                                   kNoTimeout);
    }

    // Makes `count` sections of one table, of one packet each, with different table_id_extension
    // values.
    static SectionList Sections(size_t count, uint8_t table_id = kTable, size_t size = 183) {
        SectionList sections;
        for (size_t i = 0; i < count; ++i) {
            sections.push_back(SectionBytes{.table_id = table_id,
                                            .table_id_extension = static_cast<uint16_t>(i),
                                            .body = Counting(size - 12)}
                                   .Build());
        }
        return sections;
    }
    static SectionList Without(SectionList sections, size_t first, size_t count = 1) {
        const auto at = sections.begin() + static_cast<std::ptrdiff_t>(first);
        sections.erase(at, at + static_cast<std::ptrdiff_t>(count));
        return sections;
    }

    static SectionList Sublist(const SectionList& sections, size_t first, size_t count) {
        const auto at = sections.begin() + static_cast<std::ptrdiff_t>(first);
        return SectionList(at, at + static_cast<std::ptrdiff_t>(count));
    }

  public:
    HostileTest& Write(const SectionList& sections, uint16_t pid = kPid) {
        for (const Bytes& section : sections) {
            writer_.Section(pid, section);
        }
        return *this;
    }
    // Writes the sections in turn, one of each.
    HostileTest& WriteInTurn(const SectionList& sections, const SectionList& others) {
        for (size_t i = 0; i < sections.size(); ++i) {
            writer_.Section(kPid, sections[i]).Section(kOtherPid, others[i]);
        }
        return *this;
    }

    // Plays to the end what was written since the last call.
    void Play(tvservice::PlayOptions::Reading reading = tvservice::PlayOptions::kFreeRunning) {
        tvservice::PlayOptions options;
        options.reading = reading;
        ASSERT_TRUE(platform_.Play(tvservice::MemorySource("stream", writer_.Take()), options));
        ASSERT_EQ(platform_.WaitEnd().reason, tvservice::InputEnd::kEndOfInput);
    }

  protected:
    uint64_t Count(Counter counter) const { return platform_.Counter(counter); }
    std::vector<std::pair<std::string, uint64_t>> Faults() const {
        std::vector<std::pair<std::string, uint64_t>> faults;
        for (const tvservice::CounterValue& row : platform_.FaultCounts()) {
            faults.push_back({row.name, row.value});
        }
        return faults;
    }
    uint64_t FaultCount() const { return Faults().at(0).second; }

    // Waits until the platform has made `count` deliveries of what it plays, and all of the last
    // section. Inbox::Then uses it to block the event thread meanwhile.
    void WaitForDeliveries(uint64_t count) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (Count(Counter::kDeliveredSections) < count) {
            if (std::chrono::steady_clock::now() > end) {
                ADD_FAILURE() << Count(Counter::kDeliveredSections) << " deliveries, not " << count;
                return;
            }
            std::this_thread::yield();
        }
    }

    // Returns the log lines since the last call that have at least priority `lowest`:
    // "buffer/priority/tag line". A line number that no test depends on is replaced by *.
    std::vector<std::string> TakeLog(int lowest = 3) {
        const std::lock_guard<std::mutex> lock(logMutex_);
        std::vector<std::string> lines;
        for (const auto& [priority, line] : std::exchange(log_, {})) {
            if (priority >= lowest) {
                lines.push_back(line);
            }
        }
        return lines;
    }
    // Returns the warnings and errors.
    std::vector<std::string> TakeTrouble() { return TakeLog(5); }
    // Returns the warnings and errors of `lines`, which TakeLog returned.
    static std::vector<std::string> TroubleIn(std::vector<std::string> lines) {
        lines.erase(std::remove_if(lines.begin(), lines.end(),
                                   [](const std::string& line) { return line.at(2) < '5'; }),
                    lines.end());
        return lines;
    }

    // Finds the platform's handle of a subscription in the lines since the last TakeLog. It takes
    // those lines.
    std::string HandleOf(unsigned id) {
        const std::string start = OfSubscription(
            4, "SubscribeSection",
            "Subscribe section succeeded. id: " + std::to_string(id) + ", TVS handle: ");
        for (const std::string& line : TakeLog()) {
            const size_t common = start.size() - kColourEnd;
            if (line.compare(0, common, start, 0, common) == 0) {
                return line.substr(common, line.size() - common - kColourEnd);
            }
        }
        ADD_FAILURE() << "the log has no handle for subscription " << id;
        return "none";
    }

    static std::string NoSubscription(unsigned id) {
        return "0/6/TORVEL KorvoSectionManager.cpp: m_EventLoop(71) > "
               "\033[31mCouldn't find section subscription for id: " +
               std::to_string(id) + "\033[0m";
    }
    static std::string SubscribeFailed(unsigned id, int line) {
        return "0/6/TORVEL KorvoSectionManager.cpp: Subscribe(" + std::to_string(line) +
               ") > \033[31mFailed with id: " + std::to_string(id) + "\033[0m";
    }
    static std::string OneShotCompleted() {
        return "0/5/TORVEL KorvoSectionManager.cpp: m_EventLoop(83) > "
               "\033[33mOneShot filter completed\033[0m";
    }
    static std::string OfSubscription(int priority, const std::string& function,
                                      const std::string& message) {
        const std::string colour = priority == 4 ? "\033[32m" : "\033[33m";
        return "0/" + std::to_string(priority) + "/TORVEL SectionSubscription.cpp: " + function +
               "(*) > " + colour + message + "\033[0m";
    }
    static std::string NoFilter(unsigned id) {
        return OfSubscription(
            5, "SubscribeSection",
            "Subscribe section failed. id: " + std::to_string(id) + ", TVS handle: -1");
    }
    static std::string NoRelease() {
        return OfSubscription(5, "~CSectionSubscription", "Unsubscribe section failed");
    }
    static std::string NoLength() { return OfSubscription(5, "OnCallback", "Length is 0"); }

    tvservice::SoftwarePlatform& platform_ = tvservice::SoftwarePlatform::Instance();
    Inbox& inbox_ = Forever<Inbox>();
    Inbox& other_ = Forever<Inbox>();

  private:
    client::Barrier* barrier_ = nullptr;
    PacketWriter writer_;
    std::mutex logMutex_;
    std::vector<std::pair<int, std::string>> log_;
};

// Returns whether `some` are sections of `all`, each at most once, in the same order.
inline bool AreSomeOf(const SectionList& some, const SectionList& all) {
    auto at = all.begin();
    return std::all_of(some.begin(), some.end(), [&](const Bytes& section) {
        at = std::find(at, all.end(), section);
        return at != all.end() && (++at, true);
    });
}

}  // namespace testsupport
