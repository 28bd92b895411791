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

/// Prints each section on the event thread. When it has printed enough, it ends the playing source.
/// An object must live as long as the process, because after an interruption the event thread may
/// still deliver sections to it. All members may be called on any thread.
class SectionsPrinter final : public TORVEL_MW::ISectionObserver {
  public:
    explicit SectionsPrinter(const SectionsRequest& request);

    void OnSectionReceived(unsigned short id, unsigned short pid, unsigned short length,
                           unsigned char* data) override;
    void OnSectionTimeout(unsigned int id) override;

    /// Tells the printer that the subscription was made just now: its time-out runs from here on.
    void Subscribed();

    /// If the subscription has a time-out, waits until a section has come, the time-out has passed
    /// or a signal has come. An empty section consumes a one-shot subscription and stops its
    /// time-out without a call to the observer. In this case the wait ends one second after the
    /// time-out was due, with an error line.
    void WaitForTimeout();

    /// Ends the playing source when the time-out passes. For inputs that may have no end of their
    /// own. Returns when `Played` is called.
    void EndWithTimeout();
    void Played();

    /// After this the printer prints nothing more.
    void Close();

    std::uint64_t Sections() const;
    bool TimedOut() const;

    /// Whether as many sections were printed as the user asked for.
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

/// While an object of this class lives, the printer's time-out ends the playing source.
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
