#include "softplatform/table/Loops.h"

#include <list>
#include <memory>
#include <utility>
#include <vector>

#include "tests/unit/table/TableFixture.h"

namespace {

using tvservice::ByteView;
using tvservice::DescriptorArena;
using tvservice::DescriptorLoop;
using tvservice::ItemLoop;
using tvservice::SpanningLoop;

constexpr int kMark = 0x80;
constexpr int kOther = 0x81;
constexpr uint8_t kTableId = 0x40;

int ValueOf(TCBaseDesc* desc) {
    unsigned char bytes[3] = {};
    int length = 3;
    return desc != nullptr && desc->GetDescriptor(bytes, &length) == 3 ? bytes[2] : -1;
}

class SpanningLoopTest : public testing::Test {
  protected:
    void Put(uint8_t number, std::vector<std::pair<int, int>> tagsAndValues) {
        Bytes& bytes = bytes_.emplace_back();
        for (const auto& [tag, value] : tagsAndValues) {
            bytes = Join({bytes, {static_cast<uint8_t>(tag), 1, static_cast<uint8_t>(value)}});
        }
        loop_.Put(number, LoopOver(bytes));
    }
    DescriptorLoop LoopOver(const Bytes& bytes) {
        const ByteView view(bytes.data(), bytes.size());
        DescriptorArena& arena = arenas_.emplace_back();
        arena.Begin(DescriptorLoop::CountIn(view) * DescriptorLoop::kRoomEach);
        return DescriptorLoop(view, kTableId, arena);
    }
    std::vector<int> Of(int tag) {
        std::vector<int> values;
        for (int i = 0; i < loop_.Count(tag); ++i) {
            values.push_back(ValueOf(loop_.Find(tag, static_cast<size_t>(i))));
        }
        return values;
    }
    std::vector<int> All() {
        std::vector<int> values;
        for (int i = 0; i < loop_.size(); ++i) {
            values.push_back(ValueOf(loop_.At(static_cast<size_t>(i))));
        }
        return values;
    }

    std::list<Bytes> bytes_;
    std::list<DescriptorArena> arenas_;
    SpanningLoop loop_;
};

TEST_F(SpanningLoopTest, StandsInTheOrderOfTheSectionNumbers) {
    Put(2, {{kMark, 5}});
    Put(0, {{kMark, 1}, {kOther, 2}, {kMark, 3}});
    EXPECT_THAT(All(), ElementsAre(1, 2, 3, 5));
    EXPECT_THAT(Of(kMark), ElementsAre(1, 3, 5));
    Put(1, {{kOther, 4}});
    EXPECT_THAT(All(), ElementsAre(1, 2, 3, 4, 5));
    EXPECT_THAT(Of(kOther), ElementsAre(2, 4));
    Put(0, {});
    EXPECT_THAT(All(), ElementsAre(4, 5));
    EXPECT_THAT(Of(kMark), ElementsAre(5));
}

TEST_F(SpanningLoopTest, AnswersInWhateverOrderItIsAsked) {
    Put(0, {{kMark, 1}, {kOther, 2}, {kMark, 3}});
    Put(1, {});
    Put(2, {{kOther, 4}, {kMark, 5}, {kMark, 6}});
    EXPECT_EQ(ValueOf(loop_.Find(kMark, 3)), 6);
    EXPECT_EQ(ValueOf(loop_.Find(kMark, 0)), 1);
    EXPECT_EQ(ValueOf(loop_.Find(kMark, 2)), 5);
    EXPECT_EQ(ValueOf(loop_.Find(kMark, 1)), 3);
    EXPECT_EQ(ValueOf(loop_.Find(kOther, 1)), 4);
    EXPECT_EQ(ValueOf(loop_.Find(kMark, 1)), 3);
    EXPECT_EQ(ValueOf(loop_.Find(kMark, 1)), 3);
    EXPECT_EQ(loop_.Find(kMark, 4), nullptr);
    EXPECT_EQ(loop_.Find(0x82, 0), nullptr);
    EXPECT_EQ(loop_.Find(-1, 0), nullptr);
    EXPECT_EQ(loop_.At(6), nullptr);
}

// The loop has 256000 descriptors. Code that walks it from the start with each question would not
// end in time.
TEST_F(SpanningLoopTest, AsksNoDescriptorTwiceForItsTag) {
    for (int number = 0; number < 256; ++number) {
        Bytes& bytes = bytes_.emplace_back();
        for (int i = 0; i < 1000; ++i) {
            bytes.insert(bytes.end(), {kMark, 0});
        }
        loop_.Put(static_cast<uint8_t>(number), LoopOver(bytes));
    }
    ASSERT_EQ(loop_.Count(kMark), 256000);
    for (int i = 0; i < loop_.Count(kMark); ++i) {
        ASSERT_NE(loop_.Find(kMark, static_cast<size_t>(i)), nullptr);
    }
    EXPECT_EQ(loop_.Find(kMark, 256000), nullptr);
}

TEST(ItemLoopTest, StandsInTheOrderOfTheSectionNumbers) {
    struct Numbers {
        size_t size() const { return values->size(); }
        const int* At(size_t index) const { return &(*values)[index]; }
        std::shared_ptr<std::vector<int>> values = std::make_shared<std::vector<int>>();
    };
    ItemLoop<Numbers> loop;
    const auto put = [&loop](uint8_t number, std::vector<int> values) {
        loop.Put(number, {std::make_shared<std::vector<int>>(std::move(values))});
    };
    const auto all = [&loop] {
        std::vector<int> values;
        for (size_t i = 0; i < loop.size(); ++i) {
            values.push_back(*loop.At(i));
        }
        return values;
    };
    EXPECT_THAT(all(), IsEmpty());
    put(3, {5, 6});
    put(0, {1});
    EXPECT_THAT(all(), ElementsAre(1, 5, 6));
    put(1, {2, 3});
    EXPECT_THAT(all(), ElementsAre(1, 2, 3, 5, 6));
    put(3, {});
    EXPECT_THAT(all(), ElementsAre(1, 2, 3));
    EXPECT_EQ(loop.At(3), nullptr);
    EXPECT_EQ(*loop.Find([](int value) { return value > 1; }), 2);
    EXPECT_EQ(loop.Find([](int value) { return value > 9; }), nullptr);
    loop.Clear();
    EXPECT_EQ(loop.size(), 0u);
    EXPECT_EQ(loop.At(0), nullptr);
}

}  // namespace
