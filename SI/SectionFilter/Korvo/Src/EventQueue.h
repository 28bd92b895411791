#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>

#include "SI/SectionFilter/Korvo/Src/MutexEnd.h"

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
/// one consumer. The queue does not look at the items: a null pointer is an item too.
template <class Item>
class EventQueue {
  public:
    EventQueue() = default;
    EventQueue(const EventQueue&) = delete;
    EventQueue& operator=(const EventQueue&) = delete;

    /// Destroys the items still queued, first to last. The queue is not closed: a consumer that
    /// waits in `Pop` is woken, finds the queue empty and waits again. The mutex stays locked for
    /// ever. While the process ends its threads still run, and one that comes to the queue then
    /// blocks on the mutex instead of touching what is destroyed.
    ~EventQueue() {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_condition.NotifyAll();
        }
        m_mutex.lock();
        while (!m_queue.empty()) {  // clear() promises no order
            m_queue.pop_front();
        }
        TellSanitizerThatMutexEnds(m_mutex);
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
