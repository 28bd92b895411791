#include "client/EitTable.h"

#include <utility>
#include <vector>

#include "SI/Include/IEITParser.h"
#include "client/Records.h"
#include "client/TableIds.h"
#include "platform/TCDVBEITParser.h"
#include "platform/TCDescShortEvent.h"
#include "platform/TVSHandle.h"
#include "softplatform/text/Time.h"

namespace client {

EitTable::Key EitTable::KeyOf(unsigned short, const unsigned char* data, unsigned short length) {
    // ETSI EN 300 468 5.2.4: transport_stream_id and original_network_id follow the header
    if (length < 12) {
        return {0, 0, SectionHeader(data).tableIdExtension};
    }
    return {data[10] << 8 | data[11], data[8] << 8 | data[9], SectionHeader(data).tableIdExtension};
}

std::optional<EventTable> EitTable::Read(unsigned short pid, Sections& sections) {
    EventTable table{};
    for (auto& [number, section] : sections) {
        const auto parser = TORVEL_MW::IEITParser::CreateEITParser();
        parser->Initialize();
        if (!parser->Parse(pid, section.data())) {
            return std::nullopt;
        }
        const auto length = static_cast<unsigned short>(section.size());
        const auto [onid, tsid, sid] = KeyOf(pid, section.data(), length);
        table.originalNetworkId = static_cast<std::uint16_t>(onid);
        table.transportStreamId = static_cast<std::uint16_t>(tsid);
        table.serviceId = static_cast<std::uint16_t>(sid);
        TCDVBEITItem item(table.serviceId, table.transportStreamId, table.originalNetworkId,
                          TVSHandle(1, 0));
        item.m_Parse(section.data(), length, kEitPresentFollowingTableId);
        for (int index = 0; index < item.NumOfDVBEITItemEvent(); ++index) {
            const TCDVBEITItemEvent& coded =
                *item.DVBEITItemEvent(static_cast<unsigned int>(index));
            Event event{};
            event.section = number;
            event.eventId = coded.EventId();
            event.start = tvservice::DecodeTime(coded.StartTime());
            event.duration = tvservice::DecodeDuration(coded.Duration());
            event.runningStatus = static_cast<std::uint8_t>(coded.RunningStatus());
            // The SI layer returns the descriptors of the first event only. A present/following
            // section should have no more than one event, but some broadcasts have several.
            if (index == 0) {
                std::vector<TORVEL_MW::IEITParser::EITDescriptor> saved;
                parser->GetDescriptors(table.originalNetworkId, table.transportStreamId,
                                       table.serviceId, saved);
                event.descriptors = ToDescriptors(saved);
            } else {
                event.descriptors =
                    SavedDescriptors(coded.DescriptorLoop(), coded.DescriptorLoopLength(),
                                     kEitPresentFollowingTableId);
            }
            event.descriptors.ShrinkToFit();
            table.events.push_back(std::move(event));
        }
    }
    table.events.shrink_to_fit();
    return table;
}

EventText TextOf(const Event& event) {
    constexpr unsigned char kShortEventTag = 0x4D;
    const auto desc = FirstOf<TCDescShortEvent>(event.descriptors, kShortEventTag);
    if (!desc) {
        return {};
    }
    return {Utf8(desc->EventName()), Utf8(desc->Text()), LanguageOf(desc->LanguageCode())};
}

}  // namespace client
