#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>

#include "tests/support/TsBytes.h"

namespace contract {

// A copy of some bytes that ends where a page without access begins. Reading one byte past the end
// crashes the program, also without sanitizers.
class Guarded {
  public:
    explicit Guarded(const testsupport::Bytes& bytes) : size_(bytes.size()) {
        const auto page = static_cast<size_t>(::sysconf(_SC_PAGESIZE));
        const size_t usable = (size_ + page - 1) / page * page;
        mapped_ = usable + page;
        void* const start =
            ::mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (start == MAP_FAILED) {
            throw std::bad_alloc();
        }
        start_ = static_cast<unsigned char*>(start);
        ::mprotect(start_ + usable, page, PROT_NONE);
        data_ = start_ + usable - size_;
        std::copy(bytes.begin(), bytes.end(), data_);
    }
    ~Guarded() { ::munmap(start_, mapped_); }
    Guarded(const Guarded&) = delete;
    Guarded& operator=(const Guarded&) = delete;

    unsigned char* data() { return data_; }
    size_t size() const { return size_; }

    // Overwrites the bytes, as a platform does that uses the buffer again.
    void Scribble() { std::fill_n(data_, size_, static_cast<unsigned char>(0xEE)); }

  private:
    size_t size_;
    size_t mapped_ = 0;
    unsigned char* start_ = nullptr;
    unsigned char* data_ = nullptr;
};

}  // namespace contract
