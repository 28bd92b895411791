#pragma once

#include <mutex>
#include <utility>
#include <vector>

/// An object that lives to the end of the process: what the section manager's event thread may
/// still call when a test is over. To LeakSanitizer it is in use, not lost.
template <class T, class... Arguments>
T& Forever(Arguments&&... arguments) {
    static std::mutex mutex;
    static auto& kept = *new std::vector<T*>;
    T* const object = new T(std::forward<Arguments>(arguments)...);
    std::lock_guard<std::mutex> lock(mutex);
    kept.push_back(object);
    return *object;
}
