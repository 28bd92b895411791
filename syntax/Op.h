// A declaration is a sequence of steps in the order of the bytes. A step is a field, a loop, a
// condition or a length.
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
    kFlag,      // one bit, a boolean in the tree
    kBcd,       // decimal digits, four bits each; in the tree times scale or divided by divisor
    kScaled,    // binary; in the tree times scale
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
    // Lists and objects of the tree. The next `body` steps belong to them.
    kLoop,
    kObject,
    kDescriptors,  // has no body: each descriptor is decoded by its own declaration
    // Steps that are not in the tree.
    kReserved,       // bits with the value `low`
    kGuard,          // a flag that says whether fields follow; encoded from their presence
    kLength,         // the length of the later field that `refName` names
    kCount,          // the number of entries of the later loop that `refName` names
    kSectionLength,  // section_length; `low` says what the section ends with (SectionEnd)
    kWindow,         // a length in bytes, then `body` steps without an object of their own
    kIf,             // `body` steps that are present when the condition is true
    kTry,            // `body` steps that are decoded when they fit, and otherwise left out
    kOptional,       // `body` steps that are present when bytes are left
};

// What determines the size of a text, of bytes or of a loop.
enum class Extent : std::uint8_t {
    kRest,     // it reaches to the end of the enclosing loop, object or descriptor
    kLength,   // a length in bytes directly before it, coded in extentBits
    kCount,    // a number of entries directly before it, coded in extentBits
    kBits,     // a fixed size of extentBits bits, which are whole bytes
    kByField,  // an earlier kLength or kCount step that names it
};

// The same tag means different descriptors in different places. A space is a set of tags.
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

// What a section ends with.
enum class SectionEnd : std::uint8_t { kNone, kCrc, kCrcIfSyntaxIndicator };

// When the steps of a kIf are present: the value of `field` is in [low, high], or, if `mask` is not
// 0, the bit with that number is set in `mask`. `negate` inverts this.
struct Condition {
    std::string_view field;
    std::uint64_t low = 0;
    std::uint64_t high = 0;
    std::uint64_t mask = 0;  // one bit for each value from 0 to 63
    bool negate = false;
};

// One step. The compiler makes the steps; decoder and encoder read them.
struct Op {
    OpKind kind = OpKind::kReserved;
    std::uint8_t bits = 0;
    Extent extent = Extent::kRest;
    std::uint8_t extentBits = 0;
    std::uint8_t plus = 0;  // added to a coded count; in kTry 1 if the steps must fill their room
    Space space = Space::kMain;
    bool negate = false;
    std::int8_t slot = -1;   // where the value is stored for later steps; -1: not stored
    std::int8_t ref = -1;    // the slot whose value this step needs; -1: none
    std::uint16_t body = 0;  // how many of the next steps belong to this one
    std::uint32_t scale = 1;
    std::uint32_t divisor = 1;
    std::uint64_t low = 0;
    std::uint64_t high = 0;
    std::uint64_t mask = 0;
    std::string_view name;
    std::string_view refName;
    Values values;
    // For a value table whose keys have several fields: the fields whose values, eight bits each,
    // come before this field's eight bits in the key.
    std::string_view by[2];
};

// The largest number of fields of one declaration that later steps may refer to.
constexpr std::size_t kMostSlots = 24;

// Whether the step makes a value of the tree.
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
