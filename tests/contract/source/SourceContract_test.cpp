// What every source promises, whatever its bytes come from.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "softplatform/input/Source.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tests/contract/source/SourceRig.h"
#include "tests/support/Slowdown.h"
#include "tests/unit/input/Reading.h"

namespace tvservice {
namespace {

using testing::StartsWith;
using testsupport::Bytes;
using testsupport::ContractStream;
using testsupport::ReadAll;
using testsupport::ReadOnce;
using testsupport::SourceKind;
using testsupport::SourceRig;

class SourceContract : public testing::TestWithParam<SourceKind> {
  protected:
    const Bytes stream_ = ContractStream();
    const std::unique_ptr<SourceRig> rig_ = GetParam().rig();
};

// Returns the kinds of sources that have this ability.
class EndingSource : public SourceContract {};
class RestartingSource : public SourceContract {};
class WaitingSource : public SourceContract {};
class FailingSource : public SourceContract {};

TEST_P(SourceContract, GivesItsBytesInOrderHoweverManyAreAskedFor) {
    const std::shared_ptr<ByteSource> source = rig_->Open(stream_);
    Bytes all;
    for (const size_t piece : std::vector<size_t>{1, 17, 188, 300, 65536}) {
        const Bytes bytes =
            ReadAll(*source, std::min<size_t>(2500, stream_.size() - all.size()), piece);
        all.insert(all.end(), bytes.begin(), bytes.end());
    }
    EXPECT_EQ(all, stream_);
}

TEST_P(SourceContract, GivesNoMoreThanIsAskedFor) {
    const std::shared_ptr<ByteSource> source = rig_->Open(stream_);
    for (size_t size = 1; size < 100; ++size) {
        Bytes bytes(size + 1, 0xEE);
        ReadResult result{ReadResult::kWouldBlock};
        while (result.status == ReadResult::kWouldBlock) {
            result = source->Read(bytes.data(), size);
        }
        ASSERT_EQ(result.status, ReadResult::kBytes) << result.error;
        EXPECT_GE(result.bytes.size(), 1u);
        EXPECT_LE(result.bytes.size(), size);
        EXPECT_EQ(bytes.back(), 0xEE);
    }
}

TEST_P(SourceContract, StandsAtItsStartBeforeItWasRead) {
    const std::shared_ptr<ByteSource> source = rig_->Open(stream_);
    EXPECT_TRUE(source->Rewind());
    EXPECT_EQ(ReadAll(*source, stream_.size()), stream_);
}

TEST_P(SourceContract, IsLiveWhenItDoesNotEnd) {
    EXPECT_EQ(rig_->Open(stream_)->live(), !GetParam().ends);
}

TEST_P(SourceContract, StopsWithinATenthOfASecondAndPlaysAgainWhereItCan) {
    SoftwarePlatform& platform = SoftwarePlatform::Instance();
    ASSERT_TRUE(platform.Start({}));
    const bool canPlayAgain = GetParam().restarts || !GetParam().ends;
    const auto timeToStop = [&] {
        if (GetParam().waits) {
            rig_->Add(stream_);
        }
        while (platform.Counter(tvservice::Counter::kBytes) == 0) {
            std::this_thread::yield();
        }
        const auto begin = std::chrono::steady_clock::now();
        platform.Interrupt();
        EXPECT_EQ(platform.WaitEnd().reason, InputEnd::kInterrupted);
        return std::chrono::steady_clock::now() - begin;
    };
    const bool isQuick = testsupport::AnyIsQuick([&] {
        const auto source = std::make_shared<Source>(rig_->OpenEndless());
        EXPECT_TRUE(platform.Play(source, {}));
        const auto first = timeToStop();
        EXPECT_EQ(platform.Play(source, {}), canPlayAgain);
        return canPlayAgain ? std::max(first, timeToStop()) : first;
    });
    EXPECT_TRUE(isQuick);
    platform.Stop();
}

TEST_P(EndingSource, EndsOnceAndForAll) {
    const std::shared_ptr<ByteSource> source = rig_->Open(stream_);
    rig_->Close();
    EXPECT_EQ(ReadAll(*source, stream_.size() + 1), stream_);
    Bytes bytes;
    EXPECT_EQ(ReadOnce(*source, bytes, 100).status, ReadResult::kEnd);
    EXPECT_EQ(ReadOnce(*source, bytes, 100).status, ReadResult::kEnd);
}

TEST_P(EndingSource, EndsAtOnceWhenThereIsNothing) {
    const std::shared_ptr<ByteSource> source = rig_->Open({});
    rig_->Close();
    Bytes bytes;
    EXPECT_EQ(ReadOnce(*source, bytes, 100).status, ReadResult::kEnd);
}

TEST_P(RestartingSource, GivesTheSameAgainFromItsStart) {
    const std::shared_ptr<ByteSource> source = rig_->Open(stream_);
    EXPECT_TRUE(source->rewindable());
    for (const size_t count : {size_t{1}, stream_.size() / 2, stream_.size()}) {
        ReadAll(*source, count);
        ASSERT_TRUE(source->Rewind());
    }
    EXPECT_EQ(ReadAll(*source, stream_.size()), stream_);
}

TEST_P(WaitingSource, DoesNotWaitItselfAndWakesWhoeverWaitsForIt) {
    const std::shared_ptr<ByteSource> source = rig_->Open({});
    Bytes bytes(100);
    ASSERT_EQ(source->Read(bytes.data(), bytes.size()).status, ReadResult::kWouldBlock);
    ASSERT_GE(source->descriptor(), 0);
    Bytes got;
    std::thread reader([&] { got = ReadAll(*source, stream_.size()); });
    rig_->Add(stream_);
    reader.join();
    EXPECT_EQ(got, stream_);
}

TEST_P(FailingSource, NamesItselfThePositionAndTheReasonAndFailsOn) {
    const std::shared_ptr<ByteSource> source = rig_->Open(stream_);
    EXPECT_EQ(ReadAll(*source, stream_.size()), stream_);
    rig_->Break();
    for (int i = 0; i < 2; ++i) {
        Bytes bytes;
        const ReadResult result = ReadOnce(*source, bytes, 100);
        EXPECT_EQ(result.status, ReadResult::kFailed);
        const std::string begin =
            "cannot read " + source->name() + " at byte " + std::to_string(stream_.size()) + ": ";
        EXPECT_THAT(result.error, StartsWith(begin));
        EXPECT_GT(result.error.size(), begin.size());
    }
}

auto Those(bool SourceKind::*can) {
    std::vector<SourceKind> kinds;
    std::copy_if(testsupport::SourceKinds().begin(), testsupport::SourceKinds().end(),
                 std::back_inserter(kinds), [can](const SourceKind& kind) { return kind.*can; });
    return testing::ValuesIn(kinds);
}

const auto kNameOf = [](const auto& tested) { return tested.param.name; };

INSTANTIATE_TEST_SUITE_P(Of, SourceContract, testing::ValuesIn(testsupport::SourceKinds()),
                         kNameOf);
INSTANTIATE_TEST_SUITE_P(Of, EndingSource, Those(&SourceKind::ends), kNameOf);
INSTANTIATE_TEST_SUITE_P(Of, RestartingSource, Those(&SourceKind::restarts), kNameOf);
INSTANTIATE_TEST_SUITE_P(Of, WaitingSource, Those(&SourceKind::waits), kNameOf);
INSTANTIATE_TEST_SUITE_P(Of, FailingSource, Those(&SourceKind::fails), kNameOf);

}  // namespace
}  // namespace tvservice
