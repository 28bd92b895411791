#include "bench/Streams.h"

#include <array>
#include <cstddef>
#include <utility>

#include "generator/Descriptors.h"
#include "generator/Random.h"
#include "generator/SectionPacker.h"

namespace bench {

namespace {

using generator::Bytes;
using generator::Random;
using generator::Sections;

constexpr std::uint8_t kVersions = 32;  // version_number has 5 bits
constexpr std::uint16_t kTransportStream = 1;
constexpr std::uint16_t kNetwork = 0x2001;
constexpr std::uint16_t kFirstService = 0x0101;
constexpr std::uint16_t kServices = 20;
constexpr std::uint16_t kFirstPmtPid = 0x0100;
constexpr std::int64_t kMidnight = 1962835200;  // 2032-03-14T00:00:00Z
constexpr std::uint32_t kHour = 3600;
constexpr unsigned short kNitPid = 0x10;
constexpr unsigned short kSdtPid = 0x11;
constexpr unsigned short kEitPid = 0x12;

std::string Words(Random& random, std::size_t size) {
    std::string text;
    while (text.size() < size) {
        text.push_back(random.OneIn(6) ? ' ' : static_cast<char>('a' + random.Below(26)));
    }
    return text;
}

Sections Pat(const generator::TableOptions& options) {
    std::vector<generator::PatProgram> programs;
    for (std::uint16_t i = 0; i < kServices; ++i) {
        programs.push_back({static_cast<std::uint16_t>(kFirstService + i),
                            static_cast<std::uint16_t>(kFirstPmtPid + i)});
    }
    return MakePat(kTransportStream, programs, options);
}

Sections Pmt(std::uint16_t index, const generator::TableOptions& options) {
    const auto first = static_cast<std::uint16_t>(0x0200 + 8 * index);
    generator::Pmt pmt{static_cast<std::uint16_t>(kFirstService + index),
                       first,
                       {generator::CaDescriptor(0x0B00, 0x1FF0)},
                       {}};
    for (std::uint16_t i = 0; i < 8; ++i) {
        pmt.streams.push_back({static_cast<std::uint8_t>(i == 0 ? 0x1B : 0x04),
                               static_cast<std::uint16_t>(first + i),
                               {generator::StreamIdentifierDescriptor(static_cast<std::uint8_t>(i)),
                                generator::Iso639LanguageDescriptor("eng", 0)}});
    }
    return MakePmt(pmt, options);
}

Sections Nit(const generator::TableOptions& options) {
    generator::MuxTable network{kNetwork, {generator::NetworkNameDescriptor("Bench")}, {}};
    for (std::uint16_t i = 0; i < 40; ++i) {
        network.transport_streams.push_back(
            {static_cast<std::uint16_t>(kTransportStream + i),
             kNetwork,
             {generator::SatelliteDeliveryDescriptor({.frequency = 0x01172750,
                                                      .orbital_position = 0x0192,
                                                      .symbol_rate = 0x0275000})}});
    }
    return MakeNit(generator::Scope::kActual, network, options);
}

Sections Sdt(Random& random, generator::Scope scope, std::uint16_t transportStream,
             const generator::TableOptions& options) {
    generator::Sdt sdt{transportStream, kNetwork, {}};
    for (std::uint16_t i = 0; i < kServices; ++i) {
        sdt.services.push_back(
            {.service_id = static_cast<std::uint16_t>(kFirstService + i),
             .descriptors = {generator::ServiceDescriptor(1, "Provider", Words(random, 16))}});
    }
    return MakeSdt(scope, sdt, options);
}

generator::EitEvent Event(Random& random, std::uint16_t id, std::int64_t start, std::size_t text) {
    return {.event_id = id,
            .start_time = start,
            .duration = kHour,
            .running_status = 1,
            .descriptors = {
                generator::ShortEventDescriptor("eng", Words(random, 24), Words(random, text)),
                generator::ContentDescriptor({{1, 5}}),
                generator::ParentalRatingDescriptor({{"DEU", 9}})}};
}

generator::EitService Service(std::uint16_t index) {
    return {static_cast<std::uint16_t>(kFirstService + index), kTransportStream, kNetwork};
}

// 626 bytes: two descriptors of text with the present event.
Sections PresentFollowing(Random& random, std::uint16_t index,
                          const generator::TableOptions& options) {
    generator::EitEvent present = Event(random, 1, kMidnight, 190);
    present.descriptors.push_back(
        generator::ExtendedEventDescriptor({.language_code = "eng", .text = Words(random, 246)}));
    present.descriptors.push_back(generator::ComponentDescriptor({.stream_content = 5,
                                                                  .component_type = 0x0B,
                                                                  .component_tag = 1,
                                                                  .language_code = "eng",
                                                                  .text = Words(random, 103)}));
    return MakeEitPresentFollowing(generator::Scope::kActual, Service(index), {present},
                                   {Event(random, 2, kMidnight + kHour, 190)}, options);
}

// A segment of three hours, in sections of up to 4096 bytes.
Sections Schedule(Random& random, std::uint16_t index, generator::TableOptions options,
                  std::uint32_t events) {
    std::vector<generator::EitEvent> list;
    for (std::uint32_t i = 0; i < events; ++i) {
        list.push_back(Event(random, static_cast<std::uint16_t>(100 + i), kMidnight + 60 * i, 194));
    }
    options.max_section_size = 4096;
    return MakeEitSchedule(generator::Scope::kActual, Service(index), kMidnight, list, options);
}

struct Sent {
    std::uint16_t pid;
    Sections sections;
};

std::vector<Sent> EveryTable(std::uint64_t seed, std::uint8_t version) {
    Random random(seed);
    const generator::TableOptions options{.version_number = version};
    std::vector<Sent> tables;
    tables.push_back({0, Pat(options)});
    tables.push_back({1, MakeCat({generator::CaDescriptor(0x0B00, 0x1FF0)}, options)});
    for (std::uint16_t i = 0; i < kServices; ++i) {
        tables.push_back({static_cast<std::uint16_t>(kFirstPmtPid + i), Pmt(i, options)});
    }
    tables.push_back({kNitPid, Nit(options)});
    tables.push_back({kSdtPid, Sdt(random, generator::Scope::kActual, kTransportStream, options)});
    tables.push_back(
        {kSdtPid, Sdt(random, generator::Scope::kOther, kTransportStream + 1, options)});
    tables.push_back(
        {kSdtPid, MakeBat({0x0001, {generator::BouquetNameDescriptor("Bench")}, {}}, options)});
    for (std::uint16_t i = 0; i < kServices; ++i) {
        tables.push_back({kEitPid, PresentFollowing(random, i, options)});
        tables.push_back({kEitPid, Schedule(random, i, options, 24)});
    }
    return tables;
}

// Packets of sound and pictures. Their content does not matter, because nothing reads it.
class OtherPackets {
  public:
    explicit OtherPackets(std::uint64_t seed) : random_(seed) {
        for (Bytes& payload : payloads_) {
            payload = random_.Fill(184);
        }
    }
    void Append(std::vector<std::uint8_t>& stream, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            const Bytes& payload = payloads_[random_.Below(payloads_.size())];
            stream.insert(stream.end(),
                          {0x47, 0x02, static_cast<std::uint8_t>(random_.Below(160)), 0x10});
            stream.insert(stream.end(), payload.begin(), payload.end());
        }
    }

