#include "softplatform/log/PlatformLog.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "platform/Log.h"

namespace tvservice {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Replaces stderr, and keeps each write apart.
class WritesToStderr {
  public:
    WritesToStderr() : before_(::dup(STDERR_FILENO)) {
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends_.data()), 0);
        const int size = 1 << 20;
        ::setsockopt(ends_[1], SOL_SOCKET, SO_SNDBUF, &size, sizeof(size));
        ::dup2(ends_[1], STDERR_FILENO);
    }
    ~WritesToStderr() { Restore(); }

    std::vector<std::string> Take() {
        Restore();
        std::vector<std::string> writes;
        std::string buffer(1 << 20, '\0');
        for (;;) {
            const ssize_t size = ::recv(ends_[0], buffer.data(), buffer.size(), MSG_DONTWAIT);
            if (size <= 0) {
                break;
            }
            writes.push_back(buffer.substr(0, static_cast<size_t>(size)));
        }
        ::close(ends_[0]);
        return writes;
    }

  private:
    void Restore() {
        if (before_ >= 0) {
            ::dup2(before_, STDERR_FILENO);
            ::close(before_);
            ::close(ends_[1]);
            before_ = -1;
        }
    }

    int before_;
    std::array<int, 2> ends_{};
};

class PlatformLogTest : public testing::Test {
  protected:
    ~PlatformLogTest() override {
        ReplaceLogReceiver(nullptr);
        SetLowestLogPriority(LOG_PRIORITY_WARNING);
    }
};

TEST_F(PlatformLogTest, WritesEachLineWithOneWrite) {
    WritesToStderr output;
    LOG(0, 5, "TORVEL", "%s: %s(%d) > done", "File.cpp", "Member", 12);
    LOG(0, 6, "OTHER", "%s", "");
    EXPECT_THAT(output.Take(),
                ElementsAre("W TORVEL: File.cpp: Member(12) > done\n", "E OTHER: \n"));
}

TEST_F(PlatformLogTest, WritesWarningsAndErrorsUnlessToldOtherwise) {
    WritesToStderr output;
    LOG(0, 3, "T", "debug");
    LOG(0, 4, "T", "info");
    LOG(0, 5, "T", "warning");
    LOG(0, 6, "T", "error");
    EXPECT_THAT(output.Take(), ElementsAre("W T: warning\n", "E T: error\n"));
}

TEST_F(PlatformLogTest, WritesFromThePriorityOnThatWasSet) {
    SetLowestLogPriority(3);
    WritesToStderr output;
    LOG(0, 3, "T", "debug");
    LOG(0, 4, "T", "info");
    SetLowestLogPriority(7);
    LOG(0, 6, "T", "error");
    EXPECT_THAT(output.Take(), ElementsAre("D T: debug\n", "I T: info\n"));
}

TEST_F(PlatformLogTest, DoesNotFormatALineThatIsDropped) {
    WritesToStderr output;
    // Reading this string would crash.
    LOG(0, 4, "T", "%s", reinterpret_cast<const char*>(std::uintptr_t{1}));
    EXPECT_THAT(output.Take(), IsEmpty());
}

TEST_F(PlatformLogTest, WritesLinesOfAnyLengthWhole) {
    for (const size_t length : {1021u, 1022u, 1023u, 1024u, 1025u, 5000u, 100000u}) {
        const std::string text(length, 'x');
        WritesToStderr output;
        LOG(0, 5, "T", "%s", text.c_str());
        EXPECT_THAT(output.Take(), ElementsAre("W T: " + text + "\n")) << length;
    }
}

TEST_F(PlatformLogTest, StripsColoursWhenStderrIsNoTerminal) {
    WritesToStderr output;
    LOG(0, 5, "T", "a > \033[32mgreen\033[0m \033[1;31mbright\033[m");
    LOG(0, 5, "T", "no colour: \033[2J, \033[31, \033[");
    EXPECT_THAT(output.Take(), ElementsAre("W T: a > green bright\n",
                                           "W T: no colour: \033[2J, \033[31, \033[\n"));
}

