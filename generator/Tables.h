// Whole tables from plain values. Each function returns the sections of one sub-table in order of
// section_number. Descriptors are those that Descriptors.h builds. A function throws
// std::logic_error when a value does not fit its field, an entry does not fit into a section, or a
// sub-table would have more than 256 sections.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "generator/Bytes.h"

namespace generator {

using Sections = std::vector<Bytes>;

// The options that every sub-table has. A section ends when it holds `entries_per_section` entries,
// or when one more would make it longer than `max_section_size` bytes (header and CRC_32 included).
struct TableOptions {
    std::uint8_t version_number = 0;
    bool current_next_indicator = true;
    std::size_t max_section_size = 1024;
    std::size_t entries_per_section = SIZE_MAX;
};

// ISO/IEC 13818-1 2.4.4.3. Programme 0 gives the network PID.
struct PatProgram {
    std::uint16_t program_number;
    std::uint16_t pid;
};
Sections MakePat(std::uint16_t transport_stream_id, const std::vector<PatProgram>& programs,
                 const TableOptions& options = {});

// ISO/IEC 13818-1 2.4.4.6; an entry is a descriptor.
Sections MakeCat(const std::vector<Bytes>& descriptors, const TableOptions& options = {});

// ISO/IEC 13818-1 2.4.4.8; always one section.
struct PmtStream {
    std::uint8_t stream_type;
    std::uint16_t elementary_PID;
    std::vector<Bytes> descriptors = {};
};
struct Pmt {
    std::uint16_t program_number;
    std::uint16_t PCR_PID;
    std::vector<Bytes> descriptors = {};
    std::vector<PmtStream> streams = {};
};
Sections MakePmt(const Pmt& pmt, const TableOptions& options = {});

// Whether a table is about this network or transport stream, or about another one.
enum class Scope { kActual, kOther };

// EN 300 468 5.2.1 and 5.2.2. The first loop's descriptors are in the first section (and in as many
// more as they need). With `repeat_descriptors` every section has all of them. An entry is a
// transport stream or, unless they are repeated, a descriptor of the first loop.
struct MuxEntry {
    std::uint16_t transport_stream_id;
    std::uint16_t original_network_id;
    std::vector<Bytes> descriptors = {};
};
struct MuxTable {
    std::uint16_t id;  // network_id or bouquet_id
    std::vector<Bytes> descriptors = {};
    std::vector<MuxEntry> transport_streams = {};
    bool repeat_descriptors = false;  // the whole first loop in every section
};
Sections MakeNit(Scope scope, const MuxTable& network, const TableOptions& options = {});
Sections MakeBat(const MuxTable& bouquet, const TableOptions& options = {});

// EN 300 468 5.2.3.
struct SdtService {
    std::uint16_t service_id;
    bool EIT_schedule_flag = false;
    bool EIT_present_following_flag = false;
    std::uint8_t running_status = 4;
    bool free_CA_mode = false;
    std::vector<Bytes> descriptors = {};
};
struct Sdt {
    std::uint16_t transport_stream_id;
    std::uint16_t original_network_id;
    std::vector<SdtService> services = {};
};
Sections MakeSdt(Scope scope, const Sdt& sdt, const TableOptions& options = {});

// EN 300 468 5.2.4. start_time is in seconds since 1970-01-01T00:00:00Z, duration in seconds.
// Without a value all bits of the field are one, which means undefined.
struct EitEvent {
    std::uint16_t event_id;
    std::optional<std::int64_t> start_time = std::nullopt;
    std::optional<std::uint32_t> duration = std::nullopt;
    std::uint8_t running_status = 0;
    bool free_CA_mode = false;
    std::vector<Bytes> descriptors = {};
};
struct EitService {
    std::uint16_t service_id;
    std::uint16_t transport_stream_id;
    std::uint16_t original_network_id;
};
// Section 0 holds the present event, section 1 the following one; either list may be empty. Each
// has one section of up to 4096 bytes, whatever the options say.
Sections MakeEitPresentFollowing(Scope scope, const EitService& service,
                                 const std::vector<EitEvent>& present,
                                 const std::vector<EitEvent>& following,
                                 const TableOptions& options = {});
// Makes a schedule that begins at the midnight `first_day` (seconds since 1970). `events` are in
// order of start_time; each has a start_time, and none begins before `first_day`. Every three hours
// are a segment of eight section numbers, and a sub-table has 32 segments (TS 101 211 4.1.4.2.1).
// Returns the sections of all sub-tables that are needed, from table_id 0x50 or 0x60 upwards. A
// segment without an event has one empty section.
Sections MakeEitSchedule(Scope scope, const EitService& service, std::int64_t first_day,
                         const std::vector<EitEvent>& events, const TableOptions& options = {});

// EN 300 468 5.2.5 and 5.2.6; `time` in seconds since 1970-01-01T00:00:00Z.
Bytes MakeTdt(std::int64_t time);
Bytes MakeTot(std::int64_t time, const std::vector<Bytes>& descriptors);

}  // namespace generator
