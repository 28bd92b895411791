#include "softplatform/input/UdpSource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <memory>
#include <string>

#include "softplatform/base/Counters.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tests/unit/input/Sender.h"

namespace tvservice {
namespace {

using testing::HasSubstr;
using testsupport::Bytes;
using testsupport::Sender;

class UdpSourceTest : public testing::Test {
  protected:
    void SetUp() override {
        source_ = UdpSource::Open("udp://127.0.0.1:0", error_);
        ASSERT_TRUE(source_) << error_;
    }
    /// Reads until this many bytes have come.
    Bytes Read(size_t count, size_t room = 65536) {
        Bytes bytes;
        while (bytes.size() < count) {
            Bytes piece(room);
            const ReadResult result = source_->Read(piece.data(), piece.size());
            if (result.status == ReadResult::kWouldBlock) {
                pollfd ready{source_->descriptor(), POLLIN, 0};
                EXPECT_EQ(::poll(&ready, 1, 20000), 1);
                continue;
            }
            EXPECT_EQ(result.status, ReadResult::kBytes) << result.error;
            if (result.status != ReadResult::kBytes) {
                break;
            }
            bytes.insert(bytes.end(), result.bytes.begin(), result.bytes.end());
        }
        return bytes;
    }

    std::string error_;
    std::shared_ptr<UdpSource> source_;
};

TEST_F(UdpSourceTest, IsLiveAndHasNoStart) {
    EXPECT_TRUE(source_->live());
    EXPECT_FALSE(source_->rewindable());
    EXPECT_TRUE(source_->Rewind());
    EXPECT_EQ(source_->size(), 0u);
    EXPECT_GE(source_->descriptor(), 0);
}

TEST_F(UdpSourceTest, HasNothingToSayBeforeADatagramComes) {
    uint8_t byte = 0;
    EXPECT_EQ(source_->Read(&byte, 1).status, ReadResult::kWouldBlock);
}

TEST_F(UdpSourceTest, JoinsDatagramsInTheOrderInWhichTheyCame) {
    Sender sender(source_->port());
    Bytes all;
    for (uint8_t i = 0; i < 200; ++i) {  // more than one batch
        const Bytes datagram(1316, i);
        sender.Send(datagram);
        all.insert(all.end(), datagram.begin(), datagram.end());
    }
    EXPECT_EQ(Read(all.size()), all);
    EXPECT_EQ(ReceiverCounters().Get(Counter::kKernelDrops), 0u);
}

TEST_F(UdpSourceTest, GivesADatagramInPiecesToASmallBuffer) {
    Sender sender(source_->port());
    sender.Send({1, 2, 3, 4, 5});
    sender.Send({});
    sender.Send({6, 7});
    EXPECT_EQ(Read(7, 2), Bytes({1, 2, 3, 4, 5, 6, 7}));
}

// Otherwise a sender that is faster than the reader would keep the read busy for ever.
TEST_F(UdpSourceTest, ReturnsFromAFloodOfEmptyDatagramsBatchByBatch) {
    Sender sender(source_->port());
    for (int i = 0; i < 150; ++i) {
        sender.Send({});
    }
    sender.Send({1});
    uint8_t byte = 0;
    const uint64_t before = ReceiverCounters().Get(Counter::kMalformedDatagrams);
    for (const uint64_t counted : {64u, 128u}) {
        EXPECT_EQ(source_->Read(&byte, 1).status, ReadResult::kWouldBlock);
        EXPECT_EQ(ReceiverCounters().Get(Counter::kMalformedDatagrams) - before, counted);
        pollfd ready{source_->descriptor(), POLLIN, 0};
        EXPECT_EQ(::poll(&ready, 1, 0), 1) << "the rest is still in the kernel";
    }
    EXPECT_EQ(Read(1), Bytes({1}));
}

TEST_F(UdpSourceTest, TakesSoManyTinyDatagramsAtATime) {
    Sender sender(source_->port());
    Bytes all;
    for (uint8_t i = 0; i < 100; ++i) {
        sender.Send({i});
        all.push_back(i);
    }
    Bytes first(1000);
    first.resize(source_->Read(first.data(), first.size()).bytes.size());
    EXPECT_EQ(first, Bytes(all.begin(), all.begin() + 64));
    EXPECT_EQ(Read(36), Bytes(all.begin() + 64, all.end()));
}

TEST_F(UdpSourceTest, CountsWhatTheKernelHadNoRoomFor) {
    const int small = 1;  // the kernel then uses its minimum
    ::setsockopt(source_->descriptor(), SOL_SOCKET, SO_RCVBUF, &small, sizeof small);
    Sender sender(source_->port());
    for (int i = 0; i < 100; ++i) {
        sender.Send(Bytes(1316, 1));
    }
    const size_t first = Read(1316).size() / 1316;
    sender.Send(Bytes(1316, 2));  // the next datagram reports the loss before it
    Read(1316);
    EXPECT_GT(ReceiverCounters().Get(Counter::kKernelDrops), 0u);
    EXPECT_LE(ReceiverCounters().Get(Counter::kKernelDrops), 100 - first);
}

TEST(UdpUri, NamesWhatIsWrong) {
    const std::pair<const char*, const char*> kWrong[] = {
        {"udp://127.0.0.1", "the port is missing"},
        {"udp://127.0.0.1:", "the port must be a number"},
        {"udp://127.0.0.1:65536", "the port must be a number"},
        {"udp://127.0.0.1:-1", "the port must be a number"},
        {"udp://example.org:5004", "the host must be a numeric address"},
        {"udp://ff15::1:5004", "brackets"},
        {"udp://@127.0.0.1:5004", "the address after @ must be a multicast group"},
        {"udp://:5004?ttl=1", "?iface=NAME"},
        {"udp://:5004?iface=none\x1B", "there is no network interface none\\x1B"}};
    for (const auto& [uri, why] : kWrong) {
        std::string error;
        EXPECT_EQ(OpenSource(uri, error), nullptr) << uri;
        EXPECT_THAT(error, HasSubstr(why));
        EXPECT_THAT(error, HasSubstr("cannot open udp://"));
        EXPECT_EQ(error.find('\x1B'), std::string::npos);
    }
}

TEST(UdpUri, KnowsGroupsAndBothFamilies) {
    std::string error;
    UdpAddress address;
    ASSERT_TRUE(ParseUdpUri("udp://@239.1.1.1:5004", address, error)) << error;
    EXPECT_TRUE(address.isMulticast);
    EXPECT_EQ(address.address.ss_family, AF_INET);
    ASSERT_TRUE(ParseUdpUri("udp://239.1.1.1:5004", address, error));
    EXPECT_TRUE(address.isMulticast) << "behind @ or not";
    ASSERT_TRUE(ParseUdpUri("udp://@[ff15::1]:5004?iface=lo", address, error)) << error;
    EXPECT_TRUE(address.isMulticast);
    EXPECT_EQ(address.address.ss_family, AF_INET6);
    EXPECT_NE(address.interfaceIndex, 0u);
    UdpAddress any;
    ASSERT_TRUE(ParseUdpUri("udp://:5004", any, error));
    EXPECT_FALSE(any.isMulticast);
    EXPECT_EQ(reinterpret_cast<const sockaddr_in&>(any.address).sin_port, htons(5004));
}

TEST(UdpSourceOpen, TellsWhyAnAddressCannotBeBound) {
    std::string error;
    const auto first = UdpSource::Open("udp://127.0.0.1:0", error);
    ASSERT_TRUE(first) << error;
    const std::string taken = "udp://127.0.0.1:" + std::to_string(first->port());
    EXPECT_EQ(UdpSource::Open(taken, error), nullptr);
    EXPECT_THAT(error, HasSubstr("Address already in use"));
    EXPECT_THAT(error, HasSubstr(taken));
}

}  // namespace
}  // namespace tvservice
