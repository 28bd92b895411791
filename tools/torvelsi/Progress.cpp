#include "tools/torvelsi/Progress.h"

#include <fmt/format.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <utility>

#include "softplatform/service/SoftwarePlatform.h"

namespace tool {

namespace {
constexpr std::chrono::milliseconds kInterval(250);
constexpr double kMegabyte = 1e6;
}  // namespace

Progress::Progress(std::uint64_t totalBytes, std::function<std::string()> note)
    : totalBytes_(totalBytes), note_(std::move(note)) {
    if (isatty(STDERR_FILENO) != 0) {
        thread_ = std::thread(&Progress::Show, this);
    }
}

Progress::~Progress() {
    if (thread_.joinable()) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            end_ = true;
        }
        ended_.notify_one();
        thread_.join();
    }
}

void Progress::Show() {
    bool shown = false;
    std::unique_lock<std::mutex> lock(mutex_);
    while (!ended_.wait_for(lock, kInterval, [this] { return end_; })) {
        const std::uint64_t bytes =
            tvservice::SoftwarePlatform::Instance().Counter(tvservice::Counter::kBytes);
        const double megabytes = static_cast<double>(bytes) / kMegabyte;
        if (totalBytes_ != 0) {
            fmt::print(stderr, "\r{}{:5.1f} % of {:.1f} MB ", note_ ? note_() : "",
                       100 * static_cast<double>(bytes) / static_cast<double>(totalBytes_),
                       static_cast<double>(totalBytes_) / kMegabyte);
        } else {
            fmt::print(stderr, "\r{}{:.1f} MB ", note_ ? note_() : "", megabytes);
        }
        std::fflush(stderr);
        shown = true;
    }
    if (shown) {
        fmt::print(stderr, "\r\033[K");
        std::fflush(stderr);
    }
}

}  // namespace tool
