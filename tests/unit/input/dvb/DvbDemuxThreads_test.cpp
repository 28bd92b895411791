// The demux loop runs on its own thread while other threads add and remove filters, broadcast
// sections and remove the device.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "softplatform/base/Mutex.h"
#include "softplatform/input/FileDescriptor.h"
#include "softplatform/input/dvb/DvbDemux.h"
#include "tests/unit/input/dvb/FakeDemux.h"

namespace tvservice {
namespace {

using testing::HasSubstr;
using testsupport::Bytes;
using testsupport::FakeKernel;
using testsupport::kPid;
using testsupport::TableId;

Bytes Numbered(uint8_t table_id, uint16_t number) {
    return {table_id, 0x30, 2, static_cast<uint8_t>(number >> 8), static_cast<uint8_t>(number)};
}

class DvbDemuxThreads : public testing::Test, protected DvbDemuxSink {
  protected:
    void OnSection(uint16_t pid, const uint8_t* section, size_t size) override {
        MutexLock lock(mutex_);
        if (pid == kPid && size == 5) {
            numbers_.push_back(static_cast<uint16_t>(section[3] << 8 | section[4]));
        }
        changed_.NotifyAll();
    }
    void OnWarning(uint16_t, const std::string& line) override { ADD_FAILURE() << line; }

    void Start() {
        thread_ = std::thread([this] { Run(); });
    }
    void Stop() {
        isStopping_ = true;
        Wake();
        thread_.join();
    }
    void TearDown() override {
        if (thread_.joinable()) {
            Stop();
        }
    }

    void Wake() {
        const uint64_t one = 1;
        while (::write(wake_.get(), &one, sizeof(one)) < 0 && errno == EINTR) {
        }
    }

    bool WaitForNumbers(size_t count) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        MutexLock lock(mutex_);
        while (numbers_.size() < count) {
            if (!changed_.WaitUntil(mutex_, deadline)) {
                return false;
            }
        }
        return true;
    }
    std::vector<uint16_t> Numbers() {
        MutexLock lock(mutex_);
        return numbers_;
    }
    const std::string& error() const { return error_; }  // once the thread has ended

    FakeKernel kernel_;
    const FileDescriptor wake_{::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
    DvbDemux demux_{kernel_.path(), kernel_.Opener(), *this, [this] { Wake(); }};
    std::thread thread_;
    std::atomic<size_t> turns_{0};

  private:
    void Run() {
        while (!isStopping_ && demux_.WaitAndDeliver(wake_.get(), error_)) {
            ++turns_;
            uint64_t count = 0;
            while (::read(wake_.get(), &count, sizeof(count)) < 0 && errno == EINTR) {
            }
        }
    }

    std::atomic<bool> isStopping_{false};
    std::string error_;
    Mutex mutex_;
    CondVar changed_;
    std::vector<uint16_t> numbers_ TV_GUARDED_BY(mutex_);
};

TEST_F(DvbDemuxThreads, ALoopThatWaitsHearsOfChangesAndSections) {
    Start();
    const uint64_t name = demux_.Add(kPid, TableId(0x70));
    ASSERT_TRUE(kernel_.WaitForFilters(1));
    kernel_.Broadcast(kPid, Numbered(0x70, 7));
    ASSERT_TRUE(WaitForNumbers(1));
    EXPECT_TRUE(demux_.Remove(name));
    EXPECT_TRUE(kernel_.WaitForFilters(0));
}

TEST_F(DvbDemuxThreads, AWakeEndsATurnThatWaits) {
    demux_.Add(kPid, TableId(0x70));
    Start();
    ASSERT_TRUE(kernel_.WaitForFilters(1));
    Stop();
    EXPECT_EQ(error(), "");
}

TEST_F(DvbDemuxThreads, UnpluggingEndsALoopThatWaits) {
    demux_.Add(kPid, TableId(0x70));
    Start();
    ASSERT_TRUE(kernel_.WaitForFilters(1));
    kernel_.Unplug();
    thread_.join();
    EXPECT_THAT(error(), HasSubstr(kernel_.path()));
    EXPECT_EQ(kernel_.OpenFiles(), 0u);
}

TEST_F(DvbDemuxThreads, SignalsEndTheWaitAndNothingElse) {
    struct sigaction action {};
    struct sigaction before {};
    action.sa_handler = [](int) {};
    ASSERT_EQ(::sigaction(SIGUSR1, &action, &before), 0);
    demux_.Add(kPid, TableId(0x70));
    Start();
    ASSERT_TRUE(kernel_.WaitForFilters(1));
    // A section that comes between two waits is not seen, so the test sends until enough have come.
    const size_t enough = turns_ + 100;
    while (turns_ < enough) {
        ASSERT_EQ(::pthread_kill(thread_.native_handle(), SIGUSR1), 0);
        std::this_thread::yield();
    }
    kernel_.Broadcast(kPid, Numbered(0x70, 7));
    EXPECT_TRUE(WaitForNumbers(1));
    Stop();
    EXPECT_EQ(error(), "");
    ::sigaction(SIGUSR1, &before, nullptr);
}

TEST_F(DvbDemuxThreads, FiltersThatComeAndGoCostTheOtherPidsNothing) {
    constexpr uint16_t kSections = 2000;
    demux_.Add(kPid, TableId(0x70));
    Start();
    ASSERT_TRUE(kernel_.WaitForFilters(1));

    std::atomic<bool> isDone{false};
    std::atomic<size_t> rounds{0};
    std::array<std::thread, 2> clients;
    for (size_t i = 0; i < clients.size(); ++i) {
        clients[i] = std::thread([&, i] {
            for (uint8_t round = 0; !isDone; ++round) {
                std::vector<uint64_t> names;
                for (uint8_t n = 0; n < 8; ++n) {
                    const auto pid = static_cast<uint16_t>(0x100 + n % 3);
                    names.push_back(demux_.Add(pid, TableId(static_cast<uint8_t>(round + n + i))));
                }
                for (const uint64_t name : names) {
                    EXPECT_TRUE(demux_.Remove(name));
                }
                ++rounds;
            }
        });
    }
    for (uint16_t number = 0; number < kSections; ++number) {
        while (rounds < number / 20u) {
            std::this_thread::yield();
        }
        kernel_.Broadcast(kPid, Numbered(0x70, number));
        kernel_.Broadcast(0x100, Numbered(static_cast<uint8_t>(number), number));
    }
    ASSERT_TRUE(WaitForNumbers(kSections));
    isDone = true;
    for (std::thread& client : clients) {
        client.join();
    }
    EXPECT_TRUE(kernel_.WaitForFilters(1));
    Stop();

    const std::vector<uint16_t> numbers = Numbers();
    ASSERT_EQ(numbers.size(), kSections);
    for (uint16_t number = 0; number < kSections; ++number) {
        ASSERT_EQ(numbers[number], number);
    }
    EXPECT_EQ(demux_.overflows(), 0u);
}

}  // namespace
}  // namespace tvservice