TEST_F(PlatformLogTest, KeepsColoursOnATerminal) {
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(master, 0);
    ASSERT_EQ(::grantpt(master), 0);
    ASSERT_EQ(::unlockpt(master), 0);
    const int terminal = ::open(::ptsname(master), O_RDWR | O_NOCTTY);
    ASSERT_GE(terminal, 0);
    termios raw{};
    ::cfmakeraw(&raw);
    ::tcsetattr(terminal, TCSANOW, &raw);

    const int before = ::dup(STDERR_FILENO);
    ::dup2(terminal, STDERR_FILENO);
    LOG(0, 5, "T", "\033[33myellow\033[0m");
    ::dup2(before, STDERR_FILENO);

    const std::string expected = "W T: \033[33myellow\033[0m\n";
    std::string shown(expected.size(), '\0');
    size_t count = 0;
    while (count < shown.size()) {
        pollfd ready{master, POLLIN, 0};
        ASSERT_EQ(::poll(&ready, 1, 10000), 1) << shown;
        const ssize_t size = ::read(master, shown.data() + count, shown.size() - count);
        ASSERT_GT(size, 0);
        count += static_cast<size_t>(size);
    }
    EXPECT_EQ(shown, expected);
    ::close(before);
    ::close(terminal);
    ::close(master);
}

TEST_F(PlatformLogTest, GivesLinesToTheReceiverInstead) {
    std::vector<std::tuple<int, int, std::string, std::string>> lines;
    ReplaceLogReceiver([&](int bufferId, int priority, const char* tag, const char* line) {
        lines.emplace_back(bufferId, priority, tag, line);
    });
    WritesToStderr output;
    LOG(0, 4, "T", "below the priority");
    LOG(2, 6, "TORVEL", "\033[31mred %d\033[0m", 7);
    EXPECT_THAT(output.Take(), IsEmpty());
    EXPECT_THAT(lines, ElementsAre(std::make_tuple(2, 6, "TORVEL", "\033[31mred 7\033[0m")));
}

TEST_F(PlatformLogTest, WritesToStderrAgainAfterTheReceiverIsGone) {
    ReplaceLogReceiver([](int, int, const char*, const char*) {});
    ReplaceLogReceiver(nullptr);
    WritesToStderr output;
    LOG(0, 5, "T", "back");
    EXPECT_THAT(output.Take(), ElementsAre("W T: back\n"));
}

TEST_F(PlatformLogTest, CallsNoReceiverThatWasReplaced) {
    constexpr int kReceivers = 300;
    std::array<std::atomic<bool>, kReceivers> isGone{};
    std::atomic<int> lines{0};
    std::atomic<bool> done{false};
    const auto put = [&](size_t which) {
        ReplaceLogReceiver([&, which](int, int, const char*, const char*) {
            EXPECT_FALSE(isGone[which]) << which;
            ++lines;
        });
    };
    put(0);
    std::vector<std::thread> writers;
    for (int i = 0; i < 3; ++i) {
        writers.emplace_back([&] {
            while (!done) {
                LOG(0, 5, "T", "line");
            }
        });
    }
    for (size_t next = 1; next < kReceivers; ++next) {
        const int before = lines;
        while (lines == before) {
            std::this_thread::yield();
        }
        put(next);
        isGone[next - 1] = true;
    }
    done = true;
    for (std::thread& writer : writers) {
        writer.join();
    }
    EXPECT_GE(lines, kReceivers - 1);
}

TEST_F(PlatformLogTest, LeavesErrnoAsItWas) {
    WritesToStderr output;
    errno = ENOENT;
    LOG(0, 5, "T", "line");
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(PlatformLogTest, WritesUntilTheEndOfTheProcess) {
    EXPECT_EXIT(
        {
            std::atexit([] { LOG(0, 6, "T", "the very last line"); });
            ReplaceLogReceiver([](int, int, const char*, const char*) {});
            ReplaceLogReceiver(nullptr);
            std::exit(0);
        },
        testing::ExitedWithCode(0), "E T: the very last line\n");
}

TEST_F(PlatformLogTest, GivesLinesToItsReceiverUntilTheEndOfTheProcess) {
    EXPECT_EXIT(
        {
            std::atexit([] { LOG(0, 6, "T", "last"); });
            ReplaceLogReceiver([](int, int, const char*, const char* line) {
                dprintf(STDERR_FILENO, "received %s\n", line);
            });
            std::exit(0);
        },
        testing::ExitedWithCode(0), "received last\n");
}

}  // namespace
}  // namespace tvservice
