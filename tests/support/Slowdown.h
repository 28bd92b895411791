#pragma once

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

}  // namespace testsupport
