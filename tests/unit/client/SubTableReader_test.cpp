#include "client/SubTableReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <optional>

#include "tests/support/TsBytes.h"

namespace client {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testsupport::SectionBytes;

constexpr unsigned char kRefusedVersion = 31;

/// The reader keeps of a sub-table its version and the number of sections that it was read from. It
/// refuses sections with kRefusedVersion.
struct CountingTable {
    using Key = unsigned short;
    struct Snapshot {
        int version;
        std::size_t sections;
    };

    static Key KeyOf(unsigned short, const unsigned char* data, unsigned short) {
        return SectionHeader(data).tableIdExtension;
    }
    static std::optional<Snapshot> Read(unsigned short, Sections& sections) {
        const SectionHeader header(sections.begin()->second.data());
        if (header.version == kRefusedVersion) {
            return std::nullopt;
        }
        ++timesRead;
        return Snapshot{header.version, sections.size()};
    }

    static inline int timesRead = 0;
};

class SubTableReaderTest : public testing::Test {
  protected:
    SubTableReaderTest() { CountingTable::timesRead = 0; }

    struct Section {
        unsigned extension = 7;
        unsigned number = 0;
        unsigned last = 0;
        size_t bodySize = 0;
        uint8_t version = 0;
        uint8_t filling = 0;
        size_t cutBy = 0;  // bytes that are not delivered
    };

    void Feed(const Section& section) {
        testsupport::Bytes bytes =
            SectionBytes{.table_id = 0x40,
                         .table_id_extension = static_cast<uint16_t>(section.extension),
                         .version_number = section.version,
                         .section_number = static_cast<uint8_t>(section.number),
                         .last_section_number = static_cast<uint8_t>(section.last),
                         .body = testsupport::Bytes(section.bodySize, section.filling)}
                .Build();
        bytes.resize(bytes.size() - section.cutBy);
        reader_.OnSectionReceived(1, 0x10, static_cast<unsigned short>(bytes.size()), bytes.data());
    }

    // A sub-table of 256 large sections.
    void FeedLarge(unsigned extension) {
        for (unsigned number = 0; number < 256; ++number) {
            Feed({.extension = extension, .number = number, .last = 255, .bodySize = kLarge});
        }
    }

    bool IsWhole(unsigned short extension) const { return reader_.Whole().count(extension) != 0; }
    int VersionOf(unsigned short extension) const { return reader_.Whole().at(extension)->version; }

