// The tables of EN 300 468.

#include "syntax/declarations/Groups.h"
#include "syntax/declarations/Values.h"

namespace syntax {

namespace {

constexpr auto TransportStreams() {
    return Sequence(Ones(4), LoopL(12, "transport_streams", U16("transport_stream_id"),
                                   U16("original_network_id"), DescriptorsL12("descriptors")));
}

constexpr auto ServiceDescription(unsigned tableId) {
    return Table(tableId, tableId, "service_description_section", "EN 300 468 5.2.3",
                 LongHeader(1, U16("transport_stream_id")), U16("original_network_id"), Ones(8),
                 Loop("services", U16("service_id"), Ones(6), Flag("EIT_schedule_flag"),
                      Flag("EIT_present_following_flag"), U(3, "running_status", kRunningStatus),
                      Flag("free_CA_mode"), DescriptorsL(12, "descriptors")));
}

constexpr auto kTables = Declare(
    Table(0x40, 0x41, "network_information_section", "EN 300 468 5.2.1",
          LongHeader(1, U16("network_id")), DescriptorsL12("network_descriptors"),
          TransportStreams()),

    Table(0x4A, 0x4A, "bouquet_association_section", "EN 300 468 5.2.2",
          LongHeader(1, U16("bouquet_id")), DescriptorsL12("bouquet_descriptors"),
          TransportStreams()),

    ServiceDescription(0x42), ServiceDescription(0x46),

    Table(0x4E, 0x6F, "event_information_section", "EN 300 468 5.2.4",
          LongHeader(1, U16("service_id")), U16("transport_stream_id"), U16("original_network_id"),
          U8("segment_last_section_number"), U8("last_table_id"),
          Loop("events", U16("event_id"), Time("start_time"), Duration("duration"),
               U(3, "running_status", kRunningStatus), Flag("free_CA_mode"),
               DescriptorsL(12, "descriptors"))),

    Table(0x70, 0x70, "time_date_section", "EN 300 468 5.2.5", ShortHeader(), Time("UTC_time")),

    Table(
        0x71, 0x71, "running_status_section", "EN 300 468 5.2.7", ShortHeader(),
        Loop("statuses", U16("transport_stream_id"), U16("original_network_id"), U16("service_id"),
             U16("event_id"), Ones(5), U(3, "running_status", kRunningStatus))),

    Table(0x73, 0x73, "time_offset_section", "EN 300 468 5.2.6", ShortHeader(SectionEnd::kCrc),
          Time("UTC_time"), DescriptorsL12("descriptors")),

    Table(0x7E, 0x7E, "discontinuity_information_section", "EN 300 468 7.1.1", ShortHeader(),
          Flag("transition_flag"), Ones(7)),

    Table(0x7F, 0x7F, "selection_information_section", "EN 300 468 7.1.2", LongHeader(1, Ones(16)),
          DescriptorsL12("transmission_info"),
          Loop("services", U16("service_id"), Ones(1), U(3, "running_status", kRunningStatus),
               DescriptorsL(12, "descriptors"))));

}  // namespace

GroupView DvbTables() {
    return kTables;
}

}  // namespace syntax
