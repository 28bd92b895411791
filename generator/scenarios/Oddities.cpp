#include <string>
#include <vector>

#include "generator/Descriptors.h"
#include "generator/Packet.h"
#include "generator/Random.h"
#include "generator/SectionBuilder.h"
#include "generator/Tables.h"
#include "generator/TsWriter.h"
#include "generator/scenarios/Streams.h"
#include "softplatform/text/Time.h"

namespace generator {
namespace {

constexpr std::uint16_t kTransportStream = 0x0650;
constexpr std::uint16_t kOtherTransportStream = 0x0651;
constexpr std::uint16_t kOriginalNetwork = 0xFF10;
constexpr std::uint16_t kNetwork = 0xFF13;
constexpr std::uint16_t kBouquet = 0xF201;

struct OddTable {
    std::uint16_t pid;
    Sections sections;
};

// There is no programme 0. The PMT of 11590 says 11690; 21 and 22 have their PMTs on one PID.
OddTable OddPat() {
    return {0x0000,
            MakePat(kTransportStream, {{11590, 0x0500}, {21, 0x0510}, {22, 0x0510}, {31, 0x0530}},
                    {.version_number = 2})};
}

OddTable MislabelledMap() {
    const Bytes registration = RegistrationDescriptor(0x4F444459, {0x01, 0x02, 0x03, 0x04, 0x05});
    return {0x0500,
            MakePmt({11690,
                     kNullPid,
                     {registration},
                     {{0x06, 0x0501, {registration, RegistrationDescriptor(0x4F444459)}}}})};
}

// Both PMTs in one packet.
OddTable SharedMaps() {
    const Sections first = MakePmt({21, 0x0511, {}, {{0x02, 0x0511}}});
    const Sections second = MakePmt({22, 0x0521, {}, {{0x02, 0x0521}, {0x03, 0x0522}}});
    return {0x0510, {first[0], second[0]}};
}

// T2 delivery descriptors with every descriptor_length from 4 to the longest, each for its own
// transport stream. Most lengths end inside a field.
std::vector<MuxEntry> CutT2Deliveries() {
    constexpr std::size_t kLongestBody = 254;  // without descriptor_tag_extension
    T2Delivery delivery{.plp_id = 7,
                        .T2_system_id = 0x0650,
                        .bandwidth = 1,
                        .tfs_flag = true,
                        .cells = {{0x0001, {47400000, 48200000}, {{1, 49000000}}},
                                  {0x0002, {50600000}, {{2, 51400000}, {3, 52200000}}}}};
    for (std::uint16_t cell = 3; cell < 9; ++cell) {
        delivery.cells.push_back({cell, std::vector<std::uint32_t>(8, 53000000u + cell), {}});
    }
    Bytes body = T2DeliveryBody(delivery);
    body.resize(kLongestBody);
    std::vector<MuxEntry> muxes;
    for (std::size_t length = 4; length <= body.size() + 1; ++length) {
        const Bytes cut(body.begin(), body.begin() + static_cast<std::ptrdiff_t>(length - 1));
        muxes.push_back({static_cast<std::uint16_t>(0x1000 + length),
                         kOriginalNetwork,
                         {ExtensionDescriptor(0x04, cut)}});
    }
    return muxes;
}

// What ISDB (ARIB STD-B10) sends where EN 300 468 has private descriptors: tags from 0xC0 on,
// without a private data specifier.
std::vector<Bytes> IsdbTransportStreamDescriptors() {
    return {Descriptor(0xFA, {0x5A, 0x5C, 0x0D, 0x3F, 0x0D, 0x63}),  // terrestrial delivery
            Descriptor(0xFB, {0x00, 0x1F}),                          // partial reception
            Descriptor(0xCD, {0x04, 0x0D, 0x0E, 0x41, 0x42, 0xAF, 0x00, 0x1F}),  // TS information
            Descriptor(0xC0, {0xF1, 0x05, 0x33})};  // hierarchical transmission
}

std::vector<Bytes> IsdbServiceDescriptors() {
    return {ServiceDescriptor(0x01, "", "\x0E\x31\x1B\x7C\xA4\xCF"),
            Descriptor(0xC1, {0x84}),                     // digital copy control
            Descriptor(0xCF, {0x03, 0x21}),               // logo transmission
            Descriptor(0xFF, {}), Descriptor(0xC7, {})};  // reserved, and one without a body
}

OddTable IsdbMap() {
    return {0x0530, MakePmt({31,
                             0x0531,
                             {Descriptor(0xC1, {0x84}), Descriptor(0xFC, {0x00, 0x10, 0x7F})},
                             {{0x02, 0x0531, {Descriptor(0xC8, {0x47})}},
                              {0x0D, 0x0532, {Descriptor(0xFD, {0x00, 0x0C, 0x33, 0x3F})}}}})};
}

// No name, no frequency, and a T2 body without the tag 0x7F, as a faulty encoder sends it.
OddTable OddNit() {
    MuxTable network{
        .id = kNetwork,
        .descriptors = {NetworkNameDescriptor(""),
                        Descriptor(0xFE, {0x03, 0x01, 0x00})},  // ISDB's system management
        .transport_streams = CutT2Deliveries()};
    const Bytes bareT2 =
        T2DeliveryBody({.plp_id = 1, .T2_system_id = 0x0651, .cells = {{0x0003, {54600000}}}});
    network.transport_streams.push_back(
        {kTransportStream,
         kOriginalNetwork,
         {TerrestrialDeliveryDescriptor({.centre_frequency = 0xFFFFFFFF})}});
    network.transport_streams.push_back(
        {kOtherTransportStream, kOriginalNetwork, {Descriptor(0x04, bareT2)}});
    network.transport_streams.push_back({0x0652, kOriginalNetwork});
    network.transport_streams.push_back(
        {0x0653, kOriginalNetwork, IsdbTransportStreamDescriptors()});
    return {0x0010, MakeNit(Scope::kActual, network, {.version_number = 31})};
}

// Every linkage_type from 0x81 to 0xA2; the number of private bytes grows by one from each to the
// next. Then update linkages without a maker, with the same maker twice, and with lengths that are
// too long.
OddTable OddBat() {
    const LinkageTarget target{kTransportStream, kOriginalNetwork, 21};
    MuxTable bouquet{.id = kBouquet, .descriptors = {BouquetNameDescriptor("")}};
    for (std::uint8_t linkage_type = 0x81; linkage_type <= 0xA2; ++linkage_type) {
        bouquet.descriptors.push_back(
            LinkageDescriptor(target, linkage_type, Bytes(linkage_type - 0x81u, linkage_type)));
    }
    bouquet.descriptors.push_back(SsuLinkageDescriptor(target, {}));
    bouquet.descriptors.push_back(
        SsuLinkageDescriptor(target, {{0x02A1B2, {0x01}}, {0x02A1B2, {0x02, 0x03}}}));
    const Bytes ouiDataTooLong{0x20, 0x02, 0xA1, 0xB2, 0x00};
    const Bytes selectorTooLong{0x05, 0x02, 0xA1, 0xB2, 0x09, 0xAA};
    bouquet.descriptors.push_back(LinkageDescriptor(target, 0x09, ouiDataTooLong));
    bouquet.descriptors.push_back(LinkageDescriptor(target, 0x09, selectorTooLong));
    bouquet.descriptors.push_back(LinkageDescriptor(target, 0x0A));  // no table_type
    bouquet.descriptors.push_back(SsuScanLinkageDescriptor(target, 0));
    return {0x0011, MakeBat(bouquet)};
}

// Makes `count` sections with one service each.
Sections ManySections(Scope scope, std::uint16_t transport_stream_id, std::uint16_t count) {
    Sdt sdt{transport_stream_id, kOriginalNetwork};
    for (std::uint16_t i = 0; i < count; ++i) {
        sdt.services.push_back(
            {.service_id = static_cast<std::uint16_t>(0x2000 + i),
             .descriptors = {ServiceDescriptor(0x01, "", "No. " + std::to_string(i))}});
    }
    return MakeSdt(scope, sdt, {.entries_per_section = 1});
}

// 64 sections of SDT actual. The first has a service without names, a service without descriptors,
// one as in ISDB, and one whose service descriptor is cut.
OddTable LongSdt() {
    Sections sections = ManySections(Scope::kActual, kTransportStream, 64);
    Sdt odd{kTransportStream, kOriginalNetwork};
    odd.services = {{.service_id = 21, .descriptors = {ServiceDescriptor(0x01, "", "")}},
                    {.service_id = 22},
                    {.service_id = 31, .descriptors = IsdbServiceDescriptors()},
                    {.service_id = 11590, .descriptors = {Descriptor(0x48, {0x01, 0x05, 'c'})}}};
    const Bytes first = MakeSdt(Scope::kActual, odd).front();
    // The body of SDT actual again, as the first of 64 sections.
    sections.front() = SectionBuilder(0x42)
                           .TableIdExtension(kTransportStream)
                           .Number(0, 63)
                           .Raw(Bytes(first.begin() + 8, first.end() - 4))
                           .Build();
    return {0x0011, sections};
}

// SDT other that describes this same transport stream with another name than SDT actual.
OddTable OwnSdtAsOther() {
    const Sdt sdt{kTransportStream,
                  kOriginalNetwork,
                  {{.service_id = 21, .descriptors = {ServiceDescriptor(0x01, "", "Mirror")}}}};
    return {0x0011, MakeSdt(Scope::kOther, sdt, {.version_number = 3})};
}

// The present event has an undefined start_time and duration (EN 300 468 5.2.4), and the audio
// component and data content of ISDB. The following event has BCD digits above nine.
OddTable OddEit() {
    const Bytes isdb =
        Concat({Descriptor(0xC4, {0xF2, 0x03, 0x11, 0x0F, 0xFF, 0x4F, 'u', 'n', 'd'}),
                Descriptor(0xC7, {0x00, 0x0C, 0x33, 0x00, 0x00, 'u', 'n', 'd', 0x00})});
    const auto section = [](std::uint8_t number, std::uint64_t start_time, std::uint32_t duration,
                            const Bytes& others) {
        return SectionBuilder(0x4E)
            .TableIdExtension(21)
            .Number(number, 1)
            .U16(kTransportStream)
            .U16(kOriginalNetwork)
            .U8(1)
            .U8(0x4E)
            .U16(0x0100u + number)
            .U40(start_time)
            .U24(duration)
            .Bits(3, 0)
            .Bits(1, 0)
            .Length12(Concat({ShortEventDescriptor("und", "", ""), others}))
            .Build();
    };
    return {0x0012,
            {section(0, tvservice::kUndefinedTime, 0xFFFFFF, isdb),
             section(1, 0xF0001A2B3C, 0x9A7060, {})}};
}

}  // namespace

PacketList MakeOddities(std::uint64_t seed) {
    const std::vector<OddTable> tables{
        OddPat(),
        MislabelledMap(),
        SharedMaps(),
        IsdbMap(),
        OddNit(),
        OddBat(),
        LongSdt(),
        OwnSdtAsOther(),
        {0x0011, ManySections(Scope::kOther, kOtherTransportStream, 256)},
        OddEit()};
    Random random(seed);
    TsWriter writer;
    for (int repeat = 0; repeat < 3; ++repeat) {
        for (const OddTable& table : tables) {
            writer.WriteSections(table.pid, table.sections, {.back_to_back = true});
            writer.WriteNull(static_cast<std::size_t>(random.Below(8)));
        }
    }
    return writer.packets();
}

}  // namespace generator
