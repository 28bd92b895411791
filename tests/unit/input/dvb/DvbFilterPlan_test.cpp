#include "softplatform/input/dvb/DvbFilterPlan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <vector>

#include "tests/unit/input/dvb/FakeDemux.h"

namespace tvservice {
namespace {

using testsupport::Bytes;
using testsupport::KernelPasses;
using testsupport::kPid;
using testsupport::TableId;

// A filter of `size` bytes that compares no bit until a test sets some.
DvbFilter Nothing(size_t size) {
    return {Bytes(size), Bytes(size), Bytes(size)};
}

DvbFilter TableAndExtension(uint8_t table_id, uint8_t low) {
    return {{table_id, 0, 0, 0, low}, {0xFF, 0, 0, 0xFF, 0xFF}, {}};
}

bool ChecksCrc(const DvbFilter& wanted) {
    return (DeviceFilterFor(kPid, wanted).flags & DMX_CHECK_CRC) != 0;
}

// Whether a filter wants a section, bit by bit from the definition.
bool IsWanted(const DvbFilter& filter, const Bytes& section) {
    bool asksDifference = false;
    bool differs = false;
    for (size_t i = 0; i < filter.pattern.size(); ++i) {
        for (int bit = 0; bit < 8; ++bit) {
            const auto at = [bit](uint8_t byte) { return (byte >> bit & 1) != 0; };
            if (!at(filter.mask[i])) {
                continue;
            }
            if (i >= section.size()) {
                return false;
            }
            const bool isSame = at(section[i]) == at(filter.pattern[i]);
            if (!filter.mode.empty() && at(filter.mode[i])) {
                asksDifference = true;
                differs = differs || !isSame;
            } else if (!isSame) {
                return false;
            }
        }
    }
    return differs || !asksDifference;
}

TEST(DvbFilterPlan, EachByteGoesToItsPlace) {
    for (size_t byte = 0; byte < 24; ++byte) {
        for (const bool isNegative : {false, true}) {
            DvbFilter wanted = Nothing(24);
            wanted.pattern[byte] = 0xA5;
            wanted.mask[byte] = 0xF7;
            wanted.mode[byte] = isNegative ? 0xF7 : 0;
            dmx_filter expected{};
            const bool hasPlace = byte == 0 || (byte >= 3 && byte <= 17);
            if (hasPlace) {
                const size_t place = byte == 0 ? 0 : byte - 2;
                expected.filter[place] = 0xA5;
                expected.mask[place] = 0xF7;
                expected.mode[place] = isNegative ? 0xF7 : 0;
            }
            const dmx_sct_filter_params params = DeviceFilterFor(kPid, wanted);
            for (size_t i = 0; i < DMX_FILTER_SIZE; ++i) {
                EXPECT_EQ(params.filter.filter[i], expected.filter[i]) << byte << " at " << i;
                EXPECT_EQ(params.filter.mask[i], expected.mask[i]) << byte << " at " << i;
                EXPECT_EQ(params.filter.mode[i], expected.mode[i]) << byte << " at " << i;
            }
            EXPECT_EQ(IsWide(params), !hasPlace) << byte;
        }
    }
}

TEST(DvbFilterPlan, ThePidIsNamedTheFilterStartsAtOnceAndNothingTimesOut) {
    for (const dmx_sct_filter_params& params :
         {DeviceFilterFor(0x1FFE, TableId(0x42)), WideDeviceFilter(0x1FFE)}) {
        EXPECT_EQ(params.pid, 0x1FFE);
        EXPECT_EQ(params.timeout, 0u);
        EXPECT_EQ(params.flags & ~unsigned{DMX_CHECK_CRC}, unsigned{DMX_IMMEDIATE_START});
    }
}

TEST(DvbFilterPlan, PatternBitsOutsideTheMaskDoNotReachTheDevice) {
    const DvbFilter loud{{0xFF, 0xFF, 0xFF, 0xFF}, {0xF0, 0, 0, 0x01}, {0x0F, 0xFF, 0, 0x02}};
    const dmx_sct_filter_params params = DeviceFilterFor(kPid, loud);
    EXPECT_EQ(params.filter.filter[0], 0xF0);
    EXPECT_EQ(params.filter.filter[1], 0x01);
    EXPECT_EQ(params.filter.mode[0], 0);
    EXPECT_EQ(params.filter.mode[1], 0);
}

TEST(DvbFilterPlan, ADifferenceAlsoAllowedWhereTheDeviceDoesNotLookIsLeftOutWhole) {
    for (const size_t unseen : {size_t{1}, size_t{2}, size_t{18}, size_t{30}}) {
        DvbFilter wanted = Nothing(31);
        wanted.pattern[0] = 0x42;
        wanted.mask[0] = 0xFF;
        wanted.mask[5] = 0x3E;
        wanted.mode[5] = 0x3E;
        EXPECT_EQ(DeviceFilterFor(kPid, wanted).filter.mode[3], 0x3E);

        wanted.mask[unseen] = 0x01;
        wanted.mode[unseen] = 0x01;
        const dmx_sct_filter_params params = DeviceFilterFor(kPid, wanted);
        EXPECT_EQ(params.filter.mode[3], 0) << unseen;
        EXPECT_EQ(params.filter.mask[3], 0) << unseen;
        EXPECT_EQ(params.filter.mask[0], 0xFF) << unseen;
    }
}

TEST(DvbFilterPlan, EqualBitsBesideALeftOutDifferenceStay) {
    DvbFilter wanted = Nothing(6);
    wanted.mask[1] = wanted.mode[1] = 0x01;
    wanted.pattern[5] = 0xFF;
    wanted.mask[5] = 0xF1;
    wanted.mode[5] = 0xF0;
    const dmx_sct_filter_params params = DeviceFilterFor(kPid, wanted);
    EXPECT_EQ(params.filter.mask[3], 0x01);
    EXPECT_EQ(params.filter.filter[3], 0x01);
    EXPECT_EQ(params.filter.mode[3], 0);
}

TEST(DvbFilterPlan, TheCrcIsCheckedOnlyWhereEveryTableThatCanPassHasOne) {
    std::set<int> withSyntax{0x00, 0x01, 0x02, 0x03, 0x40, 0x41, 0x42, 0x46, 0x4A, 0x4B};
    for (int table_id = 0x4E; table_id <= 0x6F; ++table_id) {
        withSyntax.insert(table_id);
    }
    for (int table_id = 0; table_id <= 0xFF; ++table_id) {
        EXPECT_EQ(ChecksCrc(TableId(static_cast<uint8_t>(table_id))),
                  withSyntax.count(table_id) == 1)
            << table_id;
    }
    EXPECT_TRUE(ChecksCrc(TableId(0x50, 0xF0)));
    EXPECT_TRUE(ChecksCrc(TableId(0x4E, 0xFE)));
    EXPECT_FALSE(ChecksCrc(TableId(0x4E, 0xFC)));  // 0x4C and 0x4D may be anything
    EXPECT_FALSE(ChecksCrc(TableId(0x72, 0xFE)));  // TOT has a CRC but no section syntax
    EXPECT_FALSE(ChecksCrc(TableId(0x00, 0x00)));
    EXPECT_FALSE(ChecksCrc({{0x42}, {0xFF}, {0xFF}}));
    EXPECT_EQ(WideDeviceFilter(kPid).flags & DMX_CHECK_CRC, 0u);
}

TEST(DvbFilterPlan, FiltersThatTheDeviceCannotTellApartBecomeOne) {
    const DvbFilter longOnes{{0x42, 0x01}, {0xFF, 0x01}, {}};
    const auto plan = PlanDeviceFilters(kPid, {TableId(0x42), longOnes, TableId(0x42)}, 4);
    ASSERT_EQ(plan.size(), 1u);
    EXPECT_TRUE(AreEqual(plan[0], DeviceFilterFor(kPid, TableId(0x42))));
}

TEST(DvbFilterPlan, APartOfAnotherFilterNeedsNoneOfItsOwnWhicheverComesFirst) {
    const DvbFilter part = TableAndExtension(0x42, 5);
    const DvbFilter whole = TableId(0x42);
    for (const std::vector<DvbFilter>& wanted :
         {std::vector<DvbFilter>{part, whole}, std::vector<DvbFilter>{whole, part}}) {
        const auto plan = PlanDeviceFilters(kPid, wanted, 4);
        ASSERT_EQ(plan.size(), 1u);
        EXPECT_TRUE(AreEqual(plan[0], DeviceFilterFor(kPid, whole)));
    }
}

TEST(DvbFilterPlan, FiltersThatOnlyOverlapStayApart) {
    const DvbFilter notVersion3{
        {0x42, 0, 0, 0, 0, 0x06}, {0xFF, 0, 0, 0, 0, 0x3E}, {0, 0, 0, 0, 0, 0x3E}};
    const DvbFilter version3{{0x42, 0, 0, 0, 0, 0x06}, {0xFF, 0, 0, 0, 0, 0x3E}, {}};
    EXPECT_EQ(PlanDeviceFilters(kPid, {TableId(0x42), TableId(0x46)}, 4).size(), 2u);
    EXPECT_EQ(PlanDeviceFilters(kPid, {notVersion3, version3}, 4).size(), 2u);
    // A filter that asks for a difference anywhere in two bytes lets more sections pass than one
    // that asks for it in the first byte.
    const DvbFilter inOne{{0x42, 0, 0, 0, 0}, {0xFF, 0, 0, 0xFF, 0}, {0, 0, 0, 0xFF, 0}};
    const DvbFilter inTwo{{0x42, 0, 0, 0, 0}, {0xFF, 0, 0, 0xFF, 0xFF}, {0, 0, 0, 0xFF, 0xFF}};
    EXPECT_EQ(PlanDeviceFilters(kPid, {inOne, inTwo}, 4).size(), 2u);
}

TEST(DvbFilterPlan, BeyondTheBudgetOneWideFilterTakesOver) {
    const std::vector<DvbFilter> three{TableId(0x42), TableId(0x46), TableId(0x4A)};
    EXPECT_EQ(PlanDeviceFilters(kPid, three, 3).size(), 3u);
    for (const size_t budget : {size_t{2}, size_t{0}}) {
        const auto plan = PlanDeviceFilters(kPid, three, budget);
        ASSERT_EQ(plan.size(), 1u);
        EXPECT_TRUE(IsWide(plan[0]));
        EXPECT_EQ(plan[0].pid, kPid);
    }
    EXPECT_TRUE(PlanDeviceFilters(kPid, {}, 0).empty());
}

TEST(DvbFilterPlan, WellFormedMeansBytesMaskAndModeOfOneLength) {
    EXPECT_TRUE((DvbFilter{{1}, {1}, {}}.IsWellFormed()));
    EXPECT_TRUE((DvbFilter{{1}, {1}, {1}}.IsWellFormed()));
    EXPECT_FALSE((DvbFilter{{}, {}, {}}.IsWellFormed()));
    EXPECT_FALSE((DvbFilter{{1}, {}, {}}.IsWellFormed()));
    EXPECT_FALSE((DvbFilter{{1}, {1, 2}, {}}.IsWellFormed()));
    EXPECT_FALSE((DvbFilter{{1}, {1}, {1, 2}}.IsWellFormed()));
}

TEST(DvbFilterPlan, ASectionThatEndsBeforeTheLastByteAskedForDoesNotPass) {
    const dmx_sct_filter_params params = DeviceFilterFor(kPid, TableAndExtension(0x42, 5));
    const Bytes section{0x42, 0xB0, 0x02, 0x00, 0x05};
    EXPECT_TRUE(Passes(params, section.data(), 5));
    EXPECT_FALSE(Passes(params, section.data(), 4));
    EXPECT_FALSE(Passes(params, section.data(), 0));
    EXPECT_TRUE(Passes(WideDeviceFilter(kPid), section.data(), 3));
}

// With few values and few mask bits about half of the sections match.
TEST(DvbFilterPlan, WhatIsWantedPassesTheKernelAndAnyPlanAndNothingElseWhereTheDeviceSeesAll) {
    std::mt19937 random(11);
    const auto below = [&](unsigned n) { return static_cast<uint8_t>(random() % n); };
    int wantedSections = 0;
    int refusedSections = 0;
    for (int round = 0; round < 40000; ++round) {
        std::vector<DvbFilter> filters;
        for (unsigned count = 1 + below(3); filters.size() < count;) {
            DvbFilter filter = Nothing(size_t{1} + below(22));
            for (size_t i = 0; i < filter.pattern.size(); ++i) {
                filter.pattern[i] = below(4);
                filter.mask[i] = below(6) == 0 ? below(4) : uint8_t{0};
                filter.mode[i] = below(3) == 0 ? below(4) : uint8_t{0};
            }
            filters.push_back(filter);
        }
        Bytes section(size_t{3} + below(24));
        std::generate(section.begin(), section.end(), [&] { return below(4); });
        Bytes window = section;
        window.resize(18, 0xAA);

        const auto plan = PlanDeviceFilters(kPid, filters, 1 + below(3));
        const auto passes = [&](const auto& params) {
            return Passes(params, section.data(), section.size());
        };
        for (const DvbFilter& filter : filters) {
            const dmx_sct_filter_params params = DeviceFilterFor(kPid, filter);
            if (passes(params)) {
                EXPECT_TRUE(KernelPasses(params.filter, window));
            }
            if (section.size() >= 18) {
                EXPECT_EQ(passes(params), KernelPasses(params.filter, window));
            }
            bool deviceSeesAll = true;
            for (size_t i = 0; i < filter.mask.size(); ++i) {
                deviceSeesAll =
                    deviceSeesAll && (filter.mask[i] == 0 || i == 0 || (i > 2 && i < 18));
            }
            if (IsWanted(filter, section)) {
                ++wantedSections;
                EXPECT_TRUE(passes(params));
                EXPECT_TRUE(std::any_of(plan.begin(), plan.end(), passes));
            } else if (deviceSeesAll) {
                ++refusedSections;
                EXPECT_FALSE(passes(params));
            }
        }
    }
    EXPECT_GT(wantedSections, 10000);
    EXPECT_GT(refusedSections, 10000);
}

}  // namespace
}  // namespace tvservice
