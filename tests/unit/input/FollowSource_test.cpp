#include "softplatform/input/FollowSource.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <utility>

#include "softplatform/input/FileSource.h"
#include "tests/support/TempDir.h"
#include "tests/unit/input/FakeTimer.h"
#include "tests/unit/input/Reading.h"

namespace tvservice {
namespace {

using testsupport::Ask;
using testsupport::Bytes;
using testsupport::Counting;
using testsupport::FakeTimer;
using testsupport::IsReadable;
using testsupport::Join;
using testsupport::ReadAll;
using testsupport::TempDir;

class FollowSourceTest : public testing::Test {
  protected:
    void Append(const Bytes& bytes) const {
        std::ofstream file(path_, std::ios::binary | std::ios::app);
        file.write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
    }

    const TempDir dir_;
    const std::string path_ = dir_.WriteFile("grows.ts", Counting(10));
    FakeTimer* const timer_ = new FakeTimer;
    FollowSource source_{
        std::make_shared<FileSource>(
            path_, FileDescriptor(::open(path_.c_str(), O_RDONLY | O_CLOEXEC)), 10),
        std::unique_ptr<Timer>(timer_)};
};

TEST_F(FollowSourceTest, GivesWhatIsThereAndThenWhatComes) {
    EXPECT_EQ(ReadAll(source_, 10), Counting(10));
    EXPECT_EQ(Ask(source_), ReadResult::kWouldBlock);
    Append(Counting(5, 10));
    EXPECT_EQ(ReadAll(source_, 5), Counting(5, 10));
    EXPECT_EQ(Ask(source_), ReadResult::kWouldBlock);
    Append(Counting(5, 15));
    EXPECT_EQ(ReadAll(source_, 5), Counting(5, 15));
}

TEST_F(FollowSourceTest, LooksAgainAfterTheIntervalAndNotBefore) {
    ReadAll(source_, 10);
    ASSERT_EQ(Ask(source_), ReadResult::kWouldBlock);
    EXPECT_FALSE(IsReadable(source_.descriptor()));
    timer_->Pass(FollowSource::kInterval - std::chrono::nanoseconds(1));
    EXPECT_FALSE(IsReadable(source_.descriptor()));
    timer_->Pass(std::chrono::nanoseconds(1));
    EXPECT_TRUE(IsReadable(source_.descriptor()));
    ASSERT_EQ(Ask(source_), ReadResult::kWouldBlock);
    EXPECT_FALSE(IsReadable(source_.descriptor())) << "for another interval";
}

TEST_F(FollowSourceTest, IsLiveAndHasNoSize) {
    EXPECT_EQ(source_.name(), path_);
    EXPECT_TRUE(source_.live());
    EXPECT_EQ(source_.size(), 0u);
}

TEST_F(FollowSourceTest, ReadsAgainAfterRewind) {
    ReadAll(source_, 10);
    ASSERT_EQ(Ask(source_), ReadResult::kWouldBlock);
    ASSERT_TRUE(source_.Rewind());
    EXPECT_EQ(ReadAll(source_, 10), Counting(10));
}

TEST_F(FollowSourceTest, FailsWhenTheFileBecomesShorter) {
    ReadAll(source_, 10);
    ASSERT_EQ(::truncate(path_.c_str(), 10), 0);
    EXPECT_EQ(Ask(source_), ReadResult::kWouldBlock) << "the file ends there";
    ASSERT_EQ(::truncate(path_.c_str(), 9), 0);
    uint8_t byte = 0;
    const ReadResult result = source_.Read(&byte, 1);
    EXPECT_EQ(result.status, ReadResult::kFailed);
    EXPECT_EQ(result.error, "cannot read " + path_ + " at byte 10: it has become shorter");
}

}  // namespace
}  // namespace tvservice
