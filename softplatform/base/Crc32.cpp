#include "softplatform/base/Crc32.h"

#include <array>
#include <atomic>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define TV_CARRYLESS_MULTIPLY 1
#elif defined(__AARCH64EL__) && defined(__linux__) && !defined(__clang__)
// Clang 14 knows the instruction only where the whole program asks for it.
#include <arm_neon.h>
#include <sys/auxv.h>
#define TV_CARRYLESS_MULTIPLY 1
#else
#define TV_CARRYLESS_MULTIPLY 0
#endif

namespace tvservice {

namespace {

constexpr uint32_t kPolynomial = 0x04C11DB7;
constexpr size_t kStep = 16;

// x times the polynomial `value`, modulo the generator polynomial.
constexpr uint32_t TimesX(uint32_t value) {
    return value << 1 ^ ((value & 0x80000000) != 0 ? kPolynomial : 0);
}

// kTables[n][b]: what the byte b, followed by n zero bytes, adds to the CRC.
constexpr std::array<std::array<uint32_t, 256>, kStep> MakeTables() {
    std::array<std::array<uint32_t, 256>, kStep> tables{};
    for (uint32_t byte = 0; byte < 256; ++byte) {
        uint32_t crc = byte << 24;
        for (int bit = 0; bit < 8; ++bit) {
            crc = TimesX(crc);
        }
        tables[0][byte] = crc;
    }
    for (size_t n = 1; n < kStep; ++n) {
        for (size_t byte = 0; byte < 256; ++byte) {
            const uint32_t before = tables[n - 1][byte];
            tables[n][byte] = before << 8 ^ tables[0][before >> 24];
        }
    }
    return tables;
}

constexpr std::array<std::array<uint32_t, 256>, kStep> kTables = MakeTables();

uint32_t BigEndian32(const uint8_t* bytes) {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

// What four bytes, read as one number and followed by `n` zero bytes, add to the CRC.
uint32_t AddWord(uint32_t word, size_t n) {
    return kTables[n + 3][word >> 24] ^ kTables[n + 2][word >> 16 & 0xFF] ^
           kTables[n + 1][word >> 8 & 0xFF] ^ kTables[n][word & 0xFF];
}

}  // namespace

uint32_t Crc32Slicing(const uint8_t* data, size_t size, uint32_t crc) {
    while (size >= kStep) {
        crc = AddWord(BigEndian32(data) ^ crc, 12) ^ AddWord(BigEndian32(data + 4), 8) ^
              AddWord(BigEndian32(data + 8), 4) ^ AddWord(BigEndian32(data + 12), 0);
        data += kStep;
        size -= kStep;
    }
    if (size >= 8) {
        crc = AddWord(BigEndian32(data) ^ crc, 4) ^ AddWord(BigEndian32(data + 4), 0);
        data += 8;
        size -= 8;
    }
    if (size >= 4) {
        crc = AddWord(BigEndian32(data) ^ crc, 0);
        data += 4;
        size -= 4;
    }
    for (; size > 0; --size, ++data) {
        crc = crc << 8 ^ kTables[0][crc >> 24 ^ *data];
    }
    return crc;
}

#if TV_CARRYLESS_MULTIPLY

namespace {

// A Block holds 16 bytes of the message as a polynomial; the first bit is the coefficient of the
// highest power. It also holds the product of two 64-bit halves.
#if defined(__AARCH64EL__)

#define TV_TARGET __attribute__((target("+crypto")))
using Block = uint64x2_t;

TV_TARGET inline Block Halves(uint64_t high, uint64_t low) {
    return vcombine_u64(vcreate_u64(low), vcreate_u64(high));
}
TV_TARGET inline Block Add(Block a, Block b) {
    return veorq_u64(a, b);
}
TV_TARGET inline Block MultiplyHigh(Block a, Block b) {
    return vreinterpretq_u64_p128(
        vmull_high_p64(vreinterpretq_p64_u64(a), vreinterpretq_p64_u64(b)));
}
TV_TARGET inline Block MultiplyLow(Block a, Block b) {
    return vreinterpretq_u64_p128(vmull_p64(static_cast<poly64_t>(vgetq_lane_u64(a, 0)),
                                            static_cast<poly64_t>(vgetq_lane_u64(b, 0))));
}
TV_TARGET inline uint8x16_t Reverse(uint8x16_t bytes) {
    const uint8x16_t halves = vrev64q_u8(bytes);
    return vextq_u8(halves, halves, 8);
}
TV_TARGET inline Block Load(const uint8_t* bytes) {
    return vreinterpretq_u64_u8(Reverse(vld1q_u8(bytes)));
}
TV_TARGET inline void Store(Block block, uint8_t* bytes) {
    vst1q_u8(bytes, Reverse(vreinterpretq_u8_u64(block)));
}

#else

#define TV_TARGET __attribute__((target("pclmul,ssse3,sse2")))
using Block = __m128i;

TV_TARGET inline Block Halves(uint64_t high, uint64_t low) {
    return _mm_set_epi64x(static_cast<long long>(high), static_cast<long long>(low));
}
TV_TARGET inline Block Add(Block a, Block b) {
    return _mm_xor_si128(a, b);
}
TV_TARGET inline Block MultiplyHigh(Block a, Block b) {
    return _mm_clmulepi64_si128(a, b, 0x11);
}
TV_TARGET inline Block MultiplyLow(Block a, Block b) {
    return _mm_clmulepi64_si128(a, b, 0x00);
}
TV_TARGET inline Block Reverse(Block block) {
    return _mm_shuffle_epi8(block,
                            _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15));
}
TV_TARGET inline Block Load(const uint8_t* bytes) {
    return Reverse(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)));
}
TV_TARGET inline void Store(Block block, uint8_t* bytes) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), Reverse(block));
}

