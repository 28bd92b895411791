#include "softplatform/input/PaceSource.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <utility>

#include "softplatform/input/BufferSource.h"
#include "softplatform/input/LoopSource.h"
#include "softplatform/input/StreamSource.h"
#include "tests/unit/input/FakeTimer.h"
#include "tests/unit/input/PcrBytes.h"
#include "tests/unit/input/Reading.h"

namespace tvservice {
namespace {

using namespace std::chrono_literals;
using testsupport::Ask;
using testsupport::Bytes;
using testsupport::FakeTimer;
using testsupport::IsReadable;
using testsupport::Join;
using testsupport::PcrBytes;
using testsupport::PlainPackets;
using testsupport::ReadAll;
using testsupport::Slice;

using testsupport::kMs;

// Five packets, then three blocks of one packet with a PCR and four without. PCRs are 40 ms apart.
Bytes Stream(uint64_t first = 0) {
    Bytes bytes = PlainPackets(5);
    for (uint64_t n = 0; n < 3; ++n) {
        bytes = Join({bytes, PcrBytes{.program_clock_reference = first + n * 40 * kMs}.Build(),
                      PlainPackets(4)});
    }
    return bytes;
}
// Where the bytes end that may pass before this PCR is due.
constexpr size_t EndBefore(size_t pcr) {
    return (5 + pcr * 5) * 188 + 12;
}

class PaceSourceTest : public testing::Test {
  protected:
    void Pace(std::shared_ptr<ByteSource> source, double speed = 1) {
        auto timer = std::make_unique<FakeTimer>();
        timer_ = timer.get();
        source_ = std::make_unique<PaceSource>(std::move(source), std::move(timer), speed);
    }
    void Pace(const Bytes& bytes, double speed = 1) {
        Pace(std::make_shared<BufferSource>("memory", bytes, 0), speed);
    }
    // Returns all bytes that may pass now.
    Bytes ReadNow() {
        Bytes all;
        for (;;) {
            Bytes piece(300);
            const ReadResult result = source_->Read(piece.data(), piece.size());
            if (result.status != ReadResult::kBytes) {
                last_ = result.status;
                return all;
            }
            all.insert(all.end(), result.bytes.begin(), result.bytes.end());
        }
    }

    FakeTimer* timer_ = nullptr;
    std::unique_ptr<PaceSource> source_;
    ReadResult::Status last_ = ReadResult::kBytes;
};

TEST_F(PaceSourceTest, HoldsTheBytesBehindAPcrUntilItIsDue) {
    const Bytes stream = Stream();
    Pace(stream);
    EXPECT_EQ(ReadNow(), Slice(stream, 0, EndBefore(1)));
    EXPECT_EQ(last_, ReadResult::kWouldBlock);
    timer_->Pass(40ms - 1ns);
    EXPECT_FALSE(IsReadable(source_->descriptor()));
    EXPECT_EQ(ReadNow(), Bytes());
    timer_->Pass(1ns);
    EXPECT_TRUE(IsReadable(source_->descriptor()));
    EXPECT_EQ(ReadNow(), Slice(stream, EndBefore(1), EndBefore(2) - EndBefore(1)));
    EXPECT_FALSE(IsReadable(source_->descriptor()));
    timer_->Pass(40ms);
    EXPECT_TRUE(IsReadable(source_->descriptor()));
    EXPECT_EQ(ReadNow(), Slice(stream, EndBefore(2)));
    EXPECT_EQ(last_, ReadResult::kEnd);
}

TEST_F(PaceSourceTest, GoesFasterWhenAskedTo) {
    Pace(Stream(), 10);
    EXPECT_EQ(ReadNow().size(), EndBefore(1));
    timer_->Pass(4ms);
    EXPECT_EQ(ReadNow().size(), EndBefore(2) - EndBefore(1));
}

TEST_F(PaceSourceTest, GoesOnAcrossTheWrap) {
    Pace(Stream(kPcrModulus - 30 * kMs));
    EXPECT_EQ(ReadNow().size(), EndBefore(1));
    timer_->Pass(40ms);
    EXPECT_EQ(ReadNow().size(), EndBefore(2) - EndBefore(1));
    timer_->Pass(40ms);
    ReadNow();
    EXPECT_EQ(last_, ReadResult::kEnd);
}

TEST_F(PaceSourceTest, DoesNotHoldAStreamWithoutPcrs) {
    Pace(PlainPackets(1000));
    EXPECT_EQ(ReadNow(), PlainPackets(1000));
    EXPECT_EQ(last_, ReadResult::kEnd);
}

TEST_F(PaceSourceTest, DoesNotHoldWhatIsNoStream) {
    const Bytes noise(200000, 0x47);
    Pace(noise);
    EXPECT_EQ(ReadNow(), noise);
    EXPECT_EQ(last_, ReadResult::kEnd);
}

TEST_F(PaceSourceTest, StartsTheClockAgainAfterRewind) {
    Pace(Stream());
    ReadNow();
    timer_->Pass(10ms);
    ASSERT_TRUE(source_->Rewind());
    EXPECT_EQ(ReadNow(), Slice(Stream(), 0, EndBefore(1)));
    timer_->Pass(39ms);
    EXPECT_EQ(ReadNow(), Bytes());
    timer_->Pass(1ms);
    EXPECT_EQ(ReadNow().size(), EndBefore(2) - EndBefore(1));
}

TEST_F(PaceSourceTest, PacesEveryRoundOfALoop) {
    const Bytes stream = Stream();
    Pace(std::make_shared<LoopSource>(std::make_shared<BufferSource>("memory", stream, 0)));
    size_t passed = ReadNow().size();
    for (int n = 0; n < 20; ++n) {  // two waits per round, none at its start
        timer_->Pass(40ms);
        passed += ReadNow().size();
    }
    EXPECT_EQ(passed, 10 * stream.size() + EndBefore(1));
}

TEST_F(PaceSourceTest, WaitsForTheSourceWhereThatHasNothing) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const FileDescriptor in(ends[1]);
    Pace(std::make_shared<StreamSource>("a pipe", FileDescriptor(ends[0])));
    EXPECT_EQ(ReadNow(), Bytes());
    EXPECT_EQ(last_, ReadResult::kWouldBlock);
    EXPECT_FALSE(IsReadable(source_->descriptor()));
    ASSERT_EQ(::write(in.get(), "abc", 3), 3);
    EXPECT_TRUE(IsReadable(source_->descriptor()));
    EXPECT_EQ(ReadNow(), Bytes({'a', 'b', 'c'})) << "bytes without packets pass at once";
}

TEST_F(PaceSourceTest, AnswersAsTheSourceDoes) {
    Pace(Stream());
    EXPECT_EQ(source_->name(), "memory");
    EXPECT_EQ(source_->size(), Stream().size());
    EXPECT_TRUE(source_->rewindable());
    EXPECT_FALSE(source_->live());
    Pace(std::make_shared<LoopSource>(std::make_shared<BufferSource>("memory", Stream(), 0)));
    EXPECT_TRUE(source_->live());
}

}  // namespace
}  // namespace tvservice
