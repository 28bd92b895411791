// The tables that `SubTableReader` gives. Content that sections repeat is kept only once and costs
// nothing more.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <tuple>
#include <utility>
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
using testing::Pointee;
using testsupport::Join;
using testsupport::SectionBytes;

template <class Table>
std::optional<typename Table::Snapshot> Read(unsigned short pid,
                                             const generator::Sections& sections) {
    Sections byNumber;
    for (const generator::Bytes& section : sections) {
        byNumber[section[6]] = section;
    }
    return Table::Read(pid, byNumber);
}

// A descriptor of a list: its tag, specifier, recorded extension and bytes.
using Shown = std::tuple<int, std::optional<unsigned>, std::optional<unsigned char>, Bytes>;

std::vector<Shown> ShownOf(const DescriptorList& list) {
    std::vector<Shown> shown;
    for (const Descriptor& descriptor : list) {
        shown.emplace_back(descriptor.tag, descriptor.privateDataSpecifier,
                           descriptor.recordedExtension,
                           Bytes(descriptor.data, descriptor.data + descriptor.size));
    }
    return shown;
}

// Counts how often two objects of this class are compared.
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
    const auto services = Read<SdtTable>(0x11, sections);
    ASSERT_TRUE(services);
    ASSERT_EQ(services->size(), 1u);
    EXPECT_EQ((*services)[0].serviceId, 7u);
    EXPECT_EQ((*services)[0].descriptors.size(), kEntries);
}

TEST(SdtTable, TheSectionsOfAServiceComeTogetherInTheOrderOfTheirNumbers) {
    const auto service = [](unsigned id, unsigned char tag) {
        return generator::SdtService{.service_id = static_cast<std::uint16_t>(id),
                                     .descriptors = {{tag, 0}}};
    };
    const generator::Sections sections = generator::MakeSdt(
        generator::Scope::kActual,
        {.transport_stream_id = 2,
         .original_network_id = 3,
         .services = {service(9, 0x81), service(7, 0x82), service(9, 0x83), service(1, 0x84)}},
        {.entries_per_section = 1});
    ASSERT_EQ(sections.size(), 4u);
    const auto services =
        Read<SdtTable>(0x11, {sections[2], sections[0], sections[3], sections[1]});
    ASSERT_TRUE(services);
    ASSERT_EQ(services->size(), 3u);
    EXPECT_EQ((*services)[0].serviceId, 1u);
    EXPECT_EQ((*services)[1].serviceId, 7u);
    EXPECT_EQ((*services)[2].serviceId, 9u);
    EXPECT_THAT(ShownOf((*services)[2].descriptors),
                ElementsAre(Shown(0x81, {}, {}, {0x81, 0}), Shown(0x83, {}, {}, {0x83, 0})));
}

TEST(DescriptorList, GivesBackWhatItWasGiven) {
    DescriptorList list;
    EXPECT_TRUE(list.empty());
    const Bytes longest(257, 0xAB);
    const Bytes shortest{0x7F, 0};
    list.Add({0xAB, 0xFFFFFFFF, {}, longest.data(), longest.size()});
    list.Add({0x7F, {}, {}, shortest.data(), shortest.size()});
    list.Add({0x7F, 0x12345678, 0xFE, shortest.data(), shortest.size()});
    list.Add({0x01, {}, 0x00, nullptr, 0});
    DescriptorList twice = list;
    twice.Append(list);
    EXPECT_EQ(list.size(), 4u);
    EXPECT_EQ(twice.size(), 8u);
    EXPECT_THAT(ShownOf(list),
                ElementsAre(Shown(0xAB, 0xFFFFFFFF, {}, longest), Shown(0x7F, {}, {}, shortest),
                            Shown(0x7F, 0x12345678, 0xFE, shortest), Shown(0x01, {}, 0x00, {})));
}

