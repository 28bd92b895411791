#include "softplatform/table/SubTable.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/support/TsBytes.h"

namespace tvservice {
namespace {

using testsupport::Bytes;
using testsupport::Counting;
using testsupport::PlainSection;
using testsupport::SectionBytes;
using Change = SubTable::Change;

class SubTableTest : public testing::Test {
  protected:
    static SectionView View(const Bytes& bytes) {
        return SectionView::From(bytes.data(), bytes.size()).value();
    }
    Change Feed(const SectionBytes& fields) {
        const Bytes bytes = fields.Build();
        const Change change = table_.Judge(View(bytes));
        table_.Store(View(bytes), pool_);
        return change;
    }
    std::vector<int> Numbers() const {
        std::vector<int> numbers;
        for (int number = 0; number <= table_.last_section_number(); ++number) {
            if (table_.section(static_cast<size_t>(number))) {
                numbers.push_back(number);
            }
        }
        return numbers;
    }

    ArenaPool pool_;
    SubTable table_;
};

TEST_F(SubTableTest, IsCompleteWhenAllSectionsOfOneVersionAreHeld) {
    EXPECT_FALSE(table_.complete());
    EXPECT_EQ(Feed({.version_number = 3, .section_number = 1, .last_section_number = 2}),
              Change::kAfresh);
    EXPECT_EQ(Feed({.version_number = 3, .section_number = 2, .last_section_number = 2}),
              Change::kSection);
    EXPECT_FALSE(table_.complete());
    EXPECT_EQ(Feed({.version_number = 3, .section_number = 0, .last_section_number = 2}),
              Change::kSection);
    EXPECT_TRUE(table_.complete());
    EXPECT_EQ(table_.version_number(), 3);
    EXPECT_EQ(table_.last_section_number(), 2);
    EXPECT_EQ(Numbers(), std::vector<int>({0, 1, 2}));
}

TEST_F(SubTableTest, HoldsUpTo256Sections) {
    for (int number = 255; number >= 0; --number) {
        EXPECT_FALSE(table_.complete());
        Feed({.section_number = static_cast<uint8_t>(number), .last_section_number = 255});
    }
    EXPECT_TRUE(table_.complete());
}

class ScheduleTest : public SubTableTest {
  protected:
    static SectionBytes Schedule(int number, int last, int segmentLast, uint8_t tableId = 0x50) {
        return {.table_id = tableId,
                .section_number = static_cast<uint8_t>(number),
                .last_section_number = static_cast<uint8_t>(last),
                .body = {0, 1, 0, 2, static_cast<uint8_t>(segmentLast), 0x50}};
    }
};

TEST_F(ScheduleTest, NeedsOfEachSegmentTheSectionsUpToItsLastOne) {
    for (const uint8_t tableId : Bytes{0x50, 0x5F, 0x60, 0x6F}) {
        table_.Clear();
        Feed(Schedule(0, 17, 1, tableId));
        Feed(Schedule(8, 17, 8, tableId));
        Feed(Schedule(16, 17, 17, tableId));
        Feed(Schedule(17, 17, 17, tableId));
        EXPECT_FALSE(table_.complete()) << "section 1 is missing";
        Feed(Schedule(1, 17, 1, tableId));
        EXPECT_TRUE(table_.complete());
    }
}

TEST_F(ScheduleTest, NeedsASectionOfEverySegment) {
    Feed(Schedule(0, 23, 0));
    Feed(Schedule(16, 23, 16));
    EXPECT_FALSE(table_.complete()) << "no section of the second segment came";
    Feed(Schedule(9, 23, 8));
    EXPECT_FALSE(table_.complete()) << "the first section of the second segment is missing";
    Feed(Schedule(8, 23, 8));
    EXPECT_TRUE(table_.complete());
}

TEST_F(ScheduleTest, TheNewestSectionOfASegmentTellsItsLastOne) {
    Feed(Schedule(0, 7, 2));
    Feed(Schedule(1, 7, 1));
    EXPECT_TRUE(table_.complete());
    Feed(Schedule(0, 7, 3));
    EXPECT_FALSE(table_.complete());
}

TEST_F(ScheduleTest, ALastSectionOutsideItsSegmentIsTheEndOfTheSegment) {
    for (const int outside : {0, 7, 14, 255}) {
        table_.Clear();
        Feed(Schedule(0, 13, 0));
        for (const int number : {8, 9, 10, 11, 12}) {
            Feed(Schedule(number, 13, outside));
        }
        EXPECT_FALSE(table_.complete()) << outside;
        Feed(Schedule(13, 13, outside));
        EXPECT_TRUE(table_.complete()) << outside;
    }
}

TEST_F(ScheduleTest, AnotherVersionForgetsTheSegments) {
    Feed(Schedule(0, 8, 0));
    Feed(Schedule(8, 8, 8));
    SectionBytes other = Schedule(0, 8, 0);
    other.version_number = 9;
    Feed(other);
    EXPECT_FALSE(table_.complete());
}

TEST_F(ScheduleTest, PresentAndFollowingHasNoSegments) {
    for (const uint8_t tableId : Bytes{0x4E, 0x4F, 0x70}) {
        table_.Clear();
        Feed(Schedule(0, 1, 0, tableId));
        EXPECT_FALSE(table_.complete());
        Feed(Schedule(1, 1, 0, tableId));
        EXPECT_TRUE(table_.complete());
    }
}

TEST_F(SubTableTest, KnowsARepeat) {
    Feed({.body = Counting(10)});
    EXPECT_EQ(Feed({.body = Counting(10)}), Change::kRepeat);
}

TEST_F(SubTableTest, TakesAChangedSectionOfTheSameVersionInPlaceOfTheOldOne) {
    Feed({.section_number = 0, .last_section_number = 1, .body = Counting(10)});
    Feed({.section_number = 1, .last_section_number = 1});
    EXPECT_EQ(Feed({.section_number = 0, .last_section_number = 1, .body = Counting(11)}),
              Change::kSection);
    EXPECT_TRUE(table_.complete());
    EXPECT_EQ(table_.section(0).value().body().size(), 11u);
}

TEST_F(SubTableTest, StartsAfreshWithAnyOtherVersion) {
    const SectionBytes held{.version_number = 5, .section_number = 0, .last_section_number = 1};
    for (const SectionBytes& other :
         {SectionBytes{.version_number = 6, .section_number = 1, .last_section_number = 1},
          SectionBytes{.version_number = 4, .section_number = 1, .last_section_number = 1},
          SectionBytes{.version_number = 5, .section_number = 1, .last_section_number = 2},
          SectionBytes{.table_id_extension = 9,
          .version_number = 5,
          .section_number = 1,
          .last_section_number = 1},
          SectionBytes{.table_id = 0x46,
          .version_number = 5,
          .section_number = 1,
          .last_section_number = 1}}) {
        table_.Clear();
        Feed(held);
        EXPECT_EQ(Feed(other), Change::kAfresh);
        EXPECT_EQ(Numbers(), std::vector<int>({1}));
        EXPECT_FALSE(table_.complete());
        EXPECT_EQ(table_.version_number(), other.version_number);
    }
}

TEST_F(SubTableTest, JudgingChangesNothing) {
    Feed({.version_number = 1});
    const Bytes other = SectionBytes{.version_number = 2}.Build();
    EXPECT_EQ(table_.Judge(View(other)), Change::kAfresh);
    EXPECT_EQ(table_.version_number(), 1);
    EXPECT_TRUE(table_.complete());
}

TEST_F(SubTableTest, ClearedHoldsNothing) {
    Feed({.version_number = 7});
    table_.Clear();
    EXPECT_FALSE(table_.complete());
    EXPECT_EQ(table_.version_number(), 0);
    EXPECT_FALSE(table_.section(0));
    EXPECT_EQ(Feed({.version_number = 7}), Change::kAfresh);
}

TEST(ApplicableSection, IsOneOfTheTablesAskedFor) {
    const Bytes bytes = SectionBytes{.table_id = 0x46}.Build();
    EXPECT_TRUE(ApplicableSection(bytes.data(), 0x42, 0x46));
    EXPECT_TRUE(ApplicableSection(bytes.data(), 0x46, 0x46));
    EXPECT_FALSE(ApplicableSection(bytes.data(), 0x42, 0x45));
    EXPECT_FALSE(ApplicableSection(bytes.data(), 0x47, 0x4F));
}

TEST(ApplicableSection, IsNoneWithoutBytes) {
    EXPECT_FALSE(ApplicableSection(nullptr, 0, 255));
}

TEST(ApplicableSection, ReadsNothingButTheTableIdOfAnotherTable) {
    const Bytes stuffing{0xFF};
    EXPECT_FALSE(ApplicableSection(stuffing.data(), 0x00, 0x00));
}

TEST(ApplicableSection, HasSyntax) {
    EXPECT_FALSE(ApplicableSection(PlainSection(0x42, Counting(20)).data(), 0x42, 0x42));
}

TEST(ApplicableSection, IsCurrent) {
    const Bytes bytes = SectionBytes{.current_next_indicator = false}.Build();
    EXPECT_FALSE(ApplicableSection(bytes.data(), 0x42, 0x42));
}

TEST(ApplicableSection, HasARoomForItsHeaderAndCrc) {
    Bytes bytes = SectionBytes{}.Build();
    bytes[2] = 8;  // section_length
    EXPECT_FALSE(ApplicableSection(bytes.data(), 0x42, 0x42));
}

TEST(ApplicableSection, IsNotBeyondTheLastOne) {
    const Bytes bytes = SectionBytes{.section_number = 2, .last_section_number = 1}.Build();
    EXPECT_FALSE(ApplicableSection(bytes.data(), 0x42, 0x42));
}

}  // namespace
}  // namespace tvservice
