#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <memory>
#include <string>
#include <utility>

#include "softplatform/base/Counters.h"
#include "softplatform/input/BufferSource.h"
#include "softplatform/input/FileDescriptor.h"
#include "softplatform/input/FileSource.h"
#include "softplatform/input/Source.h"
#include "softplatform/input/StreamSource.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tests/support/TempDir.h"
#include "tests/support/TsBytes.h"
#include "tests/unit/input/FakeTimer.h"

namespace tvservice {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testsupport::Bytes;
using testsupport::Counting;
using testsupport::IsReadable;
using testsupport::TempDir;

// Reads once, at most `size` bytes. The read must give some.
Bytes ReadBytes(ByteSource& source, size_t size) {
    Bytes buffer(size);
    const ReadResult result = source.Read(buffer.data(), size);
    EXPECT_EQ(result.status, ReadResult::kBytes) << result.error;
    return {result.bytes.begin(), result.bytes.end()};
}

ReadResult::Status ReadStatus(ByteSource& source) {
    Bytes buffer(16);
    return source.Read(buffer.data(), buffer.size()).status;
}

std::shared_ptr<ByteSource> Open(const std::string& uri) {
    std::string error = "untouched";
    const SourcePtr source = OpenSource(uri, error);
    EXPECT_NE(source, nullptr) << error;
    EXPECT_EQ(error, "untouched");
    return source->bytes();
}

std::string OpenError(const std::string& uri) {
    std::string error;
    EXPECT_EQ(OpenSource(uri, error), nullptr);
    return error;
}

struct Pipe {
    Pipe() {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        out = FileDescriptor(ends[0]);
        in = FileDescriptor(ends[1]);
    }
    void Write(const Bytes& bytes) const {
        EXPECT_EQ(::write(in.get(), bytes.data(), bytes.size()),
                  static_cast<ssize_t>(bytes.size()));
    }
    FileDescriptor out;
    FileDescriptor in;
};

TEST(FileSource, ReadsAFileToItsEnd) {
    const TempDir dir;
    const auto source = Open(dir.WriteFile("stream.ts", Counting(100)));
    EXPECT_EQ(source->name(), dir.Path("stream.ts"));
    EXPECT_EQ(source->size(), 100u);
    EXPECT_EQ(source->descriptor(), -1);
    EXPECT_EQ(ReadBytes(*source, 60), Counting(60));
    EXPECT_EQ(ReadBytes(*source, 60), Counting(40, 60));
    EXPECT_EQ(ReadStatus(*source), ReadResult::kEnd);
    EXPECT_EQ(ReadStatus(*source), ReadResult::kEnd);
}

TEST(FileSource, ReadsAgainAfterRewind) {
    const TempDir dir;
    const auto source = Open(dir.WriteFile("stream.ts", Counting(100)));
    EXPECT_TRUE(source->rewindable());
    ReadBytes(*source, 100);
    ASSERT_TRUE(source->Rewind());
    EXPECT_EQ(ReadBytes(*source, 100), Counting(100));
}

TEST(FileSource, EndsAtOnceWhenEmpty) {
    const TempDir dir;
    EXPECT_EQ(ReadStatus(*Open(dir.WriteFile("empty.ts", {}))), ReadResult::kEnd);
}

TEST(FileSource, NamesTheInputTheOffsetAndTheReasonWhenReadingFails) {
    const TempDir dir;
    // A directory opens, but does not read.
    FileSource source("somewhere", FileDescriptor(::open(dir.Path("").c_str(), O_RDONLY)), 0);
    Bytes buffer(16);
    const ReadResult result = source.Read(buffer.data(), buffer.size());
    EXPECT_EQ(result.status, ReadResult::kFailed);
    EXPECT_EQ(result.error, "cannot read somewhere at byte 0: Is a directory");
}

TEST(OpenSource, NamesTheInputAndTheReasonWhenItFails) {
    const TempDir dir;
    EXPECT_EQ(OpenError(dir.Path("missing.ts")),
              "cannot open " + dir.Path("missing.ts") + ": No such file or directory");
    EXPECT_EQ(OpenError(dir.Path("")), "cannot open " + dir.Path("") + ": Is a directory");
    EXPECT_THAT(OpenError(""), EndsWith("No such file or directory"));
    EXPECT_THAT(OpenError(dir.WriteFile("file", {}) + "/x"), HasSubstr("Not a directory"));
}

TEST(OpenSource, ReadsACharacterDeviceAsAStream) {
    const auto source = Open("/dev/zero");
    EXPECT_FALSE(source->rewindable());
    EXPECT_EQ(ReadBytes(*source, 10), Bytes(10));
    EXPECT_EQ(ReadStatus(*Open("/dev/null")), ReadResult::kEnd);
}

TEST(OpenSource, ReadsStandardInput) {
    const Pipe pipe;
    const FileDescriptor before(::dup(STDIN_FILENO));
    ASSERT_EQ(::dup2(pipe.out.get(), STDIN_FILENO), STDIN_FILENO);
    const auto source = Open("-");
    ::dup2(before.get(), STDIN_FILENO);
    EXPECT_EQ(source->name(), "standard input");
    pipe.Write(Counting(20));
    EXPECT_EQ(ReadBytes(*source, 100), Counting(20));
}

TEST(OpenSource, OpensANamedPipeWithoutWaitingForItsWriter) {
    const TempDir dir;
    const std::string path = dir.Path("fifo");
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    const auto source = Open(path);
    EXPECT_EQ(ReadStatus(*source), ReadResult::kWouldBlock)
        << "it is not the end: nothing was written yet";
    EXPECT_FALSE(IsReadable(source->descriptor()));
    {
        const FileDescriptor writer(::open(path.c_str(), O_WRONLY));
        EXPECT_EQ(ReadStatus(*source), ReadResult::kWouldBlock);
        ASSERT_EQ(::write(writer.get(), "abc", 3), 3);
        EXPECT_TRUE(IsReadable(source->descriptor()));
        EXPECT_EQ(ReadBytes(*source, 16), Bytes({'a', 'b', 'c'}));
    }
    EXPECT_TRUE(IsReadable(source->descriptor()));
    EXPECT_EQ(ReadStatus(*source), ReadResult::kEnd);
}

TEST(StreamSource, NeverWaitsForBytesEvenOnADescriptorThatWould) {
    Pipe pipe;
    StreamSource source("a pipe", std::move(pipe.out));
    EXPECT_EQ(ReadStatus(source), ReadResult::kWouldBlock);
    pipe.Write(Counting(5));
    EXPECT_EQ(ReadBytes(source, 16), Counting(5));
    EXPECT_EQ(ReadStatus(source), ReadResult::kWouldBlock);
    pipe.in = FileDescriptor();
    EXPECT_EQ(ReadStatus(source), ReadResult::kEnd);
}

TEST(StreamSource, CannotBeRewoundOnceItWasRead) {
    Pipe pipe;
    StreamSource source("a pipe", std::move(pipe.out));
    EXPECT_FALSE(source.rewindable());
    EXPECT_EQ(source.size(), 0u);
    EXPECT_TRUE(source.Rewind()) << "it is already at its start";
    pipe.Write(Counting(5));
    ReadBytes(source, 16);
    EXPECT_FALSE(source.Rewind());
}

TEST(StreamSource, GoesOnBehindWhatADeviceHasLostAndCountsIt) {
    Pipe pipe;
    StreamSource source("a device", std::move(pipe.out), true,
                        [](int fd, void* buffer, size_t size) {
                            static bool hasLost = false;
                            if (!std::exchange(hasLost, true)) {
                                errno = EOVERFLOW;
                                return ssize_t{-1};
                            }
                            return ::read(fd, buffer, size);
                        });
    EXPECT_TRUE(source.live());
    pipe.Write({1, 2, 3});
    EXPECT_EQ(ReadBytes(source, 16), Bytes({1, 2, 3}));
    EXPECT_EQ(ReceiverCounters().Get(Counter::kDeviceOverflows), 1u);
}

TEST(StreamSource, NamesTheInputTheOffsetAndTheReasonWhenReadingFails) {
    const TempDir dir;
    StreamSource source("somewhere", FileDescriptor(::open(dir.Path("").c_str(), O_RDONLY)));
    Bytes buffer(16);
    const ReadResult result = source.Read(buffer.data(), buffer.size());
    EXPECT_EQ(result.status, ReadResult::kFailed);
    EXPECT_EQ(result.error, "cannot read somewhere at byte 0: Is a directory");
}

TEST(BufferSource, HandsOverItsBytesInPieces) {
    BufferSource source("memory", Counting(40), 17);
    EXPECT_EQ(source.name(), "memory");
    EXPECT_EQ(source.size(), 40u);
    EXPECT_EQ(source.descriptor(), -1);
    EXPECT_EQ(ReadBytes(source, 100), Counting(17));
    EXPECT_EQ(ReadBytes(source, 10), Counting(10, 17));
    EXPECT_EQ(ReadBytes(source, 100), Counting(13, 27));
    EXPECT_EQ(ReadStatus(source), ReadResult::kEnd);
}

TEST(BufferSource, HandsOverWhatIsAskedForWithoutAPieceSize) {
    BufferSource source("memory", Counting(40), 0);
    EXPECT_EQ(ReadBytes(source, 30), Counting(30));
    EXPECT_EQ(ReadBytes(source, 30), Counting(10, 30));
    EXPECT_TRUE(source.rewindable());
    ASSERT_TRUE(source.Rewind());
    EXPECT_EQ(ReadBytes(source, 30), Counting(30));
}

}  // namespace
}  // namespace tvservice
