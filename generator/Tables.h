// Whole tables from plain values: each function returns the sections of one sub-table in order of
// section_number. Descriptors are passed as built by Descriptors.h. A value that does not fit its
// field, an entry too large for a section, or more than 256 sections throws std::logic_error.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "generator/Bytes.h"

namespace generator {

using Sections = std::vector<Bytes>;

// What every sub-table chooses. A section is closed when the next entry would make it longer than
// `max_section_size` bytes (header and CRC_32 included), or when it holds `entries_per_section`.
struct TableOptions {
    std::uint8_t version_number = 0;
    bool current_next_indicator = true;
    std::size_t max_section_size = 1024;
    std::size_t entries_per_section = SIZE_MAX;
};

// ISO/IEC 13818-1 2.4.4.3; programme 0 names the network PID.
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

// Which variant of a table that tells of this or of another network or transport stream.
enum class Scope { kActual, kOther };

// EN 300 468 5.2.1 and 5.2.2. The descriptors of the first loop stand in the first section (and in
// as many more as they need), or all of them in every section; an entry is a descriptor of the
// first loop (unless they are repeated) or a transport stream.
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

// EN 300 468 5.2.4. start_time is in seconds since 1970-01-01T00:00:00Z, duration in seconds;
// without a value all their bits are one: undefined.
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
// Section 0 holds the present event, section 1 the following; either list may be empty. Each is one
// section, of up to 4096 bytes whatever the options say.
Sections MakeEitPresentFollowing(Scope scope, const EitService& service,
                                 const std::vector<EitEvent>& present,
                                 const std::vector<EitEvent>& following,
                                 const TableOptions& options = {});
// Schedule from the midnight `first_day` (seconds since 1970) on, `events` in order of start_time
// and none before it or without one: every three hours are a segment of eight section numbers, and
// 32 segments a sub-table (TS 101 211 4.1.4.2.1). Returns the sections of every sub-table needed,
// 0x50 or 0x60 upwards, table_id by table_id; a segment without an event has one empty section.
Sections MakeEitSchedule(Scope scope, const EitService& service, std::int64_t first_day,
                         const std::vector<EitEvent>& events, const TableOptions& options = {});

// EN 300 468 5.2.5 and 5.2.6; `time` in seconds since 1970-01-01T00:00:00Z.
Bytes MakeTdt(std::int64_t time);
Bytes MakeTot(std::int64_t time, const std::vector<Bytes>& descriptors);

}  // namespace generator
