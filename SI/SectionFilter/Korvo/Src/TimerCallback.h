#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

namespace TORVEL_MW {

/// A one-shot timer with a thread of its own, which lives as long as the timer, armed or not.
///
/// `SetTimer` and `CancelTimer` may be called on any thread, also by the callback. The callback
/// runs on the timer's thread with the timer's lock held: a `CancelTimer` elsewhere waits until it
/// has returned. When a cancel and the deadline come at the same time, whichever takes the lock
/// first wins.
///
/// At the deadline the timer's thread makes a copy of the callback and calls that. Nothing catches
/// what the copy or the call throws there: if memory for the copy runs out, the process ends.
class TimerCallback {
  public:
    /// Starts the thread. Nothing is armed.
    TimerCallback() : m_cancelled(false), m_expired(false), m_armed(false), m_quit(false) {
        m_thread = std::thread(&TimerCallback::waitThreadMethod, this);
    }

    /// Disarms and joins the thread. Inside the callback, which runs on that thread, the join fails
    /// and the process ends.
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

    /// Arms or re-arms: a previous deadline and callback are replaced. When the copy of the
    /// callback throws, nothing has changed.
    ///
    /// @param milliseconds  from now, taken as a signed 32-bit number: 2147483648 and more lie in
    ///                      the past and fire at once
    /// @param callback      copied, and called once at the deadline; never empty
    void SetTimer(std::uint32_t milliseconds, const std::function<void()>& callback) {
        // Made first, because it can throw: an armed timer always has a callback to call.
        std::function<void()> copy(callback);
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        m_armed = true;
        m_cancelled = false;
        m_expired = false;
        m_deadline = std::chrono::steady_clock::now() +
                     std::chrono::nanoseconds(
                         std::int64_t{static_cast<std::int32_t>(milliseconds)} * 1000000);
        m_callback = std::move(copy);  // destroys the previous one
        m_condition.notify_all();
    }

    /// Disarms; the callback that was pending is never called.
    void CancelTimer() {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        const bool wasArmed = m_armed;
        m_callback = nullptr;
        m_cancelled = true;
        m_armed = false;
        // When nothing was armed, the worker waits for a timer to be armed, and a wake-up would
        // only send it back to sleep. Every section cancels, so that is left out.
        if (wasArmed) {
            m_condition.notify_all();
        }
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
                // A copy, because the wait reads the deadline after it has released the lock, and a
                // re-arm may be writing the member then.
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
