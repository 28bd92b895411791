// The generator's streams, with one golden document each. The scan must give this document however
// the stream comes: in pieces and packets of any size, behind garbage, with packets repeated, and
// with packets lost, damaged or cut off.
//
// TORVELSI_UPDATE_GOLDEN=1 writes the documents anew; review the difference.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "client/MultiplexScanner.h"
#include "generator/Damage.h"
#include "generator/Packet.h"
#include "generator/Random.h"
#include "generator/Scenarios.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tools/torvelsi/ScanDocument.h"

namespace {

using generator::Bytes;
using generator::PacketFormat;
using generator::PacketList;
using tool::Json;
using Counters = std::map<std::string, std::uint64_t>;

PacketList PacketsOf(const std::string& scenario) {
    const Bytes bytes = generator::MakeScenario(scenario);
    PacketList packets(bytes.size() / generator::kPacketSize);
    for (std::size_t i = 0; i < packets.size(); ++i) {
        std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(i * generator::kPacketSize),
                    generator::kPacketSize, packets[i].begin());
    }
    return packets;
}

/// Scans one stream. Each test has its own process.
class World {
  public:
    explicit World(Bytes bytes, std::size_t piece = 0) {
        tvservice::SetLogPriority(7);
        static const bool kStarted = tvservice::SoftwarePlatform::Instance().Start();
        EXPECT_TRUE(kStarted);
        client::MultiplexScanner scanner;
        const auto end = scanner.Scan(tvservice::MemorySource("world", std::move(bytes), piece));
        EXPECT_EQ(end.reason, tvservice::InputEnd::kEndOfInput) << end.error;
        const client::Multiplex multiplex = scanner.Result();
        std::string document;
        tool::WriteScanDocument(multiplex, [&](std::string_view text) { document += text; });
        document_ = Json::parse(document);
        document_.erase("input");
        document_.erase("counters");
        tool::WriteScanText(multiplex, [this](std::string_view text) { text_ += text; });
        text_.erase(text_.find("\nCounters ("));
        text_.erase(0, text_.find('\n') + 1);  // the input
        for (const tvservice::CounterValue& counter : multiplex.counters) {
            counters_[counter.name] = counter.value;
        }
    }

    const Json& document() const { return document_; }

    /// Returns the text output without the input's name and without the counters.
    const std::string& text() const { return text_; }

    std::uint64_t Count(const std::string& counter) const { return counters_.at(counter); }

    /// Returns the counters of loss and damage that are not 0.
    Counters Losses() const {
        static const std::set<std::string> kHealthy{"bytes",
                                                    "packets",
                                                    "sync_locks",
                                                    "sections",
                                                    "delivered_sections",
                                                    "scrambled_packets"};
        Counters losses;
        for (const auto& counter : counters_) {
            if (counter.second != 0 && kHealthy.count(counter.first) == 0) {
                losses.insert(counter);
            }
        }
        return losses;
    }

  private:
    Json document_;
    std::string text_;
    Counters counters_;
};

std::string GoldenPath(const std::string& scenario, const char* form = ".json") {
    return std::string(TORVELSI_GOLDEN) + "/" + scenario + form;
}

Json Golden(const std::string& scenario) {
    std::ifstream in(GoldenPath(scenario));
    return Json::parse(in, nullptr, false);
}

/// Compares line by line, because a failure over the whole text would print pages.
void ExpectGoldenText(const World& world, const std::string& scenario) {
    std::ifstream golden(GoldenPath(scenario, ".txt"));
    ASSERT_TRUE(golden.is_open()) << GoldenPath(scenario, ".txt");
    std::istringstream text(world.text());
    std::string expected;
    std::string line;
    for (int number = 1; std::getline(golden, expected); ++number) {
        ASSERT_TRUE(std::getline(text, line)) << "ends before line " << number << ": " << expected;
        ASSERT_EQ(line, expected) << GoldenPath(scenario, ".txt") << " line " << number;
    }
    EXPECT_FALSE(std::getline(text, line)) << "goes on with " << line;
}

