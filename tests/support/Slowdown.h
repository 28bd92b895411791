#pragma once

#include <chrono>

namespace testsupport {

// The factor by which a test may take longer under a sanitizer or an emulator.
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__) || defined(TORVELSI_EMULATOR)
constexpr int kSlowdown = 10;
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer) || __has_feature(address_sanitizer)
constexpr int kSlowdown = 10;
#else
constexpr int kSlowdown = 1;
#endif
#else
constexpr int kSlowdown = 1;
#endif

// Whether `duration()`, which does something and returns how long it took, is a tenth of a second
// at most in one of many tries. A busy machine can hold up some of them; what always waits for
// longer is never quick.
template <class Duration>
bool AnyIsQuick(Duration duration) {
    constexpr int kTries = 50;
    constexpr auto kQuick = kSlowdown * std::chrono::milliseconds(100);
    for (int n = 0; n < kTries; ++n) {
        if (duration() <= kQuick) {
            return true;
        }
    }
    return false;
}

}  // namespace testsupport
