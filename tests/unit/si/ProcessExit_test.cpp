// How a process that used the section manager ends: through the termination handler, promptly,
// never in a hang. Two run at a time, beside two threads that keep the processor busy.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kProcessesPerWay = 34;  // 7 ways: more than 200
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr int kPatienceFactor = 10;
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer) || __has_feature(address_sanitizer)
constexpr int kPatienceFactor = 10;
#else
constexpr int kPatienceFactor = 1;
#endif
#else
constexpr int kPatienceFactor = 1;
#endif

struct Ending {
    int status = 0;
    bool inTime = false;
    std::string output;
};

Ending RunProcess(const std::string& way) {
    int output[2];
    EXPECT_EQ(pipe2(output, O_CLOEXEC), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    std::string program = ENDING_PROCESS;
    std::string argument = way;
    char* const arguments[] = {program.data(), argument.data(), nullptr};
    pid_t child = 0;
    EXPECT_EQ(posix_spawn(&child, program.c_str(), &actions, nullptr, arguments, environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    close(output[1]);

    // A descriptor that becomes readable when the process ends.
    const int process = static_cast<int>(syscall(SYS_pidfd_open, child, 0));
    EXPECT_GE(process, 0);
    pollfd ended{process, POLLIN, 0};
    Ending ending;
    ending.inTime = poll(&ended, 1, 1000 * kPatienceFactor) == 1;
    if (!ending.inTime) {
        kill(child, SIGKILL);
    }
    waitpid(child, &ending.status, 0);
    char buffer[100];
    const ssize_t size = read(output[0], buffer, sizeof(buffer));
    ending.output.assign(buffer, size > 0 ? static_cast<std::size_t>(size) : 0);
    close(output[0]);
    close(process);
    return ending;
}

class ProcessExit : public testing::TestWithParam<std::string> {};

TEST_P(ProcessExit, EndsThroughTheTerminationHandlerWithinASecond) {
    std::atomic<bool> stop{false};
    std::vector<std::thread> load;
    for (int i = 0; i < 2; ++i) {
        load.emplace_back([&] {
            while (!stop) {
            }
        });
    }
    std::atomic<int> aborted{0};
    std::atomic<int> late{0};
    std::vector<std::thread> runners;
    for (int i = 0; i < 2; ++i) {
        runners.emplace_back([&] {
            for (int n = 0; n < kProcessesPerWay / 2; ++n) {
                const Ending ending = RunProcess(GetParam());
                late += ending.inTime ? 0 : 1;
                aborted += WIFSIGNALED(ending.status) && WTERMSIG(ending.status) == SIGABRT ? 1 : 0;
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
    EXPECT_EQ(late, 0);
    EXPECT_EQ(aborted, kProcessesPerWay);
}

INSTANTIATE_TEST_SUITE_P(Ways, ProcessExit,
                         testing::Values("immediately", "idle", "section-just-pushed",
                                         "producer-still-pushing", "slow-handler", "forked-child",
                                         "exit"),
                         [](const auto& way) {
                             std::string name = way.param;
                             for (char& c : name) {
                                 c = c == '-' ? '_' : c;
                             }
                             return name;
                         });

TEST(ProcessExitQuick, LeavesWithItsOwnStatusAfterFlushing) {
    for (int n = 0; n < kProcessesPerWay; ++n) {
        const Ending ending = RunProcess("quick-exit");
        ASSERT_TRUE(ending.inTime);
        ASSERT_TRUE(WIFEXITED(ending.status));
        ASSERT_EQ(WEXITSTATUS(ending.status), 0);
        ASSERT_EQ(ending.output, "flushed");
    }
}

}  // namespace
