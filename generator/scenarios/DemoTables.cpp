#include "generator/scenarios/DemoTables.h"

#include <string_view>

#include "generator/Descriptors.h"
#include "generator/SectionBuilder.h"
#include "generator/scenarios/DemoEvents.h"
#include "generator/scenarios/DemoServices.h"
#include "softplatform/text/Time.h"

namespace generator {
namespace {

constexpr std::uint32_t kHour = 3600;

// The services of the other transport stream, in SDT other and EIT other.
constexpr DemoService kSecondStreamServices[] = {
    {1201, 0x19, "Morvane Media", "Morvane Sport HD", true, false},
    {1202, 0x1F, "Rondaille",
     "Rondaille Cin\xC2"
     "ema",
     true, true},
    {1203, 0x0A, "Morvane Media", "Morvane Klassik", false, false},
};

constexpr LinkageTarget kUpdateService{kDemoTransportStream, kDemoOriginalNetwork, 1108};
constexpr LinkageTarget kScanTarget{kDemoSecondStream, kDemoOriginalNetwork, 0};

// The linkages to system software updates that the networks and the bouquet have.
std::vector<Bytes> UpdateLinkages() {
    return {
        SsuLinkageDescriptor(
            kUpdateService,
            {{kFirstMaker, {0x01, 0x02}}, {kSecondMaker, {}}, {kFirstMaker, {0x03}}}, {0xEE}),
        SsuLinkageDescriptor(kUpdateService, {{kAnyMaker, {}}}),
        SsuScanLinkageDescriptor(kScanTarget, 1),
        SsuScanLinkageDescriptor(kScanTarget, 2),
        SsuScanLinkageDescriptor(kScanTarget, 3),
    };
}

std::vector<Bytes> Join(std::vector<Bytes> first, const std::vector<Bytes>& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Bytes ListOwnServices() {
    std::vector<ServiceListEntry> list;
    for (const DemoService& service : kDemoServices) {
        list.push_back({service.service_id, service.service_type});
    }
    return ServiceListDescriptor(list);
}

DemoTable MakeDemoPat() {
    std::vector<PatProgram> programs{{0, 0x0010}};
    std::size_t index = 0;
    for (const DemoProgram& program : MakeDemoPrograms()) {
        programs.push_back({kDemoServices[index++].service_id, program.pmtPid});
    }
    return {0x0000, 100, MakePat(kDemoTransportStream, programs, {.version_number = 5})};
}

DemoTable MakeDemoNit() {
    const MuxTable network{
        .id = kDemoNetwork,
        .descriptors = Join({NetworkNameDescriptor("Morvane Terrestrial"),
                             PrivateDataSpecifierDescriptor(kDemoPrivateDataSpecifier)},
                            UpdateLinkages()),
        .transport_streams = {
            {kDemoTransportStream,
             kDemoOriginalNetwork,
             {ListOwnServices(), TerrestrialDeliveryDescriptor({.centre_frequency = 52200000,
                                                                .guard_interval = 1,
                                                                .other_frequency_flag = true})}},
            {kDemoSecondStream,
             kDemoOriginalNetwork,
             {T2DeliveryDescriptor({.plp_id = 1, .T2_system_id = 0x8001, .short_form = true})}},
            {kDemoThirdStream,
             kDemoOriginalNetwork,
             {T2DeliveryDescriptor(
                 {.plp_id = 2,
                  .T2_system_id = 0x8002,
                  .bandwidth = 1,
                  .guard_interval = 4,
                  .transmission_mode = 5,
                  .cells = {{0x0101, {57000000}, {{1, 57800000}}}, {0x0102, {58600000}}}})}}}};
    return {0x0010, 1500,
            MakeNit(Scope::kActual, network, {.version_number = 8, .max_section_size = 180})};
}

DemoTable MakeDemoNitOther() {
    const MuxTable network{
        .id = kDemoOtherNetwork,
        .descriptors = Join({NetworkNameDescriptor(Utf8("Сеть Ветлица"))}, UpdateLinkages()),
        .transport_streams = {
            {0x0501,
             kDemoOriginalNetwork,
             {SatelliteDeliveryDescriptor(
                 {.frequency = 0x01172750, .orbital_position = 0x0235, .symbol_rate = 0x0275000})}},
            {0x0502,
             kDemoOriginalNetwork,
             {SatelliteDeliveryDescriptor({.frequency = 0x01261250,
                                           .orbital_position = 0x0050,
                                           .west_east_flag = false,
                                           .polarization = 1,
                                           .roll_off = 2,
                                           .modulation_system = true,
                                           .modulation_type = 2,
                                           .symbol_rate = 0x0300000,
                                           .FEC_inner = 5})}},
            {0x0503,
             kDemoOriginalNetwork,
             {CableDeliveryDescriptor({.frequency = 0x03460000, .symbol_rate = 0x0069000}),
              PrivateDataSpecifierDescriptor(kDemoPrivateDataSpecifier),
              Descriptor(0x83, {0x04, 0x4D, 0x00, 0x01})}}}};
    return {0x0010, 1500,
            MakeNit(Scope::kOther, network, {.version_number = 2, .max_section_size = 160})};
}

DemoTable MakeDemoBat() {
    const MuxTable bouquet{
        .id = kDemoBouquet,
        .descriptors = Join({BouquetNameDescriptor("Bl\xCA"
                                                   "avik Select"),
                             PrivateDataSpecifierDescriptor(kDemoPrivateDataSpecifier)},
                            UpdateLinkages()),
        .transport_streams = {{kDemoTransportStream, kDemoOriginalNetwork, {ListOwnServices()}},
                              {kDemoSecondStream,
                               kDemoOriginalNetwork,
                               {ServiceListDescriptor({{1201, 0x19}, {1202, 0x1F}})}}}};
    return {0x0011, 1500, MakeBat(bouquet, {.version_number = 17, .max_section_size = 150})};
}

SdtService DescribeService(const DemoService& service, bool hasSchedule) {
    SdtService entry{.service_id = service.service_id,
                     .EIT_schedule_flag = hasSchedule,
                     .EIT_present_following_flag = service.hasEvents,
                     .free_CA_mode = service.scrambled};
    entry.descriptors = {ServiceDescriptor(service.service_type, service.provider, service.name)};
    return entry;
}

DemoTable MakeDemoSdt() {
    Sdt sdt{kDemoTransportStream, kDemoOriginalNetwork};
    for (const DemoService& service : kDemoServices) {
        const bool hasSchedule = sdt.services.size() < 2;
        sdt.services.push_back(DescribeService(service, hasSchedule));
    }
    // A private descriptor before and one behind the specifier, and an extension descriptor: EN 300
    // 468 6.4.10, service relocated.
    std::vector<Bytes>& first = sdt.services.front().descriptors;
    first.push_back(Descriptor(0x82, {0x01}));
    first.push_back(PrivateDataSpecifierDescriptor(kDemoPrivateDataSpecifier));
    first.push_back(Descriptor(0x82, {0x02}));
    first.push_back(ExtensionDescriptor(0x0B, {0xFF, 0x10, 0x04, 0x20, 0x04, 0x4D}));
    return {0x0011, 1000,
            MakeSdt(Scope::kActual, sdt, {.version_number = 21, .entries_per_section = 3})};
}

DemoTable MakeDemoSdtOther() {
    Sdt sdt{kDemoSecondStream, kDemoOriginalNetwork};
    for (const DemoService& service : kSecondStreamServices) {
        sdt.services.push_back(DescribeService(service, false));
    }
    return {0x0011, 1500, MakeSdt(Scope::kOther, sdt, {.version_number = 4})};
}

// The present and the following event of every service whose SDT entry announces them.
template <std::size_t N>
DemoTable MakeDemoEitPresentFollowing(Scope scope, const DemoService (&services)[N],
                                      std::uint16_t transport_stream_id, std::uint32_t period) {
    Sections sections;
    for (const DemoService& service : services) {
        if (service.hasEvents) {
            const std::vector<EitEvent> events =
                MakeDemoEvents(service.service_id, kDemoTime - kHour / 2, kHour, 2, 0x0100);
            const Sections own = MakeEitPresentFollowing(
                scope, {service.service_id, transport_stream_id, kDemoOriginalNetwork}, {events[0]},
                {events[1]}, {.version_number = 9});
            sections.insert(sections.end(), own.begin(), own.end());
        }
    }
    return {0x0012, period, sections};
}

DemoTable MakeDemoEitSchedule(const DemoService& service, std::uint32_t duration,
                              std::size_t count) {
    const EitService key{service.service_id, kDemoTransportStream, kDemoOriginalNetwork};
    return {
        0x0012, 1600,
        MakeEitSchedule(Scope::kActual, key, kDemoMidnight,
                        MakeDemoEvents(service.service_id, kDemoMidnight, duration, count, 0x0200),
                        {.version_number = 13})};
}

// A message to one card or to all; a receiver without a key can read nothing of it.
DemoTable MakeEmm(std::uint16_t pid, std::uint8_t fill) {
    return {pid,
            900,
            {SectionBuilder(0x82).WithoutSyntax().Raw(Bytes(40, fill)).Build(),
             SectionBuilder(0x84).WithoutSyntax().Raw(Bytes(70, fill)).Build()}};
}

}  // namespace

std::vector<DemoTable> MakeDemoTables() {
    const Sections cat = MakeCat({CaDescriptor(kDemoCaSystem, kDemoEmmPid),
                                  CaDescriptor(kDemoOtherCaSystem, kDemoOtherEmmPid, {0x07})},
                                 {.version_number = 1});
    return {
        MakeDemoPat(),
        {0x0001, 500, cat},
        MakeDemoNit(),
        MakeDemoNitOther(),
        MakeDemoSdt(),
        MakeDemoSdtOther(),
        MakeDemoBat(),
        MakeDemoEitPresentFollowing(Scope::kActual, kDemoServices, kDemoTransportStream, 1000),
        MakeDemoEitPresentFollowing(Scope::kOther, kSecondStreamServices, kDemoSecondStream, 1500),
        MakeDemoEitSchedule(kDemoServices[0], 3 * kHour, 5 * 8),
        MakeDemoEitSchedule(kDemoServices[1], 2 * kHour, 12),
        MakeEmm(kDemoEmmPid, 0xE1),
        MakeEmm(kDemoOtherEmmPid, 0xE2),
    };
}

Bytes MakeDemoTimeOffset() {
    return LocalTimeOffsetDescriptor(
        {.country_code = "DEU",
         .local_time_offset = 0x0200,
         .time_of_change = *tvservice::EncodeTime(kDemoMidnight + 162 * 86400 + kHour),
         .next_time_offset = 0x0100});
}

}  // namespace generator
