#include <cstdint>
#include <vector>

#include "generator/Descriptors.h"
#include "generator/scenarios/BroadcastTables.h"
#include "generator/scenarios/Makers.h"

namespace generator {
namespace {

constexpr std::uint16_t kOwnNetwork = 0xFF16;
constexpr std::uint16_t kNamelessNetwork = 0xFF17;
constexpr std::uint16_t kSkyNetwork = 0xFF18;

constexpr std::uint16_t kOwnBouquet = 0xF401;
constexpr std::uint16_t kEmptyNamedBouquet = 0xF402;
constexpr std::uint16_t kNamelessBouquet = 0xF403;

constexpr LinkageTarget kUpdateTarget{kBroadcastTransportStream, kBroadcastOriginalNetwork,
                                      kUpdates};
constexpr LinkageTarget kOtherTarget{kBroadcastOtherStream, kBroadcastOriginalNetwork,
                                     kOtherService};
constexpr LinkageTarget kScanTarget{kBroadcastOtherStream, kBroadcastOriginalNetwork, 0};

// Update linkages with one maker and with two, whose selectors have no byte, one byte and many;
// update scan linkages for the NIT, the BAT and a reserved table_type.
std::vector<Bytes> UpdateLinkages() {
    return {
        SsuLinkageDescriptor(kUpdateTarget, {{kFirstMaker, {}},
                                             {kSecondMaker, {0x10}},
                                             {kFirstMaker, {0x20, 0x21, 0x22}},
                                             {kAnyMaker, {}}}),
        SsuLinkageDescriptor(kOtherTarget, {{kSecondMaker, Bytes(60, 0x5E)}}, {0x01, 0x02}),
        SsuScanLinkageDescriptor(kScanTarget, 1),
        SsuScanLinkageDescriptor(kScanTarget, 2, {0x77}),
        SsuScanLinkageDescriptor(kScanTarget, 3),
    };
}

// The two longest descriptors that are possible: 255 bytes with many cells, and with one cell whose
// frequency changes in time.
T2Delivery LongestOfCells() {
    T2Delivery delivery{.plp_id = 11, .T2_system_id = 0x900B, .guard_interval = 6};
    for (std::uint16_t i = 0; i < 32; ++i) {
        delivery.cells.push_back(
            {static_cast<std::uint16_t>(0x0200 + i), {47400000 + 800000u * i}});
    }
    delivery.cells.front().subcells = {
        {1, 48200000}, {2, 49000000}, {3, 49800000}, {4, 50600000}, {5, 51400000}};
    return delivery;
}

T2Delivery LongestOfFrequencies() {
    T2Cell cell{.cell_id = 0x0300, .centre_frequencies = {}, .subcells = {{0xFF, 0xFFFFFFFF}}};
    for (std::uint32_t i = 0; i < 60; ++i) {
        cell.centre_frequencies.push_back(47400000 + 100000 * i);
    }
    return {.plp_id = 12, .T2_system_id = 0x900C, .tfs_flag = true, .cells = {cell}};
}

// Deliveries of the second terrestrial generation, each in its own transport stream.
std::vector<MuxEntry> T2Streams() {
    const std::vector<T2Delivery> deliveries{
        {.plp_id = 1, .T2_system_id = 0x9001, .short_form = true},
        {.plp_id = 2,
         .T2_system_id = 0x9002,
         .SISO_MISO = 1,
         .bandwidth = 5,
         .guard_interval = 6,
         .transmission_mode = 5,
         .other_frequency_flag = true},
        {.plp_id = 3, .T2_system_id = 0x9003, .cells = {{0x0101, {52200000}}}},
        {.plp_id = 4,
         .T2_system_id = 0x9004,
         .bandwidth = 1,
         .cells = {{0x0102, {53000000}, {{1, 53800000}, {2, 54600000}}}, {0x0103, {0xFFFFFFFF}}}},
        {.plp_id = 5,
         .T2_system_id = 0x9005,
         .tfs_flag = true,
         .cells = {{0x0104, {55400000, 56200000, 57000000}, {{3, 57800000}}},
                   {0x0105, {}},
                   {0x0106, {58600000}}}},
        LongestOfCells(),
        LongestOfFrequencies(),
    };
    std::vector<MuxEntry> streams;
    std::uint16_t transport_stream_id = 0x0790;
    for (const T2Delivery& delivery : deliveries) {
        streams.push_back(
            {transport_stream_id++, kBroadcastOriginalNetwork, {T2DeliveryDescriptor(delivery)}});
    }
    return streams;
}

MuxTable OwnNetwork() {
    MuxTable network{.id = kOwnNetwork, .descriptors = {NetworkNameDescriptor("Morvane Ground")}};
    network.descriptors.push_back(PrivateDataSpecifierDescriptor(kBroadcastPrivateDataSpecifier));
    for (const Bytes& linkage : UpdateLinkages()) {
        network.descriptors.push_back(linkage);
    }
    const std::uint16_t onid = kBroadcastOriginalNetwork;
    network.transport_streams = {
        {kBroadcastTransportStream,
         onid,
         {ServiceListDescriptor({{kTelevision, 0x19}, {kUpdates, 0x0C}}),
          TerrestrialDeliveryDescriptor({.centre_frequency = 0xFFFFFFFF,
                                         .bandwidth = 1,
                                         .hierarchy_information = 5,
                                         .code_rate_HP_stream = 1,
                                         .code_rate_LP_stream = 3,
                                         .guard_interval = 3,
                                         .transmission_mode = 2,
                                         .other_frequency_flag = true}),
          ExtensionDescriptor(0x81, {})}},
        // The body of a T2 delivery without the tag 0x7F, as a faulty encoder sends it.
        {kBroadcastOtherStream,
         onid,
         {Descriptor(0x04, T2DeliveryBody({.plp_id = 6,
                                           .T2_system_id = 0x9006,
                                           .cells = {{0x0107, {59400000}, {{9, 60200000}}}}})),
          ServiceListDescriptor({{kOtherService, 0x01}})}}};
    for (const MuxEntry& stream : T2Streams()) {
        network.transport_streams.push_back(stream);
    }
    // The same transport stream again, delivered in other ways.
    network.transport_streams.push_back(
        {kBroadcastTransportStream,
         onid,
         {TerrestrialDeliveryDescriptor({.centre_frequency = 65000000, .priority = false}),
          T2DeliveryDescriptor({.plp_id = 8, .T2_system_id = 0x9008, .short_form = true})}});
    return network;
}

// All transport streams by satellite and cable, under an empty name.
MuxTable SkyNetwork() {
    return {.id = kSkyNetwork,
            .descriptors = {NetworkNameDescriptor(""),
                            SsuLinkageDescriptor(kOtherTarget, {{kAnyMaker, {0x99}}})},
            .transport_streams = {
                {0x07A0,
                 kBroadcastOriginalNetwork,
                 {SatelliteDeliveryDescriptor({.frequency = 0x01214500,
                                               .orbital_position = 0x0192,
                                               .west_east_flag = true,
                                               .polarization = 0,
                                               .symbol_rate = 0x0275000,
                                               .FEC_inner = 3})}},
                {0x07A1,
                 kBroadcastOriginalNetwork,
                 {SatelliteDeliveryDescriptor({.frequency = 0x01077300,
                                               .orbital_position = 0x0300,
                                               .west_east_flag = false,
                                               .polarization = 3,
                                               .roll_off = 2,
                                               .modulation_system = true,
                                               .modulation_type = 2,
                                               .symbol_rate = 0x0299000,
                                               .FEC_inner = 8})}},
                {0x07A2,
                 kBroadcastOriginalNetwork,
                 {CableDeliveryDescriptor(
                      {.frequency = 0x03460000, .modulation = 3, .symbol_rate = 0x0069000}),
                  SatelliteDeliveryDescriptor({.frequency = 0x00395000,
                                               .orbital_position = 0x1800,
                                               .polarization = 2,
                                               .symbol_rate = 0x0030000,
                                               .FEC_inner = 0xF})}},
                {0x07A3,
                 kBroadcastOriginalNetwork,
                 {CableDeliveryDescriptor({.frequency = 0x07620000,
                                           .FEC_outer = 1,
                                           .modulation = 1,
                                           .symbol_rate = 0x9999999,
                                           .FEC_inner = 1})}}}};
}

// A network without a name; its only transport stream has no delivery.
MuxTable NamelessNetwork() {
    return {.id = kNamelessNetwork, .transport_streams = {{0x07B0, kBroadcastOriginalNetwork}}};
}

// Every section repeats the whole first loop: name, specifier, linkages, and 34 more linkages that
// are no update, although the payloads of some look like one.
MuxTable OwnBouquet() {
    MuxTable bouquet{
        .id = kOwnBouquet,
        .descriptors = {BouquetNameDescriptor("Morvane Basic"),
                        PrivateDataSpecifierDescriptor(kBroadcastPrivateDataSpecifier)},
        .repeat_descriptors = true};
    for (const Bytes& linkage : UpdateLinkages()) {
        bouquet.descriptors.push_back(linkage);
    }
    for (std::uint8_t linkage_type = 0x81; linkage_type <= 0xA2; ++linkage_type) {
        const Bytes beyondTheEnd{0xFF, linkage_type, 0x00};
        const Bytes likeAnUpdate{0x04, 0x02, 0xA1, 0xB2, 0x00};
        bouquet.descriptors.push_back(LinkageDescriptor(
            kOtherTarget, linkage_type, linkage_type % 2 == 0 ? likeAnUpdate : beyondTheEnd));
    }
    for (std::uint16_t i = 0; i < 12; ++i) {
        std::vector<ServiceListEntry> services;
        for (std::uint16_t j = 0; j < 20; ++j) {
            services.push_back({static_cast<std::uint16_t>(0x4000 + 32 * i + j), 0x01});
        }
        bouquet.transport_streams.push_back({static_cast<std::uint16_t>(0x07C0 + i),
                                             kBroadcastOriginalNetwork,
                                             {ServiceListDescriptor(services)}});
    }
    return bouquet;
}

}  // namespace

SentTable MakeBroadcastNetworks() {
    return {0x0010,
            Interleave({MakeNit(Scope::kActual, OwnNetwork(),
                                {.version_number = 14, .max_section_size = 600}),
                        MakeNit(Scope::kOther, NamelessNetwork(), {.version_number = 14}),
                        MakeNit(Scope::kOther, SkyNetwork(),
                                {.version_number = 2, .entries_per_section = 4})}),
            {.back_to_back = true}};
}

std::vector<Sections> MakeBroadcastBouquets() {
    const MuxTable emptyNamed{
        .id = kEmptyNamedBouquet,
        .descriptors = {BouquetNameDescriptor(""), SsuScanLinkageDescriptor(kScanTarget, 2)},
        .transport_streams = {{kBroadcastTransportStream, kBroadcastOriginalNetwork},
                              {kBroadcastOtherStream, kBroadcastOriginalNetwork}},
        .repeat_descriptors = true};
    const MuxTable nameless{.id = kNamelessBouquet};
    return {MakeBat(OwnBouquet(), {.version_number = 6}),
            MakeBat(emptyNamed, {.version_number = 31, .entries_per_section = 1}),
            MakeBat(nameless, {.version_number = 6})};
}

}  // namespace generator
