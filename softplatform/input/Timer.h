#pragma once

#include <chrono>

#include "softplatform/input/FileDescriptor.h"

namespace tvservice {

// A clock that poll(2) can wait for. Used by one thread at a time.
class Timer {
  public:
    virtual ~Timer() = default;
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    // The time since an arbitrary start. It never goes back.
    virtual std::chrono::nanoseconds Now() = 0;

    // Makes the descriptor readable from that time on, at once when the time has passed. Replaces
    // the time that was set before.
    virtual void WakeAt(std::chrono::nanoseconds time) = 0;

    // What poll(2) waits on.
    virtual int descriptor() const = 0;

  protected:
    Timer() = default;
};

// The system's monotonic clock.
class SystemTimer final : public Timer {
  public:
    // Throws std::system_error when the system gives no timer, for example because all file
    // descriptors are in use.
    SystemTimer();

    std::chrono::nanoseconds Now() override;
    void WakeAt(std::chrono::nanoseconds time) override;
    int descriptor() const override { return timer_.get(); }

  private:
    const FileDescriptor timer_;
};

}  // namespace tvservice
