#pragma once

#include <dirent.h>

#include <chrono>
#include <cstddef>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>

// The resources of this process, as the kernel counts them.
namespace testsupport {

inline std::size_t ThreadsOfThisProcess() {
    DIR* const tasks = ::opendir("/proc/self/task");
    if (tasks == nullptr) {
        throw std::runtime_error("cannot open /proc/self/task");
    }
    std::size_t count = 0;
    while (const dirent* const entry = ::readdir(tasks)) {
        count += entry->d_name[0] != '.' ? 1 : 0;
    }
    ::closedir(tasks);
    return count;
}

// Waits until the process has this many threads. The kernel may still list a thread for a moment
// after it was joined.
inline bool ThreadsBecome(std::size_t count) {
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (ThreadsOfThisProcess() != count) {
        if (std::chrono::steady_clock::now() > giveUp) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

inline std::size_t ResidentBytesOfThisProcess() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        std::size_t kibibytes = 0;
        if (word == "VmRSS:" && status >> kibibytes) {
            return kibibytes * 1024;
        }
    }
    throw std::runtime_error("no VmRSS in /proc/self/status");
}

}  // namespace testsupport
