#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <tuple>

#include "generator/Bytes.h"
#include "generator/Scenarios.h"
#include "tests/unit/generator/TableReader.h"
#include "tests/unit/generator/TsReader.h"

namespace generator {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

class BroadcastVersionsScenarioTest : public testing::Test {
  protected:
    static const TsReader& Stream() {
        static const TsReader reader(MakeScenario("broadcast-versions"));
        return reader;
    }

    // Returns the current versions (or only the announced ones) in order of arrival, without
    // repeats.
    static std::vector<int> Versions(uint16_t pid, uint8_t table_id, bool current = true) {
        std::vector<int> versions;
        for (const ReadSection& section : Stream().Table(pid, table_id)) {
            const int version = section.version_number();
            if (section.current_next_indicator() == current &&
                (versions.empty() || versions.back() != version)) {
                versions.push_back(version);
            }
        }
        return versions;
    }

    // Returns the program numbers of each current PAT, without repeats.
    static std::vector<std::set<int>> Programs() {
        std::vector<std::set<int>> all;
        for (const ReadSection& pat : Stream().Table(0x0000, 0x00)) {
            std::set<int> programs;
            for (size_t at = 8; at + 4 < pat.bytes.size(); at += 4) {
                programs.insert(pat.U16(at));
            }
            if (pat.current_next_indicator() && (all.empty() || all.back() != programs)) {
                all.push_back(programs);
            }
        }
        return all;
    }

    // Returns how many sections of each version were sent, without announced ones.
    static std::map<int, size_t> SectionsOfVersions(uint16_t pid, uint8_t table_id) {
        std::map<int, std::set<int>> numbers;
        for (const ReadSection& section : Stream().Table(pid, table_id)) {
            if (section.current_next_indicator()) {
                numbers[section.version_number()].insert(section.section_number());
            }
        }
        std::map<int, size_t> counts;
        for (const auto& [version, sections] : numbers) {
            counts[version] = sections.size();
        }
        return counts;
    }

