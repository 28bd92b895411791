#pragma once

// What ThreadSanitizer has to be told about a mutex that is still locked when its memory is given
// back. In a build without ThreadSanitizer this does nothing.

#include <mutex>

#if defined(__SANITIZE_THREAD__)  // GCC
#define SI_THREAD_SANITIZER
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)  // Clang
#define SI_THREAD_SANITIZER
#endif
#endif

#if defined(SI_THREAD_SANITIZER)
#include <sanitizer/tsan_interface.h>
#endif

namespace TORVEL_MW {

/// Tells ThreadSanitizer that a mutex, which the calling thread has locked, ends here. Otherwise a
/// later mutex at the same address would seem to be locked twice. The mutex itself stays locked.
inline void TellSanitizerThatMutexEnds([[maybe_unused]] std::mutex& mutex) {
#if defined(SI_THREAD_SANITIZER)
    __tsan_mutex_pre_unlock(&mutex, 0);
    __tsan_mutex_post_unlock(&mutex, 0);
    __tsan_mutex_destroy(&mutex, 0);
#endif
}

}  // namespace TORVEL_MW

#undef SI_THREAD_SANITIZER
