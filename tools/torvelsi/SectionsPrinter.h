#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <thread>

#include "SI/Include/ISectionObserver.h"
#include "tools/torvelsi/SectionsRequest.h"

namespace tool {

/// Prints each section on the event thread, and ends what plays when it has printed enough. Must
/// live as long as the process: after an interruption sections may still be on their way to it. All
/// members may be called on any thread.
class SectionsPrinter final : public TORVEL_MW::ISectionObserver {
  public:
    explicit SectionsPrinter(const SectionsRequest& request);

    void OnSectionReceived(unsigned short id, unsigned short pid, unsigned short length,
                           unsigned char* data) override;
    void OnSectionTimeout(unsigned int id) override;

    /// To be called when the subscription has been made, so that its time-out runs.
    void Subscribed();

    /// Waits while a time-out runs, until a section has come, the time-out has passed or a signal
    /// has come. A section of no bytes consumes a one-shot subscription and stops its time-out, and
    /// no observer is called: then it returns a little after the time-out was due.
    void WaitForTimeout();

    /// Ends what plays when the time-out passes, for inputs that may have no end of their own.
    /// Returns when `Played` is called.
    void EndWithTimeout();
    void Played();

    /// Nothing is printed after this.
    void Close();

    std::uint64_t Sections() const;
    bool TimedOut() const;

    /// Whether as many sections came as were asked for.
    bool GotAllWanted() const;

  private:
    bool Enough() const { return wanted_ && sections_ >= *wanted_; }

    const SectionsRequest::Format format_;
    const bool isOneShot_;
    const unsigned int timeout_;
    const std::optional<std::uint64_t> wanted_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    bool isTimeoutRunning_;                      // guarded by mutex_, as all below
    std::chrono::steady_clock::time_point due_;  // the end of a running time-out
    bool timedOut_ = false;
    bool played_ = false;
    bool closed_ = false;
    std::uint64_t sections_ = 0;
};

/// While it lives, the printer's time-out ends what plays.
class TimeoutWatch {
  public:
    explicit TimeoutWatch(SectionsPrinter& printer)
        : printer_(printer), thread_([&printer] { printer.EndWithTimeout(); }) {}
    TimeoutWatch(const TimeoutWatch&) = delete;
    TimeoutWatch& operator=(const TimeoutWatch&) = delete;
    ~TimeoutWatch() {
        printer_.Played();
        thread_.join();
    }

  private:
    SectionsPrinter& printer_;
    std::thread thread_;
};

}  // namespace tool
