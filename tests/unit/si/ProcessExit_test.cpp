// A process that used the section manager ends through the termination handler and never hangs. The
// tests run two such processes at a time, beside two threads that keep the processor busy: first
// with the fake platform, then with the shared libraries while a stream plays.
//
// The time limit is long, because it must only tell a hang from a busy machine. The time of the
// slowest process is printed and recorded, but no test fails because of it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/Emulator.h"

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kProcessesPerWay = 34;  // 7 ways: more than 200

constexpr int kSecondsUntilItHangs = 60;

struct Ending {
    int status = 0;
    std::chrono::milliseconds took{0};
    bool inTime = false;
    std::string output;
    std::string errors;
};

/// The content of the file, read from its start.
std::string Contents(int file) {
    std::string contents(65536, '\0');
    const ssize_t size = pread(file, contents.data(), contents.size(), 0);
    contents.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return contents;
}

Ending RunProcess(const std::string& program, const std::string& way) {
    int output[2];
    EXPECT_EQ(pipe2(output, O_CLOEXEC), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    const int errors = memfd_create("errors", MFD_CLOEXEC);
    posix_spawn_file_actions_adddup2(&actions, errors, STDERR_FILENO);
    std::vector<std::string> words = testsupport::CommandOf(program);
    words.push_back(way);
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    pid_t child = 0;
    const Clock::time_point begin = Clock::now();
    EXPECT_EQ(posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    close(output[1]);

    // A file descriptor that becomes readable when the process ends.
    const int process = static_cast<int>(syscall(SYS_pidfd_open, child, 0));
    EXPECT_GE(process, 0);
    pollfd ended{process, POLLIN, 0};
    Ending ending;
    ending.inTime = poll(&ended, 1, 1000 * kSecondsUntilItHangs) == 1;
    ending.took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
    if (!ending.inTime) {
        kill(child, SIGALRM);  // it writes its stacks
        constexpr int kSecondsToWrite = 20;
        poll(&ended, 1, 1000 * kSecondsToWrite);
        kill(child, SIGKILL);
    }
    waitpid(child, &ending.status, 0);
    ending.errors = Contents(errors);
    close(errors);
    char buffer[100];
    const ssize_t size = read(output[0], buffer, sizeof(buffer));
    ending.output.assign(buffer, size > 0 ? static_cast<std::size_t>(size) : 0);
    close(output[0]);
    close(process);
    return ending;
}

/// Runs that many processes, two at a time, on a busy machine.
std::vector<Ending> RunUnderLoad(std::size_t count, const std::string& program,
                                 const std::string& way) {
    std::atomic<bool> stop{false};
    std::vector<std::thread> load;
    for (int i = 0; i < 2; ++i) {
        load.emplace_back([&] {
            while (!stop) {
            }
        });
    }
    std::vector<Ending> endings(count);
    std::vector<std::thread> runners;
    for (std::size_t first = 0; first < 2; ++first) {
        runners.emplace_back([&, first] {
            for (std::size_t n = first; n < endings.size(); n += 2) {
                endings[n] = RunProcess(program, way);
            }
        });
    }
    for (std::thread& runner : runners) {
        runner.join();
    }
    stop = true;
    for (std::thread& thread : load) {
        thread.join();
    }
    std::chrono::milliseconds slowest{0};
    for (const Ending& ending : endings) {
        slowest = std::max(slowest, ending.took);
    }
    std::cout << way << ": the slowest of " << count << " took " << slowest.count() << " ms\n";
    testing::Test::RecordProperty("slowest_ms", static_cast<int>(slowest.count()));
    return endings;
}

std::string TestName(const testing::TestParamInfo<std::string>& way) {
    std::string name = way.param;
    for (char& c : name) {
        c = c == '-' ? '_' : c;
    }
    return name;
}

class ProcessExit : public testing::TestWithParam<std::string> {};

TEST_P(ProcessExit, EndsThroughTheTerminationHandler) {
    for (const Ending& ending : RunUnderLoad(kProcessesPerWay, ENDING_PROCESS, GetParam())) {
        EXPECT_TRUE(ending.inTime) << ending.errors;
        EXPECT_TRUE(WIFSIGNALED(ending.status));
        EXPECT_EQ(WTERMSIG(ending.status), SIGABRT);
    }
}

INSTANTIATE_TEST_SUITE_P(Ways, ProcessExit,
                         testing::Values("immediately", "idle", "section-just-pushed",
                                         "producer-still-pushing", "slow-handler", "forked-child",
                                         "exit"),
                         TestName);

TEST(ProcessExitQuick, LeavesWithItsOwnStatusAfterFlushing) {
    for (const Ending& ending : RunUnderLoad(kProcessesPerWay, ENDING_PROCESS, "quick-exit")) {
        EXPECT_TRUE(ending.inTime) << ending.errors;
        EXPECT_TRUE(WIFEXITED(ending.status));
        EXPECT_EQ(WEXITSTATUS(ending.status), 0);
        EXPECT_EQ(ending.output, "flushed");
    }
}

std::vector<Ending> RunPlayers(const std::string& way) {
    constexpr std::size_t kPlayers = 10;  // fewer, because each first makes and plays a stream
    return RunUnderLoad(kPlayers, ENDING_PLAYER, way);
}

class PlayingProcessExit : public testing::TestWithParam<std::string> {};

TEST_P(PlayingProcessExit, EndsThroughTheTerminationHandlerWhileSectionsArrive) {
    for (const Ending& ending : RunPlayers(GetParam())) {
        EXPECT_TRUE(ending.inTime) << ending.errors;
        EXPECT_EQ(ending.output, "sss");
        EXPECT_TRUE(WIFSIGNALED(ending.status));
        EXPECT_EQ(WTERMSIG(ending.status), SIGABRT);
    }
}

INSTANTIATE_TEST_SUITE_P(Ways, PlayingProcessExit,
                         testing::Values("return", "exit", "exit-elsewhere",
                                         "subscriptions-come-and-go", "stopped"),
                         TestName);

void ExpectStatus(const std::vector<Ending>& endings, int status) {
    for (const Ending& ending : endings) {
        EXPECT_TRUE(ending.inTime) << ending.errors;
        EXPECT_EQ(ending.output, "sss");
        EXPECT_TRUE(WIFEXITED(ending.status));
        EXPECT_EQ(WEXITSTATUS(ending.status), status);
    }
}

TEST(PlayingProcessExitStatus, IsThatOfAQuickExit) {
    ExpectStatus(RunPlayers("quick-exit"), 0);
}

TEST(PlayingProcessExitStatus, IsThatOfTheProgramsOwnTerminationHandler) {
    ExpectStatus(RunPlayers("own-handler"), 7);
}

}  // namespace
