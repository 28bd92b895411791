#pragma once

#include <compare>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "client/Descriptors.h"
#include "softplatform/service/SoftwarePlatform.h"

namespace client {

/// One entry of the program loop (ISO/IEC 13818-1 2.4.4.5).
struct PatProgram {
    int programNumber;  ///< 1 to 65535
    int pmtPid;         ///< 13 bits
};

/// The last complete current PAT.
struct Pat {
    unsigned int transportStreamId;
    unsigned int version;              ///< 0 to 31
    std::vector<PatProgram> programs;  ///< ascending by number, without program 0
    std::optional<int> networkPid;     ///< the PID of program 0
};

/// One manufacturer's entry of a system software update (ETSI TS 102 006).
struct SsuOffer {
    unsigned int oui;  ///< 24 bits
    std::optional<Bytes> selector;
    auto operator<=>(const SsuOffer&) const = default;
};

/// One elementary stream of a program.
struct ElementaryStream {
    std::uint16_t pid;  ///< 13 bits
    std::uint8_t streamType;
    std::optional<std::uint8_t> componentTag;
    bool isApplication;  ///< carries application signalling
    std::optional<std::uint32_t> carouselId;
    DescriptorList descriptors;  ///< with the private data specifiers themselves
};

/// One DSM-CC carousel of a program.
struct Carousel {
    unsigned int componentTag;
    std::optional<std::uint32_t> carouselId;
    unsigned int pid;
};

/// The system software updates that one stream of a program carries.
struct SsuStream {
    unsigned int pid;
    std::vector<SsuOffer> offers;
    auto operator<=>(const SsuStream&) const = default;
};

/// The last complete current PMT of one program.
struct Program {
    unsigned int programNumber;
    unsigned int pmtPid;
    unsigned int pcrPid;  ///< 0x1FFF when there is none
    unsigned int version;
    std::vector<unsigned int> caSystemIds;  ///< ascending
    std::vector<ElementaryStream> streams;
    std::vector<Carousel> carousels;  ///< ascending by component_tag
    std::vector<SsuStream> ssu;
    bool hasCaDescriptor;
    DescriptorList descriptors;  ///< of the program, with the private data specifiers themselves
};

/// One service of the last complete current SDT.
struct Service {
    std::uint16_t originalNetworkId, transportStreamId, serviceId;
    std::uint8_t runningStatus;
    bool freeCaMode;
    bool hasPresentFollowing;  ///< EIT_present_following_flag
    DescriptorList descriptors;
};

/// The fields of a service's service descriptor; without the descriptor they have no value.
struct ServiceName {
    std::optional<std::string> name, provider;  ///< UTF-8
    std::optional<unsigned int> serviceType;
};
ServiceName NameOf(const Service& service);

/// One event of an EIT present/following.
struct Event {
    unsigned int section;  ///< 0 present, 1 following
    std::uint16_t eventId;
    std::uint8_t runningStatus;
    std::optional<unsigned int> duration;  ///< seconds
    std::optional<std::int64_t> start;     ///< seconds since 1970-01-01T00:00:00Z
    DescriptorList descriptors;
};

/// The fields of an event's first short event descriptor; without one they have no value.
struct EventText {
    std::optional<std::string> name, text;  ///< UTF-8
    std::optional<std::string> language;    ///< ISO 639 code
};
EventText TextOf(const Event& event);

/// The EIT present/following of one service.
struct EventTable {
    std::uint16_t originalNetworkId, transportStreamId, serviceId;
    std::vector<Event> events;  ///< ascending by section
};

/// A service that carries system software updates.
struct SsuLinkage {
    unsigned int originalNetworkId, transportStreamId, serviceId;
    std::vector<SsuOffer> offers;
    auto operator<=>(const SsuLinkage&) const = default;
};

/// A service whose transport stream has a NIT or BAT that lists software updates.
struct SsuScanLinkage {
    bool isNit;  ///< true: the NIT lists them; false: the BAT
    unsigned int originalNetworkId, transportStreamId, serviceId;
    auto operator<=>(const SsuScanLinkage&) const = default;
};

/// One transport stream of a network.
struct TransportStream {
    std::uint16_t originalNetworkId, transportStreamId;
    DescriptorList delivery;  ///< delivery system descriptors that the SI layer knows
};

/// The last complete current NIT of one network.
struct Network {
    unsigned int networkId;
    bool isActual;
    std::optional<std::string> name;  ///< UTF-8
    unsigned int version;
    std::vector<SsuLinkage> ssuLinkages;          ///< each once
    std::vector<SsuScanLinkage> ssuScanLinkages;  ///< each once
    std::vector<TransportStream> transportStreams;
};

/// The last complete current BAT of one bouquet.
struct Bouquet {
    unsigned int bouquetId;
    std::optional<std::string> name;  ///< UTF-8
    unsigned int version;
    std::vector<SsuLinkage> ssuLinkages;          ///< each once
    std::vector<SsuScanLinkage> ssuScanLinkages;  ///< each once
};

/// What was played.
struct InputFacts {
    std::string uri;
    unsigned int packetSize;  ///< 188, 192 or 204; 0 when no packet was found
    std::uint64_t packets;
    std::uint64_t bytes;
};

/// Something that the result lacks: a table, some sections of it, or the end of the input.
struct Missing {
    enum What { kPat, kCat, kPmt, kSdt, kNitActual, kNitOther, kBat, kEit, kRestOfInput };
    What what;

    /// The identity of the table; no value where it is unknown or where the table has none. `pid`
    /// is of a PMT. `id` is the program_number of a PMT, the network_id of a NIT, the bouquet_id of
    /// a BAT, the service_id of an EIT.
    std::optional<unsigned int> pid = {};
    std::optional<unsigned int> originalNetworkId = {}, transportStreamId = {};
    std::optional<unsigned int> id = {};

    /// The section_numbers that never came, ascending. Empty: all sections came, but they make no
    /// valid table. No value: no section came, or the receiver refused the filter.
    std::optional<std::vector<unsigned char>> sections = {};
};

/// The result of a scan. It stays valid without the scanner. Copies share the tables, which never
/// change; no pointer is null. Lists ascend by id; of two networks with the same id the actual one
/// comes first. Loops keep the order of the broadcast.
struct Multiplex {
    bool complete = false;         ///< nothing is missing
    std::vector<Missing> missing;  ///< by kind of table, then by id
    InputFacts input = {};
    std::vector<tvservice::CounterValue> counters;
    /// The faults that were injected on purpose; empty when none were asked for.
    std::vector<tvservice::CounterValue> faults;
    std::optional<Pat> pat;
    std::optional<std::vector<unsigned int>> caSystemIds;  ///< of the CAT, ascending
    std::vector<std::shared_ptr<const Program>> programs;
    std::shared_ptr<const std::vector<Service>> services =
        std::make_shared<const std::vector<Service>>();
    std::vector<std::shared_ptr<const EventTable>> events;

    /// The tables of `events` of which sections are missing.
    std::set<std::shared_ptr<const EventTable>> partialEvents;

    std::vector<std::shared_ptr<const Network>> networks;
    std::vector<std::shared_ptr<const Bouquet>> bouquets;
};

}  // namespace client
