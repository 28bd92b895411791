#include "softplatform/section/FilterSet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

#include "tests/support/TsBytes.h"

namespace tvservice {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::Bytes;
using testsupport::PlainSection;
using testsupport::SectionBytes;

class FilterSetTest : public testing::Test {
  protected:
    Filter* Add(const Bytes& pattern, const Bytes& mask, const Bytes& mode = {}) {
        auto filter = std::make_unique<Filter>(
            Filter{0x0100, *SectionFilter::Compile(pattern, mask, mode), {}});
        Filter* const added = filter.get();
        set_.Add(std::move(filter));
        return added;
    }

    std::vector<const Filter*> Matching(const Bytes& section) {
        std::vector<const Filter*> matching;
        set_.VisitMatching(*SectionView::From(section.data(), section.size()),
                           [&](Filter& filter) { matching.push_back(&filter); });
        return matching;
    }

    FilterSet set_;
};

TEST_F(FilterSetTest, HasNoneForASectionWhenItIsEmpty) {
    EXPECT_TRUE(set_.empty());
    EXPECT_THAT(Matching(SectionBytes{}.Build()), IsEmpty());
}

TEST_F(FilterSetTest, FindsTheFiltersOfASectionInTheOrderInWhichTheyCame) {
    const Filter* const sdt = Add({0x42}, {0xFF});
    const Filter* const any = Add({0x00}, {0x00});
    const Filter* const bat = Add({0x4A}, {0xFF});
    const Filter* const sdtAgain = Add({0x42}, {0xFF});
    const Filter* const half = Add({0x4F}, {0xF0});
    EXPECT_THAT(Matching(SectionBytes{.table_id = 0x42}.Build()),
                ElementsAre(sdt, any, sdtAgain, half));
    EXPECT_THAT(Matching(SectionBytes{.table_id = 0x4A}.Build()), ElementsAre(any, bat, half));
    EXPECT_THAT(Matching(SectionBytes{.table_id = 0x70}.Build()), ElementsAre(any));
}

TEST_F(FilterSetTest, LooksAtThePositionsBehindTheEighthToo) {
    Add({0x42, 0, 0, 0, 0, 0, 0, 0, 7}, {0xFF, 0, 0, 0, 0, 0, 0, 0, 0xFF});
    const Filter* const right =
        Add({0x42, 0, 0, 0, 0, 0, 0, 0, 8}, {0xFF, 0, 0, 0, 0, 0, 0, 0, 0xFF});
    EXPECT_THAT(Matching(SectionBytes{.table_id = 0x42, .body = {8}}.Build()), ElementsAre(right));
}

TEST_F(FilterSetTest, TakesATableIdThatMustDifferForOneThatMayCome) {
    const Filter* const other = Add({0x42}, {0xFF}, {0xFF});
    EXPECT_THAT(Matching(SectionBytes{.table_id = 0x42}.Build()), IsEmpty());
    EXPECT_THAT(Matching(SectionBytes{.table_id = 0x46}.Build()), ElementsAre(other));
}

TEST_F(FilterSetTest, FollowsChanges) {
    const Bytes section = SectionBytes{.table_id = 0x42}.Build();
    const Filter* const first = Add({0x42}, {0xFF});
    EXPECT_THAT(Matching(section), ElementsAre(first));
    const Filter* const second = Add({0x42}, {0xFF});
    EXPECT_THAT(Matching(section), ElementsAre(first, second));
    set_.Remove(*first);
    EXPECT_THAT(Matching(section), ElementsAre(second));
    set_.Remove(*second);
    EXPECT_THAT(Matching(section), IsEmpty());
    EXPECT_TRUE(set_.empty());
}

// Compares the set with a loop over all filters.
TEST_F(FilterSetTest, FindsWhatAskingEveryFilterFinds) {
    std::mt19937 random(12);
    const auto below = [&random](unsigned limit) { return static_cast<uint8_t>(random() % limit); };
    // Few different values, so that many filters match.
    const auto criteria = [&](size_t size, unsigned values) {
        Bytes bytes(size);
        std::generate(bytes.begin(), bytes.end(), [&] { return below(values); });
        return bytes;
    };
    size_t matched = 0;
    for (int round = 0; round < 300; ++round) {
        set_ = {};
        const size_t count = static_cast<size_t>(round % 70);
        for (size_t i = 0; i < count; ++i) {
            const size_t size = 1 + below(round % 5 == 0 ? 40 : 10);
            Bytes mask(size);
            std::generate(mask.begin(), mask.end(), [&] {
                const uint8_t choice = below(8);
                return choice == 0 ? uint8_t{0xFF} : choice == 1 ? below(4) : uint8_t{0};
            });
            Add(criteria(size, 3), mask, below(3) == 0 ? criteria(size, 3) : Bytes{});
        }
        for (int i = 0; i < 40; ++i) {
            Bytes body = criteria(below(30), 3);
            const Bytes bytes = below(4) == 0 ? PlainSection(below(3), body)
                                              : SectionBytes{.table_id = below(3),
                                                             .table_id_extension = below(3),
                                                             .version_number = below(3),
                                                             .body = body}
                                                    .Build();
            std::vector<const Filter*> expected;
            for (const auto& filter : set_.all()) {
                if (filter->criteria.Matches(bytes.data(), bytes.size())) {
                    expected.push_back(filter.get());
                }
            }
            matched += expected.size();
            ASSERT_EQ(Matching(bytes), expected) << "round " << round;
            if (i % 10 == 9 && !set_.empty()) {
                set_.Remove(*set_.all()[random() % set_.all().size()]);
            }
        }
    }
    EXPECT_GT(matched, 10'000u);
}

}  // namespace
}  // namespace tvservice
