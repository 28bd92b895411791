#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iconv.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <utility>

#include "generator/Bytes.h"
#include "generator/Scenarios.h"
#include "tests/unit/generator/TableReader.h"
#include "tests/unit/generator/TsReader.h"

namespace generator {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;
using testing::SizeIs;
using testing::UnorderedElementsAre;
using testsupport::Slice;

// The tests of a process share one stream, which is made and read once.
class BroadcastScenarioTest : public testing::Test {
  protected:
    static const TsReader& Broadcast() {
        static const TsReader reader(MakeScenario("broadcast"));
        return reader;
    }

    // Returns the different sections of a sub-table in order of section_number.
    static std::vector<ReadSection> SubTable(uint16_t pid, uint8_t table_id,
                                             uint16_t table_id_extension) {
        std::map<uint8_t, ReadSection> sections;
        for (const ReadSection& section : Broadcast().Table(pid, table_id)) {
            if (section.table_id_extension() == table_id_extension) {
                sections.emplace(section.section_number(), section);
            }
        }
        std::vector<ReadSection> inOrder;
        for (const auto& [number, section] : sections) {
            EXPECT_EQ(section.last_section_number(), sections.size() - 1);
            inOrder.push_back(section);
        }
        return inOrder;
    }

    static std::set<uint16_t> Extensions(uint16_t pid, uint8_t table_id) {
        std::set<uint16_t> extensions;
        for (const ReadSection& section : Broadcast().Table(pid, table_id)) {
            extensions.insert(section.table_id_extension());
        }
        return extensions;
    }

    static ReadMap Map(uint16_t pid, uint16_t program_number) {
        return ReadMap(SubTable(pid, 0x02, program_number).at(0));
    }

    // Returns all services of a transport stream.
    static std::vector<ReadService> Services(uint8_t table_id, uint16_t transport_stream_id) {
        std::vector<ReadService> services;
        for (const ReadSection& section : SubTable(0x0011, table_id, transport_stream_id)) {
            for (const ReadService& service : ReadServices(section)) {
                services.push_back(service);
            }
        }
        return services;
    }

    static ReadService Service(uint16_t service_id) {
        for (const ReadService& service : Services(0x42, 0x0781)) {
            if (service.service_id == service_id) {
                return service;
            }
        }
        ADD_FAILURE() << "no service " << service_id;
        return {};
    }

    // Returns the present event for 0 and the following one for 1.
    static std::vector<ReadEvent> Events(uint16_t service_id, size_t section_number) {
        return ReadEvents(SubTable(0x0012, 0x4E, service_id).at(section_number));
    }

