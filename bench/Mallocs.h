#pragma once

#include <cstdint>

namespace bench {

/// Returns how often this thread has allocated memory so far, by malloc, calloc, realloc or new.
/// Only programs that are linked with Mallocs.cpp count.
std::uint64_t MallocsOfThisThread();

}  // namespace bench
