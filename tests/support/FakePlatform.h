#pragma once

// A platform under the SI layer that does what a test scripts and records what the SI layer asks.
//
// It defines, at link time, those declarations of platform/ that the SI layer uses. A process has
// one, like every platform. `FakePlatform::Get().Reset()` clears script and records.

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/ISectionSubscriber.h"
#include "platform/TVServiceAPI.h"

namespace fake {

using Bytes = std::vector<unsigned char>;

/// One request for a filter, as the platform got it.
struct Request {
    bool isTable;
    int id;
    unsigned short pid;
    int tableId;        // table filters
    unsigned reserved;  // table filters
    unsigned selector;  // table filters
    Bytes filter, mask, mode;
    int flag;
    int handleOnEntry;
};

/// The answer to one request. Without a handle the fake does not write the handle variable.
struct Reply {
    int result = 1;
    std::optional<int> handle;
};

/// What the scripted PAT parser answers, and what it was asked.
struct PatScript {
    std::vector<std::pair<unsigned short, unsigned short>> programs;  // number, PID
    unsigned short transportStreamId = 0;
    bool accepts = true;
    bool valid = false;

    int constructed = 0;
    int destroyed = 0;
    int resets = 0;
    int access = 0;  // the two members of the handle
    int instance = -1;
    int countsAsked = 0;
    std::vector<unsigned> pidsAskedFor;  // arguments of ProgramPID
    std::vector<std::pair<short, unsigned char*>> parsed;
};

class FakePlatform final : public ISectionSubscriber {
  public:
    static FakePlatform& Get();

    void Reset();

    // --- Script. Each reply is used once, in order. After them, filters are accepted with the
    // handles 100, 101, ... and releases return true.
    void NextReply(Reply reply);
    void NextRelease(bool result);
    void HaveNoSubscriber();
    /// Called inside CreateSectionSubscriber before it returns the subscriber. No lock is held.
    std::function<void()> duringCreation;
    /// Called inside each request before the answer. No lock is held.
    std::function<void(const Request&)> duringRequest;
    /// Called inside each release. No lock is held.
    std::function<void(int handle)> duringRelease;
    /// Called for each log line after it was recorded. No lock is held.
    std::function<void(const std::string& line)> duringLog;
    PatScript pat;

    // --- Records
    std::vector<Request> Requests() const;
    std::vector<int> Released() const;
    bool IsReleased(int handle) const;
    int SubscribersMade() const;

    /// Returns the log since the last call, one string per line: "5 SectionSubscription.cpp
    /// OnCallback(*) > Length is 0", with priority, file, function and line number. Where a file's
    /// line numbers are not fixed, * replaces them.
    ///
    /// The rest fails the running test as soon as the line is written: a wrong buffer or tag, a
    /// printf format that the source file does not have (FakeLogFormats.h), or a line number that
    /// is not that of a log statement in the source.
    std::vector<std::string> TakeLog();
    /// Waits until such a line has been written since the last TakeLog.
    bool WaitForLog(const std::string& line);
    /// Waits until that many such lines have been written since the last TakeLog.
    bool WaitForLog(const std::string& line, int count);

    // --- Delivery
    /// Delivers a section on a thread of the platform. Returns after the callback.
    void Deliver(int id, Bytes section, bool flag = false);
    /// Returns the callback and the other arguments of CreateSectionSubscriber.
    TVServiceAPI::SectionCallback callback = nullptr;
    int profile = 0;
    int parameter = -1;

    // --- ISectionSubscriber
    int SubscribeTable(int id, TCSectionCriteriaHelper* criteria, int* handle) override;
    int SubscribeFilter(int id, TCSectionFilterCriteriaHelper* criteria, int* handle) override;
    bool Unsubscribe(int handle) override;

    // --- The platform's own entries
    ISectionSubscriber* MakeSubscriber(TVServiceAPI::SectionCallback callback, int profile,
                                       int parameter);
    void WriteLog(int bufferId, int priority, const char* tag, const std::string& format,
                  const std::string& text);

  private:
    int Answer(Request request, int* handle);

    mutable std::mutex mutex_;
    std::condition_variable logged_;
    std::deque<Reply> replies_;
    std::deque<bool> releases_;
    bool hasSubscriber_ = true;
    int nextHandle_ = 100;
    std::vector<Request> requests_;
    std::vector<int> released_;
    int subscribersMade_ = 0;
    std::vector<std::string> log_;
};

}  // namespace fake
