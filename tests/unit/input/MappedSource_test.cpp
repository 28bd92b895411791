// Compares a mapped file with the same file read by read(2): both must give the same.

#include "softplatform/input/MappedSource.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "softplatform/input/FileSource.h"
#include "softplatform/input/Source.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tests/support/TempDir.h"
#include "tests/support/TsBytes.h"
#include "tests/unit/input/Reading.h"

namespace tvservice {
namespace {

using testsupport::Ask;
using testsupport::Bytes;
using testsupport::RandomBytes;
using testsupport::ReadAll;
using testsupport::ReadOnce;
using testsupport::Slice;
using testsupport::TempDir;

const auto kPage = static_cast<size_t>(::sysconf(_SC_PAGESIZE));

void OnBusError(int number, siginfo_t* info, void* /*context*/) {
    if (!RepairMappedSource(info->si_addr)) {
        ::signal(number, SIG_DFL);  // the signal comes again, and ends the process
    }
}

class MappedSourceTest : public testing::Test {
  protected:
    MappedSourceTest() {
        struct sigaction action {};
        action.sa_sigaction = OnBusError;
        action.sa_flags = SA_SIGINFO;
        ::sigaction(SIGBUS, &action, &before_);
    }
    ~MappedSourceTest() override { ::sigaction(SIGBUS, &before_, nullptr); }

    Bytes Random(size_t size) { return RandomBytes(random_, size); }

    void Write(const Bytes& bytes) { path_ = dir_.WriteFile("stream.ts", bytes); }
    void Append(const Bytes& bytes) const {
        std::ofstream file(path_, std::ios::binary | std::ios::app);
        file.write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
    }
    void Truncate(size_t size) const {
        ASSERT_EQ(::truncate(path_.c_str(), static_cast<off_t>(size)), 0);
    }

    FileDescriptor Open() const {
        return FileDescriptor(::open(path_.c_str(), O_RDONLY | O_CLOEXEC));
    }
    std::unique_ptr<MappedSource> Map(size_t window) const {
        return std::make_unique<MappedSource>(path_, Open(), 0, window);
    }
    std::unique_ptr<FileSource> Read() const {
        return std::make_unique<FileSource>(path_, Open(), 0);
    }

    std::mt19937 random_{7};

