#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

namespace TORVEL_MW {

/// A one-shot timer with a thread of its own, which lives as long as the timer, armed or not.
///
/// `SetTimer` and `CancelTimer` may be called on any thread, also by the callback. The callback
/// runs on the timer's thread with the timer's lock held: a `CancelTimer` elsewhere waits until it
/// has returned. When a cancel races the deadline, whoever locks first wins.
class TimerCallback {
  public:
    /// Starts the thread. Nothing is armed.
    TimerCallback() : m_cancelled(false), m_expired(false), m_armed(false), m_quit(false) {
        m_thread = std::thread(&TimerCallback::waitThreadMethod, this);
    }

    /// Disarms and joins the thread. From inside the callback the join fails, which ends the
    /// process.
    ~TimerCallback() {
        {
            std::lock_guard<std::recursive_mutex> lock(m_mutex);
            m_callback = nullptr;
            m_armed = false;
            m_quit = true;
            m_condition.notify_all();
        }
        m_thread.join();
    }

    TimerCallback(const TimerCallback&) = delete;
    TimerCallback& operator=(const TimerCallback&) = delete;

    /// Arms or re-arms: a previous deadline and callback are replaced.
    ///
    /// @param milliseconds  from now, taken as a signed 32-bit number: 2147483648 and more lie in
    ///                      the past and fire at once
    /// @param callback      called once at the deadline; never empty
    void SetTimer(std::uint32_t milliseconds, const std::function<void()>& callback) {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        m_armed = true;
        m_cancelled = false;
        m_expired = false;
        m_deadline = std::chrono::steady_clock::now() +
                     std::chrono::nanoseconds(
                         std::int64_t{static_cast<std::int32_t>(milliseconds)} * 1000000);
        m_callback = callback;
        m_condition.notify_all();
    }

    /// Disarms; the callback that was pending is never called.
    void CancelTimer() {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        m_callback = nullptr;
        m_cancelled = true;
        m_armed = false;
        m_condition.notify_all();
    }

  private:
    friend struct TimerCallbackPeer;  // tests look at the flags

    void waitThreadMethod() {
        std::unique_lock<std::recursive_mutex> lock(m_mutex);
        while (!m_quit) {
            while (!m_armed && !m_quit) {
                m_condition.wait(lock);
            }
            while (m_armed) {
                // The wait reads its argument after it has released the lock, when a re-arm may
                // write the member.
                const auto deadline = m_deadline;
                if (m_condition.wait_until(lock, deadline) == std::cv_status::timeout) {
                    break;
                }
            }
            if (m_armed) {
                const std::function<void()> callback = m_callback;
                m_callback = nullptr;
                m_armed = false;
                m_expired = true;
                callback();
            }
        }
    }

    std::thread m_thread;
    std::recursive_mutex m_mutex;  // guards every member below
    std::condition_variable_any m_condition;
    bool m_cancelled;
    bool m_expired;
    bool m_armed;
    bool m_quit;
    std::chrono::steady_clock::time_point m_deadline;
    std::function<void()> m_callback;
};

}  // namespace TORVEL_MW
