#include "tests/support/ThreadStacks.h"

#include <dirent.h>
#include <execinfo.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace testsupport {

namespace {

std::atomic<bool> s_isWritten{false};

void Write(const char* text) {
    if (::write(STDERR_FILENO, text, std::strlen(text)) < 0) {
        return;  // there is nobody left to report to
    }
}

void WriteNumber(long number) {
    char digits[24];
    char* at = digits + sizeof digits;
    *--at = '\0';
    for (; number > 0 || *at == '\0'; number /= 10) {
        *--at = static_cast<char>('0' + number % 10);
    }
    Write(at);
}

// Runs on each thread in turn.
void WriteStack(int) {
    void* frames[64];
    const int count = ::backtrace(frames, 64);
    Write("\n--- thread ");
    WriteNumber(::syscall(SYS_gettid));
    Write("\n");
    ::backtrace_symbols_fd(frames, count, STDERR_FILENO);
    s_isWritten = true;
}

void WriteStackOf(long thread) {
    if (thread == 0 || thread == ::syscall(SYS_gettid)) {
        return;
    }
    s_isWritten = false;
    ::syscall(SYS_tgkill, ::getpid(), thread, SIGUSR2);
    for (int i = 0; i < 200 && !s_isWritten; ++i) {
        ::usleep(10'000);
    }
    if (!s_isWritten) {
        Write("\n--- thread ");
        WriteNumber(thread);
        Write(" does not answer\n");
    }
}

void OnLimit(int) {
    Write("\nTime limit exceeded. Stacks of all threads:\n");
    WriteStack(0);
    // opendir would allocate memory, and the test may hang inside the allocator.
    const int tasks = ::open("/proc/self/task", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    alignas(dirent64) char entries[4096];
    for (long size = 1; size > 0;) {
        size = ::syscall(SYS_getdents64, tasks, entries, sizeof entries);
        for (long at = 0; at < size;) {
            const auto* const task = reinterpret_cast<const dirent64*>(entries + at);
            WriteStackOf(std::strtol(task->d_name, nullptr, 10));
            at += task->d_reclen;
        }
    }
    std::abort();
}

}  // namespace

void WriteStacksOnAlarm() {
    void* frame = nullptr;
    // The first call loads a library, which the signal handler must not do.
    ::backtrace(&frame, 1);
    struct sigaction action {};
    action.sa_handler = WriteStack;
    ::sigaction(SIGUSR2, &action, nullptr);
    action.sa_handler = OnLimit;
    ::sigaction(SIGALRM, &action, nullptr);
}

unsigned SecondsOfTestLimit() {
    const char* const limit = std::getenv("TORVELSI_TEST_LIMIT");
    return limit == nullptr ? 0 : static_cast<unsigned>(std::strtoul(limit, nullptr, 10));
}

}  // namespace testsupport
