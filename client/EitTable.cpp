#include "client/EitTable.h"

#include "client/Records.h"
#include "client/SubTableReader.h"
#include "client/TableIds.h"
#include "platform/TCDescShortEvent.h"
#include "platform/TVSHandle.h"
#include "softplatform/text/Time.h"

namespace client {

namespace {
constexpr int kHeaderSize = 3;  // what section_length does not count
constexpr unsigned char kShortEventTag = 0x4D;
}  // namespace

EitTable::EitTable()
    : parser_(TORVEL_MW::IEITParser::CreateEITParser()),
      platformParser_(kEitPresentFollowingTableId, TVSHandle(1, 0)) {
    parser_->Initialize();
}

EitTable::Key EitTable::KeyOf(unsigned short, const unsigned char* data, unsigned short length) {
    // ETSI EN 300 468 5.2.4: transport_stream_id and original_network_id behind the header
    if (length < 12) {
        return {0, 0, SectionHeader(data).tableIdExtension};
    }
    return {data[10] << 8 | data[11], data[8] << 8 | data[9], SectionHeader(data).tableIdExtension};
}

bool EitTable::Take(unsigned short pid, unsigned char* data, Snapshot& events) {
    if (!parser_->Parse(pid, data) || !platformParser_.Parse(static_cast<short>(pid), data)) {
        return false;
    }
    const SectionHeader header(data);
    const auto [onid, tsid, sid] = KeyOf(
        pid, data, static_cast<unsigned short>(platformParser_.SectionLength() + kHeaderSize));
    const auto narrow = [](unsigned int id) { return static_cast<unsigned short>(id); };
    TCDVBEITItem item(static_cast<int>(sid), narrow(tsid), narrow(onid), TVSHandle(1, 0));
    item.m_Parse(data, platformParser_.SectionLength() + kHeaderSize, kEitPresentFollowingTableId);
    std::vector<Event>& inSection = events_[header.sectionNumber];
    inSection.clear();
    for (int index = 0; index < item.NumOfDVBEITItemEvent(); ++index) {
        const TCDVBEITItemEvent& coded = *item.DVBEITItemEvent(static_cast<unsigned int>(index));
        Event event{};
        event.originalNetworkId = onid;
        event.transportStreamId = tsid;
        event.serviceId = sid;
        event.section = header.sectionNumber;
        event.eventId = coded.EventId();
        event.start = tvservice::DecodeTime(coded.StartTime());
        event.duration = tvservice::DecodeDuration(coded.Duration());
        event.runningStatus = coded.RunningStatus();
        // The SI layer gives the descriptors of the first event; more are against the standard,
        // and seen.
        std::vector<TORVEL_MW::IEITParser::EITDescriptor> saved;
        if (index == 0) {
            parser_->GetDescriptors(narrow(onid), narrow(tsid), narrow(sid), saved);
            for (const auto& descriptor : saved) {
                event.descriptors.push_back(ToDescriptor(descriptor));
            }
        } else {
            event.descriptors = SavedDescriptors(
                coded.DescriptorLoop(), coded.DescriptorLoopLength(), kEitPresentFollowingTableId);
        }
        if (const auto desc = FirstOf<TCDescShortEvent>(event.descriptors, kShortEventTag)) {
            event.name = Utf8(desc->EventName());
            event.text = Utf8(desc->Text());
            event.language = LanguageOf(desc->LanguageCode());
        }
        inSection.push_back(std::move(event));
    }
    TCDVBEITInstance* const instance =
        platformParser_.EITInstance(TCServiceKey(narrow(onid), narrow(tsid), narrow(sid)));
    if (instance == nullptr || !instance->IsValid()) {
        return false;
    }
    for (const auto& section : events_) {
        events.insert(events.end(), section.second.begin(), section.second.end());
    }
    return true;
}

}  // namespace client
