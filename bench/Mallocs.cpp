#include "bench/Mallocs.h"

#include <cstddef>

// The names under which glibc offers the functions that this file replaces.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* old, std::size_t size);
}

namespace {
thread_local std::uint64_t t_mallocs = 0;
}  // namespace

extern "C" {
__attribute__((visibility("default"))) void* malloc(std::size_t size) {
    ++t_mallocs;
    return __libc_malloc(size);
}
__attribute__((visibility("default"))) void* calloc(std::size_t count, std::size_t size) {
    ++t_mallocs;
    return __libc_calloc(count, size);
}
__attribute__((visibility("default"))) void* realloc(void* old, std::size_t size) {
    ++t_mallocs;
    return __libc_realloc(old, size);
}
}

namespace bench {

std::uint64_t MallocsOfThisThread() {
    return t_mallocs;
}

}  // namespace bench
