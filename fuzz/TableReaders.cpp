#include "fuzz/TableReaders.h"

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "client/TableIds.h"
#include "tools/torvelsi/ScanDocument.h"

namespace fuzzing {

TableReaders::TableReaders(std::function<void(const client::Pat&)> onPat)
    : pat_(std::move(onPat)) {}

void TableReaders::Take(unsigned short pid, unsigned char* section, unsigned short length) {
    const auto hand = [&](TORVEL_MW::ISectionObserver& reader) {
        reader.OnSectionReceived(1, pid, length, section);
    };
    switch (section[0]) {
        case client::kPatTableId:
            return hand(pat_);
        case client::kCatTableId:
            return hand(cat_);
        case client::kPmtTableId:
            return hand(pmt_);
        case client::kSdtActualTableId:
            return hand(sdt_);
        case client::kEitPresentFollowingTableId:
            return hand(eit_);
        case client::kNitActualTableId:
            return hand(nitActual_);
        case client::kNitOtherTableId:
            return hand(nitOther_);
        case client::kBatTableId:
            return hand(bat_);
        default:
            return;
    }
}

void TableReaders::TakeForAll(unsigned short pid, unsigned char* section, unsigned short length) {
    TORVEL_MW::ISectionObserver* const all[] = {&pat_, &cat_,       &pmt_,      &sdt_,
                                                &eit_, &nitActual_, &nitOther_, &bat_};
    for (TORVEL_MW::ISectionObserver* const reader : all) {
        reader->OnSectionReceived(1, pid, length, section);
    }
}

client::Multiplex TableReaders::Found() const {
    client::Multiplex found;
    for (const auto& entry : pat_.Whole()) {
        found.pat = *entry.second;
    }
    for (const auto& entry : cat_.Whole()) {
        found.caSystemIds = *entry.second;
    }
    for (const auto& entry : pmt_.Whole()) {
        found.programs.push_back(entry.second);
    }
    for (const auto& entry : sdt_.Whole()) {
        found.services = entry.second;
    }
    for (const auto& entry : eit_.Whole()) {
        found.events.push_back(entry.second);
    }
    for (auto& entry : eit_.Partial(client::kEitPid)) {
        for (client::EventTable& table : entry.second) {
            found.events.push_back(std::make_shared<client::EventTable>(std::move(table)));
            found.partialEvents.insert(found.events.back());
        }
    }
    for (const auto& entry : nitActual_.Whole()) {
        found.networks.push_back(entry.second);
    }
    for (const auto& entry : nitOther_.Whole()) {
        found.networks.push_back(entry.second);
    }
    for (const auto& entry : bat_.Whole()) {
        found.bouquets.push_back(entry.second);
    }
    return found;
}

void Print(const client::Multiplex& multiplex) {
    tool::WriteScanDocument(multiplex, [](std::string_view) {});
    std::string text;
    tool::WriteScanText(multiplex, [&](std::string_view piece) { text += piece; });
    // The JSON document gets U+FFFD for bytes that are not UTF-8; the text output keeps what the
    // decoders made.
    static_cast<void>(tool::Json(text).dump());
}

}  // namespace fuzzing
