#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "generator/Descriptors.h"
#include "generator/Tables.h"
#include "generator/scenarios/Life.h"
#include "generator/scenarios/Makers.h"
#include "generator/scenarios/Streams.h"

namespace generator {
namespace {

constexpr std::uint16_t kTransportStream = 0x0770;
constexpr std::uint16_t kOtherTransportStream = 0x0771;
constexpr std::uint16_t kOriginalNetwork = 0xFF10;
constexpr std::uint16_t kNetwork = 0xFF1A;
constexpr std::uint16_t kOtherNetwork = 0xFF1B;
constexpr std::uint16_t kBouquet = 0xF501;
constexpr std::uint16_t kPcrPid = 0x0201;
constexpr std::int64_t kNow = 1962907200;  // 2032-03-14T20:00:00Z

std::uint16_t MapPid(std::uint16_t program_number) {
    return static_cast<std::uint16_t>(0x0100 + 0x10 * program_number);
}

SentTable Programs(std::uint8_t version_number, const std::vector<std::uint16_t>& numbers,
                   bool current_next_indicator = true) {
    std::vector<PatProgram> programs;
    for (const std::uint16_t number : numbers) {
        programs.push_back({number, number == 0 ? std::uint16_t{0x0010} : MapPid(number)});
    }
    return {0x0000, MakePat(kTransportStream, programs,
                            {.version_number = version_number,
                             .current_next_indicator = current_next_indicator})};
}

// A PMT with `streams` elementary streams, so that the content shows which edition it is.
SentTable Map(std::uint16_t program_number, std::uint8_t version_number, unsigned streams,
              bool current_next_indicator = true) {
    Pmt pmt{program_number, kPcrPid};
    for (unsigned i = 0; i < streams; ++i) {
        pmt.streams.push_back({0x0B,
                               static_cast<std::uint16_t>(0x0300 + 0x10 * program_number + i),
                               {StreamIdentifierDescriptor(static_cast<std::uint8_t>(i)),
                                CarouselIdentifierDescriptor(0x1000u * program_number + i)}});
    }
    return {MapPid(program_number),
            MakePmt(pmt, {.version_number = version_number,
                          .current_next_indicator = current_next_indicator})};
}

// The version of the tables below; their contents contain its name.
struct Edition {
    std::uint8_t version_number;
    std::string name;
    bool current_next_indicator = true;

