// Sections of the generator, of captures beside the checkout, and of neither: mutated ones.

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "fuzz/Sections.h"
#include "generator/Scenarios.h"
#include "softplatform/base/Counters.h"
#include "softplatform/base/Crc32.h"
#include "softplatform/section/SectionAssembler.h"
#include "softplatform/ts/Continuity.h"
#include "softplatform/ts/PacketSync.h"
#include "tests/unit/syntax/RoundTrip.h"

namespace {

using namespace syntax;
using namespace syntaxtest;
using tvservice::PacketView;
using tvservice::SectionAssembler;
using tvservice::SectionView;
using Section = std::vector<std::uint8_t>;

// Every different section of a transport stream: those of the PIDs below 0x20, and those with a
// good CRC_32 on the others.
std::set<Section> SectionsOfStream(const std::vector<std::uint8_t>& stream) {
    constexpr std::uint16_t kFirstOtherPid = 0x20;
    tvservice::Counters counters;
    tvservice::PacketSync sync(counters);
    std::map<std::uint16_t, std::unique_ptr<SectionAssembler>> assemblers;
    std::map<std::uint16_t, tvservice::Continuity> continuities;
    std::set<Section> sections;
    const auto onPacket = [&](const std::uint8_t* bytes) {
        const PacketView packet(bytes);
        auto& assembler = assemblers[packet.PID()];
        if (assembler == nullptr) {
            assembler = std::make_unique<SectionAssembler>(counters);
        }
        assembler->Feed(packet.payload(), packet.payload_unit_start_indicator(),
                        [&](SectionView view) {
                            const Section section(view.data(), view.data() + view.size());
                            const bool crc = (section[1] & 0x80) != 0 &&
                                             tvservice::Crc32(section.data(), section.size()) == 0;
                            if (crc || packet.PID() < kFirstOtherPid) {
                                sections.insert(section);
                            }
                        });
        return true;
    };
    sync.Feed(stream.data(), stream.size(), onPacket);
    sync.Finish(onPacket);
    return sections;
}

TEST(RoundTrip, EverySectionOfEveryScenario) {
    std::size_t sections = 0;
    for (const generator::ScenarioInfo& scenario : generator::Scenarios()) {
        for (const Section& section : SectionsOfStream(generator::MakeScenario(scenario.name))) {
            ASSERT_EQ("", RoundTripFault({section.data(), section.size()}, {})) << scenario.name;
            ++sections;
        }
    }
    EXPECT_GT(sections, 500u);
}

TEST(RoundTrip, EverySectionOfTheCaptures) {
    const std::filesystem::path streams = TORVELSI_STREAMS;
    if (!std::filesystem::exists(streams)) {
        GTEST_SKIP() << "no captures beside the checkout";
    }
    std::size_t sections = 0;
    for (const auto& entry : std::filesystem::directory_iterator(streams)) {
        const std::string extension = entry.path().extension().string();
        if (extension != ".ts" && extension != ".sec") {
            continue;
        }
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(file), {}};
        std::set<Section> found;
        if (extension == ".sec") {
            for (const Section& section : fuzzing::SectionsOf(bytes.data(), bytes.size())) {
                found.insert(section);
            }
        } else {
            found = SectionsOfStream(bytes);
        }
        for (const Section& section : found) {
            ASSERT_EQ("", RoundTripFault({section.data(), section.size()}, {})) << entry.path();
            ++sections;
        }
    }
    EXPECT_GT(sections, 3000u);
}

TEST(RoundTrip, MutatedSections) {
    std::vector<Section> seeds;
    for (const Section& section : SectionsOfStream(generator::MakeScenario("broadcast"))) {
        seeds.push_back(section);
    }
    ASSERT_FALSE(seeds.empty());
    std::mt19937 random(1);
    const auto below = [&random](std::size_t limit) { return random() % limit; };
    for (int round = 0; round < 5000; ++round) {
        Section section = seeds[below(seeds.size())];
        for (std::size_t flips = 1 + below(4); flips > 0; --flips) {
            section[below(section.size())] ^= static_cast<std::uint8_t>(1u << below(8));
        }
        // With its length and CRC_32 put right it is read to its end.
        if (below(2) == 0 && section.size() > 12) {
            section[1] = static_cast<std::uint8_t>((section[1] & 0xF0) | (section.size() - 3) >> 8);
            section[2] = static_cast<std::uint8_t>(section.size() - 3);
            const std::uint32_t crc = tvservice::Crc32(section.data(), section.size() - 4);
            for (std::size_t i = 0; i < 4; ++i) {
                section[section.size() - 4 + i] = static_cast<std::uint8_t>(crc >> (24 - 8 * i));
            }
        }
        ASSERT_EQ("", RoundTripFault({section.data(), section.size()}, {})) << "round " << round;
    }
}

TEST(RoundTrip, BytesWithoutAnyForm) {
    std::mt19937 random(2);
    for (int round = 0; round < 5000; ++round) {
        Section section(random() % 80);
        for (std::uint8_t& byte : section) {
            byte = static_cast<std::uint8_t>(random());
        }
        if (section.size() >= 3 && random() % 2 == 0) {
            section[1] = static_cast<std::uint8_t>(section[1] & 0x70);
            section[2] = static_cast<std::uint8_t>(section.size() - 3);
        }
        ASSERT_EQ("", RoundTripFault({section.data(), section.size()}, {})) << "round " << round;
    }
}

}  // namespace
