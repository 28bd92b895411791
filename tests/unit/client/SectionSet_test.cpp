#include "client/SectionSet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "tests/support/TsBytes.h"

namespace client {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::SectionBytes;

class SectionSetTest : public testing::Test {
  protected:
    // An EIT section of table `tableId_` with last_section_number `last_`.
    void Add(unsigned number, unsigned segmentLast) {
        const testsupport::Bytes section = SectionBytes{
            .table_id = tableId_,
            .table_id_extension = 1,
            .section_number = static_cast<uint8_t>(number),
            .last_section_number = last_,
            .body = {0, 2, 0, 3, static_cast<uint8_t>(segmentLast),
                     tableId_}}.Build();
        if (!set_) {
            set_.emplace(SectionHeader(section.data()));
        }
        set_->Add(section.data(), section.size());
    }

    uint8_t tableId_ = 0x50;
    uint8_t last_ = 0;
    std::optional<SectionSet> set_;
};

TEST_F(SectionSetTest, OtherTablesNeedEverySection) {
    for (const int tableId : {0x42, 0x4E, 0x4F, 0x70}) {
        tableId_ = static_cast<uint8_t>(tableId);
        last_ = 10;
        set_.reset();
        Add(0, 0);
        Add(8, 8);
        EXPECT_THAT(set_->Missing(), ElementsAre(1, 2, 3, 4, 5, 6, 7, 9, 10)) << tableId;
    }
}

TEST_F(SectionSetTest, AScheduleNeedsOfEachSegmentWhatItNames) {
    for (const int tableId : {0x50, 0x5F, 0x60, 0x6F}) {
        tableId_ = static_cast<uint8_t>(tableId);
        last_ = 18;
        set_.reset();
        Add(0, 1);
        EXPECT_THAT(set_->Missing(), ElementsAre(1, 8, 16)) << tableId;
        Add(1, 1);
        Add(8, 8);
        Add(18, 18);
        EXPECT_THAT(set_->Missing(), ElementsAre(16, 17));
        Add(16, 18);
        Add(17, 18);
        EXPECT_THAT(set_->Missing(), IsEmpty());
    }
}

TEST_F(SectionSetTest, TheNewestSectionOfASegmentSaysHowFarItGoes) {
    last_ = 7;
    Add(0, 3);
    EXPECT_THAT(set_->Missing(), ElementsAre(1, 2, 3));
    Add(1, 1);
    EXPECT_THAT(set_->Missing(), IsEmpty());
    Add(0, 2);
    EXPECT_THAT(set_->Missing(), ElementsAre(2));
}

TEST_F(SectionSetTest, ASegmentThatNamesASectionOutsideItselfIsNeededToItsEnd) {
    last_ = 17;
    Add(0, 8);
    EXPECT_THAT(set_->Missing(), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 16));
    Add(8, 7);
    EXPECT_THAT(set_->Missing(), ElementsAre(1, 2, 3, 4, 5, 6, 7, 9, 10, 11, 12, 13, 14, 15, 16));
    Add(16, 18);  // above last_section_number
    EXPECT_THAT(set_->Missing(), ElementsAre(1, 2, 3, 4, 5, 6, 7, 9, 10, 11, 12, 13, 14, 15, 17));
}

TEST_F(SectionSetTest, EndsWithSection255) {
    last_ = 255;
    for (unsigned segment = 0; segment < 32; ++segment) {
        Add(8 * segment, 8 * segment);
    }
    EXPECT_THAT(set_->Missing(), IsEmpty());
    Add(248, 255);
    EXPECT_THAT(set_->Missing(), ElementsAre(249, 250, 251, 252, 253, 254, 255));
}

}  // namespace
}  // namespace client
