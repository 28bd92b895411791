#include "client/SdtTable.h"

#include <algorithm>
#include <map>
#include <set>

#include "SI/Include/ISDTParser.h"
#include "client/Records.h"
#include "client/TableIds.h"
#include "platform/TCDVBSDTParser.h"
#include "platform/TCDescService.h"
#include "platform/TVSHandle.h"

namespace client {

SdtTable::Key SdtTable::KeyOf(unsigned short, const unsigned char* data, unsigned short length) {
    // ETSI EN 300 468 5.2.3: original_network_id follows the header
    const unsigned int onid = length >= 10 ? static_cast<unsigned int>(data[8] << 8 | data[9]) : 0;
    return {onid, SectionHeader(data).tableIdExtension};
}

std::optional<SdtTable::Snapshot> SdtTable::Read(unsigned short pid, Sections& sections) {
    Snapshot services;
    std::map<unsigned short, std::size_t> places;  // of services, by service_id
    for (auto& section : sections) {
        // The SI layer's parser builds the records of all its sections anew with each section. To
        // read each section only once, every section gets parsers of its own.
        const auto parser = TORVEL_MW::ISDTParser::CreateSDTParser();
        TCDVBSDTParser platformParser(kSdtActualTableId, TVSHandle(1, 0));
        parser->Initialize();
        unsigned char* const data = section.second.data();
        if (!parser->Parse(pid, data) || !platformParser.Parse(static_cast<short>(pid), data)) {
            return std::nullopt;
        }
        TCDVBSDTInstance& instance = *platformParser.DVBSDTFirstInstance();
        const unsigned short onid = instance.OriginalNetworkId();
        const unsigned short tsid = instance.TransportStreamId();
        std::set<unsigned short> seen;
        for (int index = 0; index < instance.NumOfDVBSDTItemService(); ++index) {
            const TCDVBSDTItemService& item =
                *instance.DVBSDTItemServiceOfIndex(static_cast<unsigned int>(index));
            // When a section lists a service twice, the SI layer returns the descriptors of both
            // entries together.
            if (!seen.insert(item.ServiceId()).second) {
                continue;
            }
            const auto [place, isNew] = places.emplace(item.ServiceId(), services.size());
            if (isNew) {
                services.push_back({onid,
                                    tsid,
                                    item.ServiceId(),
                                    static_cast<std::uint8_t>(item.RunningStatus()),
                                    item.FreeCAMode(),
                                    item.EITPresentFollowingFlag(),
                                    {}});
            }
            std::vector<TORVEL_MW::ISDTParser::SDTDescriptor> saved;
            parser->GetDescriptors(onid, tsid, item.ServiceId(), saved);
            services[place->second].descriptors.Append(ToDescriptors(saved));
        }
    }
    for (Service& service : services) {
        service.descriptors.ShrinkToFit();
    }
    services.shrink_to_fit();
    std::sort(services.begin(), services.end(),
              [](const Service& a, const Service& b) { return a.serviceId < b.serviceId; });
    return services;
}

ServiceName NameOf(const Service& service) {
    constexpr unsigned char kServiceTag = 0x48;
    const auto desc = FirstOf<TCDescService>(service.descriptors, kServiceTag);
    if (!desc) {
        return {};
    }
    return {Utf8(desc->ServiceName()), Utf8(desc->ServiceProviderName()), desc->ServiceType()};
}

}  // namespace client