    static bool Holds(const Bytes& bytes, const std::string& text) {
        return std::string(bytes.begin(), bytes.end()).find(text) != std::string::npos;
    }
};

TEST_F(BroadcastVersionsScenarioTest, IsSmallAndWithoutAnError) {
    EXPECT_LT(MakeScenario("broadcast-versions").size(), 3'000'000u);
    EXPECT_EQ(Stream().syncErrors, 0u);
    EXPECT_EQ(Stream().continuityGaps, 0u);
    EXPECT_EQ(Stream().duplicates, 0u);
    EXPECT_EQ(Stream().crcErrors, 0u);
    EXPECT_EQ(Stream().cutSections, 0u);
}

TEST_F(BroadcastVersionsScenarioTest, EverySectionComesThreeTimesOrMore) {
    std::map<std::pair<uint16_t, Bytes>, int> counts;
    for (const ReadSection& section : Stream().sections) {
        ++counts[{section.pid, section.bytes}];
    }
    for (const auto& [section, count] : counts) {
        EXPECT_GE(count, 3) << "table " << int{section.second[0]} << " on " << section.first;
    }
}

TEST_F(BroadcastVersionsScenarioTest, ThePatWrapsJumpsBackAndLosesItsProgrammes) {
    EXPECT_THAT(Versions(0x0000, 0x00), ElementsAre(30, 31, 0, 1, 2, 3, 4, 2));
    EXPECT_THAT(Versions(0x0000, 0x00, false), ElementsAre(4, 3));
    using Set = std::set<int>;
    EXPECT_THAT(Programs(),
                ElementsAre(Set{0, 1, 2, 3}, Set{0, 1, 3}, Set{0, 1, 2, 3}, Set{1, 2, 3}, Set{},
                            Set{0, 1, 2, 3}, Set{0, 1, 2, 3, 4}, Set{0, 1, 2, 3}));
}

TEST_F(BroadcastVersionsScenarioTest, MapsStayReturnWrapAndJumpBack) {
    EXPECT_THAT(Versions(0x0110, 0x02), ElementsAre(31, 0, 1, 0));
    EXPECT_THAT(Versions(0x0110, 0x02, false), ElementsAre(1));
    EXPECT_THAT(Versions(0x0120, 0x02), ElementsAre(5, 4));
    EXPECT_THAT(Versions(0x0130, 0x02), ElementsAre(12));
    EXPECT_THAT(Versions(0x0140, 0x02), ElementsAre(0));
}

TEST_F(BroadcastVersionsScenarioTest, AProgrammeReturnsWithTheVeryMapThatItHad) {
    // The PMT of programme 2 has version 5 before and after a PAT that does not list the programme.
    std::set<Bytes> maps;
    size_t before = 0;
    size_t after = 0;
    bool left = false;
    for (const ReadSection& section : Stream().sections) {
        if (section.pid == 0x0000 && section.version_number() == 31) {
            left = true;
        } else if (section.pid == 0x0120 && section.version_number() == 5) {
            maps.insert(section.bytes);
            ++(left ? after : before);
        }
    }
    EXPECT_THAT(maps, SizeIs(1));
    EXPECT_EQ(before, 3u);
    EXPECT_GE(after, 3u);
}

TEST_F(BroadcastVersionsScenarioTest, EveryOtherTableWrapsAndJumpsBackBehindTheAnnounced) {
    using Table = std::pair<uint16_t, uint8_t>;
    for (const auto& [pid, table_id] :
         {Table{0x0001, 0x01}, Table{0x0010, 0x40}, Table{0x0011, 0x42}, Table{0x0011, 0x46},
          Table{0x0012, 0x4E}}) {
        EXPECT_THAT(Versions(pid, table_id), ElementsAre(31, 0, 1, 0)) << int{table_id};
        EXPECT_THAT(Versions(pid, table_id, false), ElementsAre(1, 2)) << int{table_id};
    }
    for (const auto& [pid, table_id] : {Table{0x0010, 0x41}, Table{0x0011, 0x4A}}) {
        EXPECT_THAT(Versions(pid, table_id), ElementsAre(31, 0, 1, 9, 0)) << int{table_id};
        EXPECT_THAT(Versions(pid, table_id, false), ElementsAre(1, 2)) << int{table_id};
    }
}

TEST_F(BroadcastVersionsScenarioTest, ThereAreTablesOf64AndOf256SectionsAndHalvesOfThem) {
    using Counts = std::map<int, size_t>;
    EXPECT_EQ(SectionsOfVersions(0x0011, 0x4A), (Counts{{31, 64}, {0, 64}, {1, 64}, {9, 32}}));
    EXPECT_EQ(SectionsOfVersions(0x0010, 0x41), (Counts{{31, 256}, {0, 256}, {1, 256}, {9, 128}}));
    for (const ReadSection& section : Stream().Table(0x0010, 0x41)) {
        ASSERT_EQ(section.last_section_number(), 255);
    }
}

// Returns the last section of each number that is current, by sub-table.
TEST_F(BroadcastVersionsScenarioTest, TheLastStateOfEveryTableIsWholeAndOfOneEdition) {
    std::map<std::tuple<uint16_t, uint8_t, uint16_t>, std::map<int, ReadSection>> last;
    for (const ReadSection& section : Stream().sections) {
        if (section.current_next_indicator()) {
            last[{section.pid, section.table_id(), section.table_id_extension()}].insert_or_assign(
                section.section_number(), section);
        }
    }
    for (const auto& [table, sections] : last) {
        const uint8_t table_id = std::get<1>(table);
        EXPECT_THAT(sections, SizeIs(sections.begin()->second.last_section_number() + 1u));
        for (const auto& [number, section] : sections) {
            EXPECT_EQ(section.version_number(), sections.begin()->second.version_number());
            const bool empty = table_id == 0x4E && number == 1;
            if (table_id >= 0x42 && !empty) {
                EXPECT_TRUE(Holds(section.bytes, " last")) << int{table_id};
            }
        }
    }
    const ReadSection cat = last.at({0x0001, 0x01, 0xFFFF}).at(0);
    EXPECT_EQ(cat.U16(10), 0xFF30);
    EXPECT_THAT(ReadMap(last.at({0x0110, 0x02, 1}).at(0)).streams, SizeIs(4));
    EXPECT_THAT(ReadMap(last.at({0x0120, 0x02, 2}).at(0)).streams, SizeIs(1));
    EXPECT_THAT(ReadMap(last.at({0x0130, 0x02, 3}).at(0)).streams, SizeIs(3));
    const auto& wide = last.at({0x0010, 0x41, 0xFF1B});
    for (const auto& [number, section] : wide) {
        const ReadMux network(section);
        ASSERT_THAT(network.streams, SizeIs(1));
        EXPECT_EQ(network.streams[0].transport_stream_id, 0x2000 + number);
        EXPECT_THAT(network.streams[0].descriptors,
                    ElementsAre(Bytes{0x7F, 4, 0x04, static_cast<uint8_t>(number), 0, 0}));
    }
}

// --- no-network

TEST(NoNetworkScenarioTest, ThePatNamesNoNetworkYetThereIsOne) {
    const TsReader reader(MakeScenario("no-network"));
    EXPECT_EQ(reader.syncErrors + reader.continuityGaps + reader.crcErrors + reader.cutSections,
              0u);
    const auto pats = reader.Table(0x0000, 0x00);
    ASSERT_THAT(pats, SizeIs(3));
    EXPECT_EQ(testsupport::Slice(pats[0].bytes, 8, pats[0].bytes.size() - 12),
              (Bytes{0x00, 41, 0xE1, 0x40, 0x00, 42, 0xE1, 0x50}));
    EXPECT_THAT(reader.Table(0x0140, 0x02), SizeIs(3));
    EXPECT_THAT(reader.Table(0x0150, 0x02), SizeIs(3));
    EXPECT_THAT(reader.Table(0x0011, 0x42), SizeIs(3));
    const auto nits = reader.Table(0x0010, 0x40);
    ASSERT_THAT(nits, SizeIs(3));
    EXPECT_THAT(ReadMux(nits[0]).descriptors, SizeIs(2));
    ASSERT_THAT(ReadMux(nits[0]).streams, SizeIs(1));
    EXPECT_EQ(ReadMux(nits[0]).streams[0].descriptors.at(1),
              (Bytes{0x7F, 13, 0x04, 1, 0x91, 0x01, 0x03, 0x00, 0, 1, 0x03, 0x04, 0x18, 0x40, 0}));
}

}  // namespace
}  // namespace generator