    TableOptions Options(std::size_t entries_per_section) const {
        return {.version_number = version_number,
                .current_next_indicator = current_next_indicator,
                .entries_per_section = entries_per_section};
    }
};

// 256 sections with one transport stream each; the T2 system id contains the version.
Sections ManyStreams(const Edition& edition) {
    MuxTable network{.id = kOtherNetwork,
                     .descriptors = {NetworkNameDescriptor("Wide " + edition.name)},
                     .repeat_descriptors = true};
    for (std::uint16_t i = 0; i < 256; ++i) {
        network.transport_streams.push_back(
            {static_cast<std::uint16_t>(0x2000 + i),
             kOriginalNetwork,
             {T2DeliveryDescriptor({.plp_id = static_cast<std::uint8_t>(i),
                                    .T2_system_id = edition.version_number,
                                    .short_form = true})}});
    }
    return MakeNit(Scope::kOther, network, edition.Options(1));
}

// 64 sections, each with the name and a linkage to updates.
Sections ManyBouquetSections(const Edition& edition) {
    MuxTable bouquet{
        .id = kBouquet,
        .descriptors = {BouquetNameDescriptor("Bundle " + edition.name),
                        SsuLinkageDescriptor({kTransportStream, kOriginalNetwork, 3},
                                             {{kFirstMaker, {edition.version_number}}})},
        .repeat_descriptors = true};
    for (std::uint16_t i = 0; i < 64; ++i) {
        bouquet.transport_streams.push_back({static_cast<std::uint16_t>(0x2000 + i),
                                             kOriginalNetwork,
                                             {ServiceListDescriptor({{i, 0x01}})}});
    }
    return MakeBat(bouquet, edition.Options(1));
}

Sections Network(const Edition& edition) {
    const MuxTable network{
        .id = kNetwork,
        .descriptors = {NetworkNameDescriptor("Net " + edition.name)},
        .transport_streams = {
            {kTransportStream,
             kOriginalNetwork,
             {TerrestrialDeliveryDescriptor(
                 {.centre_frequency = 47400000 + 800000u * edition.version_number})}},
            {kOtherTransportStream, kOriginalNetwork}}};
    return MakeNit(Scope::kActual, network, edition.Options(2));
}

Sections Services(Scope scope, std::uint16_t transport_stream_id, const Edition& edition) {
    Sdt sdt{transport_stream_id, kOriginalNetwork};
    for (std::uint16_t number = 1; number <= 3; ++number) {
        sdt.services.push_back(
            {.service_id = number,
             .EIT_present_following_flag = scope == Scope::kActual && number == 1,
             .descriptors = {
                 ServiceDescriptor(0x01, "Morvane Media",
                                   "Service " + std::to_string(number) + ' ' + edition.name)}});
    }
    return MakeSdt(scope, sdt, edition.Options(2));
}

Sections Events(const Edition& edition) {
    const EitEvent event{.event_id = static_cast<std::uint16_t>(0x0500 + edition.version_number),
                         .start_time = kNow,
                         .duration = 3600,
                         .running_status = 4,
                         .descriptors = {ShortEventDescriptor("eng", "Show " + edition.name, "")}};
    return MakeEitPresentFollowing(Scope::kActual, {1, kTransportStream, kOriginalNetwork}, {event},
                                   {}, edition.Options(SIZE_MAX));
}

using SentTables = std::vector<SentTable>;

// All tables but PAT and PMT.
SentTables EveryTable(const Edition& edition) {
    const auto system = static_cast<std::uint16_t>(0xFF30 + edition.version_number);
    return {{0x0001, MakeCat({CaDescriptor(system, 0x0701)}, edition.Options(1))},
            {0x0010, Interleave({Network(edition), ManyStreams(edition)}), {.back_to_back = true}},
            {0x0011,
             Interleave({Services(Scope::kActual, kTransportStream, edition),
                         Services(Scope::kOther, kOtherTransportStream, edition),
                         ManyBouquetSections(edition)}),
             {.back_to_back = true}},
            {0x0012, Events(edition)}};
}

SentTables Backwards(SentTables tables) {
    for (SentTable& table : tables) {
        std::reverse(table.sections.begin(), table.sections.end());
    }
    return tables;
}

SentTables Join(const std::vector<SentTables>& parts) {
    SentTables whole;
    for (const SentTables& part : parts) {
        whole.insert(whole.end(), part.begin(), part.end());
    }
    return whole;
}

}  // namespace

PacketList MakeBroadcastVersions(std::uint64_t seed) {
    Life life(seed, kPcrPid);
    life.Period(Join({{Programs(30, {0, 1, 2, 3}), Map(1, 31, 1), Map(2, 5, 2), Map(3, 12, 3)},
                      EveryTable({31, "old"})}));
    // Programme 2 leaves and comes back with the same PMT and version; meanwhile the versions of
    // all others count from 31 to 0.
    life.Period({Programs(31, {0, 1, 3}), Map(1, 31, 1), Map(3, 12, 3)});
    life.Period(Join({{Programs(0, {0, 1, 2, 3}), Map(1, 0, 2), Map(2, 5, 2), Map(3, 12, 3)},
                      EveryTable({0, "wrapped"})}));

    // A PAT without a network, then an empty PAT. All PMTs come back unchanged.
    life.Period({Programs(1, {1, 2, 3}), Map(1, 0, 2), Map(2, 5, 2), Map(3, 12, 3)});
    life.Period({Programs(2, {})});
    life.Period({Programs(3, {0, 1, 2, 3}), Map(1, 0, 2), Map(2, 5, 2), Map(3, 12, 3)});

    // The next edition of everything is announced, then becomes current.
    life.Period(Join({{Programs(3, {0, 1, 2, 3}), Programs(4, {0, 1, 2, 3, 4}, false), Map(1, 0, 2),
                       Map(1, 1, 3, false)},
                      EveryTable({1, "next", false}),
                      EveryTable({0, "wrapped"})}));
    life.Period(Join(
        {{Programs(4, {0, 1, 2, 3, 4}), Map(1, 1, 3), Map(2, 5, 2), Map(3, 12, 3), Map(4, 0, 1)},
         EveryTable({1, "next"})}));

    // Version 9 stays incomplete: the first half of one large table and the second half of another
    // are sent.
    Sections firstHalf = ManyStreams({9, "partial"});
    firstHalf.resize(128);
    Sections secondHalf = ManyBouquetSections({9, "partial"});
    secondHalf.erase(secondHalf.begin(), secondHalf.begin() + 32);
    life.Period({{0x0010, firstHalf, {.back_to_back = true}},
                 {0x0011, secondHalf, {.back_to_back = true}}});

    // The encoder restarts: versions jump back to numbers that were used, with other content.
    // Programme 4 is gone, and the announced tables never become current.
    const SentTables last =
        Join({{Programs(2, {0, 1, 2, 3}), Map(1, 0, 4), Map(2, 4, 1), Map(3, 12, 3)},
              EveryTable({0, "last"})});
    life.Period(last);
    life.Period(Join({Backwards(last),
                      {Programs(3, {0, 4}, false), Map(1, 1, 1, false)},
                      EveryTable({2, "never", false})}));
    return life.packets();
}

}  // namespace generator
