#include "softplatform/section/FilterWords.h"

#include <cstring>

namespace tvservice {

namespace {

// The first block of `size` filters, from `block` to `end` - 1, in which one allows the word; `end`
// when there is none. Written with the vectors of GCC and Clang: the compiler makes SSE2, AVX2 or
// NEON of it, or plain arithmetic where the processor has none of these.
template <class Vector, size_t size>
[[gnu::always_inline]] inline size_t FindBlock(const uint64_t* equal, const uint64_t* wanted,
                                               size_t block, size_t end, uint64_t word) {
    constexpr size_t kLanes = sizeof(Vector) / sizeof(uint64_t);
    const Vector words = Vector{} + word;
    for (; block < end; ++block) {
        decltype(words == Vector{}) any{};
        for (size_t i = block * size; i < (block + 1) * size; i += kLanes) {
            Vector equals;
            Vector wants;
            std::memcpy(&equals, equal + i, sizeof equals);
            std::memcpy(&wants, wanted + i, sizeof wants);
            any |= (words & equals) == wants;
        }
        uint64_t allowed = 0;
        for (size_t lane = 0; lane < kLanes; ++lane) {
            allowed |= static_cast<uint64_t>(any[lane]);
        }
        if (allowed != 0) {
            break;
        }
    }
    return block;
}

using TwoWords [[gnu::vector_size(16)]] = uint64_t;

template <size_t size>
size_t FindBlockByTwo(const uint64_t* equal, const uint64_t* wanted, size_t block, size_t end,
                      uint64_t word) {
    return FindBlock<TwoWords, size>(equal, wanted, block, end, word);
}

#if defined(__x86_64__) || defined(__i386__)

using FourWords [[gnu::vector_size(32)]] = uint64_t;

template <size_t size>
[[gnu::target("avx2")]] size_t FindBlockByFour(const uint64_t* equal, const uint64_t* wanted,
                                               size_t block, size_t end, uint64_t word) {
    return FindBlock<FourWords, size>(equal, wanted, block, end, word);
}

bool HasAvx2() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") != 0;
}

#else

template <size_t size>
size_t FindBlockByFour(const uint64_t* equal, const uint64_t* wanted, size_t block, size_t end,
                       uint64_t word) {
    return FindBlockByTwo<size>(equal, wanted, block, end, word);
}

bool HasAvx2() {
    return false;
}

#endif

const FilterWords::Way s_fastest =
    HasAvx2() ? FilterWords::Way::kFourWords : FilterWords::Way::kTwoWords;

}  // namespace

void FilterWords::Clear() {
    size_ = 0;
    equal_.clear();
    wanted_.clear();
}

void FilterWords::Add(const SectionFilter::Word& word) {
    if (size_ == equal_.size()) {
        equal_.resize(size_ + kBlock, 0);
        wanted_.resize(size_ + kBlock, 1);
    }
    equal_[size_] = word.equal;
    wanted_[size_] = word.pattern & word.equal;
    ++size_;
}

size_t FilterWords::Next(size_t start, uint64_t word) const {
    return NextBy(s_fastest, start, word);
}

size_t FilterWords::NextPlain(size_t start, uint64_t word) const {
    while (start < size_ && !Allows(start, word)) {
        ++start;
    }
    return start;
}

bool FilterWords::Has(Way way) {
    return way == Way::kTwoWords || HasAvx2();
}

size_t FilterWords::NextBy(Way way, size_t start, uint64_t word) const {
    for (; start % kBlock != 0; ++start) {
        if (start == size_ || Allows(start, word)) {
            return start;
        }
    }
    const auto findBlock =
        way == Way::kFourWords ? &FindBlockByFour<kBlock> : &FindBlockByTwo<kBlock>;
    const size_t end = equal_.size() / kBlock;
    const size_t block = findBlock(equal_.data(), wanted_.data(), start / kBlock, end, word);
    // The entries that fill up the last block match no word, so a match in a block is always a
    // filter.
    return block == end ? size_ : NextPlain(block * kBlock, word);
}

}  // namespace tvservice
