#include "softplatform/section/CachePolicy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "tests/support/TsBytes.h"

namespace tvservice {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::Bytes;
using testsupport::SectionBytes;

class CachePolicyTest : public testing::Test {
  protected:
    CachePolicyTest() { policy_.SetLimit(64 * 1024); }

    static FilterSet Filters(const Bytes& pattern, const Bytes& mask, const Bytes& mode = {}) {
        FilterSet filters;
        filters.Add(std::make_unique<Filter>(
            Filter{0x0100, *SectionFilter::Compile(pattern, mask, mode), {}}));
        return filters;
    }

    void Take(uint16_t pid, const FilterSet& filters, const Bytes& section) {
        policy_.Take(pid, filters, *SectionView::From(section.data(), section.size()));
    }

    std::vector<Bytes> Table(uint16_t pid, uint8_t table_id) const {
        std::vector<Bytes> sections;
        policy_.VisitTable(pid, table_id, [&](SectionView section) {
            sections.emplace_back(section.bytes().begin(), section.bytes().end());
        });
        return sections;
    }

    CachePolicy policy_;
    const Bytes sdt_ = SectionBytes{.table_id = 0x42}.Build();
};

TEST_F(CachePolicyTest, AssemblesWithoutFiltersWhatTheStandardsTablesComeOn) {
    EXPECT_TRUE(policy_.OnFilterReleased(0x001F, true));
    policy_.SetLimit(0);
    EXPECT_FALSE(policy_.isOn());
    EXPECT_FALSE(policy_.OnFilterReleased(0x001F, true));
}

TEST_F(CachePolicyTest, AssemblesAPidAsLongAsItHasAFilter) {
    policy_.SetLimit(0);
    EXPECT_TRUE(policy_.OnFilterReleased(0x0100, false));
    EXPECT_FALSE(policy_.OnFilterReleased(0x0100, true));
}

TEST_F(CachePolicyTest, KeepsSoManyPidsWithoutAFilter) {
    for (uint16_t i = 0; i < CachePolicy::kKeptPids; ++i) {
        const auto pid = static_cast<uint16_t>(0x0100 + i);
        EXPECT_TRUE(policy_.OnFilterReleased(pid, true)) << pid;
    }
    EXPECT_FALSE(policy_.OnFilterReleased(0x1000, true));
    EXPECT_FALSE(policy_.OnFilterReleased(CachePolicy::kCachedPids, true));
    EXPECT_TRUE(policy_.OnFilterReleased(CachePolicy::kCachedPids - 1, true));
    policy_.OnFilterAdded(0x0100);  // one of them has a filter again
    EXPECT_TRUE(policy_.OnFilterReleased(0x1000, true));
    EXPECT_FALSE(policy_.OnFilterReleased(0x2000, true)) << "no packet can carry it";
}

TEST_F(CachePolicyTest, ForgetsAPidThatIsNotAssembledAnyMore) {
    Take(0x0100, {}, sdt_);
    ASSERT_THAT(Table(0x0100, 0x42), ElementsAre(sdt_));
    policy_.SetLimit(0);
    policy_.SetLimit(64 * 1024);
    EXPECT_THAT(Table(0x0100, 0x42), IsEmpty());
    Take(0x2000, {}, sdt_);
    EXPECT_FALSE(policy_.OnFilterReleased(0x2000, true));
    EXPECT_THAT(Table(0x2000, 0x42), IsEmpty());
}

TEST_F(CachePolicyTest, TakesEverySectionOfPackets) {
    Take(0x0100, {}, sdt_);
    EXPECT_THAT(Table(0x0100, 0x42), ElementsAre(sdt_));
}

TEST_F(CachePolicyTest, TakesOfADeviceOnlyWhatAFilterAsksForInEveryVersion) {
    policy_.Reset(Feed::kDeviceSections);
    Take(0x0100, {}, sdt_);
    Take(0x0100, Filters({0x46}, {0xFF}), sdt_);
    Take(0x0100, Filters({0x42, 0, 0, 0, 0, 0x0A}, {0xFF, 0, 0, 0, 0, 0x3E}), sdt_);
    Take(0x0100, Filters({0x41, 0, 0}, {0xFF, 0, 0}, {0xFF, 0, 0}), sdt_);
    EXPECT_THAT(Table(0x0100, 0x42), IsEmpty());
    Take(0x0100, Filters({0x42}, {0xFF}), sdt_);
    EXPECT_THAT(Table(0x0100, 0x42), ElementsAre(sdt_));
}

TEST_F(CachePolicyTest, ForgetsADevicesPidThatLosesAFilter) {
    policy_.Reset(Feed::kDeviceSections);
    Take(0x0100, Filters({0x42}, {0xFF}), sdt_);
    EXPECT_TRUE(policy_.OnFilterReleased(0x0100, false));
    EXPECT_THAT(Table(0x0100, 0x42), IsEmpty());
}

TEST_F(CachePolicyTest, ANewSourceEmptiesIt) {
    Take(0x0100, {}, sdt_);
    policy_.Reset(Feed::kPackets);
    EXPECT_THAT(Table(0x0100, 0x42), IsEmpty());
    EXPECT_TRUE(policy_.isOn());
}

}  // namespace
}  // namespace tvservice
