#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>

#if defined(__SANITIZE_THREAD__)
#define TORVEL_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define TORVEL_THREAD_SANITIZER 1
#endif
#endif
#if defined(TORVEL_THREAD_SANITIZER)
#include <sanitizer/tsan_interface.h>
#endif

namespace TORVEL_MW {

/// A condition variable that is never destroyed.
///
/// Destroying one that somebody still waits on blocks until the waiter has left (glibc), and the
/// consumer of an `EventQueue` never leaves: it finds the queue empty and waits again. glibc's
/// destroy frees nothing, so leaving it out leaks nothing.
class EternalCondition {
  public:
    EternalCondition() : m_condition() {}
    ~EternalCondition() {}
    EternalCondition(const EternalCondition&) = delete;
    EternalCondition& operator=(const EternalCondition&) = delete;

    void Wait(std::unique_lock<std::mutex>& lock) { m_condition.wait(lock); }
    void NotifyOne() noexcept { m_condition.notify_one(); }
    void NotifyAll() noexcept { m_condition.notify_all(); }

  private:
    union {
        std::condition_variable m_condition;
    };
};

/// Unbounded, blocking first-in-first-out queue of owned items, from any number of producers to
/// one consumer. Items are never looked at: a null pointer goes through like any other.
template <class Item>
class EventQueue {
  public:
    EventQueue() = default;
    EventQueue(const EventQueue&) = delete;
    EventQueue& operator=(const EventQueue&) = delete;

    /// Destroys the items still queued, first to last. The queue is not closed: a consumer blocked
    /// in `Pop` is woken, finds nothing and waits on. The mutex stays locked for ever, so that a
    /// consumer or producer that comes late (the process is ending, its threads still run) blocks
    /// on it and never touches what is gone.
    ~EventQueue() {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_condition.NotifyAll();
        }
        m_mutex.lock();
        while (!m_queue.empty()) {  // clear() keeps no order
            m_queue.pop_front();
        }
#if defined(TORVEL_THREAD_SANITIZER)
        // To ThreadSanitizer the mutex ends here, or a later queue at this address would seem to
        // lock it twice. The lock itself is kept.
        __tsan_mutex_pre_unlock(&m_mutex, 0);
        __tsan_mutex_post_unlock(&m_mutex, 0);
        __tsan_mutex_destroy(&m_mutex, 0);
#endif
    }

    /// Appends an item and wakes the consumer. Waits for nothing but the mutex. When memory runs
    /// out the item is destroyed and the exception passes.
    void Push(std::unique_ptr<Item> item) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_queue.push_back(std::move(item));
        m_condition.NotifyOne();
    }

    /// Takes the oldest item; waits as long as there is none.
    std::unique_ptr<Item> Pop() {
        std::unique_lock<std::mutex> lock(m_mutex);
        while (m_queue.empty()) {
            m_condition.Wait(lock);
        }
        std::unique_ptr<Item> item = std::move(m_queue.front());
        m_queue.pop_front();
        return item;
    }

  private:
    friend struct EventQueuePeer;

    std::deque<std::unique_ptr<Item>> m_queue;  // guarded by m_mutex
    std::mutex m_mutex;
    EternalCondition m_condition;  // signals that an item was appended
};

}  // namespace TORVEL_MW
