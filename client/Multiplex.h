#pragma once

#include <compare>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "SI/Include/IDeliveryDesc.h"
#include "softplatform/service/SoftwarePlatform.h"

namespace client {

/// Whole bytes of something, as broadcast.
using Bytes = std::vector<unsigned char>;

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

/// One descriptor, without what does not apply to its loop.
struct Descriptor {
    unsigned char tag;
    std::optional<unsigned int> privateDataSpecifier;
    std::optional<unsigned char> extensionTag;
    Bytes data;  ///< tag and length bytes first
};

/// One manufacturer's entry of a system software update (ETSI TS 102 006).
struct SsuOffer {
    unsigned int oui;  ///< 24 bits
    std::optional<Bytes> selector;
    auto operator<=>(const SsuOffer&) const = default;
};

/// One elementary stream of a program.
struct ElementaryStream {
    unsigned int pid;  ///< 13 bits
    unsigned int streamType;
    std::optional<unsigned int> componentTag;
    std::optional<unsigned long> carouselId;
    bool isApplication;  ///< carries application signalling
    std::vector<Descriptor> descriptors;
};

/// One DSM-CC carousel of a program.
struct Carousel {
    unsigned int componentTag;
    std::optional<unsigned long> carouselId;
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
};

/// One service of the last complete current SDT.
struct Service {
    unsigned int originalNetworkId, transportStreamId, serviceId;
    std::optional<std::string> name, provider;  ///< UTF-8
    std::optional<unsigned int> serviceType;
    unsigned int runningStatus;
    bool freeCaMode;
    bool hasPresentFollowing;  ///< EIT_present_following_flag
    std::vector<Descriptor> descriptors;
};

/// One event of the last complete current EIT present/following.
struct Event {
    unsigned int originalNetworkId, transportStreamId, serviceId;
    unsigned int section;  ///< 0 present, 1 following
    unsigned int eventId;
    std::optional<std::int64_t> start;     ///< seconds since 1970-01-01T00:00:00Z
    std::optional<unsigned int> duration;  ///< seconds
    unsigned int runningStatus;
    std::optional<std::string> name, text;  ///< UTF-8
    std::optional<std::string> language;    ///< ISO 639 code
    std::vector<Descriptor> descriptors;
};

/// A service that carries system software updates.
struct SsuLinkage {
    unsigned int originalNetworkId, transportStreamId, serviceId;
    std::vector<SsuOffer> offers;
    auto operator<=>(const SsuLinkage&) const = default;
};

/// A place whose NIT or BAT lists such services.
struct SsuScanLinkage {
    bool isNit;  ///< else a BAT
    unsigned int originalNetworkId, transportStreamId, serviceId;
    auto operator<=>(const SsuScanLinkage&) const = default;
};

/// One transport stream of a network.
struct TransportStream {
    unsigned int originalNetworkId, transportStreamId;
    std::vector<std::shared_ptr<TORVEL_MW::IDeliveryDesc>> delivery;
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

/// What a scan found: values with no connection to the scanner. Lists ascend by their ids (of
/// networks with one id the actual comes first); loops keep the order of the broadcast.
struct Multiplex {
    bool complete = false;             ///< nothing is missing
    std::vector<std::string> missing;  ///< what was not begun or is not whole: "pat", "pmt 1025"
    InputFacts input = {};
    std::vector<tvservice::CounterValue> counters;
    std::vector<tvservice::CounterValue>
        faults;  ///< injected on purpose; empty: none were asked for
    std::optional<Pat> pat;
    std::optional<std::vector<unsigned int>> caSystemIds;  ///< of the CAT, ascending
    std::vector<Program> programs;
    std::vector<Service> services;
    std::vector<Event> events;
    std::vector<Network> networks;
    std::vector<Bouquet> bouquets;
};

}  // namespace client
