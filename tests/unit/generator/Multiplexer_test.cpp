#include "generator/Multiplexer.h"

#include <gtest/gtest.h>

#include "generator/SectionBuilder.h"
#include "tests/unit/generator/TsReader.h"

namespace generator {
namespace {

TEST(MultiplexerTest, NullPacketsKeepThePaceWhenNothingIsDue) {
    Multiplexer multiplexer(100);
    const PacketList packets = multiplexer.Run(2500);
    EXPECT_EQ(packets.size(), 250u);
    for (const Packet& packet : packets) {
        EXPECT_EQ(PidOf(packet), kNullPid);
    }
}

TEST(MultiplexerTest, ASourceIsAskedWhenItIsDue) {
    Multiplexer multiplexer(100);
    std::vector<std::uint32_t> asked;
    multiplexer.AddSource(1, 400, 30, [&](std::uint32_t milliseconds) {
        asked.push_back(milliseconds);
        return PacketList{};
    });
    multiplexer.Run(1000);
    EXPECT_EQ(asked, (std::vector<std::uint32_t>{30, 430, 830}));
}

TEST(MultiplexerTest, PidsTakeTurns) {
    Multiplexer multiplexer(100);
    multiplexer.AddSections(1, 1000, 0, {Bytes(500, 1)});
    multiplexer.AddSections(2, 1000, 0, {Bytes(500, 2)});
    const PacketList packets = multiplexer.Run(60);
    std::vector<int> pids;
    for (const Packet& packet : packets) {
        pids.push_back(PidOf(packet));
    }
    EXPECT_EQ(pids, (std::vector<int>{1, 2, 1, 2, 1, 2}));
}

TEST(MultiplexerTest, TwoTablesOfOnePidAreNotMixed) {
    Multiplexer multiplexer(100);
    const Bytes first = SectionBuilder(0x42).Raw(Bytes(500, 1)).Build();
    const Bytes second = SectionBuilder(0x46).Raw(Bytes(500, 2)).Build();
    multiplexer.AddSections(0x11, 1000, 0, {first});
    multiplexer.AddSections(0x11, 1000, 0, {second});
    const TsReader reader(Serialise(multiplexer.Run(1000)));
    ASSERT_EQ(reader.sections.size(), 2u);
    EXPECT_EQ(reader.sections[0].bytes, first);
    EXPECT_EQ(reader.sections[1].bytes, second);
    EXPECT_EQ(reader.continuityGaps, 0u);
}

TEST(MultiplexerTest, AClockReferenceTellsTheTimeOfItsOwnPacket) {
    Multiplexer multiplexer(1000);
    multiplexer.AddSections(1, 50, 0, {Bytes(3000, 1)});
    multiplexer.AddSource(2, 50, 0, [](std::uint32_t) {
        return PacketList{MakePacket(
            {.pid = 2, .adaptation_field = AdaptationField{.program_clock_reference = 0}},
            Bytes(10))};
    });
    const PacketList packets = multiplexer.Run(1000);
    std::size_t seen = 0;
    for (std::size_t i = 0; i < packets.size(); ++i) {
        if (PidOf(packets[i]) == 2) {
            const TsReader reader(Bytes(packets[i].begin(), packets[i].end()));
            EXPECT_DOUBLE_EQ(reader.clocks.at(2).front(), static_cast<double>(i) / 1000);
            ++seen;
        }
    }
    EXPECT_EQ(seen, 20u);
}

TEST(MultiplexerTest, CountersBeginWhereTheyAreSet) {
    Multiplexer multiplexer(100);
    multiplexer.SkipContinuity(1, 9);
    multiplexer.AddSections(1, 10, 0, {Bytes(10, 1)});
    const PacketList packets = multiplexer.Run(20);
    EXPECT_EQ(packets[0][3] & 0x0F, 9);
    EXPECT_EQ(packets[1][3] & 0x0F, 10);
}

}  // namespace
}  // namespace generator
