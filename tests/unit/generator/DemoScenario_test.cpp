#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <tuple>

#include "generator/Bytes.h"
#include "generator/Scenarios.h"
#include "tests/unit/generator/TsReader.h"

namespace generator {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Pair;

constexpr double kLength = 10.0;  // seconds

// One section of one sub-table.
using Key = std::tuple<uint16_t, uint8_t, uint16_t, uint8_t>;

Key KeyOf(const ReadSection& section) {
    if (!section.syntax()) {
        return {section.pid, section.table_id(), 0, 0};
    }
    return {section.pid, section.table_id(), section.table_id_extension(),
            section.section_number()};
}

// The tests of a process share one stream, which is made and read once.
class DemoScenarioTest : public testing::Test {
  protected:
    static const TsReader& Demo() {
        static const TsReader reader(MakeScenario("demo"));
        return reader;
    }

    // Returns the programs of the PAT: number and PID.
    static std::map<uint16_t, uint16_t> Programs() {
        std::map<uint16_t, uint16_t> programs;
        for (const ReadSection& pat : Demo().Table(0x0000, 0x00)) {
            for (size_t at = 8; at + 4 < pat.bytes.size(); at += 4) {
                programs[pat.U16(at)] = pat.U13(at + 2);
            }
        }
        return programs;
    }

    struct ServiceFlags {
        bool schedule;
        bool presentFollowing;
    };
    static std::map<uint16_t, ServiceFlags> Services(uint8_t table_id) {
        std::map<uint16_t, ServiceFlags> services;
        for (const ReadSection& sdt : Demo().Table(0x0011, table_id)) {
            for (size_t at = 11; at + 4 < sdt.bytes.size(); at += 5u + sdt.U12(at + 3)) {
                services[sdt.U16(at)] = {(sdt.bytes[at + 2] & 2) != 0,
                                         (sdt.bytes[at + 2] & 1) != 0};
            }
        }
        return services;
    }

    // Returns the bytes of all sections of a table, joined in order of arrival.
    static Bytes BytesOf(uint16_t pid, uint8_t table_id) {
        Bytes bytes;
        for (const ReadSection& section : Demo().Table(pid, table_id)) {
            bytes.insert(bytes.end(), section.bytes.begin(), section.bytes.end());
        }
        return bytes;
    }