  private:
    const TempDir dir_;
    std::string path_;
    struct sigaction before_ {};
};

TEST_F(MappedSourceTest, GivesWhatReadGivesWhereverTheWindowEnds) {
    const size_t window = 2 * kPage;
    for (const size_t size : {size_t{0}, size_t{1}, kPage - 1, kPage, kPage + 1, window - 1, window,
                              window + 1, 5 * window + 17}) {
        const Bytes stream = Random(size);
        Write(stream);
        for (const size_t piece : {size_t{188}, kPage, window, 3 * window}) {
            const auto mapped = Map(window);
            EXPECT_EQ(ReadAll(*mapped, size + 1, piece), stream) << size << " by " << piece;
            EXPECT_EQ(Ask(*mapped), ReadResult::kEnd);
        }
    }
}

TEST_F(MappedSourceTest, LendsTheBytesOfTheFile) {
    const Bytes stream = Random(3 * kPage);
    Write(stream);
    const auto mapped = Map(4 * kPage);
    Bytes buffer(kPage, 0xEE);
    const ReadResult first = mapped->Read(buffer.data(), buffer.size());
    const ReadResult second = mapped->Read(buffer.data(), buffer.size());
    EXPECT_EQ(buffer, Bytes(kPage, 0xEE)) << "nothing was copied";
    EXPECT_EQ(first.bytes.size(), kPage);
    EXPECT_EQ(second.bytes.data(), first.bytes.data() + kPage);
    EXPECT_EQ(Bytes(second.bytes.begin(), second.bytes.end()), Slice(stream, kPage, kPage));
}

// Applies the steps one after the other to both: reads of any size, and a file that grows or
// shrinks while no lent byte is touched. Both must give the same bytes, ends and errors.
TEST_F(MappedSourceTest, DoesWhatReadDoesOnAFileThatChanges) {
    for (int round = 0; round < 100; ++round) {
        size_t size = random_() % (6 * kPage);
        Write(Random(size));
        const auto mapped = Map(kPage * (1 + random_() % 3));
        const auto read = Read();
        Bytes fromMapped;
        Bytes fromRead;
        for (int step = 0; step < 60; ++step) {
            switch (random_() % 8) {
                case 0: {
                    const Bytes more = Random(random_() % (2 * kPage));
                    Append(more);
                    size += more.size();
                    break;
                }
                case 1:
                    if (random_() % 8 == 0) {
                        size = random_() % (size + 1);
                        Truncate(size);
                    }
                    break;
                case 2:
                    if (random_() % 8 == 0) {
                        ASSERT_TRUE(mapped->Rewind());
                        ASSERT_TRUE(read->Rewind());
                    }
                    break;
                default: {
                    // A window may end before `count` bytes; read(2) then gets only as many.
                    const size_t count = 1 + random_() % (2 * kPage);
                    const ReadResult one = ReadOnce(*mapped, fromMapped, count);
                    const ReadResult other =
                        ReadOnce(*read, fromRead, one.bytes.empty() ? count : one.bytes.size());
                    ASSERT_EQ(one.status, other.status) << round << ", " << step;
                    ASSERT_EQ(one.error, other.error) << round << ", " << step;
                    ASSERT_EQ(fromMapped, fromRead) << round << ", " << step;
                }
            }
        }
    }
}

TEST_F(MappedSourceTest, FailsWhenTheFileBecomesShorterWhileItsBytesAreLent) {
    const Bytes stream = Random(4 * kPage);
    Write(stream);
    const auto mapped = Map(4 * kPage);
    Bytes buffer(stream.size());
    const ReadResult lent = mapped->Read(buffer.data(), buffer.size());
    ASSERT_EQ(lent.bytes.size(), stream.size());
    Truncate(kPage + 100);
    const Bytes seen(lent.bytes.begin(), lent.bytes.end());  // raises SIGBUS in the third page
    EXPECT_EQ(Slice(seen, 0, kPage + 100), Slice(stream, 0, kPage + 100));
    EXPECT_EQ(Slice(seen, 2 * kPage, 2 * kPage), Bytes(2 * kPage));
    for (int i = 0; i < 2; ++i) {
        const ReadResult result = mapped->Read(buffer.data(), buffer.size());
        EXPECT_EQ(result.status, ReadResult::kFailed);
        EXPECT_EQ(result.error, "cannot read " + mapped->name() + " at byte " +
                                    std::to_string(2 * kPage) + ": it has become shorter");
    }
    ASSERT_TRUE(mapped->Rewind());
    EXPECT_EQ(ReadAll(*mapped, stream.size()), Slice(stream, 0, kPage + 100));
}

TEST_F(MappedSourceTest, FailsAlsoWhenWhatWasMissingIsBack) {
    const Bytes stream = Random(4 * kPage);
    Write(stream);
    const auto mapped = Map(4 * kPage);
    Bytes buffer(stream.size());
    const ReadResult lent = mapped->Read(buffer.data(), buffer.size());
    Truncate(0);
    const Bytes seen(lent.bytes.begin(), lent.bytes.end());
    EXPECT_EQ(seen, Bytes(stream.size()));
    Append(Random(8 * kPage));
    EXPECT_EQ(Ask(*mapped), ReadResult::kFailed) << "it lent zeros that the file never had";
}

TEST_F(MappedSourceTest, ReadsWhatCannotBeMapped) {
    const Bytes stream = Random(3 * kPage);
    Write(stream);
    std::vector<std::unique_ptr<MappedSource>> sources;
    for (int i = 0; i < 40; ++i) {  // more sources than there are windows
        sources.push_back(Map(kPage));
        EXPECT_EQ(ReadAll(*sources.back(), stream.size(), 1000), stream) << i;
    }
    Bytes buffer(10);
    ASSERT_TRUE(sources.back()->Rewind());
    EXPECT_EQ(sources.back()->Read(buffer.data(), buffer.size()).bytes.data(), buffer.data())
        << "no window was left for the last one";
    sources.clear();
    EXPECT_NE(Map(kPage)->Read(buffer.data(), buffer.size()).bytes.data(), buffer.data())
        << "closed sources return their windows";
}

TEST_F(MappedSourceTest, RepairsNothingElse) {
    int here = 0;
    EXPECT_FALSE(RepairMappedSource(&here));
    EXPECT_FALSE(RepairMappedSource(nullptr));
    Write(Random(kPage));
    const uint8_t* lent = nullptr;
    {
        const auto mapped = Map(kPage);
        uint8_t byte = 0;
        lent = mapped->Read(&byte, 1).bytes.data();
        EXPECT_FALSE(RepairMappedSource(&here));
    }
    EXPECT_FALSE(RepairMappedSource(const_cast<uint8_t*>(lent))) << "no longer mapped";
}

TEST_F(MappedSourceTest, IsWhatOpenSourceGivesAProgramThatAsksForIt) {
    const TempDir dir;
    const std::string path = dir.WriteFile("stream.ts", Random(100));
    std::string error;
    const auto isMapped = [&](const std::string& uri, bool mapped) {
        const SourcePtr source = OpenSource(uri, {.mapped = mapped}, error);
        return source != nullptr && dynamic_cast<MappedSource*>(source->bytes().get()) != nullptr;
    };
    EXPECT_TRUE(isMapped(path, true));
    EXPECT_FALSE(isMapped(path, false)) << "read(2) is the default";
    EXPECT_FALSE(isMapped("/dev/zero", true));
    EXPECT_EQ(error, "");
    // A file whose size the system does not know.
    const SourcePtr proc = OpenSource("/proc/self/status", {.mapped = true}, error);
    ASSERT_NE(proc, nullptr) << error;
    EXPECT_GT(ReadAll(*proc->bytes(), 100).size(), 0u);
}

}  // namespace
}  // namespace tvservice