    // Returns the delivery descriptors of this network by transport stream.
    static std::multimap<uint16_t, Bytes> Descriptors(uint16_t network_id, uint8_t table_id) {
        std::multimap<uint16_t, Bytes> found;
        for (const ReadSection& section : SubTable(0x0010, table_id, network_id)) {
            for (const ReadMux::Stream& stream : ReadMux(section).streams) {
                EXPECT_EQ(stream.original_network_id, 0xFF10);
                for (const Bytes& descriptor : stream.descriptors) {
                    found.emplace(stream.transport_stream_id, descriptor);
                }
            }
        }
        return found;
    }
};

TEST_F(BroadcastScenarioTest, IsSmallAndWithoutAnError) {
    EXPECT_LT(MakeScenario("broadcast").size(), 3'000'000u);
    EXPECT_EQ(Broadcast().syncErrors, 0u);
    EXPECT_EQ(Broadcast().continuityGaps, 0u);
    EXPECT_EQ(Broadcast().duplicates, 0u);
    EXPECT_EQ(Broadcast().crcErrors, 0u);
    EXPECT_EQ(Broadcast().cutSections, 0u);
}

TEST_F(BroadcastScenarioTest, EverySectionComesThreeTimesAndNothingChanges) {
    std::map<std::pair<uint16_t, Bytes>, int> counts;
    std::map<std::tuple<uint16_t, uint8_t, uint16_t>, std::set<int>> versions;
    for (const ReadSection& section : Broadcast().sections) {
        ++counts[{section.pid, section.bytes}];
        versions[{section.pid, section.table_id(), section.table_id_extension()}].insert(
            section.version_number());
        EXPECT_TRUE(section.current_next_indicator());
    }
    for (const auto& [section, count] : counts) {
        EXPECT_EQ(count, 3) << "table " << int{section.second[0]} << " on " << section.first;
    }
    for (const auto& [table, numbers] : versions) {
        EXPECT_THAT(numbers, SizeIs(1));
    }
}

// --- PAT, CAT and PMT

TEST_F(BroadcastScenarioTest, ThePatOfTwoSectionsSharesAPidAndNamesAMapThatIsNotThere) {
    std::map<uint16_t, uint16_t> pids;
    const auto pats = SubTable(0x0000, 0x00, 0x0781);
    ASSERT_THAT(pats, SizeIs(2));
    for (const ReadSection& pat : pats) {
        for (size_t at = 8; at + 4 < pat.bytes.size(); at += 4) {
            pids[pat.U16(at)] = pat.U13(at + 2);
        }
    }
    EXPECT_EQ(pids, (std::map<uint16_t, uint16_t>{{0, 0x0010},
                                                  {1301, 0x0400},
                                                  {1302, 0x0410},
                                                  {1303, 0x0410},
                                                  {1304, 0x0420},
                                                  {1305, 0x0430},
                                                  {1306, 0x0440},
                                                  {1307, 0x0450}}));
    EXPECT_THAT(Extensions(0x0410, 0x02), ElementsAre(1302, 1303));
    EXPECT_THAT(Extensions(0x0420, 0x02), ElementsAre(1354));
}

TEST_F(BroadcastScenarioTest, TheCatHasTwoSections) {
    std::vector<uint16_t> systems;
    const auto cats = SubTable(0x0001, 0x01, 0xFFFF);
    ASSERT_THAT(cats, SizeIs(2));
    for (const ReadSection& cat : cats) {
        for (const Bytes& ca : WithTag(ReadLoop(cat, 8, cat.bytes.size() - 12), 0x09)) {
            systems.push_back(static_cast<uint16_t>(ca[2] << 8 | ca[3]));
        }
    }
    EXPECT_THAT(systems, ElementsAre(0xFF21, 0xFF22, 0xFF27, 0xFF21));
}

TEST_F(BroadcastScenarioTest, AccessIsToldForTheProgrammeAndForStreams) {
    const ReadMap map = Map(0x0400, 1301);
    EXPECT_THAT(WithTag(map.descriptors, 0x09),
                ElementsAre(Bytes{0x09, 4, 0xFF, 0x21, 0xE6, 0x01},
                            Bytes{0x09, 6, 0xFF, 0x22, 0xE6, 0x02, 0xAA, 0xBB},
                            Bytes{0x09, 5, 0xFF, 0x21, 0xE6, 0x03, 0xCC}));
    ASSERT_THAT(map.streams, SizeIs(3));
    EXPECT_THAT(WithTag(map.streams[0].descriptors, 0x09),
                ElementsAre(Bytes{0x09, 4, 0xFF, 0x23, 0xE6, 0x04}));
    EXPECT_THAT(WithTag(map.streams[1].descriptors, 0x09), SizeIs(2));
    EXPECT_THAT(WithTag(map.streams[2].descriptors, 0x09), IsEmpty());
}

TEST_F(BroadcastScenarioTest, RegistrationsHaveAdditionalBytes) {
    const ReadMap map = Map(0x0400, 1301);
    EXPECT_THAT(map.descriptors, Contains(Bytes{0x05, 7, 'B', 'R', 'O', 'A', 1, 2, 3}));
    EXPECT_THAT(map.streams.at(0).descriptors,
                Contains(Bytes{0x05, 8, 'B', 'R', 'O', 'B', 0xFF, 0x1B, 0x44, 0x3F}));
    EXPECT_THAT(map.streams.at(2).descriptors, Contains(Bytes{0x05, 4, 'B', 'R', 'O', 'C'}));
}

TEST_F(BroadcastScenarioTest, ExtensionsStandInMapsServicesAndEvents) {
    const ReadMap map = Map(0x0400, 1301);
    EXPECT_THAT(WithTag(map.descriptors, 0x7F), ElementsAre(Bytes{0x7F, 1, 0x83}));
    EXPECT_THAT(WithTag(map.streams.at(0).descriptors, 0x7F), ElementsAre(Bytes{0x7F, 1, 0x83}));
    EXPECT_THAT(
        WithTag(map.streams.at(2).descriptors, 0x7F),
        ElementsAre(Bytes{0x7F, 5, 0x06, 0x85, 'd', 'e', 'u'}, Bytes{0x7F, 4, 0x04, 9, 0x90, 9}));
    EXPECT_THAT(
        WithTag(Service(1301).descriptors, 0x7F),
        ElementsAre(Bytes{0x7F, 7, 0x08, 0x01, 'e', 'n', 'g', 'H', 'i'}, Bytes{0x7F, 1, 0x84},
                    Bytes{0x7F, 0}, Bytes{0x7F, 4, 0x04, 10, 0x90, 0x0A}));
    EXPECT_THAT(WithTag(Events(1301, 0).at(0).descriptors, 0x7F),
                ElementsAre(Bytes{0x7F, 1, 0x85}, Bytes{0x7F, 6, 0x10, 0, 3, 0, 0x1F, 0xFE}));
}

TEST_F(BroadcastScenarioTest, UpdatesAreOfferedAmongOtherDataBroadcasts) {
    const ReadMap map = Map(0x0430, 1305);
    ASSERT_THAT(map.streams, SizeIs(5));
    std::vector<ReadDescriptors> broadcasts;
    for (const ReadMap::Stream& stream : map.streams) {
        broadcasts.push_back(WithTag(stream.descriptors, 0x66));
    }
    EXPECT_THAT(broadcasts[0], ElementsAre(Bytes{0x66, 34,   0x00, 0x0A, 0x1D,  //
                                                 0x02, 0xA1, 0xB2, 0xF1, 0xF1, 4,    1,    2,
                                                 3,    4,    0x06, 0x13, 0xC4, 0xF0, 0xC0, 0,  //
                                                 0x02, 0xA1, 0xB2, 0xF2, 0xC0, 1,    5,    0x00,
                                                 0x01, 0x5A, 0xF3, 0xC0, 0,  //
                                                 0xDE, 0xAD}));
    ASSERT_THAT(broadcasts[1], SizeIs(3));
    EXPECT_EQ(broadcasts[1][0], (Bytes{0x66, 9, 0x00, 0x0A, 6, 0x00, 0x01, 0x5A, 0xF2, 0xC0, 0}));
    EXPECT_EQ(broadcasts[1][1], (Bytes{0x66, 2, 0x00, 0x05}));
    EXPECT_EQ(broadcasts[1][2].size(), 2u + 2 + 1 + 6 + 40);
    EXPECT_THAT(broadcasts[2], ElementsAre(Bytes{0x66, 3, 0x00, 0x05, 1}));
    EXPECT_THAT(broadcasts[3],
                ElementsAre(Bytes{0x66, 9, 0x01, 0x23, 6, 0x02, 0xA1, 0xB2, 0xF1, 0xC0, 0}));
    EXPECT_THAT(broadcasts[4], ElementsAre(Bytes{0x66, 3, 0x00, 0x0A, 0}));
}

TEST_F(BroadcastScenarioTest, CarouselsAreIdentifiedAndNot) {
    // stream_type, component_tag and carousel_id; -1 where the stream has none
    std::vector<std::tuple<int, int64_t, int64_t>> carousels;
    for (const ReadMap::Stream& stream : Map(0x0440, 1306).streams) {
        int64_t tag = -1;
        int64_t carousel = -1;
        for (const Bytes& descriptor : stream.descriptors) {
            if (descriptor[0] == 0x52) {
                tag = descriptor[2];
            } else if (descriptor[0] == 0x13) {
                carousel = int64_t{descriptor[2]} << 24 | descriptor[3] << 16 | descriptor[4] << 8 |
                           descriptor[5];
            }
        }
        carousels.emplace_back(stream.stream_type, tag, carousel);
    }
    using Carousel = std::tuple<int, int64_t, int64_t>;
    EXPECT_THAT(carousels, ElementsAre(Carousel{0x08, 0x10, 0x1008}, Carousel{0x0A, 0x11, -1},
                                       Carousel{0x0B, 0x12, 0x100B}, Carousel{0x0C, -1, 0x100C},
                                       Carousel{0x0D, -1, -1}, Carousel{0x0B, 0x12, 0x200B},
                                       Carousel{0x0D, 0xFF, 0xFFFFFFFF}, Carousel{0x0C, 0, 0},
                                       Carousel{0x0A, 0x13, 0x100A}, Carousel{0x08, 0x14, -1}));
}

TEST_F(BroadcastScenarioTest, PrivateSectionsAreSignalledAsApplicationsAndNot) {
    std::vector<std::pair<int, size_t>> signalled;
    for (const ReadMap::Stream& stream : Map(0x0450, 1307).streams) {
        signalled.emplace_back(stream.stream_type, WithTag(stream.descriptors, 0x6F).size());
    }
    EXPECT_THAT(signalled, ElementsAre(Pair(0x05, 1), Pair(0x05, 0), Pair(0x05, 1), Pair(0x05, 1),
                                       Pair(0x05, 0), Pair(0x06, 1), Pair(0x0B, 0)));
}

// --- networks

TEST_F(BroadcastScenarioTest, OneOwnNetworkAndTwoOthersShareAPid) {
    EXPECT_THAT(Extensions(0x0010, 0x40), ElementsAre(0xFF16));
    EXPECT_THAT(Extensions(0x0010, 0x41), ElementsAre(0xFF17, 0xFF18));
    EXPECT_GE(SubTable(0x0010, 0x40, 0xFF16).size(), 2u);
    EXPECT_EQ(SubTable(0x0010, 0x41, 0xFF18).size(), 2u);
}

TEST_F(BroadcastScenarioTest, ANetworkNameIsEmptyAndAnotherNotThere) {
    const ReadMux sky(SubTable(0x0010, 0x41, 0xFF18).at(0));
    EXPECT_THAT(WithTag(sky.descriptors, 0x40), ElementsAre(Bytes{0x40, 0}));
    const ReadMux nameless(SubTable(0x0010, 0x41, 0xFF17).at(0));
    EXPECT_THAT(nameless.descriptors, IsEmpty());
    ASSERT_THAT(nameless.streams, SizeIs(1));
    EXPECT_THAT(nameless.streams[0].descriptors, IsEmpty());
}

// The linkages to updates that networks and bouquets carry.
void ExpectUpdateLinkages(const ReadDescriptors& descriptors) {
    ASSERT_GE(descriptors.size(), 7u);
    EXPECT_EQ(descriptors[1], (Bytes{0x5F, 4, 0xFE, 0xDC, 0x07, 0x81}));
    EXPECT_EQ(descriptors[2], (Bytes{0x4A, 28,   0x07, 0x81, 0xFF, 0x10, 0x05,
                                     0x19, 0x09, 0x14, 0x02, 0xA1, 0xB2, 0,     //
                                     0x06, 0x13, 0xC4, 1,    0x10,              //
                                     0x02, 0xA1, 0xB2, 3,    0x20, 0x21, 0x22,  //
                                     0x00, 0x01, 0x5A, 0}));
    EXPECT_EQ(descriptors[3].size(), 2u + 7 + 1 + 4 + 60 + 2);
    EXPECT_EQ(Slice(descriptors[3], 8, 6), (Bytes{0x09, 64, 0x06, 0x13, 0xC4, 60}));
    EXPECT_EQ(Slice(descriptors[4], 8), (Bytes{0x0A, 1}));
    EXPECT_EQ(Slice(descriptors[5], 8), (Bytes{0x0A, 2, 0x77}));
    EXPECT_EQ(Slice(descriptors[6], 8), (Bytes{0x0A, 3}));
}

TEST_F(BroadcastScenarioTest, NetworksLinkToUpdatesBehindASpecifier) {
    const ReadMux own(SubTable(0x0010, 0x40, 0xFF16).at(0));
    EXPECT_THAT(WithTag(own.descriptors, 0x40), SizeIs(1));
    EXPECT_THAT(own.descriptors, SizeIs(7));
    ExpectUpdateLinkages(own.descriptors);
}

TEST_F(BroadcastScenarioTest, T2DeliveryHasAllFormsUpToTheLongest) {
    std::multimap<uint16_t, Bytes> t2;
    for (const auto& [id, descriptor] : Descriptors(0xFF16, 0x40)) {
        if (descriptor[0] == 0x7F && descriptor[2] == 0x04) {
            t2.emplace(id, descriptor);
        }
    }
    ASSERT_THAT(t2, SizeIs(8));
    const auto only = [&](uint16_t id) {
        EXPECT_EQ(t2.count(id), 1u);
        return t2.find(id)->second;
    };
    EXPECT_EQ(only(0x0790), (Bytes{0x7F, 4, 0x04, 1, 0x90, 0x01}));
    EXPECT_EQ(only(0x0791), (Bytes{0x7F, 6, 0x04, 2, 0x90, 0x02, 0x57, 0xD6}));
    EXPECT_EQ(only(0x0792), (Bytes{0x7F, 13, 0x04, 3, 0x90, 0x03, 0x03, 0x00,  //
                                   0x01, 0x01, 0x03, 0x1C, 0x82, 0x40, 0}));
    EXPECT_EQ(only(0x0793), (Bytes{0x7F, 30,   0x04, 4,    0x90, 0x04, 0x07, 0x00,              //
                                   0x01, 0x02, 0x03, 0x28, 0xB7, 0x40, 10,                      //
                                   1,    0x03, 0x34, 0xEC, 0x40, 2,    0x03, 0x41, 0x21, 0x40,  //
                                   0x01, 0x03, 0xFF, 0xFF, 0xFF, 0xFF, 0}));
    EXPECT_EQ(only(0x0794),
              (Bytes{0x7F, 39,   0x04, 5,    0x90, 0x05, 0x03, 0x01,                    //
                     0x01, 0x04, 12,   0x03, 0x4D, 0x56, 0x40, 0x03, 0x59, 0x8B, 0x40,  //
                     0x03, 0x65, 0xC0, 0x40, 5,    3,    0x03, 0x71, 0xF5, 0x40,        //
                     0x01, 0x05, 0,    0,                                               //
                     0x01, 0x06, 4,    0x03, 0x7E, 0x2A, 0x40, 0}));
    EXPECT_EQ(only(0x0795).size(), 257u);  // 32 cells, 5 of them in the first
    EXPECT_EQ(Slice(only(0x0795), 0, 6), (Bytes{0x7F, 255, 0x04, 11, 0x90, 0x0B}));
    EXPECT_EQ(only(0x0796).size(), 257u);
    EXPECT_EQ(Slice(only(0x0796), 0, 11),
              (Bytes{0x7F, 255, 0x04, 12, 0x90, 0x0C, 0x03, 0x01, 0x03, 0x00, 240}));
    EXPECT_EQ(only(0x0781), (Bytes{0x7F, 4, 0x04, 8, 0x90, 0x08}));
}

TEST_F(BroadcastScenarioTest, OtherDeliveryIsAbsurdMisplacedOrTwofold) {
    const auto own = Descriptors(0xFF16, 0x40);
    EXPECT_THAT(own, Contains(Pair(0x0781, Bytes{0x5A, 11, 0xFF, 0xFF, 0xFF, 0xFF, 0x3F, 0xA9, 0x7D,
                                                 0xFF, 0xFF, 0xFF, 0xFF})));
    EXPECT_THAT(own, Contains(Pair(0x0781, Bytes{0x5A, 11, 0x03, 0xDF, 0xD2, 0x40, 0x0F, 0x82, 0x02,
                                                 0xFF, 0xFF, 0xFF, 0xFF})));
    EXPECT_THAT(own, Contains(Pair(0x0781, Bytes{0x7F, 1, 0x81})));
    EXPECT_THAT(own,
                Contains(Pair(0x0782, Bytes{0x04, 17, 6, 0x90, 0x06, 0x03, 0x00, 0x01, 0x07, 0x03,
                                            0x8A, 0x5F, 0x40, 5, 9, 0x03, 0x96, 0x94, 0x40})));
    size_t times = 0;
    for (const ReadSection& section : SubTable(0x0010, 0x40, 0xFF16)) {
        for (const ReadMux::Stream& stream : ReadMux(section).streams) {
            times += stream.transport_stream_id == 0x0781 ? 1 : 0;
        }
    }
    EXPECT_EQ(times, 2u);
}

TEST_F(BroadcastScenarioTest, SatellitesStandEastAndWestInBothGenerationsAndCablesBeside) {
    EXPECT_THAT(Descriptors(0xFF18, 0x41),
                UnorderedElementsAre(Pair(0x07A0, Bytes{0x43, 11, 0x01, 0x21, 0x45, 0x00, 0x01,
                                                        0x92, 0x81, 0x02, 0x75, 0x00, 0x03}),
                                     Pair(0x07A1, Bytes{0x43, 11, 0x01, 0x07, 0x73, 0x00, 0x03,
                                                        0x00, 0x76, 0x02, 0x99, 0x00, 0x08}),
                                     Pair(0x07A2, Bytes{0x44, 11, 0x03, 0x46, 0x00, 0x00, 0xFF,
                                                        0xF2, 0x03, 0x00, 0x69, 0x00, 0x0F}),
                                     Pair(0x07A2, Bytes{0x43, 11, 0x00, 0x39, 0x50, 0x00, 0x18,
                                                        0x00, 0xC1, 0x00, 0x30, 0x00, 0x0F}),
                                     Pair(0x07A3, Bytes{0x44, 11, 0x07, 0x62, 0x00, 0x00, 0xFF,
                                                        0xF1, 0x01, 0x99, 0x99, 0x99, 0x91})));
}

// --- services and bouquets

TEST_F(BroadcastScenarioTest, ServicesAndBouquetsShareAPid) {
    EXPECT_THAT(Extensions(0x0011, 0x42), ElementsAre(0x0781));
    EXPECT_THAT(Extensions(0x0011, 0x46), ElementsAre(0x0781, 0x0782));
    EXPECT_THAT(Extensions(0x0011, 0x4A), ElementsAre(0xF401, 0xF402, 0xF403));
    EXPECT_GE(SubTable(0x0011, 0x42, 0x0781).size(), 3u);
}

TEST_F(BroadcastScenarioTest, TheOwnStreamIsToldAsOtherUnderOtherNames) {
    const auto services = Services(0x46, 0x0781);
    ASSERT_THAT(services, SizeIs(2));
    EXPECT_EQ(services[0].service_id, 1301);
    EXPECT_NE(services[0].descriptors, Service(1301).descriptors);
    EXPECT_EQ(services[1].service_id, 1399);
}

TEST_F(BroadcastScenarioTest, AServiceBeginsWithSpecifierNameAndPrivateDescriptor) {
    std::vector<int> tags;
    for (const Bytes& descriptor : Service(1301).descriptors) {
        tags.push_back(descriptor[0]);
    }
    EXPECT_THAT(tags, ElementsAre(0x5F, 0x48, 0x83, 0x7F, 0x7F, 0x7F, 0x7F, 0x5F, 0x83, 0x4A));
    EXPECT_THAT(Service(1307).descriptors, IsEmpty());
    EXPECT_THAT(Service(1305).descriptors, Contains(SizeIs(2 + 1 + 1 + 13 + 1)));  // no name
}

TEST_F(BroadcastScenarioTest, ABouquetRepeatsItsLinkagesInEverySection) {
    const auto sections = SubTable(0x0011, 0x4A, 0xF401);
    ASSERT_GE(sections.size(), 2u);
    std::set<uint16_t> streams;
    for (const ReadSection& section : sections) {
        const ReadMux bouquet(section);
        ASSERT_THAT(bouquet.descriptors, SizeIs(7 + 34));
        EXPECT_EQ(Slice(bouquet.descriptors[0], 0, 9),
                  (Bytes{0x47, 13, 'M', 'o', 'r', 'v', 'a', 'n', 'e'}));
        ExpectUpdateLinkages(bouquet.descriptors);
        for (const ReadMux::Stream& stream : bouquet.streams) {
            EXPECT_TRUE(streams.insert(stream.transport_stream_id).second);
        }
    }
    EXPECT_THAT(streams, SizeIs(12));
}

TEST_F(BroadcastScenarioTest, PrivateLinkagesAreNoUpdatesThoughSomeLookLikeThem) {
    const ReadMux bouquet(SubTable(0x0011, 0x4A, 0xF401).at(0));
    for (uint8_t linkage_type = 0x81; linkage_type <= 0xA2; ++linkage_type) {
        const Bytes& linkage = bouquet.descriptors.at(7u + linkage_type - 0x81u);
        EXPECT_EQ(Slice(linkage, 0, 1), (Bytes{0x4A}));
        EXPECT_EQ(Slice(linkage, 8), linkage_type % 2 == 0
                                         ? (Bytes{linkage_type, 4, 0x02, 0xA1, 0xB2, 0})
                                         : (Bytes{linkage_type, 0xFF, linkage_type, 0}));
    }
}

TEST_F(BroadcastScenarioTest, ABouquetNameIsEmptyAndAnotherNotThere) {
    const auto emptyNamed = SubTable(0x0011, 0x4A, 0xF402);
    ASSERT_THAT(emptyNamed, SizeIs(2));
    for (const ReadSection& section : emptyNamed) {
        EXPECT_THAT(
            ReadMux(section).descriptors,
            ElementsAre(Bytes{0x47, 0}, Bytes{0x4A, 8, 0x07, 0x82, 0xFF, 0x10, 0, 0, 0x0A, 2}));
    }
    const auto nameless = SubTable(0x0011, 0x4A, 0xF403);
    ASSERT_THAT(nameless, SizeIs(1));
    EXPECT_EQ(nameless[0].bytes.size(), 8u + 2 + 2 + 4);
}

// Returns the coded name of a service.
std::string NameOf(const ReadService& service) {
    const Bytes descriptor = WithTag(service.descriptors, 0x48).at(0);
    const size_t provider = descriptor[3];
    return std::string(descriptor.begin() + static_cast<std::ptrdiff_t>(5 + provider),
                       descriptor.end());
}

// Decodes with the C library.
std::string Decode(const char* codeset, std::string text) {
    const iconv_t converter = iconv_open("UTF-8", codeset);
    if (converter == reinterpret_cast<iconv_t>(-1)) {
        ADD_FAILURE() << "the C library knows no " << codeset;
        return {};
    }
    std::string decoded(4 * text.size(), '\0');
    char* from = text.data();
    char* to = decoded.data();
    size_t fromLeft = text.size();
    size_t toLeft = decoded.size();
    EXPECT_EQ(iconv(converter, &from, &fromLeft, &to, &toLeft), 0u) << codeset;
    iconv_close(converter);
    decoded.resize(decoded.size() - toLeft);
    return decoded;
}

TEST_F(BroadcastScenarioTest, NamesUseEveryCharacterTable) {
    struct Expected {
        uint16_t service_id;
        std::string selector;
        const char* codeset;
        const char* name;
    };
    const std::string threeBytes("\x10\x00", 2);
    const Expected expected[] = {
        {1402, "\x01", "ISO-8859-5", "Тихий берег"},
        {1403, "\x02", "ISO-8859-6", "قناة البحر"},
        {1404, "\x03", "ISO-8859-7", "Το λιμάνι"},
        {1405, "\x04", "ISO-8859-8", "ערוץ הים"},
        {1406, "\x05", "ISO-8859-9", "Işık Ülkesi"},
        {1407, "\x06", "ISO-8859-10", "Þjóðlíf Ŋ"},
        {1408, "\x07", "ISO-8859-11", "ทะเลไทย"},
        {1409, "\x09", "ISO-8859-13", "Žalgirio ąžuolas"},
        {1410, "\x0A", "ISO-8859-14", "Ŵyth Ẁaun"},
        {1411, "\x0B", "ISO-8859-15", "Œuvre à 5 €"},
        {1412, threeBytes + '\x01', "ISO-8859-1", "Grünes Tal"},
        {1413, threeBytes + '\x02', "ISO-8859-2", "Žluťoučký kůň"},
        {1414, threeBytes + '\x03', "ISO-8859-3", "Ĉielo kaj maro"},
        {1415, threeBytes + '\x04', "ISO-8859-4", "Jūra ķērpis"},
        {1416, threeBytes + '\x0F', "ISO-8859-15", "Où 7 €"},
        {1417, "\x11", "UTF-16BE", "Море 海"},
        {1418, "\x12", "EUC-KR", "바다 방송"},
        {1419, "\x13", "GB2312", "海上电视"},
        {1420, "\x14", "BIG5", "海上電視"},
        {1421, "\x15", "UTF-8", "Über die Ægäis 海"},
    };
    for (const Expected& one : expected) {
        const std::string name = NameOf(Service(one.service_id));
        EXPECT_EQ(name.substr(0, one.selector.size()), one.selector) << one.service_id;
        EXPECT_EQ(Decode(one.codeset, name.substr(one.selector.size())), one.name);
    }
    EXPECT_EQ(NameOf(Service(1401)),
              "Caf\xC2"
              "e Z\xC8urich \xA4"
              "10");
}

TEST_F(BroadcastScenarioTest, NamesHoldControlCodesAndWhatNoTableExplains) {
    const auto has = [](uint16_t service_id, const std::string& part) {
        return NameOf(Service(service_id)).find(part) != std::string::npos;
    };
    EXPECT_TRUE(has(1422, "\x86News\x87\x8A"));
    EXPECT_TRUE(has(1423, "\xEE\x82\x86News\xEE\x82\x87\xEE\x82\x8A"));
    EXPECT_TRUE(has(1424, std::string("\xE0\x86\x00N\xE0\x87\xE0\x8A", 8)));
    EXPECT_EQ(NameOf(Service(1425))[0], '\x08');
    EXPECT_EQ(NameOf(Service(1426))[0], '\x1E');
    EXPECT_EQ(NameOf(Service(1427)).substr(0, 3), std::string("\x10\x00\x0C", 3));
    EXPECT_EQ(NameOf(Service(1428)).substr(0, 2), "\x1F\x01");
    EXPECT_EQ(NameOf(Service(1429)).back(), '\xC3');
    EXPECT_EQ(NameOf(Service(1430)), std::string("\x11\x00\x41\x00", 4));
    EXPECT_EQ(NameOf(Service(1431)), "\x05");
    EXPECT_EQ(NameOf(Service(1432)), std::string("\x10\x00", 2));
    EXPECT_EQ(NameOf(Service(1433)).back(), '\xC2');
    EXPECT_TRUE(has(1434, "\x1B[31m"));
}

// --- events

TEST_F(BroadcastScenarioTest, EveryServiceThatPromisesEventsHasBothSections) {
    std::set<uint16_t> promised;
    for (const ReadService& service : Services(0x42, 0x0781)) {
        if (service.EIT_present_following_flag) {
            promised.insert(service.service_id);
            EXPECT_THAT(SubTable(0x0012, 0x4E, service.service_id), SizeIs(2));
        }
    }
    EXPECT_EQ(promised, Extensions(0x0012, 0x4E));
    EXPECT_THAT(promised, ElementsAre(1301, 1302, 1303, 1305, 1306));
    EXPECT_THAT(SubTable(0x0012, 0x4F, 1501), SizeIs(2));
}

TEST_F(BroadcastScenarioTest, AnEventHasEveryDescriptor) {
    const auto events = Events(1301, 0);
    ASSERT_THAT(events, SizeIs(1));
    std::vector<int> tags;
    for (const Bytes& descriptor : events[0].descriptors) {
        tags.push_back(descriptor[0]);
    }
    EXPECT_THAT(
        tags, ElementsAre(0x4D, 0x4D, 0x4E, 0x4E, 0x50, 0x50, 0x54, 0x55, 0x5F, 0x83, 0x7F, 0x7F));
    EXPECT_EQ(events[0].descriptors[6], (Bytes{0x54, 4, 0x15, 0x12, 0xFF, 0xFF}));
    EXPECT_EQ(events[0].descriptors[7],
              (Bytes{0x55, 12, 'D', 'E', 'U', 9, 'F', 'R', 'A', 0, 'G', 'B', 'R', 0xFF}));
    // Event 0x0301 begins half an hour before 20:00 and lasts an hour.
    EXPECT_EQ(Slice(events[0].times, 2), (Bytes{0x19, 0x30, 0x00, 0x01, 0x00, 0x00}));
}

TEST_F(BroadcastScenarioTest, EventLoopsAreEmptyOrHoldTwo) {
    ASSERT_THAT(Events(1302, 0), SizeIs(1));
    EXPECT_THAT(Events(1302, 0)[0].descriptors, IsEmpty());
    EXPECT_THAT(Events(1302, 1), IsEmpty());
    EXPECT_THAT(Events(1303, 0), IsEmpty());
    EXPECT_THAT(Events(1303, 1), IsEmpty());
    EXPECT_THAT(Events(1306, 0), SizeIs(2));
}

TEST_F(BroadcastScenarioTest, TimesAreUndefinedLongAndNone) {
    const auto times = [](uint16_t service_id, size_t section_number) {
        return Events(service_id, section_number).at(0).times;
    };
    EXPECT_EQ(times(1305, 0), Bytes(8, 0xFF));
    EXPECT_EQ(Slice(times(1305, 1), 2), (Bytes{0x20, 0x00, 0x00, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(Slice(times(1301, 1), 2), (Bytes{0x20, 0x30, 0x00, 0x99, 0x59, 0x59}));
    EXPECT_EQ(Slice(times(1306, 1), 2), (Bytes{0x00, 0x00, 0x00, 0x00, 0x00, 0x00}));
}

}  // namespace
}  // namespace generator
