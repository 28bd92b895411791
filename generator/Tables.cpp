#include "generator/Tables.h"

#include <stdexcept>

#include "generator/SectionBuilder.h"
#include "softplatform/text/Time.h"

namespace generator {
namespace {

constexpr std::size_t kHeaderAndCrc = 8 + 4;
constexpr std::size_t kLargestEitSection = 4096;
constexpr std::int64_t kSecondsPerSegment = 3 * 3600;
constexpr std::size_t kSectionsPerSegment = 8;
constexpr std::size_t kSegmentsPerTable = 32;
constexpr std::size_t kScheduleTables = 16;
constexpr std::uint32_t kUndefinedDuration = 0xFFFFFF;

using Group = std::vector<Bytes>;

// Distributes the entries over sections, in order. `fixed` is the size of a section without its
// entries. Returns at least one group.
std::vector<Group> Split(const std::vector<Bytes>& entries, std::size_t fixed,
                         const TableOptions& options) {
    std::vector<Group> groups(1);
    std::size_t size = fixed;
    for (const Bytes& entry : entries) {
        if (fixed + entry.size() > options.max_section_size) {
            throw std::logic_error("an entry does not fit into a section");
        }
        const bool full = size + entry.size() > options.max_section_size ||
                          groups.back().size() >= options.entries_per_section;
        if (full && !groups.back().empty()) {
            groups.emplace_back();
            size = fixed;
        }
        groups.back().push_back(entry);
        size += entry.size();
    }
    return groups;
}

SectionBuilder Begin(std::uint8_t table_id, std::uint16_t table_id_extension,
                     const TableOptions& options, std::size_t number, std::size_t count) {
    if (count > 256) {
        throw std::logic_error("a sub-table can have at most 256 sections");
    }
    SectionBuilder section(table_id);
    section.TableIdExtension(table_id_extension)
        .Version(options.version_number)
        .Current(options.current_next_indicator)
        .Number(static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(count - 1));
    return section;
}

// EN 300 468 5.2.1 and 5.2.2 share one syntax.
Sections MakeMuxTable(std::uint8_t table_id, const MuxTable& table, const TableOptions& options) {
    const Bytes repeated = table.repeat_descriptors ? Concat(table.descriptors) : Bytes{};
    std::vector<Bytes> entries = table.repeat_descriptors ? Group{} : table.descriptors;
    std::size_t descriptorsLeft = entries.size();
    for (const MuxEntry& mux : table.transport_streams) {
        entries.push_back(ByteWriter()
                              .U16(mux.transport_stream_id)
                              .U16(mux.original_network_id)
                              .Loop12(mux.descriptors)
                              .Build());
    }
    const std::vector<Group> groups = Split(entries, kHeaderAndCrc + 4 + repeated.size(), options);
    Sections sections;
    for (const Group& group : groups) {
        const std::size_t own = group.size() < descriptorsLeft ? group.size() : descriptorsLeft;
        descriptorsLeft -= own;
        const auto border = group.begin() + static_cast<std::ptrdiff_t>(own);
        sections.push_back(Begin(table_id, table.id, options, sections.size(), groups.size())
                               .Reserved(4)
                               .Length12(Concat({repeated, Concat({group.begin(), border})}))
                               .Loop12(Group(border, group.end()))
                               .Build());
    }
    return sections;
}

Bytes CodeEvent(const EitEvent& event) {
    const auto start_time = event.start_time ? tvservice::EncodeTime(*event.start_time)
                                             : std::optional(tvservice::kUndefinedTime);
    const auto duration = event.duration ? tvservice::EncodeDuration(*event.duration)
                                         : std::optional(kUndefinedDuration);
    if (!start_time || !duration) {
        throw std::logic_error("the time of an event cannot be coded");
    }
    return ByteWriter()
        .U16(event.event_id)
        .U40(*start_time)
        .U24(*duration)
        .Bits(3, event.running_status)
        .Bits(1, event.free_CA_mode ? 1 : 0)
        .Length12(Concat(event.descriptors))
        .Build();
}

std::vector<Bytes> CodeEvents(const std::vector<EitEvent>& events) {
    std::vector<Bytes> coded;
    for (const EitEvent& event : events) {
        coded.push_back(CodeEvent(event));
    }
    return coded;
}

// Makes one event information section; `group` is its event loop.
Bytes CloseEit(SectionBuilder& section, const EitService& service, std::size_t segmentLast,
               std::size_t last_table_id, const Group& group) {
    return section.U16(service.transport_stream_id)
        .U16(service.original_network_id)
        .U8(segmentLast)
        .U8(last_table_id)
        .Raw(Concat(group))
        .Build();
}

// Makes the sub-table with the number `table` of a schedule that has `tables` sub-tables;
// `segments` are those of this sub-table.
Sections MakeScheduleTable(const EitService& service, std::size_t firstTableId, std::size_t table,
                           std::size_t tables, const std::vector<std::vector<EitEvent>>& segments,
                           const TableOptions& options) {
    std::vector<std::vector<Group>> split;
    for (const std::vector<EitEvent>& segment : segments) {
        split.push_back(Split(CodeEvents(segment), kHeaderAndCrc + 6, options));
        if (split.back().size() > kSectionsPerSegment) {
            throw std::logic_error("a segment can have at most eight sections");
        }
    }
    const std::size_t count = (split.size() - 1) * kSectionsPerSegment + split.back().size();
    Sections sections;
    for (std::size_t segment = 0; segment < split.size(); ++segment) {
        const std::size_t first = segment * kSectionsPerSegment;
        const std::size_t last = first + split[segment].size() - 1;
        for (std::size_t number = first; number <= last; ++number) {
            SectionBuilder section = Begin(static_cast<std::uint8_t>(firstTableId + table),
                                           service.service_id, options, number, count);
            sections.push_back(CloseEit(section, service, last, firstTableId + tables - 1,
                                        split[segment][number - first]));
        }
    }
    return sections;
}

}  // namespace

Sections MakePat(std::uint16_t transport_stream_id, const std::vector<PatProgram>& programs,
                 const TableOptions& options) {
    std::vector<Bytes> entries;
    for (const PatProgram& program : programs) {
        entries.push_back(
            ByteWriter().U16(program.program_number).Reserved(3).Bits(13, program.pid).Build());
    }
    const std::vector<Group> groups = Split(entries, kHeaderAndCrc, options);
    Sections sections;
    for (const Group& group : groups) {
        sections.push_back(Begin(0x00, transport_stream_id, options, sections.size(), groups.size())
                               .Raw(Concat(group))
                               .Build());
    }
    return sections;
}

Sections MakeCat(const std::vector<Bytes>& descriptors, const TableOptions& options) {
    const std::vector<Group> groups = Split(descriptors, kHeaderAndCrc, options);
    Sections sections;
    for (const Group& group : groups) {
        // ISO/IEC 13818-1 2.4.4.6: 18 reserved bits take the place of table_id_extension.
        sections.push_back(Begin(0x01, 0xFFFF, options, sections.size(), groups.size())
                               .Raw(Concat(group))
                               .Build());
    }
    return sections;
}

Sections MakePmt(const Pmt& pmt, const TableOptions& options) {
    SectionBuilder section = Begin(0x02, pmt.program_number, options, 0, 1);
    section.Reserved(3).Bits(13, pmt.PCR_PID).Loop12(pmt.descriptors);
    for (const PmtStream& stream : pmt.streams) {
        section.U8(stream.stream_type)
            .Reserved(3)
            .Bits(13, stream.elementary_PID)
            .Loop12(stream.descriptors);
    }
    const Bytes bytes = section.Build();
    if (bytes.size() > options.max_section_size) {
        throw std::logic_error("a program map can have only one section");
    }
    return {bytes};
}

Sections MakeNit(Scope scope, const MuxTable& network, const TableOptions& options) {
    return MakeMuxTable(scope == Scope::kActual ? 0x40 : 0x41, network, options);
}

Sections MakeBat(const MuxTable& bouquet, const TableOptions& options) {
    return MakeMuxTable(0x4A, bouquet, options);
}

Sections MakeSdt(Scope scope, const Sdt& sdt, const TableOptions& options) {
    std::vector<Bytes> entries;
    for (const SdtService& service : sdt.services) {
        entries.push_back(ByteWriter()
                              .U16(service.service_id)
                              .Reserved(6)
                              .Bits(1, service.EIT_schedule_flag ? 1 : 0)
                              .Bits(1, service.EIT_present_following_flag ? 1 : 0)
                              .Bits(3, service.running_status)
                              .Bits(1, service.free_CA_mode ? 1 : 0)
                              .Length12(Concat(service.descriptors))
                              .Build());
    }
    const std::vector<Group> groups = Split(entries, kHeaderAndCrc + 3, options);
    Sections sections;
    for (const Group& group : groups) {
        sections.push_back(Begin(scope == Scope::kActual ? 0x42 : 0x46, sdt.transport_stream_id,
                                 options, sections.size(), groups.size())
                               .U16(sdt.original_network_id)
                               .Reserved(8)
                               .Raw(Concat(group))
                               .Build());
    }
    return sections;
}

Sections MakeEitPresentFollowing(Scope scope, const EitService& service,
                                 const std::vector<EitEvent>& present,
                                 const std::vector<EitEvent>& following,
                                 const TableOptions& options) {
    const std::uint8_t table_id = scope == Scope::kActual ? 0x4E : 0x4F;
    TableOptions eit = options;
    eit.max_section_size = kLargestEitSection;
    Sections sections;
    for (const std::vector<EitEvent>* events : {&present, &following}) {
        const std::vector<Group> groups = Split(CodeEvents(*events), kHeaderAndCrc + 6, eit);
        if (groups.size() > 1) {
            throw std::logic_error("present and following can have only one section each");
        }
        SectionBuilder section = Begin(table_id, service.service_id, eit, sections.size(), 2);
        sections.push_back(CloseEit(section, service, 1, table_id, groups.front()));
    }
    return sections;
}

Sections MakeEitSchedule(Scope scope, const EitService& service, std::int64_t first_day,
                         const std::vector<EitEvent>& events, const TableOptions& options) {
    std::vector<std::vector<EitEvent>> segments(1);
    for (const EitEvent& event : events) {
        if (!event.start_time || *event.start_time < first_day) {
            throw std::logic_error("an event has no start_time, or begins before the schedule");
        }
        const auto segment =
            static_cast<std::size_t>((*event.start_time - first_day) / kSecondsPerSegment);
        if (segment + 1 < segments.size() || segment >= kScheduleTables * kSegmentsPerTable) {
            throw std::logic_error("the events are out of order, or one begins after the schedule");
        }
        segments.resize(segment + 1);
        segments[segment].push_back(event);
    }
    const std::size_t tables = (segments.size() + kSegmentsPerTable - 1) / kSegmentsPerTable;
    Sections sections;
    for (std::size_t table = 0; table < tables; ++table) {
        const auto first =
            segments.begin() + static_cast<std::ptrdiff_t>(table * kSegmentsPerTable);
        const auto last = table + 1 == tables ? segments.end() : first + kSegmentsPerTable;
        const Sections own = MakeScheduleTable(service, scope == Scope::kActual ? 0x50 : 0x60,
                                               table, tables, {first, last}, options);
        sections.insert(sections.end(), own.begin(), own.end());
    }
    return sections;
}

Bytes MakeTdt(std::int64_t time) {
    const auto UTC_time = tvservice::EncodeTime(time);
    if (!UTC_time) {
        throw std::logic_error("the time cannot be coded");
    }
    return SectionBuilder(0x70).WithoutSyntax().U40(*UTC_time).Build();
}

Bytes MakeTot(std::int64_t time, const std::vector<Bytes>& descriptors) {
    const auto UTC_time = tvservice::EncodeTime(time);
    if (!UTC_time) {
        throw std::logic_error("the time cannot be coded");
    }
    return SectionBuilder(0x73)
        .WithoutSyntax()
        .WithCrc()
        .U40(*UTC_time)
        .Loop12(descriptors)
        .Build();
}

}  // namespace generator
