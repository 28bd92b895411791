// The functions that declarations are written with. A declaration reads like the syntax table of
// its standard, from top to bottom:
//
//   Descriptor(0x50, "component_descriptor", "EN 300 468 6.2.8",
//       U(4, "stream_content_ext"), U(4, "stream_content"),
//       U8("component_type", kComponentTypes).By("stream_content_ext", "stream_content"),
//       U8("component_tag"), Language("ISO_639_language_code"), Text("text"))
//
// The compiler checks declarations. It refuses reserved names, conditions on a field that does not
// come earlier, bit fields without width and more. docs/adding-a-descriptor.md shows how to add
// one.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>

#include "syntax/Op.h"

namespace syntax {

// A sequence of steps. All functions below return one.
template <std::size_t N>
struct Steps {
    std::array<Op, N> ops{};

    // For a value table with keys of several fields: `first` and `second` come before this field.
    constexpr Steps By(std::string_view first, std::string_view second = {}) const {
        Steps result = *this;
        result.ops[0].by[0] = first;
        result.ops[0].by[1] = second;
        return result;
    }
};

template <std::size_t... Ns>
constexpr Steps<(Ns + ... + 0)> Sequence(const Steps<Ns>&... parts) {
    Steps<(Ns + ... + 0)> result;
    std::size_t at = 0;
    [[maybe_unused]] const auto append = [&](const auto& part) {
        for (const Op& op : part.ops) {
            result.ops[at++] = op;
        }
    };
    (append(parts), ...);
    return result;
}

namespace detail {

// Stops the compilation at its text, because a constexpr declaration may not call a function that
// is not constexpr.
inline void Refuse(const char* /*why*/) {}

constexpr Steps<1> One(OpKind kind, unsigned bits, std::string_view name, Values values = {}) {
    if (bits > 128) {
        Refuse("a field is too wide");
    }
    for (std::size_t i = 1; i < values.size(); ++i) {
        if (values[i].low <= values[i - 1].high) {
            Refuse("a value table is not sorted");
        }
    }
    Steps<1> result;
    Op& op = result.ops[0];
    op.kind = kind;
    op.bits = static_cast<std::uint8_t>(bits);
    op.name = name;
    op.values = values;
    return result;
}

template <std::size_t... Ns>
constexpr Steps<1 + (Ns + ... + 0)> With(const Op& head, const Steps<Ns>&... body) {
    Steps<1> first;
    first.ops[0] = head;
    first.ops[0].body = static_cast<std::uint16_t>((Ns + ... + 0));
    return Sequence(first, body...);
}

constexpr Op Reaching(OpKind kind, std::string_view name, Extent extent, unsigned bits = 0,
                      unsigned plus = 0) {
    Op op;
    op.kind = kind;
    op.name = name;
    op.extent = extent;
    op.extentBits = static_cast<std::uint8_t>(bits);
    op.plus = static_cast<std::uint8_t>(plus);
    return op;
}

constexpr Steps<1> Alone(const Op& op) {
    Steps<1> result;
    result.ops[0] = op;
    return result;
}

}  // namespace detail

// --- Numbers

constexpr Steps<1> U(unsigned bits, std::string_view name, Values values = {}) {
    if (bits < 1 || bits > 64) {
        detail::Refuse("a number has 1 to 64 bits");
    }
    return detail::One(OpKind::kUnsigned, bits, name, values);
}
constexpr Steps<1> U8(std::string_view name, Values values = {}) {
    return U(8, name, values);
}
constexpr Steps<1> U16(std::string_view name, Values values = {}) {
    return U(16, name, values);
}
constexpr Steps<1> U24(std::string_view name, Values values = {}) {
    return U(24, name, values);
}
constexpr Steps<1> U32(std::string_view name, Values values = {}) {
    return U(32, name, values);
}
constexpr Steps<1> S(unsigned bits, std::string_view name) {
    return detail::One(OpKind::kSigned, bits, name);
}

// A bit with a meaning of its own: a boolean in the tree.
constexpr Steps<1> Flag(std::string_view name) {
    return detail::One(OpKind::kFlag, 1, name);
}
// A bit that only says whether fields follow. It is not in the tree. The encoder writes one when a
// field under If(Set(name)) is present, and zero when a field under If(Clear(name)) is present.
constexpr Steps<1> Guard(std::string_view name) {
    return detail::One(OpKind::kGuard, 1, name);
}

// Reserved bits: Reserved with any value, Ones with all bits one, Zeros with all bits zero. They
// are not in the tree.
constexpr Steps<1> Reserved(unsigned bits, std::uint64_t value) {
    Steps<1> result = detail::One(OpKind::kReserved, bits, {});
    result.ops[0].low = value;
    return result;
}
constexpr Steps<1> Ones(unsigned bits) {
    return Reserved(bits, AllOnes(bits));
}
constexpr Steps<1> Zeros(unsigned bits) {
    return Reserved(bits, 0);
}

// Decimal digits that count units. The tree has the digits times `unit`:
// BcdUnits("frequency_hz", 32, 10000) counts units of 10 kHz and is in Hz in the tree.
constexpr Steps<1> BcdUnits(std::string_view name, unsigned bits, std::uint32_t unit) {
    Steps<1> result = detail::One(OpKind::kBcd, bits, name);
    result.ops[0].scale = unit;
    return result;
}
// Decimal digits with a decimal point. The tree has the digits divided by `divisor`: 10 for one
// digit after the point.
constexpr Steps<1> BcdFraction(std::string_view name, unsigned bits, std::uint32_t divisor) {
    Steps<1> result = detail::One(OpKind::kBcd, bits, name);
    result.ops[0].divisor = divisor;
    return result;
}
// A binary number that counts units. The tree has the number times `unit`.
constexpr Steps<1> Units(unsigned bits, std::string_view name, std::uint32_t unit) {
    Steps<1> result = detail::One(OpKind::kScaled, bits, name);
    result.ops[0].scale = unit;
    return result;
}

// --- Times

constexpr Steps<1> Time(std::string_view name) {
    return detail::One(OpKind::kTime, 40, name);
}
constexpr Steps<1> Date(std::string_view name) {
    return detail::One(OpKind::kDate, 16, name);
}
constexpr Steps<1> Duration(std::string_view name) {
    return detail::One(OpKind::kDuration, 24, name);
}
constexpr Steps<1> HoursMinutes(std::string_view name) {
    return detail::One(OpKind::kOffset, 16, name);
}
constexpr Steps<1> ProgrammeLabel(std::string_view name) {
    return detail::One(OpKind::kLabel, 20, name);
}

// --- Characters, addresses, bytes

constexpr Steps<1> Language(std::string_view name) {
    return detail::One(OpKind::kLatin, 24, name);
}
constexpr Steps<1> Country(std::string_view name) {
    return detail::One(OpKind::kLatin, 24, name);
}
constexpr Steps<1> Latin(unsigned bits, std::string_view name) {
    return detail::One(OpKind::kLatin, bits, name);
}
constexpr Steps<1> Ipv4(std::string_view name) {
    return detail::One(OpKind::kIpv4, 32, name);
}
constexpr Steps<1> Ipv6(std::string_view name) {
    return detail::One(OpKind::kIpv6, 128, name);
}
constexpr Steps<1> Mac(std::string_view name) {
    return detail::One(OpKind::kMac, 48, name);
}

// Text, Utf8 and Bytes reach to the end of the enclosing loop, object or descriptor. Those with L
// have a length of `bits` bits before them. Those with By have the size of an earlier Length that
// names them.
constexpr Steps<1> Text(std::string_view name) {
    return detail::Alone(detail::Reaching(OpKind::kText, name, Extent::kRest));
}
constexpr Steps<1> TextL(unsigned bits, std::string_view name) {
    return detail::Alone(detail::Reaching(OpKind::kText, name, Extent::kLength, bits));
}
constexpr Steps<1> TextBy(std::string_view name) {
    return detail::Alone(detail::Reaching(OpKind::kText, name, Extent::kByField));
}
constexpr Steps<1> Utf8(std::string_view name) {
    return detail::Alone(detail::Reaching(OpKind::kUtf8, name, Extent::kRest));
}
constexpr Steps<1> Utf8L(unsigned bits, std::string_view name) {
    return detail::Alone(detail::Reaching(OpKind::kUtf8, name, Extent::kLength, bits));
}
constexpr Steps<1> Utf8By(std::string_view name) {
    return detail::Alone(detail::Reaching(OpKind::kUtf8, name, Extent::kByField));
}
constexpr Steps<1> Bytes(std::string_view name) {
    return detail::Alone(detail::Reaching(OpKind::kBytes, name, Extent::kRest));
}
constexpr Steps<1> BytesL(unsigned bits, std::string_view name) {
    return detail::Alone(detail::Reaching(OpKind::kBytes, name, Extent::kLength, bits));
}
constexpr Steps<1> BytesBy(std::string_view name) {
    return detail::Alone(detail::Reaching(OpKind::kBytes, name, Extent::kByField));
}
// A fixed number of bytes.
constexpr Steps<1> BytesOf(unsigned count, std::string_view name) {
    return detail::Alone(detail::Reaching(OpKind::kBytes, name, Extent::kBits, count * 8));
}

// The length in bytes of the later text, bytes or window `of`. Needed only where other fields are
// in between; otherwise use a function with L.
constexpr Steps<1> Length(unsigned bits, std::string_view of) {
    Steps<1> result = detail::One(OpKind::kLength, bits, {});
    result.ops[0].refName = of;
    return result;
}
// The number of entries, less `plus`, of the later loop `of`.
constexpr Steps<1> Count(unsigned bits, std::string_view of, unsigned plus = 0) {
    Steps<1> result = detail::One(OpKind::kCount, bits, {});
    result.ops[0].refName = of;
    result.ops[0].plus = static_cast<std::uint8_t>(plus);
    return result;
}

// --- Loops, objects and windows

// Loop has entries up to the end. LoopL has its length in bytes before it, LoopN the number of its
// entries, LoopLess1 that number less one. LoopBy has the number of an earlier Count that names it.
template <std::size_t... Ns>
constexpr auto Loop(std::string_view name, const Steps<Ns>&... body) {
    return detail::With(detail::Reaching(OpKind::kLoop, name, Extent::kRest), body...);
}
template <std::size_t... Ns>
constexpr auto LoopL(unsigned bits, std::string_view name, const Steps<Ns>&... body) {
    return detail::With(detail::Reaching(OpKind::kLoop, name, Extent::kLength, bits), body...);
}
template <std::size_t... Ns>
constexpr auto LoopN(unsigned bits, std::string_view name, const Steps<Ns>&... body) {
    return detail::With(detail::Reaching(OpKind::kLoop, name, Extent::kCount, bits), body...);
}
template <std::size_t... Ns>
constexpr auto LoopLess1(unsigned bits, std::string_view name, const Steps<Ns>&... body) {
    return detail::With(detail::Reaching(OpKind::kLoop, name, Extent::kCount, bits, 1), body...);
}
template <std::size_t... Ns>
constexpr auto LoopBy(std::string_view name, const Steps<Ns>&... body) {
    return detail::With(detail::Reaching(OpKind::kLoop, name, Extent::kByField), body...);
}

// Fields that have an object of their own in the tree.
template <std::size_t... Ns>
constexpr auto Object(std::string_view name, const Steps<Ns>&... body) {
    return detail::With(detail::Reaching(OpKind::kObject, name, Extent::kRest), body...);
}
// The same, with the length in bytes before the fields.
template <std::size_t... Ns>
constexpr auto ObjectL(unsigned bits, std::string_view name, const Steps<Ns>&... body) {
    return detail::With(detail::Reaching(OpKind::kObject, name, Extent::kLength, bits), body...);
}
// A length in bytes, then fields of that length. They get no object of their own in the tree.
template <std::size_t... Ns>
constexpr auto Window(unsigned bits, const Steps<Ns>&... body) {
    return detail::With(detail::Reaching(OpKind::kWindow, {}, Extent::kLength, bits), body...);
}

// The same with the length of an earlier Length(bits, of).
template <std::size_t... Ns>
constexpr auto WindowBy(std::string_view of, const Steps<Ns>&... body) {
    return detail::With(detail::Reaching(OpKind::kWindow, of, Extent::kByField), body...);
}

// A loop of descriptors of `space`: up to the end; with a length of `bits` bits before it (L); or
// with four reserved bits and a length of twelve bits before it (L12).
constexpr Steps<1> Descriptors(std::string_view name, Space space = Space::kMain) {
    Op op = detail::Reaching(OpKind::kDescriptors, name, Extent::kRest);
    op.space = space;
    return detail::Alone(op);
}
constexpr Steps<1> DescriptorsL(unsigned bits, std::string_view name, Space space = Space::kMain) {
    Op op = detail::Reaching(OpKind::kDescriptors, name, Extent::kLength, bits);
    op.space = space;
    return detail::Alone(op);
}
constexpr Steps<2> DescriptorsL12(std::string_view name, Space space = Space::kMain) {
    return Sequence(Ones(4), DescriptorsL(12, name, space));
}

// --- Conditions

constexpr Condition Set(std::string_view guard) {
    return {guard, 1, 1, 0, false};
}
constexpr Condition Clear(std::string_view guard) {
    return {guard, 0, 0, 0, false};
}
constexpr Condition Is(std::string_view field, std::uint64_t value) {
    return {field, value, value, 0, false};
}
constexpr Condition In(std::string_view field, std::uint64_t low, std::uint64_t high) {
    return {field, low, high, 0, false};
}
constexpr Condition Among(std::string_view field, std::initializer_list<unsigned> values) {
    Condition result{field, 0, 0, 0, false};
    for (const unsigned value : values) {
        if (value > 63) {
            detail::Refuse("Among takes values up to 63");
        }
        result.mask |= std::uint64_t{1} << value;
    }
    return result;
}
constexpr Condition Not(Condition condition) {
    condition.negate = !condition.negate;
    return condition;
}

template <std::size_t... Ns>
constexpr auto If(const Condition& condition, const Steps<Ns>&... body) {
    Op op;
    op.kind = OpKind::kIf;
    op.refName = condition.field;
    op.low = condition.low;
    op.high = condition.high;
    op.mask = condition.mask;
    op.negate = condition.negate;
    return detail::With(op, body...);
}
// Fields that are present when bytes are left.
template <std::size_t... Ns>
constexpr auto Optional(const Steps<Ns>&... body) {
    Op op;
    op.kind = OpKind::kOptional;
    return detail::With(op, body...);
}
// Fields that some real streams replace by something else. If the fields do not fit the bytes, none
// of them is decoded, and the next fields of the declaration, such as private bytes, get the bytes.
template <std::size_t... Ns>
constexpr auto Try(const Steps<Ns>&... body) {
    Op op;
    op.kind = OpKind::kTry;
    return detail::With(op, body...);
}

// The same, but the fields fit only if they also end where the enclosing loop, object or descriptor
// ends.
template <std::size_t... Ns>
constexpr auto TryAll(const Steps<Ns>&... body) {
    Op op;
    op.kind = OpKind::kTry;
    op.plus = 1;
    return detail::With(op, body...);
}

// --- Headers of sections, from the byte after table_id on

constexpr Steps<1> SectionLength(SectionEnd end) {
    Steps<1> result = detail::One(OpKind::kSectionLength, 12, {});
    result.ops[0].low = static_cast<std::uint64_t>(end);
    return result;
}
// The header with section_syntax_indicator 1, up to last_section_number. `bit` is the bit after
// section_syntax_indicator: 0 in ISO/IEC 13818-1, 1 in the tables of DVB. `extension` declares the
// fields in table_id_extension.
template <std::size_t... Ns>
constexpr auto LongHeader(unsigned bit, const Steps<Ns>&... extension) {
    return Sequence(Reserved(1, 1), Reserved(1, bit), Ones(2), SectionLength(SectionEnd::kCrc),
                    extension..., Ones(2), U(5, "version_number"), Flag("current_next_indicator"),
                    U8("section_number"), U8("last_section_number"));
}
constexpr auto ShortHeader(SectionEnd end = SectionEnd::kNone) {
    return Sequence(Reserved(1, 0), Reserved(1, 1), Ones(2), SectionLength(end));
}

// --- Declarations

// The places in which a declaration of a descriptor applies.
struct Scope {
    Space space = Space::kMain;
    std::uint32_t specifier = 0;  // private_data_specifier; 0: none needed
    std::uint32_t registration =
        0;                         // format_identifier of a registration_descriptor; 0: none needed
    std::uint8_t standards = 0x7;  // bits: 1 DVB, 2 ISDB, 4 ATSC
};

constexpr std::uint8_t kDvbOnly = 1;
constexpr std::uint8_t kIsdbOnly = 2;
constexpr std::uint8_t kAtscOnly = 4;

constexpr Scope In(Space space) {
    return {space, 0, 0, 0x7};
}
constexpr Scope Under(std::uint32_t specifier) {
    return {Space::kMain, specifier, 0, kDvbOnly};
}
constexpr Scope Registered(std::uint32_t format) {
    return {Space::kMain, 0, format, 0x7};
}

// The head of a declaration: of a descriptor with the tag `low`, or of a table with the table_ids
// `low` to `high`.
struct Head {
    bool table = false;
    std::uint16_t low = 0;
    std::uint16_t high = 0;
    Scope scope;
    std::string_view name;
    std::string_view clause;
    std::uint16_t first = 0;  // the index of its first step in the group
    std::uint16_t count = 0;
};

template <std::size_t N>
struct Declaration {
    Head head;
    Steps<N> steps;
};

namespace detail {

constexpr bool IsRefusedName(std::string_view name) {
    return name.empty() || name == "tag" || name == "name" || name == "data" || name == "raw" ||
           name == "malformed" || name == "trailing" || name == "hint" || name == "extension_tag";
}

constexpr bool IsReferable(const Op& op) {
    return op.kind == OpKind::kUnsigned || op.kind == OpKind::kFlag || op.kind == OpKind::kGuard;
}

// Checks a declaration, and gives a slot to each field that a later step refers to.
template <std::size_t N>
constexpr void Resolve(std::array<Op, N>& ops) {
    std::int8_t slots = 0;
    const auto slotOf = [&slots](Op& op) {
        if (op.slot < 0) {
            if (static_cast<std::size_t>(slots) == kMostSlots) {
                Refuse("later steps refer to more fields than there are slots");
            }
            op.slot = slots++;
        }
        return op.slot;
    };
    for (std::size_t at = 0; at < N; ++at) {
        Op& op = ops[at];
        if (op.body > N - at - 1) {
            Refuse("a body reaches past its declaration");
        }
        if (IsNamed(op) && IsRefusedName(op.name)) {
            Refuse("a field may not have this name");
        }
        if (op.kind == OpKind::kIf) {
            std::size_t before = at;
            while (before > 0 &&
                   !(IsReferable(ops[before - 1]) && ops[before - 1].name == op.refName)) {
                --before;
            }
            if (before == 0) {
                Refuse("a condition refers to a field that does not come earlier");
            }
            op.ref = slotOf(ops[before - 1]);
        }
        if (op.extent == Extent::kByField) {
            std::size_t before = at;
            while (before > 0 && !((ops[before - 1].kind == OpKind::kLength ||
                                    ops[before - 1].kind == OpKind::kCount) &&
                                   ops[before - 1].refName == op.name)) {
                --before;
            }
            if (before == 0) {
                Refuse("a field sized by a Length or Count has none earlier");
            }
            op.ref = slotOf(ops[before - 1]);
        }
    }
    for (const Op& op : ops) {
        if (op.slot < 0 && (op.kind == OpKind::kGuard || op.kind == OpKind::kLength ||
                            op.kind == OpKind::kCount)) {
            Refuse("nothing depends on a guard, length or count");
        }
    }
}

}  // namespace detail

template <std::size_t... Ns>
constexpr auto Descriptor(unsigned tag, std::string_view name, std::string_view clause,
                          const Steps<Ns>&... fields) {
    Declaration<(Ns + ... + 0)> result{{}, Sequence(fields...)};
    result.head.low = static_cast<std::uint16_t>(tag);
    result.head.high = static_cast<std::uint16_t>(tag);
    result.head.name = name;
    result.head.clause = clause;
    detail::Resolve(result.steps.ops);
    return result;
}

// The same with a scope of its own instead of the group's scope.
template <std::size_t... Ns>
constexpr auto Descriptor(const Scope& scope, unsigned tag, std::string_view name,
                          std::string_view clause, const Steps<Ns>&... fields) {
    auto result = Descriptor(tag, name, clause, fields...);
    result.head.scope = scope;
    return result;
}

// A table with the table_ids `low` to `high`. The fields begin after table_id.
template <std::size_t... Ns>
constexpr auto Table(unsigned low, unsigned high, std::string_view name, std::string_view clause,
                     const Steps<Ns>&... fields) {
    auto result = Descriptor(low, name, clause, fields...);
    result.head.table = true;
    result.head.high = static_cast<std::uint16_t>(high);
    return result;
}

// The declarations of one file as flat arrays, and a view of them for the registry.
template <std::size_t Heads, std::size_t Ops>
struct Group {
    std::array<Head, Heads> heads{};
    std::array<Op, Ops> ops{};
};

struct GroupView {
    std::span<const Head> heads;
    std::span<const Op> ops;

    template <std::size_t Heads, std::size_t Ops>
    constexpr GroupView(
        const Group<Heads, Ops>& group)  // NOLINT: a view is made where one is asked for
        : heads(group.heads), ops(group.ops) {}
};

template <std::size_t... Ns>
constexpr auto Declare(const Declaration<Ns>&... declarations) {
    Group<sizeof...(Ns), (Ns + ... + 0)> result;
    std::size_t head = 0;
    std::size_t at = 0;
    const auto append = [&](const auto& declaration) {
        result.heads[head] = declaration.head;
        result.heads[head].first = static_cast<std::uint16_t>(at);
        result.heads[head].count = static_cast<std::uint16_t>(declaration.steps.ops.size());
        ++head;
        for (const Op& op : declaration.steps.ops) {
            result.ops[at++] = op;
        }
    };
    (append(declarations), ...);
    return result;
}

// The same with one scope for all declarations.
template <std::size_t... Ns>
constexpr auto Declare(const Scope& scope, const Declaration<Ns>&... declarations) {
    auto result = Declare(declarations...);
    for (Head& head : result.heads) {
        head.scope = scope;
    }
    return result;
}

}  // namespace syntax
