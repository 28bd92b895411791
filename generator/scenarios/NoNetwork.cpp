#include <cstdint>

#include "generator/Descriptors.h"
#include "generator/Tables.h"
#include "generator/scenarios/Life.h"
#include "generator/scenarios/Makers.h"
#include "generator/scenarios/Streams.h"

namespace generator {

PacketList MakeNoNetwork(std::uint64_t seed) {
    constexpr std::uint16_t kTransportStream = 0x0610;
    constexpr std::uint16_t kOriginalNetwork = 0xFF10;
    constexpr std::uint16_t kPcrPid = 0x0201;

    const Sdt sdt{
        kTransportStream,
        kOriginalNetwork,
        {{.service_id = 41, .descriptors = {ServiceDescriptor(0x01, "Ostrel", "Ostrel Forty-One")}},
         {.service_id = 42, .descriptors = {ServiceDescriptor(0x0C, "Ostrel", "Ostrel Updates")}}}};
    const MuxTable network{
        .id = 0xFF19,
        .descriptors = {NetworkNameDescriptor("Ostrel Net"),
                        SsuLinkageDescriptor({kTransportStream, kOriginalNetwork, 42},
                                             {{kFirstMaker, {0x01}}, {kSecondMaker, {}}})},
        .transport_streams = {
            {kTransportStream,
             kOriginalNetwork,
             {ServiceListDescriptor({{41, 0x01}, {42, 0x0C}}),
              T2DeliveryDescriptor(
                  {.plp_id = 1, .T2_system_id = 0x9101, .cells = {{0x0001, {50600000}}}})}}}};
    const Sections video = MakePmt({41, kPcrPid, {}, {{0x24, kPcrPid}}}, {.version_number = 2});
    const Sections updates =
        MakePmt({42,
                 0x1FFF,
                 {},
                 {{0x0B,
                   0x0202,
                   {StreamIdentifierDescriptor(0x01), CarouselIdentifierDescriptor(0x00000042),
                    SsuDataBroadcastIdDescriptor(
                        {{.OUI = kFirstMaker, .update_type = 1, .selector = {0x01}}})}}}});

    Life life(seed, kPcrPid);
    life.Period({{0x0000, MakePat(kTransportStream, {{41, 0x0140}, {42, 0x0150}})},
                 {0x0140, video},
                 {0x0150, updates},
                 {0x0011, MakeSdt(Scope::kActual, sdt)},
                 {0x0010, MakeNit(Scope::kActual, network)}});
    return life.packets();
}

}  // namespace generator
