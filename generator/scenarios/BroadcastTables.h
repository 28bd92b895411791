// The tables of a multiplex with content that is rarely seen. All of it is legal or seen on air.
// Names, identifiers and manufacturers are invented; identifiers are from the ranges for private
// use (TS 101 162).
#pragma once

#include <cstdint>
#include <vector>

#include "generator/scenarios/Life.h"

namespace generator {

constexpr std::uint16_t kBroadcastTransportStream = 0x0781;
constexpr std::uint16_t kBroadcastOtherStream = 0x0782;
constexpr std::uint16_t kBroadcastOriginalNetwork = 0xFF10;
constexpr std::uint32_t kBroadcastPrivateDataSpecifier = 0xFEDC0781;

// The numbers of programmes, services and events.
constexpr std::uint16_t kTelevision = 1301;
constexpr std::uint16_t kFirstSharer = 1302;  // two PMTs on one PID
constexpr std::uint16_t kSecondSharer = 1303;
constexpr std::uint16_t kMislabelled = 1304;  // its PID carries the PMT of 1354
constexpr std::uint16_t kUpdates = 1305;
constexpr std::uint16_t kCarousels = 1306;
constexpr std::uint16_t kApplications = 1307;
constexpr std::uint16_t kOtherService = 1501;  // in the other transport stream

// PAT, CAT and all PMTs.
std::vector<SentTable> MakeBroadcastPrograms();

// This network and two others, on one PID.
SentTable MakeBroadcastNetworks();

// SDT actual, SDT other that describes this same stream, SDT other of another stream, and three
// bouquets.
SentTable MakeBroadcastServices();

// Present and following events.
SentTable MakeBroadcastEvents();

// The bouquets, for MakeBroadcastServices: they have the same PID as the services.
std::vector<Sections> MakeBroadcastBouquets();

}  // namespace generator
