#include "softplatform/input/InputOptions.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>

#include "softplatform/input/BufferSource.h"
#include "softplatform/input/FollowSource.h"
#include "softplatform/input/LoopSource.h"
#include "softplatform/input/OpenInput.h"
#include "softplatform/input/PaceSource.h"
#include "tests/support/TempDir.h"
#include "tests/unit/input/Reading.h"

namespace tvservice {
namespace {

using testsupport::Counting;
using testsupport::Join;
using testsupport::ReadAll;
using testsupport::TempDir;

std::string Error(const std::string& uri, const InputOptions& options) {
    std::string error;
    EXPECT_EQ(OpenInput(uri, options, error), nullptr) << uri;
    return error;
}

template <typename Kind>
bool Is(const std::shared_ptr<Source>& source) {
    return dynamic_cast<Kind*>(source.get()) != nullptr;
}

TEST(InputOptions, LeaveTheSourceAloneWhenNothingIsAskedFor) {
    std::string error = "untouched";
    const auto source = std::make_shared<BufferSource>("memory", Counting(10), 0);
    EXPECT_EQ(WithOptions(source, {}, error), source);
    EXPECT_EQ(error, "untouched");
}

TEST(InputOptions, ReadAFileAsTheySay) {
    const TempDir dir;
    const std::string path = dir.WriteFile("stream.ts", Counting(10));
    std::string error = "untouched";
    const auto looped = OpenInput(path, {.loop = true}, error);
    ASSERT_TRUE(Is<LoopSource>(looped));
    EXPECT_EQ(ReadAll(*looped, 20), Join({Counting(10), Counting(10)}));
    EXPECT_TRUE(Is<FollowSource>(OpenInput(path, {.follow = true}, error)));
    EXPECT_TRUE(Is<PaceSource>(OpenInput(path, {.pace = 1}, error)));
    const auto both = OpenInput(path, {.loop = true, .pace = 10}, error);
    ASSERT_TRUE(Is<PaceSource>(both));
    EXPECT_TRUE(both->live());
    EXPECT_EQ(ReadAll(*both, 20), Join({Counting(10), Counting(10)}));
    EXPECT_EQ(error, "untouched");
}

TEST(InputOptions, NameTheInputAndWhyItCannotBeReadAsTheySay) {
    const TempDir dir;
    const std::string path = dir.WriteFile("stream.ts", Counting(10));
    EXPECT_EQ(Error(path, {.loop = true, .follow = true}),
              "cannot open " + path + ": it is either looped or followed");
    EXPECT_EQ(Error("/dev/zero", {.loop = true}),
              "cannot open /dev/zero: what cannot be read again cannot be looped");
    EXPECT_EQ(Error("/dev/zero", {.follow = true}),
              "cannot open /dev/zero: only a file can be followed");
    EXPECT_EQ(Error("udp://127.0.0.1:0", {.loop = true}),
              "cannot open udp://127.0.0.1:0: it has no end at which to go on");
    EXPECT_EQ(Error("udp://127.0.0.1:0", {.pace = 1}),
              "cannot open udp://127.0.0.1:0: it comes at a pace of its own");
    for (const double pace : {-1.0, std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_EQ(Error(path, {.pace = pace}),
                  "cannot open " + path + ": the pace is no number above 0");
    }
}

TEST(InputOptions, ShowControlBytesOfTheNameAsNumbers) {
    const TempDir dir;
    const std::string path = dir.WriteFile("a\nb\x1B", Counting(10));
    EXPECT_EQ(Error(path, {.loop = true, .follow = true}),
              "cannot open " + dir.Path("a\\x0Ab\\x1B") + ": it is either looped or followed");
}

TEST(InputOptions, FailAsTheInputItselfDoes) {
    EXPECT_EQ(Error("/missing\x01.ts", {.loop = true}),
              "cannot open /missing\\x01.ts: No such file or directory");
}

}  // namespace
}  // namespace tvservice
