// When memory runs out, the cache keeps each section whole or not at all.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <vector>

#include "softplatform/section/SectionCache.h"
#include "tests/support/FailingNew.h"
#include "tests/support/TsBytes.h"

namespace tvservice {
namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testsupport::Bytes;
using testsupport::Counting;
using testsupport::SectionBytes;

constexpr uint16_t kPid = 0x0011;

Bytes Section(uint16_t extension, uint8_t version, uint8_t number, size_t size) {
    return SectionBytes{.table_id_extension = extension,
                        .version_number = version,
                        .section_number = number,
                        .last_section_number = 2,
                        .body = Counting(size)}
        .Build();
}

const Bytes kFirst = Section(1, 0, 0, 20);
const Bytes kLast = Section(1, 0, 2, 700);
const Bytes kOther = Section(2, 0, 0, 20);

void Put(SectionCache& cache, const Bytes& section) {
    cache.Put(kPid, *SectionView::From(section.data(), section.size()));
}

std::vector<Bytes> Kept(const SectionCache& cache) {
    std::vector<Bytes> sections;
    cache.VisitTable(kPid, 0x42, [&](SectionView section) {
        sections.emplace_back(section.data(), section.data() + section.size());
    });
    return sections;
}

size_t Cost(const std::vector<Bytes>& sections, size_t subTables) {
    size_t sum = subTables * SectionCache::kSubTableCost;
    for (const Bytes& section : sections) {
        sum += section.size() + SectionCache::kSectionCost;
    }
    return sum;
}

// Puts `section` into a cache that has kFirst, kLast and kOther, once for each allocation that can
// fail. `check` looks at the cache whenever Put threw.
template <class Check>
void PutWithoutMemory(const Bytes& section, Check check) {
    int thrown = 0;
    bool hasFailed = true;
    for (int allocation = 0; hasFailed; ++allocation) {
        SCOPED_TRACE(testing::Message() << "allocation " << allocation);
        SectionCache cache(64 * 1024);
        Put(cache, kFirst);
        Put(cache, kLast);
        Put(cache, kOther);
        bool hasThrown = false;
        testsupport::t_heap.failAfter = allocation;
        try {
            Put(cache, section);
        } catch (const std::bad_alloc&) {
            hasThrown = true;
        }
        hasFailed = testsupport::t_heap.failAfter < 0;
        testsupport::t_heap.failAfter = -1;
        if (hasThrown) {
            ++thrown;
            check(cache);
            Put(cache, section);
        }
        EXPECT_THAT(Kept(cache), testing::Contains(section));
        cache.Clear();
        EXPECT_EQ(cache.bytes(), 0u);
    }
    EXPECT_GT(thrown, 0);
}

TEST(SectionCacheOutOfMemory, LeavesASubTableAsItIsThatGetsANewSection) {
    PutWithoutMemory(Section(1, 0, 1, 300), [](const SectionCache& cache) {
        EXPECT_THAT(Kept(cache), ElementsAre(kFirst, kLast, kOther));
        EXPECT_EQ(cache.bytes(), Cost(Kept(cache), 2));
    });
}

TEST(SectionCacheOutOfMemory, KeepsTheOldBytesOfASectionThatChanged) {
    PutWithoutMemory(Section(1, 0, 0, 300), [](const SectionCache& cache) {
        EXPECT_THAT(Kept(cache), ElementsAre(kFirst, kLast, kOther));
        EXPECT_EQ(cache.bytes(), Cost(Kept(cache), 2));
    });
}

TEST(SectionCacheOutOfMemory, DropsTheOldVersionEvenIfTheNewOneFindsNoMemory) {
    PutWithoutMemory(Section(1, 1, 0, 1500), [](const SectionCache& cache) {
        EXPECT_THAT(Kept(cache), ElementsAre(kOther));
        EXPECT_EQ(cache.bytes(), Cost(Kept(cache), 2));
    });
}

TEST(SectionCacheOutOfMemory, LeavesTheOtherSubTablesAsTheyAre) {
    PutWithoutMemory(Section(3, 0, 0, 300), [](const SectionCache& cache) {
        EXPECT_THAT(Kept(cache), ElementsAre(kFirst, kLast, kOther));
        EXPECT_THAT(cache.bytes(), AnyOf(Cost(Kept(cache), 2), Cost(Kept(cache), 3)));
    });
}

TEST(SectionCacheOutOfMemory, ForgetsWithoutMemory) {
    SectionCache cache(64 * 1024);
    Put(cache, kFirst);
    Put(cache, kLast);
    Put(cache, kOther);
    testsupport::t_heap.failAfter = 0;
    EXPECT_NO_THROW(cache.Forget(kPid));
    const bool hasFailed = testsupport::t_heap.failAfter != 0;
    testsupport::t_heap.failAfter = -1;
    EXPECT_TRUE(hasFailed) << "it wanted to keep the buffers";
    EXPECT_EQ(cache.bytes(), 0u);
}

}  // namespace
}  // namespace tvservice
