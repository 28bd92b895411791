#pragma once

#include <cstdint>

namespace bench {

/// How often this thread has allocated memory so far, by malloc, calloc, realloc or new. Counts in
/// programs that are linked with Mallocs.cpp.
std::uint64_t MallocsOfThisThread();

}  // namespace bench
