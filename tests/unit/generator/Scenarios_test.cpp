#include "generator/Scenarios.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>

#include "generator/Bytes.h"
#include "tests/support/TsBytes.h"
#include "tests/unit/generator/TsReader.h"

namespace generator {
namespace {

using testing::ElementsAre;

TEST(ScenariosTest, TheDemoIsTheFirstOfEight) {
    std::vector<std::string> names;
    for (const ScenarioInfo& info : Scenarios()) {
        names.emplace_back(info.name);
        EXPECT_FALSE(info.summary.empty());
    }
    EXPECT_THAT(names, ElementsAre("demo", "versions", "oddities", "broadcast",
                                   "broadcast-versions", "no-network", "packetisation", "damaged"));
}

TEST(ScenariosTest, ANameThatDoesNotExistGivesNothing) {
    EXPECT_TRUE(MakeScenario("").empty());
    EXPECT_TRUE(MakeScenario("demo ").empty());
}

TEST(ScenariosTest, ASeedAlwaysGivesTheSameBytesAndAnotherSeedOthers) {
    for (const ScenarioInfo& info : Scenarios()) {
        const Bytes stream = MakeScenario(info.name, 7);
        EXPECT_FALSE(stream.empty());
        EXPECT_EQ(stream, MakeScenario(info.name, 7)) << info.name;
        EXPECT_NE(stream, MakeScenario(info.name, 8)) << info.name;
    }
}

// Checksums of whole streams. They change only when somebody changes a scenario on purpose;
// compiler and machine do not change them.
TEST(ScenariosTest, TheBytesAreTheSameOnEveryMachine) {
    const std::map<std::string_view, uint32_t> expected{
        {"demo", 0xDA2A49AB},
        {"versions", 0x37104B0B},
        {"oddities", 0xFB2FF655},
        {"packetisation", 0x34C15C10},
        {"damaged", 0x2D6442A7},
        {"broadcast", 0x9CEA698B},
        {"broadcast-versions", 0xB50E6576},
        {"no-network", 0x62FDD11F},
    };
    for (const auto& [name, crc] : expected) {
        const Bytes stream = MakeScenario(name, 1);
        EXPECT_EQ(testsupport::Crc32Bitwise(stream.data(), stream.size()), crc) << name;
    }
}

// --- versions

// Returns the versions of a table in order of arrival, without repeats. Adds 100 to a version that
// is not current yet.
std::vector<int> VersionsOf(const TsReader& reader, uint16_t pid, uint8_t table_id) {
    std::vector<int> versions;
    for (const ReadSection& section : reader.Table(pid, table_id)) {
        const int version = section.version_number() + (section.current_next_indicator() ? 0 : 100);
        if (versions.empty() || versions.back() != version) {
            versions.push_back(version);
        }
    }
    return versions;
}

class VersionsScenarioTest : public testing::Test {
  protected:
    const TsReader reader_{MakeScenario("versions")};
};

TEST_F(VersionsScenarioTest, HasNoOtherTroubleThanVersions) {
    EXPECT_EQ(reader_.continuityGaps + reader_.crcErrors + reader_.cutSections, 0u);
}

TEST_F(VersionsScenarioTest, ThePatWrapsJumpsBackAndAnnouncesItsNext) {
    EXPECT_THAT(VersionsOf(reader_, 0x0000, 0x00),
                ElementsAre(30, 31, 0, 1, 0, 106, 0, 106, 0, 106, 6));
}

TEST_F(VersionsScenarioTest, AMapLeavesAndReturnsWithTheSameVersion) {
    const auto maps = reader_.Table(0x0120, 0x02);
    // Version 5 comes before and after a time in which the PAT does not list the programme.
    EXPECT_GE(std::count_if(maps.begin(), maps.end(),
                            [](const auto& map) { return map.version_number() == 5; }),
              12);
    const auto& pats = reader_.Table(0x0000, 0x00);
    const auto lists = [](const ReadSection& pat, uint16_t program_number) {
        for (size_t at = 8; at + 4 < pat.bytes.size(); at += 4) {
            if (pat.U16(at) == program_number) {
                return true;
            }
        }
        return false;
    };
    std::vector<bool> listed;
    for (const ReadSection& pat : pats) {
        const bool now = lists(pat, 2);
        if (pat.current_next_indicator() && (listed.empty() || listed.back() != now)) {
            listed.push_back(now);
        }
    }
    EXPECT_THAT(listed, ElementsAre(true, false, true, false, true));
}

TEST_F(VersionsScenarioTest, AMapGoesThroughAllVersionsInOrder) {
    const std::vector<int> versions = VersionsOf(reader_, 0x0120, 0x02);
    ASSERT_EQ(versions.size(), 34u);
    for (size_t i = 0; i < versions.size(); ++i) {
        EXPECT_EQ(versions[i], static_cast<int>((5 + i) % 32));
    }
}

TEST_F(VersionsScenarioTest, OneVersionOfTheServicesIsNeverWhole) {
    std::map<int, std::set<int>> numbers;
    for (const ReadSection& section : reader_.Table(0x0011, 0x42)) {
        numbers[section.version_number()].insert(section.section_number());
    }
    EXPECT_THAT(numbers[31], ElementsAre(0, 1));
    EXPECT_THAT(numbers[0], ElementsAre(0));
    EXPECT_THAT(numbers[1], ElementsAre(0, 1));
}

// --- oddities

class OdditiesScenarioTest : public testing::Test {
  protected:
    // How many different sub-tables and sections come: section numbers by table_id_extension.
    std::map<uint16_t, std::set<int>> Numbers(uint16_t pid, uint8_t table_id) const {
        std::map<uint16_t, std::set<int>> numbers;
        for (const ReadSection& section : reader_.Table(pid, table_id)) {
            numbers[section.table_id_extension()].insert(section.section_number());
        }
        return numbers;
    }

