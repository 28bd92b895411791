#include "generator/scenarios/DemoEvents.h"

#include <array>
#include <string_view>

#include "generator/Descriptors.h"
#include "generator/scenarios/DemoServices.h"
#include "generator/scenarios/DemoTables.h"

namespace generator {
namespace {

struct Show {
    std::string_view language;
    std::string_view title;
    std::string_view text;
    ContentEntry content;
    std::uint8_t rating;
};

// Texts are coded after EN 300 468 annex A: 0x8A breaks the line, 0x15 announces UTF-8, 0xC8 puts a
// diaeresis and 0xC2 an acute accent on the next letter, 0xFB is the German double s, 0x01
// announces ISO/IEC 8859-5.
constexpr std::array<Show, 10> kShows{{
    {"eng", "The Evening Report", "News, sport and weather.\x8AWith sign language.", {2, 1}, 0},
    {"eng", "Kitchen by the Canal", "Three cooks, one stove, no recipe.", {10, 5}, 0},
    {"deu",
     "Die K\xC8"
     "uste im Nebel",
     "Ein Leuchtturm, zwei Br\xC8uder und ein Sturm auf hoher See.",
     {1, 8},
     9},
    {"rus", "\x15Тихий берег", "\x15Рассказ о людях, которые живут у моря.", {2, 3}, 3},
    {"eng", "Atlas of Small Islands", "Today: nine houses and a post office.", {5, 2}, 0},
    {"fra",
     "L'\xC2"
     "et\xC2"
     "e des hirondelles",
     "\x15Un été à la campagne.",
     {1, 5},
     6},
    {"deu",
     "Stra\xFB"
     "enmusik",
     "",
     {6, 2},
     0},
    {"eng", "Seven Doors", "The quiz. Behind one door there is nothing at all.", {3, 1}, 0},
    {"rus", "\x01\xBD\xDE\xE7\xDD\xEB\xD5 \xDF\xDE\xD5\xD7\xD4\xD0", "", {1, 1}, 12},
    {"eng", "Night Trains", "From the last stop to the first.", {5, 3}, 0},
}};

std::vector<Bytes> DescribeShow(std::uint16_t service_id, const Show& show, bool present) {
    std::vector<Bytes> descriptors{ShortEventDescriptor(show.language, show.title, show.text)};
    if (present) {
        for (std::uint8_t part = 0; part < 2; ++part) {
            ExtendedEvent extended{.descriptor_number = part,
                                   .last_descriptor_number = 1,
                                   .language_code = std::string(show.language),
                                   .text = part == 0 ? "A long story, " : "told in two parts."};
            if (part == 0) {
                extended.items = {{"Director", "M. Tallow"}, {"Year", "2029"}};
            }
            descriptors.push_back(ExtendedEventDescriptor(extended));
        }
        descriptors.push_back(ComponentDescriptor({.stream_content = 1,
                                                   .component_type = 3,
                                                   .component_tag = 1,
                                                   .language_code = std::string(show.language),
                                                   .text = "Widescreen"}));
    }
    descriptors.push_back(ContentDescriptor({show.content}));
    if (show.rating > 0) {
        descriptors.push_back(
            ParentalRatingDescriptor({{"DEU", show.rating}, {"FRA", show.rating}}));
    }
    if (service_id == kDemoServices[0].service_id) {
        descriptors.push_back(PrivateDataSpecifierDescriptor(kDemoPrivateDataSpecifier));
        descriptors.push_back(Descriptor(0x83, {0x10, 0x20, 0x30}));
        // EN 300 468 6.4.16.1: video depth range, one range with two disparities
        descriptors.push_back(ExtensionDescriptor(0x10, {0x00, 0x03, 0x00, 0x1F, 0xFE}));
    }
    return descriptors;
}

}  // namespace

std::vector<EitEvent> MakeDemoEvents(std::uint16_t service_id, std::int64_t start,
                                     std::uint32_t duration, std::size_t count,
                                     std::uint16_t firstId) {
    std::vector<EitEvent> events;
    for (std::size_t i = 0; i < count; ++i) {
        const Show& show = kShows[(service_id + i) % kShows.size()];
        const std::int64_t start_time = start + static_cast<std::int64_t>(i * duration);
        EitEvent event{.event_id = static_cast<std::uint16_t>(firstId + i),
                       .start_time = start_time,
                       .duration = duration};
        const bool present = start_time <= kDemoTime && kDemoTime < start_time + duration;
        event.running_status = present ? 4 : 1;
        event.descriptors = DescribeShow(service_id, show, present);
        events.push_back(event);
    }
    return events;
}

}  // namespace generator
