// The tables of the demo multiplex: eight services of an invented broadcaster, two networks and a
// bouquet. Names, identifiers and manufacturers are invented; identifiers are taken from the ranges
// for private use (TS 101 162).
#pragma once

#include <cstdint>
#include <vector>

#include "generator/Bytes.h"
#include "generator/Tables.h"

namespace generator {

// 2031-05-17T18:00:00Z, the time at the start of the stream, and the midnight before it.
constexpr std::int64_t kDemoTime = 1936807200;
constexpr std::int64_t kDemoMidnight = kDemoTime - 18 * 3600;

// What an elementary stream carries, for the code that makes its packets.
enum class Content { kVideo, kAudio, kSections };

struct DemoStream {
    std::uint16_t pid;
    Content content;
    bool carriesClock = false;
    bool scrambled = false;
    Sections sections = {};  // of Content::kSections
};

struct DemoProgram {
    std::uint16_t pmtPid;
    Sections pmt;
    std::vector<DemoStream> streams;
};

// Sections on a PID that is standard or used for nothing else, and how often they are sent.
struct DemoTable {
    std::uint16_t pid;
    std::uint32_t period;  // milliseconds
    Sections sections;
};

// The programmes in ascending order of program_number.
std::vector<DemoProgram> MakeDemoPrograms();

// PAT, CAT, NIT, SDT, BAT, EIT and the entitlement messages; without TDT and TOT.
std::vector<DemoTable> MakeDemoTables();

// The descriptor of the time offset section.
Bytes MakeDemoTimeOffset();

}  // namespace generator
