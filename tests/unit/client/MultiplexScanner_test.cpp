#include "client/MultiplexScanner.h"

#include <gtest/gtest.h>

#include <chrono>
#include <vector>

#include "client/Acquisition.h"
#include "client/Barrier.h"
#include "generator/Packet.h"
#include "generator/Scenarios.h"
#include "generator/Tables.h"
#include "generator/TsWriter.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tests/support/Forever.h"

namespace client {
namespace {

using tvservice::InputEnd;
using tvservice::MemorySource;
using tvservice::SoftwarePlatform;

class MultiplexScannerTest : public testing::Test {
  protected:
    void SetUp() override {
        tvservice::SetLogPriority(7);
        ASSERT_TRUE(platform_.Start());
    }

    void TearDown() override { platform_.Stop(); }

    void Play(std::vector<std::uint8_t> bytes) {
        tvservice::PlayOptions options;
        options.reading = tvservice::PlayOptions::kLockStep;
        ASSERT_TRUE(platform_.Play(MemorySource("memory", std::move(bytes)), options));
        ASSERT_EQ(platform_.WaitEnd().reason, InputEnd::kEndOfInput);
    }

    // The first of two sections.
    static std::vector<std::uint8_t> HalfABat() {
        const generator::MuxTable bat{.id = 0xF2FF, .transport_streams = {{1, 1, {}}, {2, 1, {}}}};
        const generator::Sections sections = MakeBat(bat, {.entries_per_section = 1});
        EXPECT_EQ(sections.size(), 2u);
        generator::TsWriter writer;
        writer.WriteSections(0x0011, {sections.front()});
        writer.WriteNull(5);  // sync is certain
        return generator::Serialise(writer.packets());
    }

    SoftwarePlatform& platform_ = SoftwarePlatform::Instance();
};

TEST_F(MultiplexScannerTest, WhatWasCompleteStaysSoWhateverComesBehind) {
    Forever<Barrier>();
    Acquisition& acquisition = Forever<Acquisition>(Acquisition::kAll);
    acquisition.Subscribe(nullptr);
    Play(generator::MakeScenario("demo"));
    ASSERT_TRUE(acquisition.WaitUntilComplete(std::chrono::seconds(20)));
    const std::size_t bouquets = acquisition.Found().bouquets.size();
    EXPECT_GT(bouquets, 0u);
    Play(HalfABat());
    EXPECT_TRUE(acquisition.Found().missing.empty());
    EXPECT_EQ(acquisition.Found().bouquets.size(), bouquets);
}

TEST_F(MultiplexScannerTest, WhatIsBegunIsMissingAsLongAsNothingWasComplete) {
    Forever<Barrier>();
    Acquisition& acquisition = Forever<Acquisition>(Acquisition::kAll);
    acquisition.Subscribe(nullptr);
    Play(HalfABat());
    Play(generator::MakeScenario("demo"));
    const std::vector<Missing> missing = acquisition.Found().missing;
    ASSERT_EQ(missing.size(), 1u);
    EXPECT_EQ(missing[0].what, Missing::kBat);
    EXPECT_EQ(missing[0].id, 62207u);
    EXPECT_EQ(missing[0].sections, std::vector<unsigned char>{1});
}

// Large inputs: the first pass may end with the first PAT.
class LargeInputTest : public MultiplexScannerTest {
  protected:
    static constexpr std::size_t kNullPackets = 50000;  // 9.4 MB

    void WritePat(std::uint8_t version, const std::vector<generator::PatProgram>& programs) {
        writer_.WriteSections(0x0000, generator::MakePat(1, programs, {.version_number = version}));
    }

    void WritePmt(std::uint16_t number, std::uint16_t pid) {
        writer_.WriteSections(pid,
                              generator::MakePmt({.program_number = number, .PCR_PID = 0x1FFF}));
    }

    // The result of a scan, and the numbers of the passes that it made.
    Multiplex Scan() {
        MultiplexScanner& scanner = Forever<MultiplexScanner>();
        const auto end =
            scanner.Scan(MemorySource("large", generator::Serialise(writer_.packets())));
        EXPECT_EQ(end.reason, InputEnd::kEndOfInput) << end.error;
        return scanner.Result();
    }

    static std::vector<unsigned int> NumbersOf(const Multiplex& multiplex) {
        std::vector<unsigned int> numbers;
        for (const auto& program : multiplex.programs) {
            numbers.push_back(program->programNumber);
        }
        return numbers;
    }

    generator::TsWriter writer_;
};

TEST_F(LargeInputTest, WhatALaterPatNamesIsFoundFromTheFirstPacketOn) {
    WritePmt(1, 0x101);
    WritePmt(2, 0x102);
    WritePat(0, {{1, 0x101}});
    writer_.WriteNull(kNullPackets);
    WritePat(1, {{1, 0x101}, {2, 0x102}});
    const Multiplex found = Scan();
    EXPECT_EQ(NumbersOf(found), (std::vector<unsigned int>{1, 2}));
    EXPECT_EQ(found.input.packets, writer_.packets().size()) << "of the pass that counts";
}

TEST_F(LargeInputTest, TheNetworkPidOfALaterPatIsFoundFromTheFirstPacketOn) {
    WritePmt(1, 0x101);
    writer_.WriteSections(0x0111, generator::MakeNit(generator::Scope::kActual, {.id = 9}));
    WritePat(0, {{1, 0x101}});
    writer_.WriteNull(kNullPackets);
    WritePat(1, {{0, 0x111}, {1, 0x101}});
    const Multiplex found = Scan();
    ASSERT_EQ(found.networks.size(), 1u);
    EXPECT_EQ(found.networks[0]->networkId, 9u);
}

TEST_F(LargeInputTest, WithoutAPatItIsReadToItsEnd) {
    writer_.WriteNull(kNullPackets);
    writer_.WriteSections(0x0011, generator::MakeBat({.id = 7}));
    const Multiplex found = Scan();
    EXPECT_EQ(found.pat, std::nullopt);
    EXPECT_EQ(found.bouquets.size(), 1u);
}

// The first of two answers lets the platform go on, so a section may still be in the queue for a
// scanner that has ended.
TEST_F(MultiplexScannerTest, OutlivesTheAnswersOfAnotherClientToBarriers) {
    Forever<Barrier>();
    for (int scan = 0; scan < 20; ++scan) {
        MultiplexScanner scanner;
        const auto end = scanner.Scan(MemorySource("demo", generator::MakeScenario("demo")));
        EXPECT_EQ(end.reason, InputEnd::kEndOfInput) << end.error;
        EXPECT_NE(scanner.Result().pat, std::nullopt);
    }
}

}  // namespace
}  // namespace client