#endif

// x to the power `exponent`, modulo the generator polynomial.
constexpr uint32_t PowerOfX(int exponent) {
    uint32_t value = 1;
    for (int i = 0; i < exponent; ++i) {
        value = TimesX(value);
    }
    return value;
}

// The CRC is the remainder of the message modulo the generator polynomial P, so the message may be
// replaced by any shorter one with the same remainder. A block H * x^64 + L (two 64-bit halves)
// that stands N bits before another block is therefore removed, and H * (x^(N+64) mod P) + L * (x^N
// mod P) is added to the other one.
template <int Bits>
TV_TARGET inline Block Fold(Block block, Block below) {
    constexpr uint32_t kHigh = PowerOfX(Bits + 64);
    constexpr uint32_t kLow = PowerOfX(Bits);
    const Block powers = Halves(kHigh, kLow);
    return Add(Add(MultiplyHigh(block, powers), MultiplyLow(block, powers)), below);
}

}  // namespace

bool Crc32HasCarrylessMultiply() {
#if defined(__AARCH64EL__)
    return (::getauxval(AT_HWCAP) & HWCAP_PMULL) != 0;
#else
    __builtin_cpu_init();
    return __builtin_cpu_supports("pclmul") != 0 && __builtin_cpu_supports("ssse3") != 0;
#endif
}

TV_TARGET uint32_t Crc32CarrylessMultiply(const uint8_t* data, size_t size, uint32_t crc) {
    if (size < 64) {
        return Crc32Slicing(data, size, crc);
    }
    // The CRC of the bytes before is added to the first four bytes.
    Block a = Add(Load(data), Halves(uint64_t{crc} << 32, 0));
    Block b = Load(data + 16);
    Block c = Load(data + 32);
    Block d = Load(data + 48);
    data += 64;
    size -= 64;
    while (size >= 64) {
        a = Fold<512>(a, Load(data));
        b = Fold<512>(b, Load(data + 16));
        c = Fold<512>(c, Load(data + 32));
        d = Fold<512>(d, Load(data + 48));
        data += 64;
        size -= 64;
    }
    Block block = Fold<128>(Fold<128>(Fold<128>(a, b), c), d);
    while (size >= 16) {
        block = Fold<128>(block, Load(data));
        data += 16;
        size -= 16;
    }
    uint8_t folded[16];
    Store(block, folded);
    return Crc32Slicing(data, size, Crc32Slicing(folded, sizeof(folded), 0));
}

#else

bool Crc32HasCarrylessMultiply() {
    return false;
}

uint32_t Crc32CarrylessMultiply(const uint8_t* data, size_t size, uint32_t crc) {
    return Crc32Slicing(data, size, crc);
}

#endif

namespace {

using Function = uint32_t (*)(const uint8_t*, size_t, uint32_t);

uint32_t ChooseAndCall(const uint8_t* data, size_t size, uint32_t crc);

// Set at compile time, so that a sum made before main finds it; the first call replaces it.
std::atomic<Function> chosen{&ChooseAndCall};

uint32_t ChooseAndCall(const uint8_t* data, size_t size, uint32_t crc) {
    const Function best = Crc32HasCarrylessMultiply() ? &Crc32CarrylessMultiply : &Crc32Slicing;
    chosen.store(best, std::memory_order_relaxed);
    return best(data, size, crc);
}

}  // namespace

uint32_t Crc32(const uint8_t* data, size_t size, uint32_t crc) {
    return chosen.load(std::memory_order_relaxed)(data, size, crc);
}

}  // namespace tvservice
