// The tables of a multiplex that holds what is rarely seen, all of it legal or at least on air
// somewhere. Names, identifiers and manufacturers are invented; identifiers are taken from the
// ranges for private use (TS 101 162).
#pragma once

#include <cstdint>
#include <vector>

#include "generator/scenarios/Life.h"

namespace generator {

constexpr std::uint16_t kBroadcastTransportStream = 0x0781;
constexpr std::uint16_t kBroadcastOtherStream = 0x0782;
constexpr std::uint16_t kBroadcastOriginalNetwork = 0xFF10;
constexpr std::uint32_t kBroadcastPrivateDataSpecifier = 0xFEDC0781;

// Programmes, services and events are told apart by these numbers.
constexpr std::uint16_t kTelevision = 1301;
constexpr std::uint16_t kFirstSharer = 1302;  // two maps on one PID
constexpr std::uint16_t kSecondSharer = 1303;
constexpr std::uint16_t kMislabelled = 1304;  // its PID carries a map of 1354
constexpr std::uint16_t kUpdates = 1305;
constexpr std::uint16_t kCarousels = 1306;
constexpr std::uint16_t kApplications = 1307;
constexpr std::uint16_t kOtherService = 1501;  // in the other transport stream

// PAT, CAT and every map.
std::vector<SentTable> MakeBroadcastPrograms();

// The own network and two others on one PID.
SentTable MakeBroadcastNetworks();

// SDT of this stream, of this stream as if it were another, and of another; three bouquets.
SentTable MakeBroadcastServices();

// Present and following events.
SentTable MakeBroadcastEvents();

// The bouquets, for MakeBroadcastServices: they share a PID with the services.
std::vector<Sections> MakeBroadcastBouquets();

}  // namespace generator
