// The tables as they come to `SubTableReader`: what repeats itself in them is there once, and costs
// no more than that.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "client/CatTable.h"
#include "client/NitTable.h"
#include "client/PmtTable.h"
#include "client/Records.h"
#include "client/SdtTable.h"
#include "client/SubTableReader.h"
#include "generator/Descriptors.h"
#include "generator/Tables.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tests/support/TsBytes.h"

namespace client {
namespace {

using testing::ElementsAre;
using testing::Pair;
using testsupport::Join;
using testsupport::SectionBytes;

// Counts how often two of its kind are compared.
struct Counted {
    int value;
    static inline std::size_t comparisons = 0;
    bool operator<(const Counted& other) const {
        ++comparisons;
        return value < other.value;
    }
};

TEST(Distinct, KeepsTheOrderInWhichValuesCame) {
    Distinct<int> values;
    for (const int value : {5, 3, 5, 9, 3, 1}) {
        values.Add(value);
    }
    EXPECT_EQ(values.Release(), (std::vector<int>{5, 3, 9, 1}));
}

TEST(Distinct, ComparesAValueWithFewOfTheOthers) {
    constexpr int kValues = 20000;
    Distinct<Counted> values;
    for (int value = 0; value < kValues; ++value) {
        values.Add({value});
    }
    EXPECT_EQ(values.Release().size(), std::size_t{kValues});
    EXPECT_GT(Counted::comparisons, 0u);
    EXPECT_LT(Counted::comparisons, 40u * kValues);
}

TEST(SdtTable, AServiceThatIsRepeatedIsOneWithTheDescriptorsOfAll) {
    constexpr std::size_t kEntries = 100;
    const generator::SdtService service{.service_id = 7,
                                        .descriptors = {generator::ServiceDescriptor(1, "p", "n")}};
    generator::Sections sections =
        generator::MakeSdt(generator::Scope::kActual,
                           {.transport_stream_id = 2,
                            .original_network_id = 3,
                            .services = std::vector<generator::SdtService>(kEntries, service)},
                           {.max_section_size = 4096});
    ASSERT_EQ(sections.size(), 1u);
    SdtTable table;
    SdtTable::Snapshot services;
    ASSERT_TRUE(table.Take(0x11, sections[0].data(), services));
    ASSERT_EQ(services.size(), 1u);
    EXPECT_EQ(services[0].serviceId, 7u);
    EXPECT_EQ(services[0].descriptors.size(), kEntries);
}

TEST(NitTable, LinkagesAreThereOnceEachInTheirOrder) {
    const generator::Bytes first = generator::SsuLinkageDescriptor({1, 2, 3}, {{0x00015A, {1}}});
    const generator::Bytes otherOffer =
        generator::SsuLinkageDescriptor({1, 2, 3}, {{0x00015A, {2}}});
    const generator::Bytes scan = generator::SsuScanLinkageDescriptor({4, 5, 6}, 2);
    const generator::Bytes otherScan = generator::SsuScanLinkageDescriptor({4, 5, 6}, 1);
    generator::Sections sections = generator::MakeNit(
        generator::Scope::kActual,
        {.id = 9, .descriptors = {otherOffer, first, scan, first, otherScan, scan, otherOffer}});
    ASSERT_EQ(sections.size(), 1u);
    NitTable table(true);
    NitTable::Snapshot network{};
    ASSERT_TRUE(table.Take(0x10, sections[0].data(), network));
    ASSERT_EQ(network.ssuLinkages.size(), 2u);
    EXPECT_EQ(network.ssuLinkages[0].offers, (std::vector<SsuOffer>{{0x00015A, Bytes{2}}}));
    EXPECT_EQ(network.ssuLinkages[1].offers, (std::vector<SsuOffer>{{0x00015A, Bytes{1}}}));
    EXPECT_EQ(network.ssuScanLinkages,
              (std::vector<SsuScanLinkage>{{false, 5, 4, 6}, {true, 5, 4, 6}}));
}

TEST(CatTable, ItsReservedBytesDoNotBeginItAnew) {
    SubTableReader<CatTable> cats;
    for (const std::uint8_t number : {std::uint8_t{0}, std::uint8_t{1}}) {
        const auto system = static_cast<std::uint16_t>(0x0500 + number);
        testsupport::Bytes section =
            SectionBytes{.table_id = 0x01,
                         .table_id_extension = static_cast<std::uint16_t>(0xFFFF - number),
                         .section_number = number,
                         .last_section_number = 1,
                         .body = generator::CaDescriptor(system, 0x0100)}
                .Build();
        cats.OnSectionReceived(1, 0x0001, static_cast<unsigned short>(section.size()),
                               section.data());
    }
    EXPECT_THAT(cats.Whole(), ElementsAre(Pair(0, ElementsAre(0x0500u, 0x0501u))));
}

class PmtTableTest : public testing::Test {
  protected:
    PmtTableTest() { tvservice::SetLogPriority(7); }

    // Section `number` of so many, with one stream that has an update of its own.
    static std::vector<std::uint8_t> Section(unsigned number, unsigned count) {
        const auto byte = static_cast<std::uint8_t>(number);
        const generator::Bytes offer =
            generator::SsuDataBroadcastIdDescriptor({{.OUI = 0x00015A, .selector = {byte}}});
        return SectionBytes{
            .table_id = 0x02,
            .table_id_extension = 1,
            .section_number = byte,
            .last_section_number = static_cast<std::uint8_t>(count - 1),
            .body = Join({{0xE1, 0x00, 0xF0, 0x00},  // PCR_PID, no descriptors
                          {0x0B, 0xE1, byte, 0xF0, static_cast<std::uint8_t>(offer.size())},
                          offer})}
            .Build();
    }

    // Whether a PMT of so many sections becomes complete.
    bool Take(unsigned count) {
        bool isWhole = false;
        for (unsigned number = 0; number < count; ++number) {
            std::vector<std::uint8_t> section = Section(number, count);
            program_ = {};
            isWhole = table_.Take(0x100, section.data(), program_);
        }
        return isWhole;
    }

    PmtTable table_;
    PmtTable::Snapshot program_{};
};

TEST_F(PmtTableTest, TheUpdatesOfSeveralSectionsAreThereOnceEach) {
    ASSERT_TRUE(Take(16));
    EXPECT_EQ(program_.streams.size(), 16u);
    ASSERT_EQ(program_.ssu.size(), 16u);
    for (unsigned number = 0; number < 16; ++number) {
        EXPECT_EQ(program_.ssu[number].pid, 0x100 + number);
    }
}

TEST_F(PmtTableTest, OneOfMoreSectionsThanSixteenIsRefused) {
    EXPECT_FALSE(Take(17));
    EXPECT_FALSE(Take(256));
}

}  // namespace
}  // namespace client
