#include "softplatform/input/Timer.h"

#include <sys/timerfd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <system_error>

namespace tvservice {

SystemTimer::SystemTimer() : timer_(::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC)) {
    if (timer_.get() < 0) {
        throw std::system_error(errno, std::generic_category(), "timerfd_create");
    }
}

std::chrono::nanoseconds SystemTimer::Now() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

void SystemTimer::WakeAt(std::chrono::nanoseconds time) {
    time = std::max(time, std::chrono::nanoseconds(1));  // 0 would disarm it
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    itimerspec due{};
    due.it_value.tv_sec = static_cast<time_t>(seconds.count());
    due.it_value.tv_nsec = static_cast<decltype(due.it_value.tv_nsec)>((time - seconds).count());
    ::timerfd_settime(timer_.get(), TFD_TIMER_ABSTIME, &due, nullptr);
}

}  // namespace tvservice
