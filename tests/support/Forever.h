#pragma once

#include <mutex>
#include <utility>
#include <vector>

/// An object that lives until the process ends. The section manager's event thread may still call
/// it after its test. LeakSanitizer does not report it as a leak.
template <class T, class... Arguments>
T& Forever(Arguments&&... arguments) {
    static std::mutex mutex;
    static auto& kept = *new std::vector<T*>;
    T* const object = new T(std::forward<Arguments>(arguments)...);
    std::lock_guard<std::mutex> lock(mutex);
    kept.push_back(object);
    return *object;
}
