// What a declaration is made of: steps, one a field or a mark, in the order of the bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace syntax {

// The words for the coded values `low` to `high` of a field.
struct Value {
    std::uint64_t low = 0;
    std::uint64_t high = 0;
    std::string_view words;

    constexpr Value() = default;
    constexpr Value(std::uint64_t value, std::string_view meaning)
        : low(value), high(value), words(meaning) {}
    constexpr Value(std::uint64_t first, std::uint64_t last, std::string_view meaning)
        : low(first), high(last), words(meaning) {}
};

// A value table. It is sorted by its values, and its arrays have static storage.
using Values = std::span<const Value>;

enum class OpKind : std::uint8_t {
    // Fields: each becomes one value of the tree.
    kUnsigned,
    kSigned,    // two's complement
    kFlag,      // one bit, a boolean of the tree
    kBcd,       // decimal digits, four bits each, counted in units of 1/scale or times scale
    kScaled,    // binary, times scale
    kTime,      // 40 bits: MJD and six BCD digits
    kDate,      // 16 bits: MJD
    kDuration,  // 24 bits: six BCD digits, seconds in the tree
    kOffset,    // 16 bits: four BCD digits, hours and minutes
    kLabel,     // 20 bits: day, month, hour and minute (EN 300 231)
    kLatin,     // `bits` of characters of ISO/IEC 8859-1: language and country codes
    kIpv4,
    kIpv6,
    kMac,
    kText,   // DVB text (EN 300 468 annex A)
    kUtf8,   // UTF-8 or ASCII
    kBytes,  // hexadecimal in the tree
    // Lists and objects of the tree; `body` steps follow and belong to them.
    kLoop,
    kObject,
    kDescriptors,  // has no body: the descriptors' own declarations count
    // What is not in the tree.
    kReserved,       // bits with the value `low`
    kGuard,          // a flag that says whether fields follow: their presence decides
    kLength,         // the length of what `extentRef` names elsewhere
    kCount,          // the number of entries of a loop that is elsewhere
    kSectionLength,  // length to the end of the section; `low` says what stands at that end
    kWindow,         // a length in bytes in front of `body` steps, whose fields lie in the open
    kIf,             // `body` steps that are there when the condition holds
    kTry,            // `body` steps that are taken when they fit, else left out
    kOptional,       // `body` steps that are there when bytes remain
};

// How far a text, bytes or a loop reach.
enum class Extent : std::uint8_t {
    kRest,     // to the end of what encloses it
    kLength,   // length in bytes right in front, of extentBits
    kCount,    // number of entries right in front, of extentBits
    kBits,     // a fixed size of extentBits, which are whole bytes
    kByField,  // said by a kLength or kCount before
};

// The part of the tags that a descriptor loop takes its descriptors from.
enum class Space : std::uint8_t {
    kMain,           // ISO/IEC 13818-1, EN 300 468 and private tags
    kMpegExtension,  // extension_descriptor_tag of 0x3F
    kDvbExtension,   // descriptor_tag_extension of 0x7F
    kApplication,    // AIT
    kUpdate,         // UNT
    kIpMac,          // INT
    kCarousel,       // groups and modules of DSM-CC
    kSplice,         // SCTE 35
    kResolution,     // RNT
};

// What stands at the end of a section.
enum class SectionEnd : std::uint8_t { kNone, kCrc, kCrcIfSyntaxIndicator };

// When the steps of a kIf are there: the field `ref` is in [low, high], or its bit is in `mask`.
struct Condition {
    std::string_view field;
    std::uint64_t low = 0;
    std::uint64_t high = 0;
    std::uint64_t mask = 0;  // values 0 to 63; counts in place of low and high when not 0
    bool negate = false;
};

// One step. Plain data: made at compile time, read by the interpreters.
struct Op {
    OpKind kind = OpKind::kReserved;
    std::uint8_t bits = 0;
    Extent extent = Extent::kRest;
    std::uint8_t extentBits = 0;
    std::uint8_t plus = 0;  // what is added to a coded count: 1 for "less one"
    Space space = Space::kMain;
    bool negate = false;
    std::int8_t slot = -1;   // where the value is kept for steps that ask for it
    std::int8_t ref = -1;    // the slot that this step asks for
    std::uint16_t body = 0;  // steps that belong to this one, right behind it
    std::uint32_t scale = 1;
    std::uint32_t divisor = 1;
    std::uint64_t low = 0;
    std::uint64_t high = 0;
    std::uint64_t mask = 0;
    std::string_view name;
    std::string_view refName;
    Values values;
    // Value tables of several fields: the values of these, eight bits each, stand before the
    // field's own eight bits in the table's keys.
    std::string_view by[2];
};

// Most fields of one declaration that others ask for.
constexpr std::size_t kMostSlots = 24;

// Whether `op` begins a value of the tree.
constexpr bool IsNamed(const Op& op) {
    return op.kind <= OpKind::kDescriptors;
}

// The largest number of `bits` bits.
constexpr std::uint64_t AllOnes(unsigned bits) {
    return bits >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << bits) - 1;
}

constexpr bool IsIn(const Op& op, std::uint64_t value) {
    const bool inside = op.mask != 0 ? value < 64 && (op.mask >> value & 1) != 0
                                     : value >= op.low && value <= op.high;
    return inside != op.negate;
}

}  // namespace syntax
