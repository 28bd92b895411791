#include <cstdint>
#include <string_view>
#include <vector>

#include "generator/Descriptors.h"
#include "generator/scenarios/BroadcastTables.h"

namespace generator {
namespace {

using namespace std::string_view_literals;

// Service names in every character table of EN 300 468 annex A.2, then names that no table
// explains. The service numbers of the names count up from kFirstNamed.
constexpr std::uint16_t kFirstNamed = 1401;
constexpr std::string_view kNames[] = {
    // the default table: Café Zürich €10
    "Caf\xC2"
    "e Z\xC8urich \xA4"
    "10"sv,
    // iso8859-5: Тихий берег
    "\x01\xC2\xD8\xE5\xD8\xD9 \xD1\xD5\xE0\xD5\xD3"sv,
    // iso8859-6: قناة البحر
    "\x02\xE2\xE6\xC7\xC9 \xC7\xE4\xC8\xCD\xD1"sv,
    // iso8859-7: Το λιμάνι
    "\x03\xD4\xEF \xEB\xE9\xEC\xDC\xED\xE9"sv,
    // iso8859-8: ערוץ הים
    "\x04\xF2\xF8\xE5\xF5 \xE4\xE9\xED"sv,
    // iso8859-9: Işık Ülkesi
    "\x05I\xFE\xFDk \xDClkesi"sv,
    // iso8859-10: Þjóðlíf Ŋ
    "\x06\xDEj\xF3\xF0l\xED"
    "f \xAF"sv,
    // iso8859-11: ทะเลไทย
    "\x07\xB7\xD0\xE0\xC5\xE4\xB7\xC2"sv,
    // iso8859-13: Žalgirio ąžuolas
    "\x09\xDE"
    "algirio \xE0\xFEuolas"sv,
    // iso8859-14: Ŵyth Ẁaun
    "\x0A\xD0yth \xA8"
    "aun"sv,
    // iso8859-15: Œuvre à 5 €
    "\x0B\xBCuvre \xE0 5 \xA4"sv,
    // iso8859-1: Grünes Tal
    "\x10\x00\x01Gr\xFCnes Tal"sv,
    // iso8859-2: Žluťoučký kůň
    "\x10\x00\x02\xAElu\xBBou\xE8k\xFD k\xF9\xF2"sv,
    // iso8859-3: Ĉielo kaj maro
    "\x10\x00\x03\xC6ielo kaj maro"sv,
    // iso8859-4: Jūra ķērpis
    "\x10\x00\x04J\xFEra \xF3\xBArpis"sv,
    // iso8859-15: Où 7 €
    "\x10\x00\x0FO\xF9 7 \xA4"sv,
    // utf-16-be: Море 海
    "\x11\x04\x1C\x04>\x04@\x04"
    "5\x00 mw"sv,
    // euc-kr: 바다 방송
    "\x12\xB9\xD9\xB4\xD9 \xB9\xE6\xBC\xDB"sv,
    // gb2312: 海上电视
    "\x13\xBA\xA3\xC9\xCF\xB5\xE7\xCA\xD3"sv,
    // big5: 海上電視
    "\x14\xAE\xFC\xA4W\xB9q\xB5\xF8"sv,
    // utf-8: Über die Ægäis 海
    "\x15\xC3\x9C"
    "ber die \xC3\x86g\xC3\xA4is \xE6\xB5\xB7"sv,
    // Emphasis, line break and a control code without a meaning, in one byte, in UTF-8 and in
    // 16-bit units (A.1)
    "Loud \x86News\x87\x8Atonight\x99"sv,
    "\x15Loud \xEE\x82\x86News\xEE\x82\x87\xEE\x82\x8Atonight\xEE\x82\x99"sv,
    "\x11\x00L\xE0\x86\x00N\xE0\x87\xE0\x8A\x00t\xE0\x99"sv,
    // Selectors that are reserved, that name no table, or that need a coding outside the annex
    "\x08Unknown"sv,
    "\x1EUnknown"sv,
    "\x10\x00\x0CUnknown"sv,
    "\x1F\x01zip"sv,
    // Texts that end too early: inside a character, behind or inside a selector, behind an accent
    "\x15"
    "Anfang \xC3"sv,
    "\x11\x00"
    "A\x00"sv,
    "\x05"sv,
    "\x10\x00"sv,
    "Fin\xC2"sv,
    // A control character that a terminal would act on
    "Esc\x1B[31mape"sv,
};

SdtService Described(std::uint16_t service_id, std::uint8_t service_type, std::string_view name) {
    return {.service_id = service_id,
            .descriptors = {ServiceDescriptor(service_type, "Morvane Media", name)}};
}

// The services of the programmes, then those with the names. The first has private descriptors
// behind two specifiers, and extension descriptors of all sizes.
Sdt OwnServices() {
    SdtService television = Described(kTelevision, 0x19, "Morvane Broad");
    television.EIT_schedule_flag = true;
    television.free_CA_mode = true;
    const Bytes privateDescriptor = Descriptor(0x83, {0x00, 0x01, 0x02, 0x03});
    television.descriptors = {
        PrivateDataSpecifierDescriptor(kBroadcastPrivateDataSpecifier),
        television.descriptors.front(),
        privateDescriptor,
        // EN 300 468 6.4.8: a message
        ExtensionDescriptor(0x08, {0x01, 'e', 'n', 'g', 'H', 'i'}),
        ExtensionDescriptor(0x84, {}),
        Descriptor(0x7F, {}),
        T2DeliveryDescriptor({.plp_id = 10, .T2_system_id = 0x900A, .short_form = true}),
        PrivateDataSpecifierDescriptor(0),
        privateDescriptor,
        LinkageDescriptor({kBroadcastOtherStream, kBroadcastOriginalNetwork, kOtherService}, 0x05),
    };

    SdtService updates = Described(kUpdates, 0x0C, "");
    updates.running_status = 0;
    SdtService carousels = Described(kCarousels, 0x0C, "Carousels");
    carousels.running_status = 2;
    SdtService applications{.service_id = kApplications, .running_status = 1};

    Sdt sdt{kBroadcastTransportStream, kBroadcastOriginalNetwork};
    sdt.services = {television,
                    Described(kFirstSharer, 0x01, "Shared One"),
                    Described(kSecondSharer, 0x01, "Shared Two"),
                    Described(kMislabelled, 0x01, "Mislabelled"),
                    updates,
                    carousels,
                    applications};
    for (SdtService& service : sdt.services) {
        service.EIT_present_following_flag =
            service.service_id != kMislabelled && service.service_id != kApplications;
    }
    std::uint16_t service_id = kFirstNamed;
    for (const std::string_view name : kNames) {
        sdt.services.push_back(Described(service_id++, 0x02, name));
    }
    return sdt;
}

// SDT other that describes this same transport stream: fewer services, with other names.
Sdt OwnServicesAsOther() {
    Sdt sdt{kBroadcastTransportStream, kBroadcastOriginalNetwork};
    sdt.services = {Described(kTelevision, 0x01, "Not Broad"), Described(1399, 0x01, "Not there")};
    return sdt;
}

Sdt OtherServices() {
    SdtService service = Described(kOtherService, 0x01, "Elsewhere");
    service.EIT_present_following_flag = true;
    return {kBroadcastOtherStream, kBroadcastOriginalNetwork, {service, {.service_id = 1502}}};
}

}  // namespace

SentTable MakeBroadcastServices() {
    std::vector<Sections> tables{
        MakeSdt(Scope::kActual, OwnServices(), {.version_number = 22, .max_section_size = 400}),
        MakeSdt(Scope::kOther, OwnServicesAsOther(),
                {.version_number = 22, .entries_per_section = 1}),
        MakeSdt(Scope::kOther, OtherServices(), {.version_number = 1})};
    for (const Sections& bouquet : MakeBroadcastBouquets()) {
        tables.push_back(bouquet);
    }
    return {0x0011, Interleave(tables), {.back_to_back = true}};
}

}  // namespace generator
