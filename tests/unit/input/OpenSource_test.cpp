#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>

#include "softplatform/input/BufferSource.h"
#include "softplatform/input/FollowSource.h"
#include "softplatform/input/LoopSource.h"
#include "softplatform/input/PaceSource.h"
#include "softplatform/input/Source.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tests/support/TempDir.h"
#include "tests/unit/input/Reading.h"

namespace tvservice {
namespace {

using testsupport::Counting;
using testsupport::Join;
using testsupport::ReadAll;
using testsupport::TempDir;

std::string Error(const std::string& uri, const SourceOptions& options) {
    std::string error;
    EXPECT_EQ(OpenSource(uri, options, error), nullptr) << uri;
    return error;
}

template <typename Kind>
bool Is(const SourcePtr& source) {
    return dynamic_cast<Kind*>(source->bytes().get()) != nullptr;
}

TEST(SourceOptions, LeaveTheSourceAloneWhenNothingIsAskedFor) {
    std::string error = "untouched";
    const SourcePtr source = MemorySource("memory", Counting(10));
    EXPECT_EQ(WithOptions(source, {}, error), source);
    EXPECT_EQ(error, "untouched");
}

TEST(SourceOptions, ReadAFileAsTheySay) {
    const TempDir dir;
    const std::string path = dir.WriteFile("stream.ts", Counting(10));
    std::string error = "untouched";
    const auto looped = OpenSource(path, {.loop = true}, error);
    ASSERT_TRUE(Is<LoopSource>(looped));
    EXPECT_EQ(ReadAll(*looped->bytes(), 20), Join({Counting(10), Counting(10)}));
    EXPECT_TRUE(Is<FollowSource>(OpenSource(path, {.follow = true}, error)));
    EXPECT_TRUE(Is<PaceSource>(OpenSource(path, {.pace = 1}, error)));
    const auto both = OpenSource(path, {.loop = true, .pace = 10}, error);
    ASSERT_TRUE(Is<PaceSource>(both));
    EXPECT_TRUE(Describe(*both).live);
    EXPECT_EQ(ReadAll(*both->bytes(), 20), Join({Counting(10), Counting(10)}));
    EXPECT_EQ(error, "untouched");
}

TEST(SourceOptions, NameTheInputAndWhyItCannotBeReadAsTheySay) {
    const TempDir dir;
    const std::string path = dir.WriteFile("stream.ts", Counting(10));
    EXPECT_EQ(Error(path, {.loop = true, .follow = true}),
              "cannot open " + path + ": it can be looped or followed, not both");
    EXPECT_EQ(Error("/dev/zero", {.loop = true}),
              "cannot open /dev/zero: only an input that can be read again can be looped");
    EXPECT_EQ(Error("/dev/zero", {.follow = true}),
              "cannot open /dev/zero: only a file can be followed");
    EXPECT_EQ(Error("udp://127.0.0.1:0", {.loop = true}),
              "cannot open udp://127.0.0.1:0: a live input has no end, so it cannot be looped or "
              "followed");
    EXPECT_EQ(Error("udp://127.0.0.1:0", {.pace = 1}),
              "cannot open udp://127.0.0.1:0: a live input cannot be paced");
    for (const double pace :
         {-1.0, 0.00099, 1000001.0, 1e-300, std::numeric_limits<double>::max(),
          std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_EQ(Error(path, {.pace = pace}),
                  "cannot open " + path + ": the pace must be from 0.001 to 1000000");
    }
}

TEST(SourceOptions, TakeAPaceWithinItsBounds) {
    std::string error;
    for (const double pace : {kMinPace, 0.5, 1.0, kMaxPace}) {
        EXPECT_TRUE(Is<PaceSource>(
            WithOptions(MemorySource("memory", Counting(10)), {.pace = pace}, error)))
            << pace;
    }
    EXPECT_EQ(error, "");
}

TEST(SourceOptions, AskForADvrDeviceOnlyWhereThereIsOne) {
    for (const std::string uri : {"-", "/dev/null", "udp://127.0.0.1:0", "demo:"}) {
        EXPECT_EQ(Error(uri, {.dvr = true}),
                  "cannot open " + uri + ": only dvb:ADAPTER[:DEMUX] has a dvr device");
    }
    EXPECT_EQ(Error("dvb:255", {.dvr = true}),
              "cannot open /dev/dvb/adapter255/dvr0: No such file or directory");
}

TEST(SourceOptions, ChangeNothingAboutASourceThatCouldNotBeOpened) {
    std::string error = "untouched";
    EXPECT_EQ(WithOptions(nullptr, {.loop = true}, error), nullptr);
    EXPECT_EQ(error, "untouched");
}

TEST(SourceSchemes, AreWhatOpeningKnows) {
    std::string all;
    for (const SourceScheme& scheme : SourceSchemes()) {
        EXPECT_EQ(std::string(scheme.form).rfind(scheme.prefix, 0), 0u) << scheme.form;
        EXPECT_STRNE(scheme.meaning, "");
        // The rest behind the prefix is not an address, and the error must not be that of a path.
        EXPECT_EQ(Error(std::string(scheme.prefix) + "x", {}).find("No such file"),
                  std::string::npos);
        all += (all.empty() ? "" : ", ") + std::string(scheme.prefix);
    }
    EXPECT_EQ(all, "udp://, rtp://, dvb:");
    EXPECT_EQ(Error("http://127.0.0.1/x.ts", {}),
              "cannot open http://127.0.0.1/x.ts: No such file or directory (known schemes: " +
                  all + ")");
}

TEST(BorrowedSource, ReadsTheCallersBytesWhereTheyLie) {
    const testsupport::Bytes stream = Counting(100);
    const SourcePtr source = BorrowedSource("memory", stream.data(), stream.size(), 60);
    EXPECT_EQ(Describe(*source).name, "memory");
    EXPECT_EQ(Describe(*source).size, 100u);
    EXPECT_TRUE(Describe(*source).rewindable);
    ByteSource& bytes = *source->bytes();
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(bytes.Read(nullptr, 100).bytes.data(), stream.data());
        EXPECT_EQ(bytes.Read(nullptr, 100).bytes.data(), stream.data() + 60);
        EXPECT_EQ(bytes.Read(nullptr, 100).status, ReadResult::kEnd);
        ASSERT_TRUE(bytes.Rewind());
    }
}

TEST(SourceOptions, ShowControlBytesOfTheNameAsNumbers) {
    const TempDir dir;
    const std::string path = dir.WriteFile("a\nb\x1B", Counting(10));
    EXPECT_EQ(
        Error(path, {.loop = true, .follow = true}),
        "cannot open " + dir.Path("a\\x0Ab\\x1B") + ": it can be looped or followed, not both");
}

TEST(SourceOptions, FailAsTheInputItselfDoes) {
    EXPECT_EQ(Error("/missing\x01.ts", {.loop = true}),
              "cannot open /missing\\x01.ts: No such file or directory");
}

}  // namespace
}  // namespace tvservice
