#include "platform/TCDVBCATParser.h"

#include "platform/TCBaseDesc.h"
#include "tests/unit/table/TableFixture.h"

namespace {

class CATParserPlatformTest : public testing::Test {
  protected:
    bool FeedCat(const Bytes& loop, int number = 0, int last = 0, int version = 0) {
        return Feed(parser_, {.table_id = 0x01,
                              .table_id_extension = 0xFFFF,
                              .version_number = static_cast<uint8_t>(version),
                              .section_number = static_cast<uint8_t>(number),
                              .last_section_number = static_cast<uint8_t>(last),
                              .body = loop});
    }
    TCDVBCATParser parser_{TVSHandle(1, 0)};
};

TEST_F(CATParserPlatformTest, JoinsTheSectionsInTheirOrder) {
    EXPECT_TRUE(FeedCat(Join({Mark(3), {0x09, 4, 1, 2, 3, 4}}), 1, 1));
    EXPECT_FALSE(parser_.IsValid());
    EXPECT_TRUE(FeedCat(Join({Mark(1), Mark(2)}), 0, 1));
    EXPECT_TRUE(parser_.IsValid());
    EXPECT_EQ(parser_.NumOfDescriptors(), 4);
    EXPECT_EQ(parser_.NumOfDescriptors(0x80), 3);
    EXPECT_EQ(parser_.NumOfDescriptors(0x09), 1);
    unsigned char bytes[3];
    int length = 3;
    parser_.Descriptor(0x80, 2)->GetDescriptor(bytes, &length);
    EXPECT_EQ(bytes[2], 3);
    EXPECT_EQ(parser_.Descriptor(0x80, 3), nullptr);
    EXPECT_EQ(parser_.DescriptorByIndex(4), nullptr);
    EXPECT_EQ(parser_.Descriptor(0x09, 0), parser_.DescriptorByIndex(3));
}

TEST_F(CATParserPlatformTest, AnotherVersionStartsAfresh) {
    FeedCat(Mark(1), 0, 1, 1);
    FeedCat(Mark(2), 1, 1, 1);
    EXPECT_TRUE(FeedCat(Mark(3), 1, 1, 0));
    EXPECT_FALSE(parser_.IsValid());
    EXPECT_THAT(Marks(parser_), ElementsAre(3));
    EXPECT_EQ(parser_.VersionNumber(), 0);
}

TEST_F(CATParserPlatformTest, DoesNotLookAtItsReservedBytes) {
    const auto feed = [this](uint8_t number, uint16_t reserved) {
        return Feed(parser_, {.table_id = 0x01,
                              .table_id_extension = reserved,
                              .section_number = number,
                              .last_section_number = 1,
                              .body = Mark(number)});
    };
    EXPECT_TRUE(feed(0, 0xFFFF));
    EXPECT_TRUE(feed(1, 0xFFFE));
    EXPECT_TRUE(parser_.IsValid());
    EXPECT_THAT(Marks(parser_), ElementsAre(0, 1));
}

TEST_F(CATParserPlatformTest, MayBeEmpty) {
    EXPECT_TRUE(FeedCat({}));
    EXPECT_TRUE(parser_.IsValid());
    EXPECT_EQ(parser_.NumOfDescriptors(), 0);
}

TEST_F(CATParserPlatformTest, CutsTheLoopAtADescriptorThatOverrunsIt) {
    EXPECT_TRUE(FeedCat(Join({Mark(1), {0x09, 9, 1}})));
    EXPECT_THAT(Marks(parser_), ElementsAre(1));
    EXPECT_EQ(TakeOverruns(), 1u);
    EXPECT_TRUE(FeedCat(Join({Mark(1), {0x09, 9, 1}})));
    EXPECT_EQ(TakeOverruns(), 0u) << "a repeat is not decoded again";
}

TEST_F(CATParserPlatformTest, ResetForgetsEverything) {
    FeedCat(Mark(1));
    parser_.Reset();
    EXPECT_FALSE(parser_.IsValid());
    EXPECT_EQ(parser_.NumOfDescriptors(), 0);
}

}  // namespace
