#include "softplatform/section/SectionCache.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <list>
#include <map>
#include <random>
#include <tuple>
#include <vector>

#include "tests/support/TsBytes.h"

namespace tvservice {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::Bytes;
using testsupport::Counting;
using testsupport::PlainSection;
using testsupport::SectionBytes;
using testsupport::Slice;

constexpr uint16_t kSdtPid = 0x0011;

class SectionCacheTest : public testing::Test {
  protected:
    void Put(const Bytes& section, uint16_t pid = kSdtPid) {
        cache_.Put(pid, *SectionView::From(section.data(), section.size()));
    }

    bool Renew(const Bytes& section, uint16_t pid = kSdtPid) {
        return cache_.Renew(pid, *SectionView::From(section.data(), section.size()));
    }

    std::vector<Bytes> Table(uint8_t table_id, uint16_t pid = kSdtPid) const {
        std::vector<Bytes> sections;
        cache_.VisitTable(pid, table_id, [&](SectionView section) {
            sections.emplace_back(section.data(), section.data() + section.size());
        });
        return sections;
    }

    SectionCache cache_{64 * 1024};
};

TEST_F(SectionCacheTest, GivesTheSectionsOfATableInOrder) {
    const Bytes second = SectionBytes{.section_number = 1, .last_section_number = 1}.Build();
    const Bytes first = SectionBytes{.section_number = 0, .last_section_number = 1}.Build();
    const Bytes before = SectionBytes{.table_id_extension = 0}.Build();
    Put(second);
    Put(first);
    Put(before);
    EXPECT_THAT(Table(0x42), ElementsAre(before, first, second));
}

TEST_F(SectionCacheTest, KeepsTablesAndPidsApart) {
    const Bytes sdt = SectionBytes{.table_id = 0x42}.Build();
    const Bytes bat = SectionBytes{.table_id = 0x4A}.Build();
    Put(sdt);
    Put(bat);
    Put(bat, 0x0012);
    EXPECT_THAT(Table(0x42), ElementsAre(sdt));
    EXPECT_THAT(Table(0x4A), ElementsAre(bat));
    EXPECT_THAT(Table(0x42, 0x0012), IsEmpty());
    EXPECT_THAT(Table(0x4A, 0x0012), ElementsAre(bat));
    EXPECT_THAT(Table(0x43), IsEmpty());
    EXPECT_THAT(Table(0x41), IsEmpty());
}

TEST_F(SectionCacheTest, KeepsOnlyTheLastVersion) {
    Put(SectionBytes{.version_number = 3, .section_number = 0, .last_section_number = 1}.Build());
    Put(SectionBytes{.version_number = 3, .section_number = 1, .last_section_number = 1}.Build());
    const Bytes next =
        SectionBytes{.version_number = 4, .section_number = 1, .last_section_number = 1}.Build();
    Put(next);
    EXPECT_THAT(Table(0x42), ElementsAre(next));
}

TEST_F(SectionCacheTest, TakesAnotherLastSectionNumberForAnotherVersion) {
    Put(SectionBytes{.section_number = 1, .last_section_number = 1}.Build());
    const Bytes alone = SectionBytes{.section_number = 0, .last_section_number = 0}.Build();
    Put(alone);
    EXPECT_THAT(Table(0x42), ElementsAre(alone));
}

TEST_F(SectionCacheTest, TakesWhatChangedWithoutAnotherVersion) {
    Put(SectionBytes{.body = {1, 2, 3}}.Build());
    const Bytes changed = SectionBytes{.body = {1, 2}}.Build();
    Put(changed);
    EXPECT_THAT(Table(0x42), ElementsAre(changed));
    EXPECT_EQ(cache_.bytes(),
              changed.size() + SectionCache::kSectionCost + SectionCache::kSubTableCost);
}

TEST_F(SectionCacheTest, TellsServicesOfNetworksApartThatShareATransportStreamId) {
    const Bytes own = SectionBytes{.table_id = 0x46, .body = {0x00, 0x01, 0xFF}}.Build();
    const Bytes other = SectionBytes{.table_id = 0x46, .body = {0x00, 0x02, 0xFF}}.Build();
    Put(own);
    Put(other);
    EXPECT_THAT(Table(0x46), ElementsAre(own, other));
}

TEST_F(SectionCacheTest, TellsEventsOfStreamsApartThatShareAServiceId) {
    const Bytes own = SectionBytes{.table_id = 0x4F, .body = {0, 1, 0, 1, 0, 0x4F}}.Build();
    const Bytes otherStream = SectionBytes{.table_id = 0x4F, .body = {0, 2, 0, 1, 0, 0x4F}}.Build();
    const Bytes otherNetwork =
        SectionBytes{.table_id = 0x4F, .body = {0, 1, 0, 2, 0, 0x4F}}.Build();
    Put(own);
    Put(otherStream);
    Put(otherNetwork);
    EXPECT_THAT(Table(0x4F), ElementsAre(own, otherNetwork, otherStream));
}

TEST_F(SectionCacheTest, TellsContentIdentifiersOfStreamsApartThatShareAServiceId) {
    const Bytes own = SectionBytes{.table_id = 0x77, .body = {0, 1, 0, 1, 0}}.Build();
    const Bytes otherNetwork = SectionBytes{.table_id = 0x77, .body = {0, 1, 0, 2, 0}}.Build();
    const Bytes otherStream = SectionBytes{.table_id = 0x77, .body = {0, 2, 0, 1, 0}}.Build();
    Put(own);
    Put(otherStream);
    Put(otherNetwork);
    EXPECT_THAT(Table(0x77), ElementsAre(own, otherNetwork, otherStream));
}

TEST_F(SectionCacheTest, TellsUpdatesAndPlatformsApartWhoseHashesAreTheSame) {
    for (const uint8_t table_id : {uint8_t{0x4B}, uint8_t{0x4C}}) {
        const Bytes one =
            SectionBytes{.table_id = table_id, .body = {0x00, 0x01, 0x5A, 0x00}}.Build();
        const Bytes later =
            SectionBytes{.table_id = table_id, .body = {0x00, 0x01, 0x5A, 0x01}}.Build();
        const Bytes other =
            SectionBytes{.table_id = table_id, .body = {0x01, 0x00, 0x5A, 0x00}}.Build();
        Put(other);
        Put(later);
        Put(one);
        EXPECT_THAT(Table(table_id), ElementsAre(one, later, other));
    }
}

TEST_F(SectionCacheTest, TakesTheReservedBytesOfACatForNothing) {
    Put(SectionBytes{.table_id = 0x01, .table_id_extension = 0xFFFF, .version_number = 1}.Build());
    const Bytes next =
        SectionBytes{.table_id = 0x01, .table_id_extension = 0xFFFE, .version_number = 2}.Build();
    Put(next);
    EXPECT_THAT(Table(0x01), ElementsAre(next));
}

TEST_F(SectionCacheTest, KeepsNothingWhoseVersionIsNone) {
    for (const int table_id : {0x3A, 0x3B, 0x3C, 0x3D, 0x3E, 0x3F, 0x78, 0x7A}) {
        Put(SectionBytes{.table_id = static_cast<uint8_t>(table_id)}.Build());
        EXPECT_THAT(Table(static_cast<uint8_t>(table_id)), IsEmpty());
    }
    EXPECT_EQ(cache_.bytes(), 0u);
}

TEST_F(SectionCacheTest, KeepsNothingThatIsNotCurrentOrHasNoVersion) {
    Put(SectionBytes{.current_next_indicator = false}.Build());
    Put(PlainSection(0x70, {1, 2, 3, 4, 5}));
    EXPECT_THAT(Table(0x42), IsEmpty());
    EXPECT_THAT(Table(0x70), IsEmpty());
    EXPECT_EQ(cache_.bytes(), 0u);
}

TEST_F(SectionCacheTest, GivesUpTheSubTableThatWasSilentForTheLongestTime) {
    const auto section = [](uint16_t extension) {
        return SectionBytes{.table_id_extension = extension, .body = Counting(1000)}.Build();
    };
    cache_.SetLimit(3 *
                    (section(1).size() + SectionCache::kSectionCost + SectionCache::kSubTableCost));
    Put(section(1));
    Put(section(2));
    Put(section(3));
    Put(section(1));  // a repetition
    Put(section(4));
    EXPECT_THAT(Table(0x42), ElementsAre(section(1), section(3), section(4)));
    EXPECT_LE(cache_.bytes(), cache_.limit());
}

TEST_F(SectionCacheTest, NeverExceedsItsLimit) {
    cache_.SetLimit(10'000);
    for (uint16_t extension = 0; extension < 2000; ++extension) {
        for (uint8_t number = 0; number < 4; ++number) {
            Put(SectionBytes{.table_id_extension = extension,
                             .section_number = number,
                             .last_section_number = 3,
                             .body = Counting(extension % 300)}
                    .Build());
            ASSERT_LE(cache_.bytes(), 10'000u);
        }
    }
    EXPECT_GT(cache_.bytes(), 5'000u);
}

TEST_F(SectionCacheTest, GivesUpASubTableThatIsTooLargeByItself) {
    cache_.SetLimit(500);
    Put(SectionBytes{.body = Counting(1000)}.Build());
    EXPECT_THAT(Table(0x42), IsEmpty());
    EXPECT_EQ(cache_.bytes(), 0u);
}

TEST_F(SectionCacheTest, ForgetsWhenItIsToldTo) {
    Put(SectionBytes{}.Build());
    cache_.Clear();
    EXPECT_THAT(Table(0x42), IsEmpty());
    EXPECT_EQ(cache_.bytes(), 0u);
    Put(SectionBytes{}.Build());
    cache_.SetLimit(0);
    EXPECT_THAT(Table(0x42), IsEmpty());
}

TEST_F(SectionCacheTest, KnowsTheSectionsThatItKeepsByEveryByte) {
    const Bytes first = SectionBytes{.section_number = 0, .last_section_number = 8}.Build();
    const Bytes ninth = SectionBytes{.section_number = 8, .last_section_number = 8}.Build();
    EXPECT_FALSE(Renew(first));
    Put(first);
    Put(ninth);
    for (int round = 0; round < 3; ++round) {
        EXPECT_TRUE(Renew(first));
        EXPECT_TRUE(Renew(ninth));
        EXPECT_TRUE(Renew(ninth));
    }
    EXPECT_FALSE(Renew(first, 0x0012));
    const std::vector<Bytes> kept = Table(0x42);
    for (size_t i = 3; i < first.size(); ++i) {
        Bytes damaged = first;
        damaged[i] ^= 0x01;
        EXPECT_FALSE(Renew(damaged)) << i;
    }
    EXPECT_FALSE(Renew(PlainSection(0x42, Slice(first, 3)))) << "another syntax indicator";
    EXPECT_EQ(Table(0x42), kept) << "to look changes nothing";
}

TEST_F(SectionCacheTest, KnowsNoSectionThatWasReplacedOrForgotten) {
    const Bytes before = SectionBytes{.version_number = 1}.Build();
    Put(before);
    Put(SectionBytes{.version_number = 2}.Build());
    EXPECT_FALSE(Renew(before));
    cache_.Forget(kSdtPid);
    EXPECT_FALSE(Renew(SectionBytes{.version_number = 2}.Build()));
}

TEST_F(SectionCacheTest, KeepsASubTableThatIsRenewedLongerThanOthers) {
    const auto section = [](uint16_t extension) {
        return SectionBytes{.table_id_extension = extension, .body = Counting(1000)}.Build();
    };
    cache_.SetLimit(2 *
                    (section(1).size() + SectionCache::kSectionCost + SectionCache::kSubTableCost));
    Put(section(1));
    Put(section(2));
    EXPECT_TRUE(Renew(section(1)));
    Put(section(3));
    EXPECT_THAT(Table(0x42), ElementsAre(section(1), section(3)));
}

// A reference implementation of the cache, as simple as possible.
class PlainCache {
  public:
    void SetLimit(size_t limit) {
        limit_ = limit;
        MakeRoom();
    }
    void Put(uint16_t pid, SectionView section) {
        if (limit_ == 0) {
            return;
        }
        const Key key{pid, section.table_id(), section.table_id_extension()};
        SubTable fresh{key, section.version_number(), section.last_section_number(), {}};
        for (auto known = subTables_.begin(); known != subTables_.end(); ++known) {
            if (known->key == key) {
                if (known->version == fresh.version &&
                    known->last_section_number == fresh.last_section_number) {
                    fresh = *known;
                }
                subTables_.erase(known);
                break;
            }
        }
        fresh.sections[section.section_number()] =
            Bytes(section.bytes().begin(), section.bytes().end());
        subTables_.push_front(fresh);
        MakeRoom();
    }
    void Forget(uint16_t pid) {
        subTables_.remove_if(
            [pid](const SubTable& known) { return std::get<0>(known.key) == pid; });
    }
    size_t bytes() const {
        size_t sum = 0;
        for (const SubTable& subTable : subTables_) {
            sum += SectionCache::kSubTableCost;
            for (const auto& [number, bytes] : subTable.sections) {
                sum += SectionCache::kSectionCost + bytes.size();
            }
        }
        return sum;
    }
    std::vector<Bytes> Table(uint16_t pid, uint8_t table_id) const {
        std::map<Key, std::vector<Bytes>> found;
        for (const SubTable& subTable : subTables_) {
            if (std::get<0>(subTable.key) == pid && std::get<1>(subTable.key) == table_id) {
                for (const auto& [number, bytes] : subTable.sections) {
                    found[subTable.key].push_back(bytes);
                }
            }
        }
        std::vector<Bytes> sections;
        for (const auto& [key, own] : found) {
            sections.insert(sections.end(), own.begin(), own.end());
        }
        return sections;
    }

  private:
    using Key = std::tuple<uint16_t, uint8_t, uint16_t>;
    struct SubTable {
        Key key;
        uint8_t version;
        uint8_t last_section_number;
        std::map<uint8_t, Bytes> sections;
    };
    void MakeRoom() {
        while (bytes() > limit_) {
            subTables_.pop_back();
        }
    }
    size_t limit_ = 0;
    std::list<SubTable> subTables_;  // the most recently used first
};

TEST_F(SectionCacheTest, KeepsWhatAPlainCacheKeeps) {
    std::mt19937 random(3);
    const auto below = [&random](unsigned limit) { return static_cast<uint8_t>(random() % limit); };
    PlainCache plain;
    cache_.SetLimit(0);
    size_t renewed = 0;
    for (int step = 0; step < 20'000; ++step) {
        if (step % 4000 == 0) {
            const size_t limit = step == 0 ? 40'000 : random() % 40'000;
            cache_.SetLimit(limit);
            plain.SetLimit(limit);
        }
        if (random() % 500 == 0) {
            const uint16_t pid = below(3);
            cache_.Forget(pid);
            plain.Forget(pid);
        }
        const uint16_t pid = below(3);
        // Now and then many sub-tables, so that the hash table grows.
        const unsigned extensions = step / 2000 % 3 == 2 ? 200 : 4;
        const uint8_t last = below(40) == 0 ? 3 : 11;
        const Bytes bytes = SectionBytes{.table_id = static_cast<uint8_t>(0x40 + below(2)),
                                         .table_id_extension = below(extensions),
                                         .version_number = below(60) == 0 ? uint8_t{1} : uint8_t{0},
                                         .section_number = below(last + 1u),
                                         .last_section_number = last,
                                         .body = Counting(below(2) == 0 ? 20 : 300, below(2))}
                                .Build();
        const SectionView section = *SectionView::From(bytes.data(), bytes.size());
        if (cache_.Renew(pid, section)) {
            ++renewed;
        } else {
            cache_.Put(pid, section);
        }
        plain.Put(pid, section);
        ASSERT_EQ(cache_.bytes(), plain.bytes()) << step;
        if (step % 50 == 0) {
            for (uint16_t other = 0; other < 3; ++other) {
                for (const uint8_t table_id : {uint8_t{0x40}, uint8_t{0x41}}) {
                    ASSERT_EQ(Table(table_id, other), plain.Table(other, table_id)) << step;
                }
            }
        }
    }
    EXPECT_GT(renewed, 1000u);
}

}  // namespace
}  // namespace tvservice