    static bool Holds(const Bytes& bytes, const Bytes& part) {
        return std::search(bytes.begin(), bytes.end(), part.begin(), part.end()) != bytes.end();
    }
};

TEST_F(DemoScenarioTest, IsTenSecondsOfWholePacketsWithoutAnError) {
    EXPECT_EQ(MakeScenario("demo").size(), 8000u * 188);
    EXPECT_EQ(Demo().syncErrors, 0u);
    EXPECT_EQ(Demo().continuityGaps, 0u);
    EXPECT_EQ(Demo().duplicates, 0u);
    EXPECT_EQ(Demo().crcErrors, 0u);
    EXPECT_EQ(Demo().cutSections, 0u);
    EXPECT_GT(Demo().packets.at(0x1FFF), 800u);
}

// Every section is repeated within two seconds, from the beginning to the end at `length` seconds.
void ExpectRepetition(const TsReader& stream, double length) {
    std::map<Key, double> last;
    for (const ReadSection& section : stream.sections) {
        const auto [previous, isNew] = last.emplace(KeyOf(section), 0.0);
        ASSERT_LE(section.seconds - previous->second, 2.0)
            << "table " << int{section.table_id()} << " on " << section.pid << " after "
            << previous->second;
        previous->second = section.seconds;
    }
    for (const auto& [key, seconds] : last) {
        EXPECT_GE(seconds, length - 2.0) << "table " << int{std::get<1>(key)};
    }
    // There are eight programmes and the tables below. Without this check, a reader that finds
    // nothing would pass.
    EXPECT_GT(last.size(), 100u);
}

TEST_F(DemoScenarioTest, EverySectionComesAgainWithinTwoSeconds) {
    ExpectRepetition(Demo(), kLength);
}

TEST_F(DemoScenarioTest, EverySectionComesAgainWithinTwoSecondsAt40MegabitsToo) {
    constexpr std::uint32_t kPacketsPerSecond = 40'000'000 / (188 * 8);
    const TsReader stream(
        MakeDemoStream({.packetsPerSecond = kPacketsPerSecond, .milliseconds = 4000}));
    EXPECT_NEAR(stream.clocks.begin()->second.back(), 4.0, 0.2);
    ExpectRepetition(stream, 4.0);
}

TEST_F(DemoScenarioTest, EveryTableIsCompleteAndOfOneVersion) {
    std::map<std::tuple<uint16_t, uint8_t, uint16_t>, std::set<int>> numbers;
    std::map<std::tuple<uint16_t, uint8_t, uint16_t>, std::set<std::pair<int, int>>> editions;
    for (const ReadSection& section : Demo().sections) {
        const bool schedule = section.table_id() == 0x50 || section.table_id() == 0x51;
        if (section.syntax() && !schedule) {
            const auto key =
                std::tuple(section.pid, section.table_id(), section.table_id_extension());
            numbers[key].insert(section.section_number());
            editions[key].insert({section.version_number(), section.last_section_number()});
            EXPECT_TRUE(section.current_next_indicator());
        }
    }
    for (const auto& [key, found] : numbers) {
        ASSERT_EQ(editions[key].size(), 1u);
        const int last = editions[key].begin()->second;
        EXPECT_EQ(found.size(), static_cast<size_t>(last) + 1) << "table " << int{std::get<1>(key)};
        EXPECT_EQ(*found.rbegin(), last);
    }
}

TEST_F(DemoScenarioTest, TheTablesHaveTheSectionsThatADemonstrationNeeds) {
    std::map<uint8_t, std::set<Key>> byTable;
    for (const ReadSection& section : Demo().sections) {
        byTable[section.table_id()].insert(KeyOf(section));
    }
    const std::map<uint8_t, size_t> expected{
        {0x00, 1},                             // PAT
        {0x01, 1},                             // CAT
        {0x02, 8},                             // PMT
        {0x40, 2},                             // NIT actual
        {0x41, 2},                             // NIT other
        {0x42, 3},                             // SDT actual
        {0x46, 1},                             // SDT other
        {0x4A, 2},                             // BAT
        {0x4E, 14},                            // EIT present and following: seven services
        {0x4F, 4},                             // and two of the neighbour
        {0x50, 32 + 8}, {0x51, 8},             // the fifth day of one service
        {0x70, 1},      {0x73, 1}, {0x74, 1},  // AIT
        {0x4B, 1},                             // UNT
        {0x3B, 4},      {0x3C, 6},
    };
    for (const auto& [table_id, count] : expected) {
        EXPECT_EQ(byTable[table_id].size(), count) << "table " << int{table_id};
    }
}

TEST_F(DemoScenarioTest, EveryProgrammeHasItsMapOnItsPid) {
    const auto programs = Programs();
    EXPECT_EQ(programs.size(), 9u);
    EXPECT_THAT(programs, Contains(Pair(0, 0x0010)));
    for (const auto& [number, pid] : programs) {
        if (number != 0) {
            const auto maps = Demo().Table(pid, 0x02);
            ASSERT_FALSE(maps.empty()) << number;
            for (const ReadSection& map : maps) {
                EXPECT_EQ(map.table_id_extension(), number);
            }
        }
    }
}

TEST_F(DemoScenarioTest, ClockReferencesComeInTimeWhereTheMapsPromiseThem) {
    size_t promised = 0;
    for (const auto& [number, pid] : Programs()) {
        const uint16_t PCR_PID = number == 0 ? 0x1FFF : Demo().Table(pid, 0x02).front().U13(8);
        if (PCR_PID == 0x1FFF) {
            continue;
        }
        ++promised;
        const std::vector<double>& clocks = Demo().clocks.at(PCR_PID);
        EXPECT_LE(clocks.front(), 0.1);
        EXPECT_GE(clocks.back(), kLength - 0.1);
        for (size_t i = 1; i < clocks.size(); ++i) {
            ASSERT_GT(clocks[i], clocks[i - 1]);
            ASSERT_LE(clocks[i] - clocks[i - 1], 0.1);  // ISO/IEC 13818-1 2.7.2
        }
    }
    EXPECT_EQ(promised, 7u);
}

TEST_F(DemoScenarioTest, TheServicesAreTheProgrammes) {
    std::set<uint16_t> services;
    for (const auto& [service_id, flags] : Services(0x42)) {
        services.insert(service_id);
    }
    std::set<uint16_t> programs;
    for (const auto& [number, pid] : Programs()) {
        if (number != 0) {
            programs.insert(number);
        }
    }
    EXPECT_EQ(services, programs);
}

TEST_F(DemoScenarioTest, EventsAreThereForExactlyTheServicesThatPromiseThem) {
    for (const auto& [sdt, eit] : {std::pair<uint8_t, uint8_t>{0x42, 0x4E}, {0x46, 0x4F}}) {
        std::map<uint16_t, std::set<int>> sections;
        for (const ReadSection& section : Demo().Table(0x0012, eit)) {
            EXPECT_GT(section.bytes.size(), 18u) << "a section without event";
            sections[section.table_id_extension()].insert(section.section_number());
        }
        size_t promised = 0;
        for (const auto& [service_id, flags] : Services(sdt)) {
            EXPECT_EQ(sections.count(service_id), flags.presentFollowing ? 1u : 0u);
            if (flags.presentFollowing) {
                EXPECT_THAT(sections[service_id], ElementsAre(0, 1));
                ++promised;
            }
        }
        EXPECT_EQ(sections.size(), promised);
    }
    std::set<uint16_t> scheduled;
    for (const ReadSection& section : Demo().Table(0x0012, 0x50)) {
        scheduled.insert(section.table_id_extension());
    }
    EXPECT_THAT(scheduled, ElementsAre(1101, 1102));
    EXPECT_TRUE(Services(0x42).at(1101).schedule);
    EXPECT_TRUE(Services(0x42).at(1102).schedule);
    EXPECT_FALSE(Services(0x42).at(1103).schedule);
}

TEST_F(DemoScenarioTest, NetworksAndBouquetCarryEveryKindOfUpdateLinkage) {
    const Bytes target{0x04, 0x21, 0xFF, 0x10, 0x04, 0x54};
    for (const auto& [pid, table_id] :
         {std::pair<uint16_t, uint8_t>{0x0010, 0x40}, {0x0010, 0x41}, {0x0011, 0x4A}}) {
        const Bytes table = BytesOf(pid, table_id);
        EXPECT_TRUE(Holds(table, testsupport::Join({{0x4A, 24}, target, {0x09, 15}})));
        for (uint8_t table_type = 1; table_type <= 3; ++table_type) {
            EXPECT_TRUE(
                Holds(table, {0x4A, 8, 0x04, 0x22, 0xFF, 0x10, 0x00, 0x00, 0x0A, table_type}));
        }
    }
}

TEST_F(DemoScenarioTest, TheNetworksHaveAllFourDeliverySystems) {
    EXPECT_TRUE(Holds(BytesOf(0x0010, 0x40), {0x5A, 11, 0x03, 0x1C, 0x82, 0x40}));
    EXPECT_TRUE(Holds(BytesOf(0x0010, 0x40), {0x7F, 4, 0x04, 1, 0x80, 0x01}));
    EXPECT_TRUE(Holds(BytesOf(0x0010, 0x40), {0x7F, 25, 0x04, 2, 0x80, 0x02}));
    EXPECT_TRUE(Holds(BytesOf(0x0010, 0x41), {0x43, 11, 0x01, 0x17, 0x27, 0x50}));
    EXPECT_TRUE(Holds(BytesOf(0x0010, 0x41), {0x44, 11, 0x03, 0x46, 0x00, 0x00}));
}

TEST_F(DemoScenarioTest, TheUpdateServiceOffersUpdatesAndCarousels) {
    const Bytes map = BytesOf(0x0180, 0x02);
    EXPECT_TRUE(Holds(map, {0x13, 5, 0x00, 0x00, 0x08, 0x01}));
    EXPECT_TRUE(Holds(map, {0x00, 0x0A, 22, 0x02, 0xA1, 0xB2, 0xF1, 0xC0, 3, 0x11, 0x22, 0x33}));
    EXPECT_TRUE(Holds(map, {0x00, 0x0A, 14, 0x02, 0xA1, 0xB2, 0xF2, 0xE9, 2, 0xA0, 0xA1}));
    EXPECT_TRUE(Holds(BytesOf(0x0120, 0x02), {0x6F, 3, 0x80, 0x10, 0xE2}));
}

TEST_F(DemoScenarioTest, NamesAreCodedInMoreThanOneWay) {
    const Bytes sdt = BytesOf(0x0011, 0x42);
    EXPECT_TRUE(Holds(sdt, {13, 'B', 'l', 0xCA, 'a', 'v', 'i', 'k', ' ', 'K', 'a', 'n', 'a'}));
    EXPECT_TRUE(Holds(sdt, {0x15, 0xD0, 0x92, 0xD0, 0xB5, 0xD1, 0x82}));
}

TEST_F(DemoScenarioTest, TheTimeRunsWithTheStream) {
    const auto times = Demo().Table(0x0014, 0x70);
    ASSERT_EQ(times.size(), 10u);
    for (size_t i = 0; i < times.size(); ++i) {
        // 2031-05-17 is day 63003 of the Modified Julian Date.
        EXPECT_EQ(times[i].bytes,
                  (Bytes{0x70, 0x70, 5, 0xF6, 0x1B, 0x18, 0x00, static_cast<uint8_t>(i)}));
    }
}

TEST_F(DemoScenarioTest, AnotherSeedIsAnotherStreamWithTheSameTables) {
    const auto sectionsOf = [](const TsReader& reader) {
        std::map<Key, Bytes> sections;
        for (const ReadSection& section : reader.sections) {
            sections[KeyOf(section)] = section.bytes;
        }
        return sections;
    };
    const Bytes other = MakeScenario("demo", 1);
    EXPECT_NE(other, MakeScenario("demo", 0));
    EXPECT_EQ(sectionsOf(TsReader(other)), sectionsOf(Demo()));
}

}  // namespace
}  // namespace generator
