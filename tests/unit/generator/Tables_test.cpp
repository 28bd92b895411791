#include "generator/Tables.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "generator/Descriptors.h"
#include "tests/support/TsBytes.h"

namespace generator {
namespace {

using testsupport::Crc32Bitwise;
using testsupport::Slice;

// 1993-10-13T12:45:00Z, coded 0xC079124500.
constexpr std::int64_t kTime = 750516300;
constexpr std::int64_t kMidnight = kTime - 12 * 3600 - 45 * 60;

// Checks the CRC_32 of a section and returns the section without it.
Bytes Checked(const Bytes& section) {
    EXPECT_EQ(Crc32Bitwise(section.data(), section.size()), 0u);
    EXPECT_EQ(section.size(), 3u + ((section[1] & 0x0Fu) << 8 | section[2]));
    return Slice(section, 0, section.size() - 4);
}

// The fields that all sections of one sub-table must have in common.
void ExpectNumbered(const Sections& sections, std::uint8_t version_number) {
    for (std::size_t i = 0; i < sections.size(); ++i) {
        Checked(sections[i]);
        EXPECT_EQ(sections[i][5], 0xC1 | version_number << 1);
        EXPECT_EQ(sections[i][6], i);
        EXPECT_EQ(sections[i][7], sections.size() - 1);
    }
}

TEST(TablesTest, ProgramAssociation) {
    const Sections pat = MakePat(0x0421, {{0, 0x10}, {0x0102, 0x1FFE}}, {.version_number = 3});
    ASSERT_EQ(pat.size(), 1u);
    EXPECT_EQ(Checked(pat[0]), (Bytes{0x00, 0xB0, 17, 0x04, 0x21, 0xC7, 0, 0, 0x00, 0x00, 0xE0,
                                      0x10, 0x01, 0x02, 0xFF, 0xFE}));
}

TEST(TablesTest, AnEmptyTableIsOneSection) {
    const Sections pat = MakePat(1, {});
    ASSERT_EQ(pat.size(), 1u);
    EXPECT_EQ(Checked(pat[0]).size(), 8u);
}

TEST(TablesTest, ANextTableSaysSo) {
    EXPECT_EQ(MakePat(1, {}, {.version_number = 4, .current_next_indicator = false})[0][5], 0xC8);
}

TEST(TablesTest, SectionsCloseBySize) {
    std::vector<PatProgram> programs;
    for (std::uint16_t i = 1; i <= 600; ++i) {
        programs.push_back({i, 0x100});
    }
    const Sections pat = MakePat(1, programs, {.version_number = 7});
    ASSERT_EQ(pat.size(), 3u);
    ExpectNumbered(pat, 7);
    EXPECT_EQ(pat[0].size(), 1024u);
    EXPECT_EQ(pat[1].size(), 1024u);
    EXPECT_EQ(pat[2].size(), 12u + 4 * (600 - 2 * 253));
    EXPECT_EQ(pat[1][8] << 8 | pat[1][9], 254);
}

TEST(TablesTest, ASectionIsFilledUpToItsLimitAndNotBeyond) {
    const auto expectFull = [](const Sections& sections, std::size_t limit) {
        ASSERT_GT(sections.size(), 1u);
        ExpectNumbered(sections, 0);
        EXPECT_EQ(sections.front().size(), limit);
    };
    const Bytes descriptor = Descriptor(0x80, Bytes(14));
    const std::vector<SdtService> services(9, {.service_id = 1, .descriptors = {descriptor}});
    const std::vector<MuxEntry> muxes(9, {1, 1, {descriptor}});
    for (std::size_t count = 1; count < 9; ++count) {
        std::size_t limit = 8 + 4 + count * 16;
        expectFull(MakeCat(std::vector<Bytes>(9, descriptor), {.max_section_size = limit}), limit);
        limit = 8 + 3 + 4 + count * (5 + 16);
        expectFull(MakeSdt(Scope::kActual, {1, 1, services}, {.max_section_size = limit}), limit);
        limit = 8 + 4 + 4 + count * (6 + 16);
        expectFull(MakeNit(Scope::kActual, {1, {}, muxes}, {.max_section_size = limit}), limit);
        limit = 8 + 6 + 4 + count * (12 + 16);
        const std::vector<EitEvent> events(
            8, {.event_id = 1, .start_time = kTime, .duration = 1, .descriptors = {descriptor}});
        if (count < 8) {
            const Sections eit = MakeEitSchedule(Scope::kActual, {1, 1, 1}, kTime, events,
                                                 {.max_section_size = limit});
            EXPECT_EQ(eit.front().size(), limit);
        }
    }
}

TEST(TablesTest, SectionsCloseByNumberOfEntries) {
    const Sections pat =
        MakePat(1, {{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}}, {.entries_per_section = 2});
    ASSERT_EQ(pat.size(), 3u);
    ExpectNumbered(pat, 0);
    EXPECT_EQ(pat[2].size(), 16u);
}

TEST(TablesTest, WhatNoTableCanHoldIsRefused) {
    std::vector<PatProgram> programs(257, {1, 1});
    EXPECT_THROW(MakePat(1, programs, {.entries_per_section = 1}), std::logic_error);
    programs.pop_back();
    EXPECT_EQ(MakePat(1, programs, {.entries_per_section = 1}).size(), 256u);
    EXPECT_THROW(MakeCat({Descriptor(0x80, Bytes(100))}, {.max_section_size = 100}),
                 std::logic_error);
    EXPECT_THROW(MakePat(1, {{1, 0x2000}}), std::logic_error);
}

TEST(TablesTest, ConditionalAccess) {
    EXPECT_EQ(Checked(MakeCat({CaDescriptor(0xFF21, 0x90)}, {.version_number = 1})[0]),
              (Bytes{0x01, 0xB0, 15, 0xFF, 0xFF, 0xC3, 0, 0, 0x09, 4, 0xFF, 0x21, 0xE0, 0x90}));
}

TEST(TablesTest, ProgramMap) {
    const Sections pmt =
        MakePmt({.program_number = 0x044D,
                 .PCR_PID = 0x0111,
                 .descriptors = {Descriptor(0x80, {1})},
                 .streams = {{0x1B, 0x0111}, {0x05, 0x0112, {Descriptor(0x81, {2, 3})}}}},
                {.version_number = 31});
    ASSERT_EQ(pmt.size(), 1u);
    EXPECT_EQ(Checked(pmt[0]),
              (Bytes{0x02, 0xB0, 30,   0x04, 0x4D, 0xFF, 0, 0, 0xE1, 0x11,  // PCR_PID
                     0xF0, 3,    0x80, 1,    1,                             // program_info
                     0x1B, 0xE1, 0x11, 0xF0, 0,                             // first stream
                     0x05, 0xE1, 0x12, 0xF0, 4,    0x81, 2, 2, 3}));
    EXPECT_THROW(MakePmt({1, 1, std::vector<Bytes>(5, Descriptor(0x80, Bytes(255)))}),
                 std::logic_error);
}

TEST(TablesTest, NetworkInformation) {
    const MuxTable network{0xFF11,
                           {NetworkNameDescriptor("n")},
                           {{0x0421, 0xFF10, {Descriptor(0x80, {})}}, {0x0422, 0xFF10}}};
    EXPECT_EQ(
        Checked(MakeNit(Scope::kActual, network)[0]),
        (Bytes{0x40, 0xF0, 30,   0xFF, 0x11, 0xC1, 0,    0, 0xF0, 3,    0x40, 1,    'n',  0xF0, 14,
               0x04, 0x21, 0xFF, 0x10, 0xF0, 2,    0x80, 0, 0x04, 0x22, 0xFF, 0x10, 0xF0, 0}));
    EXPECT_EQ(MakeNit(Scope::kOther, network)[0][0], 0x41);
    EXPECT_EQ(MakeBat(network)[0][0], 0x4A);
}

TEST(TablesTest, TheFirstLoopOfANetworkGoesOnInTheNextSection) {
    const MuxTable network{
        1, {Descriptor(0x80, Bytes(50, 1)), Descriptor(0x80, Bytes(50, 2))}, {{1, 1}, {2, 1}}};
    const Sections nit = MakeNit(Scope::kActual, network, {.max_section_size = 80});
    ASSERT_EQ(nit.size(), 2u);
    ExpectNumbered(nit, 0);
    EXPECT_EQ(nit[0][9], 52);              // network_descriptors_length
    EXPECT_EQ(nit[0][8 + 2 + 52 + 1], 0);  // transport_stream_loop_length
    EXPECT_EQ(nit[1][9], 52);
    EXPECT_EQ(nit[1][8 + 2 + 52 + 1], 12);
}

TEST(TablesTest, TheFirstLoopOfABouquetStandsInEverySectionWhenAsked) {
    const MuxTable bouquet{.id = 1,
                           .descriptors = {BouquetNameDescriptor("b"), Descriptor(0x80, {9})},
                           .transport_streams = {{1, 1}, {2, 1}, {3, 1}},
                           .repeat_descriptors = true};
    const Sections bat = MakeBat(bouquet, {.max_section_size = 8 + 4 + 4 + 6 + 12});
    ASSERT_EQ(bat.size(), 2u);
    ExpectNumbered(bat, 0);
    for (const Bytes& section : bat) {
        EXPECT_EQ(Slice(section, 8, 8), (Bytes{0xF0, 6, 0x47, 1, 'b', 0x80, 1, 9}));
    }
    EXPECT_EQ(Slice(bat[0], 16, 2), (Bytes{0xF0, 12}));
    EXPECT_EQ(Slice(bat[1], 16, 2), (Bytes{0xF0, 6}));
}

TEST(TablesTest, AnUndefinedTimeIsAllOnes) {
    const Sections eit = MakeEitPresentFollowing(Scope::kActual, {1, 2, 3},
                                                 {{.event_id = 7, .running_status = 5}}, {});
    EXPECT_EQ(Slice(eit[0], 14, 12),
              (Bytes{0, 7, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xA0, 0}));
    EXPECT_THROW(MakeEitSchedule(Scope::kActual, {1, 2, 3}, kMidnight, {{.event_id = 7}}),
                 std::logic_error);
}

TEST(TablesTest, ServiceDescription) {
    const Sdt sdt{
        0x0421,
        0xFF10,
        {{.service_id = 0x044D,
          .EIT_schedule_flag = true,
          .running_status = 4,
          .free_CA_mode = true,
          .descriptors = {Descriptor(0x80, {9})}},
         {.service_id = 0x044E, .EIT_present_following_flag = true, .running_status = 1}}};
    EXPECT_EQ(Checked(MakeSdt(Scope::kActual, sdt)[0]),
              (Bytes{0x42, 0xF0, 25,   0x04, 0x21, 0xC1, 0, 0,    0xFF, 0x10, 0xFF, 0x04,
                     0x4D, 0xFE, 0x90, 3,    0x80, 1,    9, 0x04, 0x4E, 0xFD, 0x20, 0}));
    EXPECT_EQ(MakeSdt(Scope::kOther, sdt)[0][0], 0x46);
}

TEST(TablesTest, PresentAndFollowingEvents) {
    const Sections eit = MakeEitPresentFollowing(Scope::kActual, {0x044D, 0x0421, 0xFF10},
                                                 {{.event_id = 0x0102,
                                                   .start_time = kTime,
                                                   .duration = 6330,
                                                   .running_status = 4,
                                                   .free_CA_mode = true,
                                                   .descriptors = {Descriptor(0x80, {7})}}},
                                                 {});
    ASSERT_EQ(eit.size(), 2u);
    ExpectNumbered(eit, 0);
    EXPECT_EQ(
        Checked(eit[0]),
        (Bytes{0x4E, 0xF0, 30,   0x04, 0x4D, 0xC1, 0,    1,
               0x04, 0x21, 0xFF, 0x10, 1,    0x4E,  // segment_last_section_number, last_table_id
               0x01, 0x02, 0xC0, 0x79, 0x12, 0x45, 0x00, 0x01,
               0x45, 0x30, 0x90, 3,    0x80, 1,    7}));
    EXPECT_EQ(Checked(eit[1]).size(), 14u);
    EXPECT_EQ(MakeEitPresentFollowing(Scope::kOther, {1, 1, 1}, {}, {})[0][0], 0x4F);
}

TEST(TablesTest, AScheduleHasASegmentForEveryThreeHours) {
    const auto at = [](int hour) {
        return EitEvent{.event_id = 1, .start_time = kMidnight + hour * 3600, .duration = 60};
    };
    const Sections eit =
        MakeEitSchedule(Scope::kActual, {1, 2, 3}, kMidnight, {at(0), at(1), at(2), at(9), at(10)},
                        {.entries_per_section = 2});
    struct Numbers {
        int number, segmentLast, last;
        std::size_t size;
        bool operator==(const Numbers&) const = default;
    };
    std::vector<Numbers> numbers;
    for (const Bytes& section : eit) {
        Checked(section);
        EXPECT_EQ(section[0], 0x50);
        EXPECT_EQ(section[13], 0x50);
        numbers.push_back({section[6], section[12], section[7], section.size()});
    }
    EXPECT_EQ(numbers, (std::vector<Numbers>{{0, 1, 24, 18 + 24},
                                             {1, 1, 24, 18 + 12},
                                             {8, 8, 24, 18},
                                             {16, 16, 24, 18},
                                             {24, 24, 24, 18 + 24}}));
}

TEST(TablesTest, AScheduleGoesOnInTheNextTableAfterFourDays) {
    const EitEvent early{.event_id = 1, .start_time = kMidnight, .duration = 60};
    EitEvent late = early;
    late.start_time = kMidnight + 4 * 86400 + 3 * 3600;
    const Sections eit = MakeEitSchedule(Scope::kOther, {1, 2, 3}, kMidnight, {early, late});
    ASSERT_EQ(eit.size(), 32u + 2);
    EXPECT_EQ(eit[31][0], 0x60);
    EXPECT_EQ(eit[31][7], 248);
    EXPECT_EQ(eit[31][13], 0x61);
    EXPECT_EQ(eit[32][0], 0x61);
    EXPECT_EQ(eit[33][6], 8);
    EXPECT_EQ(eit[33][7], 8);
    EXPECT_EQ(eit[33].size(), 18u + 12);
}

TEST(TablesTest, EventsOutsideAScheduleAreRefused) {
    const EitEvent event{.event_id = 1, .start_time = kTime, .duration = 60};
    EitEvent earlier = event;
    *earlier.start_time -= 4 * 3600;
    EitEvent later = event;
    *later.start_time += 64 * 86400;
    EXPECT_THROW(MakeEitSchedule(Scope::kActual, {1, 2, 3}, kTime + 1, {event}), std::logic_error);
    EXPECT_THROW(MakeEitSchedule(Scope::kActual, {1, 2, 3}, kMidnight, {event, earlier}),
                 std::logic_error);
    EXPECT_THROW(MakeEitSchedule(Scope::kActual, {1, 2, 3}, kMidnight, {later}), std::logic_error);
    EXPECT_THROW(MakeEitSchedule(Scope::kActual, {1, 2, 3}, kMidnight,
                                 std::vector<EitEvent>(9, event), {.entries_per_section = 1}),
                 std::logic_error);
}

TEST(TablesTest, Times) {
    EXPECT_EQ(MakeTdt(kTime), (Bytes{0x70, 0x70, 5, 0xC0, 0x79, 0x12, 0x45, 0x00}));
    EXPECT_EQ(Checked(MakeTot(kTime, {Descriptor(0x58, {})})),
              (Bytes{0x73, 0x70, 13, 0xC0, 0x79, 0x12, 0x45, 0x00, 0xF0, 2, 0x58, 0}));
    EXPECT_THROW(MakeTdt(std::int64_t{1} << 40), std::logic_error);
}

}  // namespace
}  // namespace generator
