#include "softplatform/input/LoopSource.h"

#include <gtest/gtest.h>

#include "softplatform/input/BufferSource.h"
#include "tests/unit/input/Reading.h"

namespace tvservice {
namespace {

using testsupport::Ask;
using testsupport::Bytes;
using testsupport::Counting;
using testsupport::Join;
using testsupport::ReadAll;

LoopSource Loop(const Bytes& bytes, size_t piece = 0) {
    return LoopSource(std::make_shared<BufferSource>("memory", bytes, piece));
}

TEST(LoopSource, StartsAgainAtTheEnd) {
    LoopSource source = Loop(Counting(10), 4);
    EXPECT_EQ(ReadAll(source, 30), Join({Counting(10), Counting(10), Counting(10)}));
    EXPECT_EQ(ReadAll(source, 5), Counting(5));
}

TEST(LoopSource, HasTheNameOfWhatItLoopsAndNoSize) {
    const LoopSource source = Loop(Counting(10));
    EXPECT_EQ(source.name(), "memory");
    EXPECT_EQ(source.size(), 0u);
    EXPECT_TRUE(source.live());
    EXPECT_TRUE(source.rewindable());
}

TEST(LoopSource, EndsWhenThereIsNothingToLoop) {
    LoopSource source = Loop({});
    EXPECT_EQ(Ask(source), ReadResult::kEnd);
    EXPECT_EQ(Ask(source), ReadResult::kEnd);
}

TEST(LoopSource, GoesToTheStartOfTheFirstRound) {
    LoopSource source = Loop(Counting(10));
    ReadAll(source, 13);
    ASSERT_TRUE(source.Rewind());
    EXPECT_EQ(ReadAll(source, 12), Join({Counting(10), {0, 1}}));
}

// A source that can start only once.
class OnceSource final : public ByteSource {
  public:
    OnceSource() : ByteSource("once\n") {}
    uint64_t size() const override { return 1; }
    bool rewindable() const override { return true; }
    bool Rewind() override { return false; }
    ReadResult Read(uint8_t* buffer, size_t) override {
        if (wasRead_) {
            return {ReadResult::kEnd};
        }
        wasRead_ = true;
        *buffer = 1;
        return {ReadResult::kBytes, {buffer, 1}};
    }
    int descriptor() const override { return -1; }

  private:
    bool wasRead_ = false;
};

TEST(LoopSource, FailsWhereItCannotStartAgain) {
    LoopSource source(std::make_shared<OnceSource>());
    ReadAll(source, 1);
    uint8_t byte = 0;
    const ReadResult result = source.Read(&byte, 1);
    EXPECT_EQ(result.status, ReadResult::kFailed);
    EXPECT_EQ(result.error, "cannot start once\\x0A again");
}

}  // namespace
}  // namespace tvservice
