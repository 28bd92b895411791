#include <cstdint>
#include <string_view>
#include <vector>

#include "generator/Descriptors.h"
#include "generator/scenarios/BroadcastTables.h"

namespace generator {
namespace {

using namespace std::string_view_literals;

constexpr std::int64_t kNow = 1962907200;  // 2032-03-14T20:00:00Z
constexpr std::uint32_t kHour = 3600;

EitService OwnService(std::uint16_t service_id) {
    return {service_id, kBroadcastTransportStream, kBroadcastOriginalNetwork};
}

// An event with every descriptor that an event can have, some of them twice.
EitEvent RichEvent() {
    const ExtendedEvent first{
        .descriptor_number = 0,
        .last_descriptor_number = 1,
        .language_code = "eng",
        .items = {{"Director", "M. Tallow"}, {"", ""}, {"Cast", "\x15Zoë Æther"}},
        .text = "A long story, "};
    const ExtendedEvent second{.descriptor_number = 1,
                               .last_descriptor_number = 1,
                               .language_code = "eng",
                               .text = "told in two parts."};
    return {.event_id = 0x0301,
            .start_time = kNow - kHour / 2,
            .duration = kHour,
            .running_status = 4,
            .free_CA_mode = true,
            .descriptors = {
                ShortEventDescriptor("eng", "The \x86Wide\x87 River",
                                     "Two banks.\x8AOne bridge, and nobody crosses it."),
                // The umlaut u and the German double s of the default character table
                ShortEventDescriptor("deu", "Der breite Flu\xFB", "Zwei Ufer, eine Br\xC8ucke."),
                ExtendedEventDescriptor(first), ExtendedEventDescriptor(second),
                ComponentDescriptor({.stream_content = 5,
                                     .component_type = 0x0B,
                                     .component_tag = 0x01,
                                     .language_code = "eng"}),
                ComponentDescriptor({.stream_content_ext = 0x0,
                                     .stream_content = 9,
                                     .component_type = 0x00,
                                     .component_tag = 0x02,
                                     .language_code = "deu",
                                     .text = "\x0BTon \xA4"}),
                ContentDescriptor({{1, 5, 0x12}, {15, 15, 0xFF}}),
                ParentalRatingDescriptor({{"DEU", 9}, {"FRA", 0}, {"GBR", 0xFF}}),
                PrivateDataSpecifierDescriptor(kBroadcastPrivateDataSpecifier),
                Descriptor(0x83, {0x10}), ExtensionDescriptor(0x85, {}),
                // EN 300 468 6.4.16.1: video depth range
                ExtensionDescriptor(0x10, {0x00, 0x03, 0x00, 0x1F, 0xFE})}};
}

EitEvent PlainEvent(std::uint16_t event_id, std::int64_t start_time, std::uint32_t duration) {
    return {.event_id = event_id,
            .start_time = start_time,
            .duration = duration,
            .running_status = 1,
            .descriptors = {ShortEventDescriptor("eng", "Plain", "")}};
}

}  // namespace

SentTable MakeBroadcastEvents() {
    const auto own = [](std::uint16_t service_id, std::uint8_t version_number,
                        const std::vector<EitEvent>& present,
                        const std::vector<EitEvent>& following) {
        return MakeEitPresentFollowing(Scope::kActual, OwnService(service_id), present, following,
                                       {.version_number = version_number});
    };
    const EitEvent cyrillic{
        .event_id = 0x0302,
        .start_time = kNow + kHour / 2,
        .duration = 99 * kHour + 3599,
        .running_status = 1,
        .descriptors = {// "Quiet shore" after ISO/IEC 8859-5, "Sea" in 16-bit units
                        ShortEventDescriptor("rus", "\x01\xC2\xD8\xE5\xD8\xD9 \xD1\xD5\xE0\xD5\xD3",
                                             "\x11\x04\x1C\x04>\x04@\x04"
                                             "5"sv),
                        ContentDescriptor({{2, 3}}), ParentalRatingDescriptor({{"RUS", 3}})}};
    const EitEvent bare{.event_id = 0x0311, .start_time = kNow, .duration = kHour};
    EitEvent never = PlainEvent(0x0321, 0, 0);
    never.start_time.reset();
    never.duration.reset();
    EitEvent endless = PlainEvent(0x0322, kNow, 0);
    endless.duration.reset();
    const EitEvent atMidnight = PlainEvent(0x0332, kNow + 4 * kHour, 0);
    return {
        0x0012,
        Interleave(
            {own(kTelevision, 8, {RichEvent()}, {cyrillic}), own(kFirstSharer, 31, {bare}, {}),
             own(kSecondSharer, 0, {}, {}), own(kUpdates, 8, {never}, {endless}),
             own(kCarousels, 8,
                 {PlainEvent(0x0330, kNow - kHour, kHour), PlainEvent(0x0331, kNow, kHour)},
                 {atMidnight}),
             MakeEitPresentFollowing(
                 Scope::kOther, {kOtherService, kBroadcastOtherStream, kBroadcastOriginalNetwork},
                 {PlainEvent(0x0340, kNow, kHour)}, {}, {.version_number = 8})}),
        {.back_to_back = true}};
}

}  // namespace generator
