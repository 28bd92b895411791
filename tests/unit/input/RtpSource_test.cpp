#include "softplatform/input/RtpSource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "softplatform/input/Source.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tests/unit/input/Reading.h"
#include "tests/unit/input/RtpBytes.h"
#include "tests/unit/input/Sender.h"

namespace tvservice {
namespace {

using testsupport::Ask;
using testsupport::Bytes;
using testsupport::Counting;
using testsupport::Join;
using testsupport::ReadAll;
using testsupport::RtpBytes;
using testsupport::Sender;

class RtpSourceTest : public testing::Test {
  protected:
    void SetUp() override {
        std::string error;
        source_ = RtpSource::Open("rtp://127.0.0.1:0", error, counters_);
        ASSERT_TRUE(source_) << error;
        sender_ = std::make_unique<Sender>(source_->port());
    }
    void Send(uint16_t sequence_number, const Bytes& payload) {
        sender_->Send(RtpBytes{.sequence_number = sequence_number}.Build(payload));
    }

    Counters counters_;
    std::shared_ptr<RtpSource> source_;
    std::unique_ptr<Sender> sender_;
};

TEST_F(RtpSourceTest, GivesThePayloadsInTheOrderOfTheirNumbers) {
    Send(1, Counting(188, 1));
    Send(3, Counting(188, 3));
    Send(2, Counting(188, 2));
    Send(4, Counting(188, 4));
    EXPECT_EQ(ReadAll(*source_, size_t{4} * 188),
              Join({Counting(188, 1), Counting(188, 2), Counting(188, 3), Counting(188, 4)}));
    EXPECT_EQ(Ask(*source_), ReadResult::kWouldBlock);
    EXPECT_EQ(counters_.Get(Counter::kRtpReordered), 1u);
    EXPECT_EQ(counters_.Get(Counter::kRtpLosses), 0u);
}

TEST_F(RtpSourceTest, KeepsTheOrderOverSmallReads) {
    Bytes all;
    for (uint8_t n = 0; n < 200; ++n) {
        Send(n ^ 1, Counting(1316, n ^ 1));
        all = Join({all, Counting(1316, n)});
    }
    // The first packet has the number 1, so a packet before it is too late.
    all = testsupport::Slice(all, 1316);
    EXPECT_EQ(ReadAll(*source_, all.size(), 100), all);
    EXPECT_EQ(counters_.Get(Counter::kRtpReordered), 99u);
    EXPECT_EQ(counters_.Get(Counter::kRtpLosses), 0u);
}

TEST_F(RtpSourceTest, CountsWhatIsMissing) {
    for (uint16_t n = 0; n < 50; ++n) {
        if (n > 40 || n % 10 != 5) {
            Send(n, Counting(188));
        }
    }
    ReadAll(*source_, size_t{46} * 188);
    EXPECT_EQ(counters_.Get(Counter::kRtpLosses), 4u);
    EXPECT_EQ(counters_.Get(Counter::kRtpReordered), 0u);
}

TEST_F(RtpSourceTest, LeavesOutAndCountsWhatIsNoRtp) {
    Send(1, Counting(188, 1));
    sender_->Send({});
    sender_->Send(Counting(188));
    sender_->Send(RtpBytes{.version = 1, .sequence_number = 2}.Build(Counting(188)));
    Send(2, Counting(188, 2));
    EXPECT_EQ(ReadAll(*source_, size_t{2} * 188), Join({Counting(188, 1), Counting(188, 2)}));
    EXPECT_EQ(counters_.Get(Counter::kMalformedDatagrams), 3u);
}

// Otherwise a sender that is faster than the reader would keep the read busy for ever.
TEST_F(RtpSourceTest, ReturnsFromAFloodOfWhatIsNoRtpBatchByBatch) {
    for (int i = 0; i < 100; ++i) {
        sender_->Send({1, 2, 3});
    }
    Send(1, Counting(188, 1));
    EXPECT_EQ(Ask(*source_), ReadResult::kWouldBlock);
    EXPECT_EQ(counters_.Get(Counter::kMalformedDatagrams), 64u);
    EXPECT_EQ(ReadAll(*source_, 188), Counting(188, 1));
    EXPECT_EQ(counters_.Get(Counter::kMalformedDatagrams), 100u);
}

TEST_F(RtpSourceTest, SkipsPacketsWithoutPayload) {
    Send(1, {});
    Send(2, Counting(188, 2));
    EXPECT_EQ(ReadAll(*source_, 188), Counting(188, 2));
    EXPECT_EQ(counters_.Get(Counter::kMalformedDatagrams), 0u);
}

TEST(RtpSourceOpen, NamesTheAddressAndWhatIsWrongWithIt) {
    std::string error;
    EXPECT_EQ(OpenSource("rtp://239.1.1.1", error), nullptr);
    EXPECT_EQ(error, "cannot open rtp://239.1.1.1: the port is missing (rtp://HOST:PORT)");
}

TEST(RtpSourceOpen, IsWhatTheSchemeAsksFor) {
    std::string error;
    const SourcePtr source = OpenSource("rtp://@:0", error);
    ASSERT_NE(source, nullptr) << error;
    EXPECT_NE(dynamic_cast<RtpSource*>(source->bytes().get()), nullptr);
}

}  // namespace
}  // namespace tvservice