void ExpectGolden(const World& world, const std::string& scenario) {
    // Compares key by key, because a failure over the whole document would print pages.
    const Json golden = Golden(scenario);
    ASSERT_TRUE(golden.is_object()) << GoldenPath(scenario);
    for (const auto& [key, value] : golden.items()) {
        EXPECT_EQ(world.document()[key], value) << scenario << " " << key;
    }
    EXPECT_EQ(world.document().size(), golden.size());
}

class HostileWorlds : public testing::TestWithParam<const char*> {
  protected:
    // The losses that a scenario always has: the cut descriptors of the oddities.
    Counters Losses(Counters others = {}) const {
        if (scenario_ == "oddities") {
            others["malformed_descriptors"] = 246;
        }
        return others;
    }

    const std::string scenario_ = GetParam();
};

TEST_P(HostileWorlds, Whole) {
    const World world(generator::MakeScenario(scenario_));
    if (std::getenv("TORVELSI_UPDATE_GOLDEN") != nullptr) {
        std::ofstream(GoldenPath(scenario_)) << world.document().dump(1) << "\n";
        std::ofstream(GoldenPath(scenario_, ".txt")) << world.text();
    }
    ExpectGolden(world, scenario_);
    ExpectGoldenText(world, scenario_);
    EXPECT_EQ(world.Losses(), Losses());
}

TEST_P(HostileWorlds, ByteByByte) {
    const World world(generator::MakeScenario(scenario_), 1);
    ExpectGolden(world, scenario_);
    EXPECT_EQ(world.Losses(), Losses());
}

TEST_P(HostileWorlds, InPiecesOf17Bytes) {
    const World world(generator::MakeScenario(scenario_), 17);
    ExpectGolden(world, scenario_);
    EXPECT_EQ(world.Losses(), Losses());
}

TEST_P(HostileWorlds, In192BytePackets) {
    const World world(generator::Serialise(PacketsOf(scenario_), PacketFormat::k192));
    ExpectGolden(world, scenario_);
    EXPECT_EQ(world.Losses(), Losses());
}

TEST_P(HostileWorlds, In204BytePackets) {
    const World world(generator::Serialise(PacketsOf(scenario_), PacketFormat::k204));
    ExpectGolden(world, scenario_);
    EXPECT_EQ(world.Losses(), Losses());
}

TEST_P(HostileWorlds, AfterGarbage) {
    Bytes bytes = generator::MakeScenario(scenario_);
    generator::Random random(1);
    generator::PrependGarbage(bytes, random, 1000);
    const World world(bytes);
    ExpectGolden(world, scenario_);
    EXPECT_EQ(world.Losses(), Losses({{"skipped_bytes", 1000}}));
}

TEST_P(HostileWorlds, EveryPacketTwice) {
    PacketList packets = PacketsOf(scenario_);
    PacketList twice;
    for (const generator::Packet& packet : packets) {
        twice.push_back(packet);
        twice.push_back(packet);
    }
    const World world(generator::Serialise(twice));
    ExpectGolden(world, scenario_);
    EXPECT_GT(world.Count("duplicate_packets"), 0u);
    EXPECT_EQ(world.Losses(), Losses({{"duplicate_packets", world.Count("duplicate_packets")}}));
    const World once(generator::Serialise(packets));
    EXPECT_EQ(world.Count("sections"), once.Count("sections"));
}

