#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/support/TsBytes.h"
#include "tests/unit/generator/TsReader.h"

namespace generator {

// Splits whole sections into their loops, independent of the code under test. A loop that does not
// end where its length says fails the test that reads it.

using ReadDescriptors = std::vector<std::vector<uint8_t>>;  // each with tag and length

inline ReadDescriptors ReadLoop(const ReadSection& section, size_t from, size_t size) {
    ReadDescriptors descriptors;
    const size_t end = from + size;
    size_t at = from;
    while (at + 2 <= end) {
        descriptors.push_back(testsupport::Slice(section.bytes, at, 2u + section.bytes[at + 1]));
        at += descriptors.back().size();
    }
    EXPECT_EQ(at, end) << "a descriptor loop of table " << int{section.table_id()};
    return descriptors;
}

// Returns only the descriptors with this tag.
inline ReadDescriptors WithTag(const ReadDescriptors& descriptors, uint8_t tag) {
    ReadDescriptors found;
    for (const auto& descriptor : descriptors) {
        if (descriptor[0] == tag) {
            found.push_back(descriptor);
        }
    }
    return found;
}

struct ReadMap {
    struct Stream {
        uint8_t stream_type;
        uint16_t pid;
        ReadDescriptors descriptors;
    };

    explicit ReadMap(const ReadSection& section) : program_number(section.table_id_extension()) {
        descriptors = ReadLoop(section, 12, section.U12(10));
        const size_t end = section.bytes.size() - 4;
        size_t at = 12u + section.U12(10);
        while (at + 5 <= end) {
            const size_t size = section.U12(at + 3);
            streams.push_back(
                {section.bytes[at], section.U13(at + 1), ReadLoop(section, at + 5, size)});
            at += 5 + size;
        }
        EXPECT_EQ(at, end) << "the map of " << program_number;
    }

    uint16_t program_number;
    ReadDescriptors descriptors;
    std::vector<Stream> streams;
};

// One section of a network or a bouquet.
struct ReadMux {
    struct Stream {
        uint16_t transport_stream_id;
        uint16_t original_network_id;
        ReadDescriptors descriptors;
    };

    explicit ReadMux(const ReadSection& section) {
        descriptors = ReadLoop(section, 10, section.U12(8));
        size_t at = 10u + section.U12(8);
        const size_t end = at + 2 + section.U12(at);
        EXPECT_EQ(end, section.bytes.size() - 4);
        for (at += 2; at + 6 <= end;) {
            const size_t size = section.U12(at + 4);
            streams.push_back(
                {section.U16(at), section.U16(at + 2), ReadLoop(section, at + 6, size)});
            at += 6 + size;
        }
        EXPECT_EQ(at, end);
    }

    ReadDescriptors descriptors;
    std::vector<Stream> streams;
};

// The services of a section of service descriptions.
struct ReadService {
    uint16_t service_id;
    bool EIT_present_following_flag;
    uint8_t running_status;
    ReadDescriptors descriptors;
};
inline std::vector<ReadService> ReadServices(const ReadSection& section) {
    std::vector<ReadService> services;
    const size_t end = section.bytes.size() - 4;
    size_t at = 11;
    while (at + 5 <= end) {
        const size_t size = section.U12(at + 3);
        services.push_back({section.U16(at), (section.bytes[at + 2] & 1) != 0,
                            static_cast<uint8_t>(section.bytes[at + 3] >> 5),
                            ReadLoop(section, at + 5, size)});
        at += 5 + size;
    }
    EXPECT_EQ(at, end);
    return services;
}

// The events of a section of present or following events.
struct ReadEvent {
    uint16_t event_id;
    std::vector<uint8_t> times;  // start_time and duration, eight bytes
    ReadDescriptors descriptors;
};
inline std::vector<ReadEvent> ReadEvents(const ReadSection& section) {
    std::vector<ReadEvent> events;
    const size_t end = section.bytes.size() - 4;
    size_t at = 14;
    while (at + 12 <= end) {
        const size_t size = section.U12(at + 10);
        events.push_back({section.U16(at), testsupport::Slice(section.bytes, at + 2, 8),
                          ReadLoop(section, at + 12, size)});
        at += 12 + size;
    }
    EXPECT_EQ(at, end);
    return events;
}

}  // namespace generator
