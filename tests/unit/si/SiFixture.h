#pragma once

// What the tests of section acquisition share: the fake platform, an observer that records, and
// access to the private members of the classes under test.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "SI/SectionFilter/Korvo/Src/KorvoSectionManager.h"
#include "SI/SectionFilter/Korvo/Src/SectionSubscription.h"
#include "SI/SectionFilter/Korvo/Src/TimerCallback.h"
#include "tests/support/FakePlatform.h"
#include "tests/support/Forever.h"
#include "tests/unit/si/Signal.h"

namespace TORVEL_MW {

struct TimerCallbackPeer {
    using T = TimerCallback;
    struct Flags {
        bool cancelled, expired, armed, quit;
        bool operator==(const Flags&) const = default;
    };
    static Flags Of(T& timer) {
        std::lock_guard<std::recursive_mutex> lock(timer.m_mutex);
        return {timer.m_cancelled, timer.m_expired, timer.m_armed, timer.m_quit};
    }
    static bool IsArmed(T& timer) { return Of(timer).armed; }
    static bool HasCallback(T& timer) {
        std::lock_guard<std::recursive_mutex> lock(timer.m_mutex);
        return static_cast<bool>(timer.m_callback);
    }
    static std::chrono::steady_clock::time_point Deadline(T& timer) {
        std::lock_guard<std::recursive_mutex> lock(timer.m_mutex);
        return timer.m_deadline;
    }
    static std::recursive_mutex& Mutex(T& timer) { return timer.m_mutex; }
    static std::thread::id ThreadId(T& timer) { return timer.m_thread.get_id(); }
    static std::vector<const void*> Members(const T& t) {
        return {&t.m_thread, &t.m_mutex, &t.m_condition, &t.m_cancelled, &t.m_expired,
                &t.m_armed,  &t.m_quit,  &t.m_deadline,  &t.m_callback};
    }
    static_assert(std::is_same_v<decltype(T::m_mutex), std::recursive_mutex> &&
                  std::is_same_v<decltype(T::m_condition), std::condition_variable_any> &&
                  std::is_same_v<decltype(T::m_deadline), std::chrono::steady_clock::time_point> &&
                  std::is_same_v<decltype(T::m_callback), std::function<void()>>);
};

struct SectionSubscriptionPeer {
    using S = CSectionSubscription;
    static int HandleCount(int handle) { return S::s_handleRefCount[handle]; }
    static bool HasHandleCount(int handle) { return S::s_handleRefCount.count(handle) != 0; }
    static void SetHandleCount(int handle, int count) { S::s_handleRefCount[handle] = count; }
    static void ForgetHandleCount(int handle) { S::s_handleRefCount.erase(handle); }
    static std::string Info(const S& s) { return s.m_Info(); }
    static int Handle(const S& s) { return s.m_tvsHandle; }
    static int TableId(const S& s) { return s.m_tableId; }
    static int TableIdExt(const S& s) { return s.m_tableIdExt; }
    static const std::vector<unsigned char>& Pattern(const S& s) { return s.m_pattern; }
    static const std::vector<unsigned char>& Mask(const S& s) { return s.m_mask; }
    static const std::vector<unsigned char>& Mode(const S& s) { return s.m_mode; }

    static TimerCallback& Timer(S& s) { return s.m_timer; }
    static bool IsArmed(S& s) { return TimerCallbackPeer::IsArmed(s.m_timer); }

    /// The members' addresses, in the order in which they should be declared.
    static std::vector<const void*> Members(const S& s) {
        return {&s.m_observer,   &s.m_subscriber, &s.m_id,   &s.m_pid,  &s.m_tableId,
                &s.m_tableIdExt, &s.m_pattern,    &s.m_mask, &s.m_mode, &s.m_tvsHandle,
                &s.m_filterMode, &s.m_timeout,    &s.m_timer};
    }

