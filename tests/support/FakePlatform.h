#pragma once

// A platform under the SI layer that does what a test scripts, and keeps what was asked of it.
//
// It defines, at link time, what platform/ declares and the SI layer uses. One per process, like
// every platform; `FakePlatform::Get().Reset()` forgets script and records.

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

/// One request for a filter, as it arrived.
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

/// The answer to one request. Without a handle the handle variable is left alone.
struct Reply {
    int result = 1;
    std::optional<int> handle;
};

/// What the scripted PAT parser answers, and what was asked of it.
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

    // --- Script. Replies are used up in order; then filters are accepted with handles 100, 101,
    // ... and releases with true.
    void NextReply(Reply reply);
    void NextRelease(bool result);
    void HaveNoSubscriber();
    /// Called inside CreateSectionSubscriber, before it gives the subscriber, with no lock held.
    std::function<void()> duringCreation;
    /// Called inside each request, before it is answered, with no lock held.
    std::function<void(const Request&)> duringRequest;
    /// Called inside each release, with no lock held.
    std::function<void(int handle)> duringRelease;
    /// Called for each log line, with no lock held, after it was kept.
    std::function<void(const std::string& line)> duringLog;
    PatScript pat;

    // --- Records
    std::vector<Request> Requests() const;
    std::vector<int> Released() const;
    bool IsReleased(int handle) const;
    int SubscribersMade() const;

    /// The log since the last call, one string a line: "5 SectionSubscription.cpp OnCallback(*) >
    /// Length is 0", with priority, file, function and line number. In files whose numbers are not
    /// fixed the number is replaced by *.
    ///
    /// What does not show in the text fails the running test when the line is written: another
    /// buffer or tag, a printf format that the source file does not have (FakeLogFormats.h), or a
    /// number that is not the one of a log statement in the source.
    std::vector<std::string> TakeLog();
    /// Waits until such a line has been written since the last TakeLog.
    bool WaitForLog(const std::string& line);
    /// Waits until that many such lines have been written since the last TakeLog.
    bool WaitForLog(const std::string& line, int count);

    // --- Delivery
    /// Delivers a section on a thread of the platform's own; returns when the callback has.
    void Deliver(int id, Bytes section, bool flag = false);
    /// The callback and the other arguments of CreateSectionSubscriber.
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
