#include "softplatform/fault/FaultySource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <algorithm>
#include <bit>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "softplatform/input/BufferSource.h"
#include "tests/support/TsBytes.h"
#include "tests/unit/fault/FaultFixture.h"

namespace tvservice {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::Bytes;
using testsupport::Join;
using testsupport::PacketBytes;
using testsupport::Plan;
using testsupport::RandomBytes;
using testsupport::Slice;

// Reads to the end. After kWouldBlock the descriptor must be readable at once.
Bytes ReadAll(ByteSource& source, size_t atMost = 4096) {
    Bytes all;
    Bytes buffer(atMost);
    for (;;) {
        const ReadResult read = source.Read(buffer.data(), buffer.size());
        switch (read.status) {
            case ReadResult::kBytes:
                EXPECT_GT(read.bytes.size(), 0u);
                EXPECT_LE(read.bytes.size(), atMost);
                all.insert(all.end(), read.bytes.begin(), read.bytes.end());
                break;
            case ReadResult::kWouldBlock: {
                pollfd ready{source.descriptor(), POLLIN, 0};
                if (::poll(&ready, 1, 0) != 1) {
                    ADD_FAILURE() << "would wait for ever";
                    return all;
                }
                break;
            }
            case ReadResult::kEnd:
                return all;
            case ReadResult::kFailed:
                ADD_FAILURE() << read.error;
                return all;
        }
    }
}

// A source of the bytes that the test puts in.
class ScriptedSource final : public ByteSource {
  public:
    explicit ScriptedSource(std::vector<ReadResult> results)
        : ByteSource("script"), results_(std::move(results)) {}
    uint64_t size() const override { return 0; }
    bool rewindable() const override { return false; }
    bool live() const override { return true; }
    bool Rewind() override { return next_ == 0; }
    ReadResult Read(uint8_t*, size_t) override { return results_.at(next_++); }
    int descriptor() const override { return 77; }

  private:
    const std::vector<ReadResult> results_;
    size_t next_ = 0;
};

class FaultySourceTest : public testing::Test {
  protected:
    static constexpr size_t kPackets = 200;

    // Packet i has PID 0x100 + i % 3 and a random payload.
    FaultySourceTest() {
        std::mt19937 random(7);
        for (size_t i = 0; i < kPackets; ++i) {
            packets_.push_back(PacketBytes{.PID = static_cast<uint16_t>(0x100 + i % 3),
                                           .continuity_counter = static_cast<uint8_t>(i / 3)}
                                   .Build(RandomBytes(random, 184)));
        }
    }

    std::shared_ptr<ByteSource> Packets(size_t piece = 0) const {
        return std::make_shared<BufferSource>("packets", Join(packets_), piece);
    }

    // The packets that come out.
    std::vector<Bytes> Damaged(std::shared_ptr<FaultPlan> plan) const {
        FaultySource source(Packets(), std::move(plan));
        const Bytes bytes = ReadAll(source);
        std::vector<Bytes> packets;
        for (size_t at = 0; at < bytes.size(); at += 188) {
            packets.push_back(Slice(bytes, at, 188));
        }
        return packets;
    }

    // The packets that come out, as indexes into the packets that went in.
    std::vector<size_t> Order(std::shared_ptr<FaultPlan> plan) const {
        std::vector<size_t> order;
        for (const Bytes& packet : Damaged(std::move(plan))) {
            const auto found = std::find(packets_.begin(), packets_.end(), packet);
            order.push_back(static_cast<size_t>(found - packets_.begin()));
        }
        return order;
    }

    static std::vector<size_t> InOrder(size_t first, size_t end) {
        std::vector<size_t> order;
        for (size_t i = first; i < end; ++i) {
            order.push_back(i);
        }
        return order;
    }

    static std::vector<size_t> Then(std::vector<size_t> order, const std::vector<size_t>& more) {
        order.insert(order.end(), more.begin(), more.end());
        return order;
    }

