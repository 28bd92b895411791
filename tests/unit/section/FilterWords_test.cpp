#include "softplatform/section/FilterWords.h"

#include <gtest/gtest.h>

#include <random>

namespace tvservice {
namespace {

using Way = FilterWords::Way;

class FilterWordsTest : public testing::TestWithParam<Way> {
  protected:
    void SetUp() override {
        if (!FilterWords::Has(GetParam())) {
            GTEST_SKIP() << "this processor has no AVX2";
        }
    }
    FilterWords words_;
};

TEST_P(FilterWordsTest, FindsNothingAmongNone) {
    EXPECT_EQ(words_.NextBy(GetParam(), 0, 0), 0u);
    words_.Add({1, 1, 0});
    words_.Clear();
    EXPECT_EQ(words_.NextBy(GetParam(), 0, 1), 0u);
}

TEST_P(FilterWordsTest, FindsTheSameAsOneFilterAfterTheOther) {
    std::mt19937_64 random(6);
    size_t found = 0;
    for (size_t count = 0; count < 70; ++count) {
        words_.Clear();
        for (size_t i = 0; i < count; ++i) {
            // About one to five bits are compared, anywhere in the word. So a filter that allows a
            // word is often the only one in its block.
            const uint64_t one = uint64_t{1} << random() % 64;
            const uint64_t equal = one | (random() & random() & random() & random());
            words_.Add({random(), equal, 0});
        }
        ASSERT_EQ(words_.size(), count);
        for (int i = 0; i < 20; ++i) {
            const uint64_t word = random();
            for (size_t start = 0; start <= count; ++start) {
                const size_t next = words_.NextBy(GetParam(), start, word);
                ASSERT_EQ(next, words_.NextPlain(start, word)) << start << " of " << count;
                ASSERT_EQ(next, words_.Next(start, word));
                found += next < count ? 1 : 0;
            }
        }
    }
    EXPECT_GT(found, 1000u);
}

INSTANTIATE_TEST_SUITE_P(Ways, FilterWordsTest, testing::Values(Way::kTwoWords, Way::kFourWords),
                         [](const auto& way) {
                             return way.param == Way::kTwoWords ? "TwoWords" : "FourWords";
                         });

}  // namespace
}  // namespace tvservice