INSTANTIATE_TEST_SUITE_P(Scenarios, HostileWorlds,
                         testing::Values("demo", "oddities", "versions", "broadcast",
                                         "broadcast-versions", "no-network"),
                         [](const testing::TestParamInfo<const char*>& scenario) {
                             std::string name = scenario.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

// In the tests below every section is sent three times, and one of the three is lost.
class LossyWorlds : public testing::TestWithParam<const char*> {
  protected:
    const std::string scenario_ = GetParam();

    /// Returns the positions of the packets of a PID.
    static std::map<int, std::vector<std::size_t>> Positions(const PacketList& packets) {
        std::map<int, std::vector<std::size_t>> positions;
        for (std::size_t i = 0; i < packets.size(); ++i) {
            positions[generator::PidOf(packets[i])].push_back(i);
        }
        return positions;
    }

    /// Returns the PIDs of service information that have packets before and after the middle one.
    static std::vector<std::size_t> MiddlePackets(const PacketList& packets) {
        std::vector<std::size_t> middles;
        for (const int pid : {0x00, 0x01, 0x10, 0x11, 0x12}) {
            const std::vector<std::size_t> all = Positions(packets)[pid];
            if (all.size() >= 3) {
                middles.push_back(all[all.size() / 2]);
            }
        }
        return middles;
    }
};

TEST_P(LossyWorlds, OneLostPacketOfEachPidIsCountedAndNothingElseIsLost) {
    PacketList packets = PacketsOf(scenario_);
    std::vector<std::size_t> middles = MiddlePackets(packets);
    ASSERT_GE(middles.size(), 3u);
    std::sort(middles.rbegin(), middles.rend());
    for (const std::size_t index : middles) {
        generator::DropPacket(packets, index);
    }
    const World world(generator::Serialise(packets));
    ExpectGolden(world, scenario_);
    // A section that begins before the lost packet and continues in it is cut.
    const std::uint64_t begunBefore = scenario_ == "demo" ? 1 : 3;
    EXPECT_EQ(world.Losses(),
              (Counters{{"continuity_gaps", middles.size()}, {"truncated_sections", begunBefore}}));
}

TEST_P(LossyWorlds, ABrokenBitOfEachPidIsCountedAndNothingElseIsLost) {
    const PacketList packets = PacketsOf(scenario_);
    const std::vector<std::size_t> middles = MiddlePackets(packets);
    Bytes bytes = generator::Serialise(packets);
    constexpr std::size_t kInsideASection = 30;  // bytes into the packet
    std::size_t broken = 0;
    for (const std::size_t index : middles) {
        const generator::Packet& packet = packets[index];
        if (packet[kInsideASection] != 0xFF || packet[kInsideASection + 1] != 0xFF) {
            generator::FlipBit(bytes, (index * generator::kPacketSize + kInsideASection) * 8);
            ++broken;
        }
    }
    ASSERT_GE(broken, 3u);
    const World world(bytes);
    ExpectGolden(world, scenario_);
    EXPECT_EQ(world.Losses(), (Counters{{"crc_errors", broken}}));
}

TEST_P(LossyWorlds, AStreamCutInTheMiddleOfAPacketKeepsWhatCameBefore) {
    const Bytes whole = generator::MakeScenario(scenario_);
    Bytes bytes = whole;
    bytes.insert(bytes.end(), whole.begin(), whole.begin() + 100);
    const World world(bytes);
    ExpectGolden(world, scenario_);
    EXPECT_EQ(world.Losses(), (Counters{{"skipped_bytes", 100}}));
}

TEST(DamagedWorld, HoldsWhatTheDemoHolds) {
    const World world(generator::MakeScenario("damaged"));
    ExpectGolden(world, "demo");
    ExpectGoldenText(world, "demo");
    EXPECT_EQ(world.Losses(), (Counters{{"continuity_gaps", 2},
                                        {"crc_errors", 6},
                                        {"duplicate_packets", 1},
                                        {"skipped_bytes", 474},
                                        {"sync_losses", 2},
                                        {"truncated_sections", 2}}));
}

INSTANTIATE_TEST_SUITE_P(Scenarios, LossyWorlds, testing::Values("demo", "broadcast"),
                         [](const testing::TestParamInfo<const char*>& scenario) {
                             return std::string(scenario.param);
                         });

}  // namespace