TEST(Descriptor, TellsItsTagExtensionFromTheByteBehindTag127) {
    const Bytes bytes{0x7F, 2, 0x06, 0x11};
    EXPECT_EQ((Descriptor{0x7F, {}, 0x11, bytes.data(), 4}.TagExtension()), 0x06);
    EXPECT_EQ((Descriptor{0x7F, {}, {}, bytes.data(), 2}.TagExtension()), std::nullopt);
    EXPECT_EQ((Descriptor{0x7E, {}, {}, bytes.data(), 4}.TagExtension()), std::nullopt);
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
    const auto network = Read<NitActualTable>(0x10, sections);
    ASSERT_TRUE(network);
    ASSERT_EQ(network->ssuLinkages.size(), 2u);
    EXPECT_EQ(network->ssuLinkages[0].offers, (std::vector<SsuOffer>{{0x00015A, Bytes{2}}}));
    EXPECT_EQ(network->ssuLinkages[1].offers, (std::vector<SsuOffer>{{0x00015A, Bytes{1}}}));
    EXPECT_EQ(network->ssuScanLinkages,
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
    EXPECT_THAT(cats.Whole(), ElementsAre(Pair(0, Pointee(ElementsAre(0x0500u, 0x0501u)))));
}

class PmtTableTest : public testing::Test {
  protected:
    PmtTableTest() { tvservice::SetLogPriority(7); }

    // Section `number` of `count`, with one stream that has an update of its own.
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

    // Returns whether a PMT of so many sections becomes complete.
    bool Take(unsigned count) {
        generator::Sections sections;
        for (unsigned number = 0; number < count; ++number) {
            sections.push_back(Section(number, count));
        }
        std::optional<Program> program = Read<PmtTable>(0x100, sections);
        if (program) {
            program_ = *std::move(program);
        }
        return program.has_value();
    }

    Program program_{};
};

TEST_F(PmtTableTest, TheUpdatesOfSeveralSectionsAreThereOnceEach) {
    ASSERT_TRUE(Take(16));
    EXPECT_EQ(program_.streams.size(), 16u);
    ASSERT_EQ(program_.ssu.size(), 16u);
    for (unsigned number = 0; number < 16; ++number) {
        EXPECT_EQ(program_.ssu[number].pid, 0x100 + number);
    }
}

// A specifier applies in its own loop, to the descriptors behind it; the program's loop is
// separate.
TEST_F(PmtTableTest, DescriptorsBearTheSpecifierInForce) {
    const Bytes lone{0x83, 2, 0x12, 0x34};
    const Bytes specifier{0x5F, 4, 0, 0, 0, 0x28};
    const Bytes extension{0x7F, 2, 0x06, 0x11};
    const generator::Bytes section = SectionBytes{.table_id = 0x02,
                                                  .table_id_extension = 1,
                                                  .body = Join({{0xE1, 0x00, 0xF0, 0x06},
                                                                specifier,
                                                                {0x02, 0xE1, 0x01, 0xF0, 18},
                                                                lone,
                                                                specifier,
                                                                lone,
                                                                extension,
                                                                {0x02, 0xE1, 0x02, 0xF0, 4},
                                                                lone})}
                                         .Build();
    const auto program = Read<PmtTable>(0x100, {section});
    ASSERT_TRUE(program);
    ASSERT_EQ(program->streams.size(), 2u);
    EXPECT_THAT(ShownOf(program->descriptors), ElementsAre(Shown(0x5F, 0x28, {}, specifier)));
    EXPECT_THAT(ShownOf(program->streams[0].descriptors),
                ElementsAre(Shown(0x83, {}, {}, lone), Shown(0x5F, 0x28, {}, specifier),
                            Shown(0x83, 0x28, {}, lone), Shown(0x7F, 0x28, {}, extension)));
    EXPECT_THAT(ShownOf(program->streams[1].descriptors), ElementsAre(Shown(0x83, {}, {}, lone)));
}

TEST_F(PmtTableTest, OneOfMoreSectionsThanSixteenIsRefused) {
    EXPECT_FALSE(Take(17));
    EXPECT_FALSE(Take(256));
}

}  // namespace
}  // namespace client
