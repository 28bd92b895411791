#pragma once

#include <mutex>
#include <vector>

#include "SI/SectionFilter/Korvo/Src/EventQueue.h"

namespace TORVEL_MW {

struct EventQueuePeer {
    template <class Item>
    static std::vector<const void*> Members(const EventQueue<Item>& queue) {
        return {&queue.m_queue, &queue.m_mutex, &queue.m_condition};
    }
    template <class Item>
    static void NotifyAll(EventQueue<Item>& queue) {
        queue.m_condition.NotifyAll();
    }
    template <class Item>
    static bool IsEmpty(EventQueue<Item>& queue) {
        std::lock_guard<std::mutex> lock(queue.m_mutex);
        return queue.m_queue.empty();
    }
    template <class Item>
    static std::mutex& Mutex(EventQueue<Item>& queue) {
        return queue.m_mutex;
    }
};

}  // namespace TORVEL_MW