  private:
    Random random_;
    std::array<Bytes, 256> payloads_;
};

// The continuity_counter of every packet, in the order in which the packets are sent.
class Counters {
  public:
    void Number(std::vector<std::uint8_t>& stream) {
        for (std::size_t at = 0; at < stream.size(); at += 188) {
            std::uint8_t& next = next_[(stream[at + 1] & 0x1FU) << 8 | stream[at + 2]];
            stream[at + 3] = static_cast<std::uint8_t>((stream[at + 3] & 0xF0) | next);
            next = (next + 1) & 0x0F;
        }
    }

  private:
    std::array<std::uint8_t, 0x2000> next_{};
};

}  // namespace

std::vector<SampleTable> SampleTables() {
    std::vector<SampleTable> tables = {
        {"pat", true, 0, {}},          {"pmt", true, kFirstPmtPid, {}},
        {"sdt", true, kSdtPid, {}},    {"nit", true, kNitPid, {}},
        {"eit-pf", true, kEitPid, {}}, {"eit-schedule", false, kEitPid, {}}};
    for (std::uint8_t version = 0; version < kVersions; ++version) {
        Random random(1);
        const generator::TableOptions options{.version_number = version};
        const generator::TableOptions large{.version_number = version, .max_section_size = 4096};
        const Sections sections[] = {
            Pat(large),
            Pmt(0, large),
            Sdt(random, generator::Scope::kActual, kTransportStream, large),
            Nit(large),
            PresentFollowing(random, 0, options),
            Schedule(random, 0, options, 17)};
        for (std::size_t i = 0; i < tables.size(); ++i) {
            tables[i].versions.push_back(sections[i].front());
        }
    }
    return tables;
}

bool ContentOf(std::string_view name, Content& content) {
    constexpr std::pair<std::string_view, Content> kNames[] = {
        {"mixed", Content::kMixed}, {"si", Content::kSi}, {"repeats", Content::kRepeats}};
    for (const auto& [known, value] : kNames) {
        if (known == name) {
            content = value;
            return true;
        }
    }
    return false;
}

void MakeStream(Content content, std::uint64_t bytes, std::uint64_t seed,
                const std::function<void(const std::vector<std::uint8_t>&)>& take) {
    constexpr std::size_t kOthersForEach = 19;  // one packet of 20 is service information
    OtherPackets others(seed + 1);
    Counters counters;
    std::vector<std::vector<std::uint8_t>> cycles;
    for (std::uint8_t version = 0; version < (content == Content::kRepeats ? 1 : kVersions);
         ++version) {
        std::vector<std::uint8_t>& cycle = cycles.emplace_back();
        for (const Sent& table : EveryTable(seed, version)) {
            for (const generator::Packet& packet :
                 generator::PackSections(table.pid, table.sections, {.back_to_back = true})) {
                cycle.insert(cycle.end(), packet.begin(), packet.end());
            }
        }
    }
    std::uint64_t made = 0;
    for (std::size_t i = 0; made < bytes; ++i) {
        const std::vector<std::uint8_t>& cycle = cycles[i % cycles.size()];
        std::vector<std::uint8_t> piece;
        for (std::size_t at = 0; at < cycle.size() && made + piece.size() < bytes; at += 188) {
            piece.insert(piece.end(), cycle.begin() + static_cast<std::ptrdiff_t>(at),
                         cycle.begin() + static_cast<std::ptrdiff_t>(at + 188));
            if (content == Content::kMixed) {
                others.Append(piece, kOthersForEach);
            }
        }
        counters.Number(piece);
        take(piece);
        made += piece.size();
    }
}

}  // namespace bench