    std::vector<Bytes> packets_;
};

TEST_F(FaultySourceTest, PassesTheBytesUnchangedWithoutFaults) {
    const auto plan = Plan({"cut@0", "refuse-subscribe@0"});
    FaultySource source(Packets(), plan);
    EXPECT_EQ(source.name(), "packets");
    EXPECT_EQ(source.size(), kPackets * 188);
    EXPECT_TRUE(source.rewindable());
    EXPECT_FALSE(source.live());
    EXPECT_EQ(source.descriptor(), -1);
    EXPECT_EQ(ReadAll(source), Join(packets_));
}

TEST_F(FaultySourceTest, PassesTheBytesUnchangedWhereFaultsDoNotHappen) {
    const auto plan = Plan({"drop@1000", "corrupt=1/1:pid=0x1FFF", "reorder@1000"});
    const Bytes stream = Join({{1, 2, 3}, Join(packets_), {0x47, 9, 9}});
    for (const size_t piece : {0u, 1u, 17u, 188u, 189u}) {
        FaultySource source(std::make_shared<BufferSource>("b", stream, piece), plan);
        EXPECT_EQ(ReadAll(source, 100), stream) << piece;
    }
    EXPECT_EQ(plan->count(FaultKind::kCorrupt), 0u);
}

TEST_F(FaultySourceTest, DropsThePacketsNamed) {
    const auto plan = Plan({"drop@0,7,199"});
    EXPECT_EQ(Order(plan), Then(InOrder(1, 7), InOrder(8, 199)));
    EXPECT_EQ(plan->count(FaultKind::kDrop), 3u);
}

TEST_F(FaultySourceTest, DropsAtARate) {
    const auto plan = Plan({"drop=1/10"});
    const size_t left = Damaged(plan).size();
    EXPECT_LT(left, kPackets);
    EXPECT_EQ(left + plan->count(FaultKind::kDrop), kPackets);
}

TEST_F(FaultySourceTest, NumbersThePacketsOfAPidAmongThemselves) {
    const auto plan = Plan({"drop@1:pid=0x102"});
    EXPECT_EQ(Order(plan), Then(InOrder(0, 5), InOrder(6, kPackets)));
}

TEST_F(FaultySourceTest, DropsAWholePid) {
    const auto plan = Plan({"drop=1/1:pid=0x100"});
    for (const size_t index : Order(plan)) {
        EXPECT_NE(index % 3, 0u) << index;
    }
    EXPECT_EQ(plan->count(FaultKind::kDrop), 67u);
}

TEST_F(FaultySourceTest, ThatDropsEverythingKeepsAnswering) {
    const auto plan = Plan({"drop=1/1"});
    FaultySource source(Packets(188), plan);
    uint8_t byte = 0;
    for (size_t i = 0; i < kPackets; ++i) {
        ASSERT_EQ(source.Read(&byte, 1).status, ReadResult::kWouldBlock);
        pollfd ready{source.descriptor(), POLLIN, 0};
        ASSERT_EQ(::poll(&ready, 1, 0), 1);
    }
    EXPECT_EQ(source.Read(&byte, 1).status, ReadResult::kEnd);
    EXPECT_EQ(source.Read(&byte, 1).status, ReadResult::kEnd);
    EXPECT_EQ(plan->count(FaultKind::kDrop), kPackets);
}

TEST_F(FaultySourceTest, SendsPacketsTwice) {
    const auto plan = Plan({"duplicate@2,4"});
    EXPECT_EQ(Order(plan), Then({0, 1, 2, 2, 3, 4, 4}, InOrder(5, kPackets)));
    EXPECT_EQ(plan->count(FaultKind::kDuplicate), 2u);
}

TEST_F(FaultySourceTest, SendsAPacketBehindTheNext) {
    const auto plan = Plan({"reorder@1"});
    EXPECT_EQ(Order(plan), Then({0, 2, 1}, InOrder(3, kPackets)));
    EXPECT_EQ(plan->count(FaultKind::kReorder), 1u);
}

TEST_F(FaultySourceTest, SendsAPacketBehindLaterOnesOfItsPid) {
    const auto plan = Plan({"reorder@0:pid=0x101:by=2"});
    EXPECT_EQ(Order(plan), Then({0, 2, 3, 4, 5, 6, 7, 1}, InOrder(8, kPackets)));
}

TEST_F(FaultySourceTest, SendsWhatIsHeldBackAtTheEnd) {
    const auto plan = Plan({"reorder@198:by=9"});
    EXPECT_EQ(Order(plan), Then(InOrder(0, 198), {199, 198}));
}

TEST_F(FaultySourceTest, HoldsSeveralPacketsBack) {
    const auto plan = Plan({"reorder@1,2:by=3"});
    EXPECT_EQ(Order(plan), Then({0, 3, 4, 1, 5, 2}, InOrder(6, kPackets)));
    EXPECT_EQ(plan->count(FaultKind::kReorder), 2u);
}

TEST_F(FaultySourceTest, InvertsOneBitBehindTheHeader) {
    const auto plan = Plan({"corrupt=1/1"});
    const std::vector<Bytes> damaged = Damaged(plan);
    ASSERT_EQ(damaged.size(), kPackets);
    for (size_t i = 0; i < kPackets; ++i) {
        EXPECT_EQ(Slice(damaged[i], 0, 4), Slice(packets_[i], 0, 4));
        int bits = 0;
        for (size_t byte = 4; byte < 188; ++byte) {
            bits += std::popcount(static_cast<uint8_t>(damaged[i][byte] ^ packets_[i][byte]));
        }
        EXPECT_EQ(bits, 1) << i;
    }
    EXPECT_EQ(plan->count(FaultKind::kCorrupt), kPackets);
}

TEST_F(FaultySourceTest, InvertsABitOfTheByteNamed) {
    for (const size_t byte : {0u, 1u, 187u}) {
        const auto plan = Plan({"corrupt@3:byte=" + std::to_string(byte)});
        std::vector<Bytes> damaged = Damaged(plan);
        ASSERT_EQ(damaged.size(), kPackets);
        EXPECT_EQ(std::popcount(static_cast<uint8_t>(damaged[3][byte] ^ packets_[3][byte])), 1);
        damaged[3][byte] = packets_[3][byte];
        EXPECT_EQ(damaged, packets_);
    }
}

TEST_F(FaultySourceTest, DropGoesBeforeAllElse) {
    const auto plan = Plan({"corrupt@5", "duplicate@5", "reorder@5", "drop@5"});
    EXPECT_EQ(Order(plan), Then(InOrder(0, 5), InOrder(6, kPackets)));
    EXPECT_EQ(plan->count(FaultKind::kDrop), 1u);
    EXPECT_EQ(plan->count(FaultKind::kCorrupt), 0u);
    EXPECT_EQ(plan->count(FaultKind::kDuplicate), 0u);
    EXPECT_EQ(plan->count(FaultKind::kReorder), 0u);
}

TEST_F(FaultySourceTest, HoldsBothCopiesBack) {
    const auto plan = Plan({"duplicate@1", "reorder@1"});
    EXPECT_EQ(Order(plan), Then({0, 2, 1, 1}, InOrder(3, kPackets)));
}

TEST_F(FaultySourceTest, NumbersPacketsAsTheyCameIn) {
    const auto plan = Plan({"drop@0", "duplicate@1"});
    EXPECT_EQ(Order(plan), Then({1, 1}, InOrder(2, kPackets)));
}

TEST_F(FaultySourceTest, DoesTheSameToTheByteForASeedHoweverItIsRead) {
    const std::vector<std::string> specs{"drop=1/9", "duplicate=1/9", "reorder=1/9:by=4",
                                         "corrupt=1/9", "corrupt=1/5:pid=0x101"};
    FaultySource whole(Packets(), Plan(specs, 3));
    const Bytes bytes = ReadAll(whole);
    EXPECT_NE(bytes, Join(packets_));
    for (const size_t piece : {1u, 17u, 188u, 1000u}) {
        FaultySource pieces(Packets(piece), Plan(specs, 3));
        EXPECT_EQ(ReadAll(pieces, 33), bytes) << piece;
    }
    FaultySource other(Packets(), Plan(specs, 4));
    EXPECT_NE(ReadAll(other), bytes);
}

TEST_F(FaultySourceTest, DoesTheSameAgainAfterRewind) {
    const auto plan = Plan({"drop=1/9", "reorder@190:by=20", "corrupt=1/5"});
    FaultySource source(Packets(), plan);
    const Bytes bytes = ReadAll(source);
    const uint64_t dropped = plan->count(FaultKind::kDrop);
    ASSERT_TRUE(source.Rewind());
    EXPECT_EQ(ReadAll(source), bytes);
    EXPECT_EQ(plan->count(FaultKind::kDrop), 2 * dropped);

    ASSERT_TRUE(source.Rewind());
    Bytes some(5000);
    ASSERT_EQ(source.Read(some.data(), some.size()).status, ReadResult::kBytes);
    ASSERT_TRUE(source.Rewind());
    EXPECT_EQ(ReadAll(source), bytes) << "rewound in the middle";
}

TEST_F(FaultySourceTest, KnowsItsSizeWhereFaultsLeaveIt) {
    EXPECT_EQ(FaultySource(Packets(), Plan({"reorder@1", "corrupt@1"})).size(), kPackets * 188);
    EXPECT_EQ(FaultySource(Packets(), Plan({"drop@1"})).size(), 0u);
    EXPECT_EQ(FaultySource(Packets(), Plan({"duplicate@1"})).size(), 0u);
}

TEST_F(FaultySourceTest, WaitsWhereItsSourceWaits) {
    const auto script = std::make_shared<ScriptedSource>(std::vector<ReadResult>{
        {ReadResult::kWouldBlock}, {ReadResult::kBytes, {packets_[0].data(), 100}}});
    FaultySource source(script, Plan({"drop@1"}));
    Bytes buffer(188);
    EXPECT_EQ(source.Read(buffer.data(), buffer.size()).status, ReadResult::kWouldBlock);
    EXPECT_EQ(source.descriptor(), 77);
    EXPECT_EQ(source.Read(buffer.data(), buffer.size()).status, ReadResult::kWouldBlock);
    EXPECT_NE(source.descriptor(), 77) << "half a packet: nothing came out, and more may be there";
    EXPECT_TRUE(source.live());
    EXPECT_FALSE(source.rewindable());
    EXPECT_FALSE(source.Rewind());
}

TEST_F(FaultySourceTest, FailsAsItsSourceDoesBehindAllThatCameBefore) {
    const Bytes stream = Join({packets_[0], packets_[1]});
    const auto script = std::make_shared<ScriptedSource>(
        std::vector<ReadResult>{{ReadResult::kBytes, {stream.data(), stream.size()}},
                                {ReadResult::kFailed, {}, "it broke"}});
    FaultySource source(script, Plan({"reorder@1"}));
    Bytes buffer(1000);
    EXPECT_EQ(source.Read(buffer.data(), buffer.size()).bytes.size(), 188u);
    EXPECT_EQ(source.Read(buffer.data(), buffer.size()).bytes.size(), 188u);
    EXPECT_EQ(Slice(buffer, 0, 188), packets_[1]);
    for (int i = 0; i < 2; ++i) {
        const ReadResult read = source.Read(buffer.data(), buffer.size());
        EXPECT_EQ(read.status, ReadResult::kFailed);
        EXPECT_EQ(read.error, "it broke");
    }
}

TEST_F(FaultySourceTest, FindsItsPacketsBehindGarbage) {
    const Bytes garbage{1, 2, 3};
    const auto plan = Plan({"drop@0"});
    FaultySource source(
        std::make_shared<BufferSource>("b", Join({garbage, packets_[0], packets_[1]}), 0), plan);
    EXPECT_EQ(ReadAll(source), Join({garbage, packets_[1]}));
}

}  // namespace
}  // namespace tvservice