    using Reader = SubTableReader<CountingTable>;
    static constexpr size_t kLarge = 4000;
    static constexpr unsigned kFit = Reader::kMaxBytes / (256 * (kLarge + 12));  // large sub-tables
    Reader reader_;
};

TEST_F(SubTableReaderTest, ReadsASubTableOnceWhenAllItsSectionsHaveCome) {
    Feed({.number = 1, .last = 2});
    Feed({.number = 2, .last = 2});
    Feed({.number = 1, .last = 2});
    EXPECT_THAT(reader_.Whole(), IsEmpty());
    EXPECT_THAT(reader_.Unfinished(), ElementsAre(Pair(7, ElementsAre(0))));
    for (int repeat = 0; repeat < 3; ++repeat) {
        Feed({.number = 0, .last = 2});
        Feed({.number = 1, .last = 2});
    }
    EXPECT_EQ(reader_.Whole().at(7)->sections, 3u);
    EXPECT_THAT(reader_.Unfinished(), IsEmpty());
    EXPECT_EQ(CountingTable::timesRead, 1);
}

TEST_F(SubTableReaderTest, AVersionCountsUntilTheNextOneIsComplete) {
    Feed({});
    Feed({.number = 0, .last = 1, .version = 5});
    EXPECT_EQ(VersionOf(7), 0);
    EXPECT_THAT(reader_.Unfinished(), IsEmpty()) << "a complete version is there";
    Feed({.number = 1, .last = 1, .version = 5});
    EXPECT_EQ(VersionOf(7), 5);
}

TEST_F(SubTableReaderTest, ASectionThatChangedWithinAVersionBeginsItAnew) {
    Feed({.number = 0, .last = 1, .bodySize = 1});
    Feed({.number = 0, .last = 1, .bodySize = 1, .filling = 9});
    Feed({.number = 1, .last = 1, .bodySize = 1});
    EXPECT_TRUE(IsWhole(7));
    Feed({.number = 1, .last = 1, .bodySize = 1, .filling = 9});
    Feed({.number = 0, .last = 1, .bodySize = 1});
    EXPECT_EQ(CountingTable::timesRead, 2);
}

TEST_F(SubTableReaderTest, ASubTableThatAParserRefusesLacksNoSection) {
    Feed({.version = kRefusedVersion});
    EXPECT_THAT(reader_.Unfinished(), ElementsAre(Pair(7, IsEmpty())));
    EXPECT_THAT(reader_.Partial(0x10), IsEmpty());
}

TEST_F(SubTableReaderTest, PartialReadsEachSectionOfAnUnfinishedSubTableByItself) {
    Feed({.extension = 6});
    Feed({.number = 3, .last = 3, .version = 2});
    Feed({.number = 0, .last = 3, .version = 2});
    const auto partial = reader_.Partial(0x10);
    ASSERT_EQ(partial.size(), 1u);
    ASSERT_EQ(partial.at(7).size(), 2u);
    EXPECT_EQ(partial.at(7)[1].sections, 1u);
    EXPECT_EQ(partial.at(7)[1].version, 2);
}

TEST_F(SubTableReaderTest, ASectionNumberAboveTheLastOneIsNotHeld) {
    Feed({.number = 2, .last = 1});
    EXPECT_THAT(reader_.Unfinished(), ElementsAre(Pair(7, ElementsAre(0, 1))));
}

TEST_F(SubTableReaderTest, LeavesOutASectionThatWasDeliveredInPart) {
    Feed({.bodySize = 20, .cutBy = 1});
    EXPECT_THAT(reader_.Unfinished(), IsEmpty());
    EXPECT_THAT(reader_.Whole(), IsEmpty());
}

TEST_F(SubTableReaderTest, TakesSoManySubTablesAndNamesTheFirstThatFindsNoRoom) {
    const unsigned most = Reader::kMaxSubTables;
    for (unsigned extension = 0; extension < most + 500; ++extension) {
        Feed({.extension = extension});
    }
    EXPECT_EQ(reader_.Whole().size(), most);
    EXPECT_THAT(reader_.Unfinished(), ElementsAre(Pair(most, ElementsAre(0))));
    Feed({.extension = 3, .version = 1});
    EXPECT_EQ(VersionOf(3), 1) << "a known sub-table is still updated";
}

TEST_F(SubTableReaderTest, TakesSoManyBytesAndANewVersionGivesThemBack) {
    for (unsigned extension = 0; extension < kFit + 2; ++extension) {
        FeedLarge(extension);
    }
    EXPECT_EQ(reader_.Whole().size(), kFit);
    ASSERT_EQ(reader_.Unfinished().size(), 1u) << "the incomplete one is named";
    EXPECT_EQ(reader_.Unfinished().begin()->first, kFit);
    for (unsigned extension = 0; extension < kFit; ++extension) {
        FeedLarge(extension);
    }
    EXPECT_EQ(reader_.Whole().size(), kFit) << "repeats need no room";

    Feed({.extension = 1000, .bodySize = kLarge});
    EXPECT_FALSE(IsWhole(1000));
    Feed({.extension = 0, .version = 1});  // replaces 256 sections
    EXPECT_EQ(VersionOf(0), 1);
    Feed({.extension = 1000, .bodySize = kLarge});
    EXPECT_TRUE(IsWhole(1000));
}

TEST_F(SubTableReaderTest, ACompleteVersionThatLosesAChangeForLackOfRoomIsUnfinished) {
    for (unsigned extension = 0; extension < kFit; ++extension) {
        FeedLarge(extension);
    }
    for (unsigned number = 0; number < 30; ++number) {
        Feed({.extension = 0, .number = number, .last = 255, .bodySize = kLarge, .version = 1});
    }
    EXPECT_FALSE(IsWhole(0));
    EXPECT_EQ(reader_.Unfinished().count(0), 1u);
}

TEST_F(SubTableReaderTest, CountsACompleteVersionUntilAnotherOneIsComplete) {
    for (unsigned extension = 0; extension < kFit; ++extension) {
        FeedLarge(extension);
    }
    for (unsigned round = 1; round <= 3; ++round) {
        for (unsigned extension = 0; extension < kFit; ++extension) {
            Feed({.extension = extension,  // begun, not complete
                  .number = 1,
                  .last = 1,
                  .version = static_cast<uint8_t>(round)});
        }
        EXPECT_EQ(reader_.Whole().size(), kFit);
    }
    for (unsigned number = 1; number < 25; ++number) {  // fills the room that is left
        Feed({.extension = 1000, .number = number, .last = 255, .bodySize = kLarge});
    }
    Feed({.extension = 1001, .bodySize = kLarge});
    EXPECT_FALSE(IsWhole(1001)) << "every complete sub-table is still held";
    Feed({.extension = 0, .number = 0, .last = 1, .version = 3});
    EXPECT_EQ(VersionOf(0), 3);
    Feed({.extension = 1001, .bodySize = kLarge});
    EXPECT_TRUE(IsWhole(1001));
}

}  // namespace
}  // namespace client
