#include "client/SubTableReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>

#include "tests/support/TsBytes.h"

namespace client {
namespace {

using testsupport::SectionBytes;

/// A sub-table is whole with its section 0; what is kept of it is its version and how many sections
/// it was fed.
struct CountingTable {
    using Key = unsigned short;
    struct Snapshot {
        int version = -1;
        int fed = 0;
    };

    static Key KeyOf(unsigned short, const unsigned char* data, unsigned short) {
        return SectionHeader(data).tableIdExtension;
    }
    bool Take(unsigned short, unsigned char* data, Snapshot& snapshot) {
        isWhole_ = isWhole_ || SectionHeader(data).sectionNumber == 0;
        snapshot = {SectionHeader(data).version, ++fed_};
        return isWhole_;
    }

  private:
    bool isWhole_ = false;
    int fed_ = 0;
};

class SubTableReaderTest : public testing::Test {
  protected:
    void Feed(unsigned extension, unsigned number = 0, size_t bodySize = 0, uint8_t version = 0) {
        testsupport::Bytes section =
            SectionBytes{.table_id = 0x40,
                         .table_id_extension = static_cast<uint16_t>(extension),
                         .version_number = version,
                         .section_number = static_cast<uint8_t>(number),
                         .last_section_number = 255,
                         .body = testsupport::Bytes(bodySize)}
                .Build();
        reader_.OnSectionReceived(1, 0x10, static_cast<unsigned short>(section.size()),
                                  section.data());
    }

    int FedTo(unsigned short extension) const { return reader_.Whole().at(extension).fed; }

    using Reader = SubTableReader<CountingTable>;
    Reader reader_;
};

TEST_F(SubTableReaderTest, FeedsEachDistinctSectionOnce) {
    Feed(7);
    Feed(7);
    Feed(7, 1);
    Feed(7);
    EXPECT_EQ(FedTo(7), 2);
}

TEST_F(SubTableReaderTest, AnotherVersionGetsAFreshTable) {
    Feed(7);
    Feed(7, 1);
    Feed(7, 0, 0, 5);
    EXPECT_EQ(reader_.Whole().at(7).version, 5);
    EXPECT_EQ(FedTo(7), 1);
}

TEST_F(SubTableReaderTest, TakesSoManySubTablesAndNamesTheFirstThatFindsNoRoom) {
    const unsigned most = Reader::kMaxSubTables;
    for (unsigned extension = 0; extension < most + 500; ++extension) {
        Feed(extension);
    }
    EXPECT_EQ(reader_.Whole().size(), most);
    EXPECT_EQ(reader_.Begun().size(), most + 1);
    EXPECT_EQ(reader_.Begun().count(static_cast<unsigned short>(most)), 1u);
    EXPECT_EQ(reader_.Whole().count(static_cast<unsigned short>(most)), 0u);
    Feed(3, 1);
    EXPECT_EQ(FedTo(3), 2) << "a sub-table that is known goes on";
}

TEST_F(SubTableReaderTest, TakesSoManyBytesAndANewVersionGivesThemBack) {
    constexpr size_t kBodySize = 4000;
    constexpr unsigned kSections = 256;
    constexpr unsigned kFit = Reader::kMaxBytes / (kSections * (kBodySize + 12));  // sub-tables
    for (unsigned n = 0; n < (kFit + 2) * kSections; ++n) {
        Feed(n / kSections, n % kSections, kBodySize);
    }
    EXPECT_EQ(reader_.Whole().size(), kFit);
    EXPECT_EQ(reader_.Begun().size(), kFit + 1) << "the one that was cut short is named";
    EXPECT_EQ(FedTo(0), 256);
    EXPECT_EQ(FedTo(kFit - 1), 256);

    Feed(1000, 0, kBodySize);
    EXPECT_EQ(reader_.Whole().count(1000), 0u);
    Feed(0, 0, 0, 1);  // in the place of 256 sections
    EXPECT_EQ(reader_.Whole().at(0).version, 1);
    Feed(1000, 0, kBodySize);
    EXPECT_EQ(reader_.Whole().count(1000), 1u);
}

TEST_F(SubTableReaderTest, CountsACompleteVersionUntilAnotherOneIsComplete) {
    constexpr size_t kBodySize = 4000;
    constexpr unsigned kSections = 256;
    constexpr unsigned kFit = Reader::kMaxBytes / (kSections * (kBodySize + 12));
    for (unsigned n = 0; n < kFit * kSections; ++n) {
        Feed(n / kSections, n % kSections, kBodySize);
    }
    for (unsigned round = 1; round <= 3; ++round) {
        for (unsigned extension = 0; extension < kFit; ++extension) {
            Feed(extension, 1, 0, static_cast<uint8_t>(round));  // begun, not complete
        }
        EXPECT_EQ(reader_.Whole().size(), kFit);
    }
    for (unsigned number = 1; number < 25; ++number) {
        Feed(1000, number, kBodySize);  // what room is left
    }
    Feed(1001, 0, kBodySize);
    EXPECT_EQ(reader_.Whole().count(1001), 0u) << "all that was complete is still held";
    Feed(0, 0, 0, 3);
    EXPECT_EQ(reader_.Whole().at(0).version, 3);
    Feed(1001, 0, kBodySize);
    EXPECT_EQ(reader_.Whole().count(1001), 1u);
}

}  // namespace
}  // namespace client
