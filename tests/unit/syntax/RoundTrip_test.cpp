// Sections of the generator, of captures beside the checkout, and of neither: mutated ones.

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <vector>

#include "generator/Scenarios.h"
#include "softplatform/base/Crc32.h"
#include "tests/unit/syntax/RoundTrip.h"
#include "tests/unit/syntax/StreamSections.h"

namespace {

using namespace syntax;
using namespace syntaxtest;

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
    std::size_t sections = 0;
    const auto visit = [&sections](const std::string& name, const std::set<Section>& found) {
        for (const Section& section : found) {
            ASSERT_EQ("", RoundTripFault({section.data(), section.size()}, {})) << name;
            ++sections;
        }
    };
    if (!ForEachCapture(TORVELSI_STREAMS, visit)) {
        GTEST_SKIP() << "no captures beside the checkout";
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
