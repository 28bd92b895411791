#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>

/// Replaces operator new by one that counts and that fails on demand. Include it in one file of a
/// program only.
namespace testsupport {

/// The allocations of the calling thread.
struct Heap {
    int failAfter = -1;        // this many more succeed, then one fails; below 0: none fails
    int allocations = 0;       // that succeeded
    int blocks = 0;            // allocated, less those that were freed
    std::size_t lastSize = 0;  // of the last allocation
};

inline thread_local Heap t_heap;

}  // namespace testsupport

[[gnu::noinline]] void* operator new(std::size_t size) {
    testsupport::Heap& heap = testsupport::t_heap;
    if (heap.failAfter >= 0 && heap.failAfter-- == 0) {
        throw std::bad_alloc();
    }
    if (void* memory = std::malloc(size == 0 ? 1 : size)) {
        ++heap.allocations;
        ++heap.blocks;
        heap.lastSize = size;
        return memory;
    }
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept {
    testsupport::t_heap.blocks -= memory == nullptr ? 0 : 1;
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}
