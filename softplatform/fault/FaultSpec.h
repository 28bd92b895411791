#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tvservice {

enum class FaultKind : size_t {
    kDrop,
    kDuplicate,
    kReorder,
    kCorrupt,
    kCut,
    kDelay,
    kSilent,
    kZeroLength,
    kUnknownId,
    kLate,
    kRefuseSubscribe,
    kRefuseUnsubscribe,
    kOldHandle,
    kCount
};

constexpr size_t kFaultKindCount = static_cast<size_t>(FaultKind::kCount);

// What a fault happens to. Each fault has its own numbering of events: it counts the events that it
// looks at, from 0.
enum class FaultEvent {
    kPacket,       // a transport packet of the source
    kDelivery,     // a section on its way to the callback
    kRelease,      // the release of an id to which a section was delivered
    kSubscribe,    // a request for a filter
    kUnsubscribe,  // a request to release a filter
};

// A kind of fault: its name in specs and counts, and the option that only this kind has. The value
// of that option is a number.
struct FaultInfo {
    FaultKind kind;
    const char* name;
    FaultEvent event;
    const char* meaning;                  // one line, without a full stop
    const char* option = nullptr;         // its name; null: the kind has no option
    uint32_t least = 0;                   // smallest value of the option
    uint32_t most = 0;                    // largest value of the option
    std::optional<uint32_t> otherwise{};  // default value; none: the fault chooses each time
};

// One row for each kind, in the order of the enumeration.
inline constexpr std::array<FaultInfo, kFaultKindCount> kFaultTable{{
    {FaultKind::kDrop, "drop", FaultEvent::kPacket, "packets left out"},
    {FaultKind::kDuplicate, "duplicate", FaultEvent::kPacket, "packets sent twice"},
    {FaultKind::kReorder, "reorder", FaultEvent::kPacket, "packets sent behind later ones", "by", 1,
     1000, 1},
    {FaultKind::kCorrupt, "corrupt", FaultEvent::kPacket, "bits of packets inverted", "byte", 0,
     187},
    {FaultKind::kCut, "cut", FaultEvent::kDelivery, "sections delivered without their end", "to", 0,
     4095},
    {FaultKind::kDelay, "delay", FaultEvent::kDelivery, "sections delivered behind later ones",
     "by", 1, 1000, 1},
    {FaultKind::kSilent, "silent", FaultEvent::kDelivery, "sections not delivered", "for", 1,
     UINT32_MAX, 1},
    {FaultKind::kZeroLength, "zero-length", FaultEvent::kDelivery,
     "deliveries of 0 bytes before a section"},
    {FaultKind::kUnknownId, "unknown-id", FaultEvent::kDelivery,
     "deliveries to an id that nobody has, before a section", "id", 0, 65535},
    {FaultKind::kLate, "late", FaultEvent::kRelease, "sections delivered after the release", "by",
     1, 1000, 1},
    {FaultKind::kRefuseSubscribe, "refuse-subscribe", FaultEvent::kSubscribe,
     "requests for a filter refused"},
    {FaultKind::kRefuseUnsubscribe, "refuse-unsubscribe", FaultEvent::kUnsubscribe,
     "requests to release a filter refused"},
    {FaultKind::kOldHandle, "old-handle", FaultEvent::kSubscribe,
     "filters given a handle that was given before", "back", 1, 1000, 1},
}};

// The row of `kind`. `kind` must not be kCount.
constexpr const FaultInfo& Describe(FaultKind kind) {
    return kFaultTable[static_cast<size_t>(kind)];
}

// One fault. Its syntax, which users write on the command line:
//
//     spec    = name when *( ":" option "=" number )
//     when    = "=1/" number               a rate: at random, on average one event in `number`
//             | "@" number *( "," number ) exactly these events; the first event is 0
//     number  = decimal, or hexadecimal behind "0x"
//
// kFaultTable has the names and the options of each kind. Faults of packets also take `pid`, 0 to
// 8191. Faults of deliveries also take `table`, a table_id. With such an option the fault looks
// only at packets of that PID, or at sections of that table, and counts only those. Examples:
// `drop=1/1000`, `corrupt@0,7:pid=0x11:byte=20`, `silent@100:for=50:table=0x42`.
struct FaultSpec {
    FaultKind kind = FaultKind::kDrop;
    uint32_t rate = 0;                 // on average one event in `rate`; 0: see indexes
    std::vector<uint64_t> indexes{};   // ascending, each once
    std::optional<uint32_t> only{};    // the PID or table_id that it looks at; none: all
    std::optional<uint32_t> amount{};  // the kind's own option, or its default; none: neither

    // Reads a spec. Returns none on failure; `error` then receives one line with the text of the
    // spec, the offset of the mistake (from 0), and what is expected there. Otherwise `error` keeps
    // its value.
    static std::optional<FaultSpec> Parse(const std::string& text, std::string& error);
};

}  // namespace tvservice