    template <class A, class B>
    static constexpr bool kSame = std::is_same_v<A, B>;
    using Octets = std::vector<unsigned char>;
    static_assert(kSame<decltype(S::s_handleRefCount), std::map<int, int>> &&
                  kSame<decltype(S::m_observer), ISectionObserver*> &&
                  kSame<decltype(S::m_subscriber), ISectionSubscriber*> &&
                  kSame<decltype(S::m_id), unsigned short> &&
                  kSame<decltype(S::m_pid), unsigned short> &&
                  kSame<decltype(S::m_tableId), unsigned char> &&
                  kSame<decltype(S::m_tableIdExt), unsigned short> &&
                  kSame<decltype(S::m_pattern), Octets> && kSame<decltype(S::m_mask), Octets> &&
                  kSame<decltype(S::m_mode), Octets> && kSame<decltype(S::m_tvsHandle), int> &&
                  kSame<decltype(S::m_filterMode), ISectionManager::EFilterMode> &&
                  kSame<decltype(S::m_timeout), unsigned int> &&
                  kSame<decltype(S::m_timer), TimerCallback>);
};

struct KorvoSectionManagerPeer {
    using M = CKorvoSectionManager;
    static void SetNextId(M& m, unsigned int id) {
        std::lock_guard<std::recursive_mutex> lock(m.m_mutex);
        m.m_nextId = id;
    }
    static unsigned int NextId(M& m) {
        std::lock_guard<std::recursive_mutex> lock(m.m_mutex);
        return m.m_nextId;
    }
    static bool Holds(M& m, unsigned int id) {
        std::lock_guard<std::recursive_mutex> lock(m.m_mutex);
        return m.m_subscriptions.count(id) != 0;
    }
    static void Push(M& m, std::unique_ptr<SectionData> record) {
        m.m_eventQueue.Push(std::move(record));
    }
    static std::recursive_mutex& Mutex(M& m) { return m.m_mutex; }
    static ISectionSubscriber* Subscriber(M& m) { return m.m_subscriber; }
    static EventQueue<SectionData>& Queue(M& m) { return m.m_eventQueue; }

    static std::vector<const void*> Members(const M& m) {
        return {&m.m_mutex,      &m.m_subscriptions, &m.m_nextId,
                &m.m_subscriber, &m.m_eventThread,   &m.m_eventQueue};
    }
};

}  // namespace TORVEL_MW

namespace {

using fake::Bytes;
using fake::FakePlatform;
using testing::ElementsAre;
using testing::IsEmpty;
using TORVEL_MW::CKorvoSectionManager;
using TORVEL_MW::CSectionSubscription;
using TORVEL_MW::ISectionManager;
using TORVEL_MW::KorvoSectionManagerPeer;
using TORVEL_MW::SectionSubscriptionPeer;

constexpr unsigned int kNoTimeout = 4294967295u;

inline std::string Red(const std::string& text) {
    return "\033[31m" + text + "\033[0m";
}
inline std::string Green(const std::string& text) {
    return "\033[32m" + text + "\033[0m";
}
inline std::string Yellow(const std::string& text) {
    return "\033[33m" + text + "\033[0m";
}

/// A log line of SectionSubscription.cpp, as FakePlatform::TakeLog gives it.
inline std::string Line(int priority, const std::string& function, const std::string& text) {
    return std::to_string(priority) + " SectionSubscription.cpp " + function + "(*) > " + text;
}

/// One of KorvoSectionManager.cpp.
inline std::string Line(int priority, const std::string& function, int line,
                        const std::string& text) {
    return std::to_string(priority) + " KorvoSectionManager.cpp " + function + "(" +
           std::to_string(line) + ") > " + text;
}

/// An observer that records its sections and time-outs. Tests can wait for them.
class Recorder : public TORVEL_MW::ISectionObserver {
  public:
    struct Section {
        unsigned short id, pid;
        Bytes data;
        bool operator==(const Section& other) const {
            return id == other.id && pid == other.pid && data == other.data;
        }
    };

    void OnSectionReceived(unsigned short id, unsigned short pid, unsigned short length,
                           unsigned char* data) override {
        if (const auto hook = duringSection) {  // a copy, because the hook may replace itself
            hook(id);
        }
        std::lock_guard<std::mutex> lock(mutex_);
        sections_.push_back({id, pid, Bytes(data, data + length)});
        changed_.notify_all();
    }

    void OnSectionTimeout(unsigned int id) override {
        if (const auto hook = duringTimeout) {
            hook(id);
        }
        std::lock_guard<std::mutex> lock(mutex_);
        timeouts_.push_back(id);
        changed_.notify_all();
    }

    std::function<void(unsigned short id)> duringSection;
    std::function<void(unsigned int id)> duringTimeout;

    std::vector<Section> Sections() {
        std::lock_guard<std::mutex> lock(mutex_);
        return sections_;
    }
    std::vector<unsigned int> Timeouts() {
        std::lock_guard<std::mutex> lock(mutex_);
        return timeouts_;
    }
    bool WaitForSections(std::size_t count) {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, kPatience, [&] { return sections_.size() >= count; });
    }
    bool WaitForTimeouts(std::size_t count) {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, kPatience, [&] { return timeouts_.size() >= count; });
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Section> sections_;
    std::vector<unsigned int> timeouts_;
};

}  // namespace
