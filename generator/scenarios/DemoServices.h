// Identifiers and names that the tables of the demo share.
#pragma once

#include <cstdint>
#include <string_view>

#include "generator/scenarios/Makers.h"

namespace generator {

constexpr std::uint16_t kDemoTransportStream = 0x0421;
constexpr std::uint16_t kDemoOriginalNetwork = 0xFF10;
constexpr std::uint16_t kDemoNetwork = 0xFF11;
constexpr std::uint16_t kDemoOtherNetwork = 0xFF12;
constexpr std::uint16_t kDemoBouquet = 0xF101;
constexpr std::uint32_t kDemoPrivateDataSpecifier = 0xFEDC0421;

// Other transport streams of the same original network.
constexpr std::uint16_t kDemoSecondStream = 0x0422;
constexpr std::uint16_t kDemoThirdStream = 0x0423;

constexpr std::uint16_t kDemoCaSystem = 0xFF21;
constexpr std::uint16_t kDemoOtherCaSystem = 0xFF22;
constexpr std::uint16_t kDemoEmmPid = 0x0090;
constexpr std::uint16_t kDemoOtherEmmPid = 0x0091;

struct DemoService {
    std::uint16_t service_id;
    std::uint8_t service_type;
    std::string_view provider;  // coded after EN 300 468 annex A, as is the name
    std::string_view name;
    bool hasEvents;
    bool scrambled;
};

// In ascending order of service_id. In the default table of annex A an accent precedes its letter:
// 0xCA ring, 0xC8 diaeresis, 0xC2 acute. 0xF9 is the Danish o. 0x15 announces UTF-8; 0x86 and 0x87
// switch emphasis on and off.
constexpr DemoService kDemoServices[] = {
    {1101, 0x01, "Morvane Media", "Morvane \x86One\x87", true, false},
    {1102, 0x19, "Morvane Media", "Morvane Two HD", true, false},
    {1103, 0x16,
     "Bl\xCA"
     "avik Fjernsyn",
     "Bl\xCA"
     "avik Kanal",
     true, false},
    {1104, 0x19, "\x15Студия Ветлица", "\x15Ветлица ТВ", true, false},
    {1105, 0x01, "Rondaille",
     "Rondaille M\xC2"
     "et\xC2"
     "eo",
     true, false},
    {1106, 0x1F, "Ostrel", "Ostrel Kino", true, true},
    {1107, 0x02,
     "Bl\xCA"
     "avik Fjernsyn",
     "Radio Skj\xF9ldhavn", true, false},
    {1108, 0x0C, "Morvane Media", "Receiver Updates", false, false},
};

}  // namespace generator