    bool Holds(uint16_t pid, uint8_t table_id, const Bytes& part) const {
        const auto sections = reader_.Table(pid, table_id);
        return std::any_of(sections.begin(), sections.end(), [&](const ReadSection& section) {
            const Bytes& bytes = section.bytes;
            return std::search(bytes.begin(), bytes.end(), part.begin(), part.end()) != bytes.end();
        });
    }

    const TsReader reader_{MakeScenario("oddities")};
};

TEST_F(OdditiesScenarioTest, ThePacketsThemselvesAreInOrder) {
    EXPECT_EQ(reader_.continuityGaps + reader_.crcErrors + reader_.cutSections, 0u);
}

TEST_F(OdditiesScenarioTest, ThePatNamesNoNetworkAndAMapThatIsNotThere) {
    const auto pats = reader_.Table(0x0000, 0x00);
    ASSERT_FALSE(pats.empty());
    EXPECT_EQ(pats.front().bytes.size(), 28u);
    const Bytes loop = testsupport::Slice(pats.front().bytes, 8, 16);
    EXPECT_EQ(loop, (Bytes{0x2D, 0x46, 0xE5, 0x00,     // 11590
                           0x00, 0x15, 0xE5, 0x10,     // 21
                           0x00, 0x16, 0xE5, 0x10,     // 22
                           0x00, 0x1F, 0xE5, 0x30}));  // 31
    EXPECT_EQ(Numbers(0x0500, 0x02), (std::map<uint16_t, std::set<int>>{{11690, {0}}}));
    EXPECT_EQ(Numbers(0x0510, 0x02), (std::map<uint16_t, std::set<int>>{{21, {0}}, {22, {0}}}));
}

TEST_F(OdditiesScenarioTest, ThereAreTablesOf64AndOf256Sections) {
    EXPECT_EQ(Numbers(0x0011, 0x42).at(0x0650).size(), 64u);
    EXPECT_EQ(Numbers(0x0011, 0x46).at(0x0651).size(), 256u);
    EXPECT_EQ(Numbers(0x0011, 0x46).at(0x0650).size(), 1u);
}

TEST_F(OdditiesScenarioTest, NamesAreEmptyAndFrequenciesAbsurd) {
    EXPECT_TRUE(Holds(0x0010, 0x40, {0xF0, 7, 0x40, 0, 0xFE, 3}));
    EXPECT_TRUE(Holds(0x0011, 0x4A, {0x47, 0, 0x4A}));
    EXPECT_TRUE(Holds(0x0011, 0x42, {0x48, 3, 1, 0, 0}));
    EXPECT_TRUE(Holds(0x0010, 0x40, {0x5A, 11, 0xFF, 0xFF, 0xFF, 0xFF}));
    EXPECT_TRUE(Holds(0x0500, 0x02, {0x05, 9, 'O', 'D', 'D', 'Y', 1, 2, 3, 4, 5}));
}

TEST_F(OdditiesScenarioTest, T2DeliveryHasEveryLengthAndOnceTheWrongTag) {
    for (unsigned length = 4; length <= 255; ++length) {
        const auto low = static_cast<uint8_t>(length);
        const auto loopHigh = static_cast<uint8_t>(0xF0 | (length + 2) >> 8);
        const auto loopLow = static_cast<uint8_t>(length + 2);
        EXPECT_TRUE(
            Holds(0x0010, 0x40, {0x10, low, 0xFF, 0x10, loopHigh, loopLow, 0x7F, low, 0x04, 7}))
            << length;
    }
    EXPECT_TRUE(Holds(0x0010, 0x40, {0x06, 0x51, 0xFF, 0x10, 0xF0, 14, 0x04, 12, 1, 0x06, 0x51}));
}

TEST_F(OdditiesScenarioTest, IsdbHasItsTagsInEveryTable) {
    EXPECT_TRUE(Holds(0x0010, 0x40, {0xFE, 3}));
    EXPECT_TRUE(Holds(0x0010, 0x40, {0xFA, 6, 0x5A, 0x5C, 0x0D, 0x3F, 0x0D, 0x63, 0xFB, 2}));
    EXPECT_TRUE(Holds(0x0010, 0x40, {0xCD, 8, 0x04, 0x0D}));
    EXPECT_TRUE(Holds(0x0010, 0x40, {0xC0, 3, 0xF1, 0x05, 0x33}));
    EXPECT_TRUE(Holds(0x0011, 0x42, {0xC1, 1, 0x84, 0xCF, 2, 0x03, 0x21, 0xFF, 0, 0xC7, 0}));
    EXPECT_TRUE(Holds(0x0530, 0x02, {0xC8, 1, 0x47}));
    EXPECT_TRUE(Holds(0x0530, 0x02, {0xFD, 4, 0x00, 0x0C}));
    EXPECT_TRUE(Holds(0x0012, 0x4E, {0xC4, 9, 0xF2}));
}

TEST_F(OdditiesScenarioTest, EveryPrivateLinkageTypeIsThere) {
    for (uint8_t linkage_type = 0x81; linkage_type <= 0xA2; ++linkage_type) {
        const auto length = static_cast<uint8_t>(7 + linkage_type - 0x81);
        EXPECT_TRUE(
            Holds(0x0011, 0x4A, {0x4A, length, 0x06, 0x50, 0xFF, 0x10, 0x00, 21, linkage_type}));
    }
    EXPECT_TRUE(Holds(0x0011, 0x4A, {0x4A, 8, 0x06, 0x50, 0xFF, 0x10, 0x00, 21, 0x09, 0}));
}

// --- packetisation

TEST(PacketisationScenarioTest, EverySectionIsReadInEveryPacking) {
    const TsReader reader(MakeScenario("packetisation"));
    EXPECT_EQ(reader.crcErrors, 0u);
    EXPECT_EQ(reader.continuityGaps, 0u);
    EXPECT_EQ(reader.cutSections, 9u);
    EXPECT_GT(reader.duplicates, 0u);

    std::map<int, size_t> services;
    for (const ReadSection& section : reader.Table(0x0011, 0x42)) {
        ++services[section.section_number()];
    }
    // Two plain, 14 + 8 payload sizes twice, three behind foreign section ends, two around other
    // packets.
    ASSERT_EQ(services.size(), 6u);
    for (const auto& [number, count] : services) {
        EXPECT_EQ(count, 2u + 2 * (14 + 8) + 3 + 2);
    }
    std::map<int, size_t> events;
    for (const ReadSection& section : reader.Table(0x0012, 0x50)) {
        ++events[section.section_number()];
    }
    EXPECT_EQ(events, (std::map<int, size_t>{{0, 1},
                                             {1, 1},
                                             {2, 1},
                                             {3, 1},
                                             {4, 1},
                                             {5, 1},
                                             {6, 1},
                                             {0x11, 9},
                                             {0x18, 1},
                                             {0x19, 1}}));
    EXPECT_EQ(reader.Table(0x0100, 0x02).back().bytes.size(), 1024u);
    EXPECT_EQ(reader.Table(0x0012, 0x50).back().bytes.size(), 4096u);
}

// --- damaged

TEST(DamagedScenarioTest, ThereIsGarbageInFrontAndTheEndIsCut) {
    const Bytes stream = MakeScenario("damaged", 3);
    const auto sync = std::find(stream.begin(), stream.end(), 0x47);
    EXPECT_EQ(sync - stream.begin(), 150);
    EXPECT_NE((stream.size() - 150) % 188, 0u);
}

TEST(DamagedScenarioTest, MostOfTheDemoSurvivesButNotAll) {
    const Bytes stream = MakeScenario("damaged", 3);
    const Bytes demo = MakeScenario("demo", 3);
    const auto packetAt = [](const Bytes& bytes, size_t at) {
        const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(at);
        return std::string(first, first + 188);
    };
    std::set<std::string> packets;
    for (size_t at = 0; at < demo.size(); at += 188) {
        packets.insert(packetAt(demo, at));
    }
    // Reads as a receiver does: one byte further when there is no packet, one packet further when
    // there is one.
    size_t intact = 0;
    size_t damaged = 0;
    for (size_t at = 0; at + 188 <= stream.size();) {
        if (stream[at] != 0x47) {
            ++at;
            continue;
        }
        ++(packets.count(packetAt(stream, at)) > 0 ? intact : damaged);
        at += 188;
    }
    EXPECT_GT(intact, 7700u);
    EXPECT_LT(intact, 8000u);
    EXPECT_GT(damaged, 30u);
}

}  // namespace
}  // namespace generator
