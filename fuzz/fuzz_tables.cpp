// Every table parser of the SI layer and, beside it, of the platform, on anything: sections one
// after the other, each in memory of exactly its own length, through the client's readers. What a
// reader found, a reader of the same sections twice over finds too.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "client/BatTable.h"
#include "client/CatTable.h"
#include "client/EitTable.h"
#include "client/NitTable.h"
#include "client/PatTable.h"
#include "client/PmtTable.h"
#include "client/SdtTable.h"
#include "client/SubTableReader.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tools/torvelsi/ScanDocument.h"

namespace {

struct Readers {
    client::SubTableReader<client::PatTable> pat;
    client::SubTableReader<client::CatTable> cat;
    client::SubTableReader<client::PmtTable> pmt;
    client::SubTableReader<client::SdtTable> sdt;
    client::SubTableReader<client::EitTable> eit;
    client::SubTableReader<client::NitActualTable> nitActual;
    client::SubTableReader<client::NitOtherTable> nitOther;
    client::SubTableReader<client::BatTable> bat;

    void Take(std::vector<std::uint8_t>& section) {
        TORVEL_MW::ISectionObserver* const all[] = {&pat, &cat,       &pmt,      &sdt,
                                                    &eit, &nitActual, &nitOther, &bat};
        for (TORVEL_MW::ISectionObserver* const observer : all) {
            observer->OnSectionReceived(1, 0x100, static_cast<unsigned short>(section.size()),
                                        section.data());
        }
    }

    std::string Document() const {
        client::Multiplex multiplex;
        for (const auto& entry : pat.Whole()) {
            multiplex.pat = entry.second;
        }
        for (const auto& entry : cat.Whole()) {
            multiplex.caSystemIds = entry.second;
        }
        for (const auto& entry : pmt.Whole()) {
            multiplex.programs.push_back(entry.second);
        }
        for (const auto& entry : sdt.Whole()) {
            multiplex.services.insert(multiplex.services.end(), entry.second.begin(),
                                      entry.second.end());
        }
        for (const auto& entry : eit.Whole()) {
            multiplex.events.insert(multiplex.events.end(), entry.second.begin(),
                                    entry.second.end());
        }
        for (const auto& entry : nitActual.Whole()) {
            multiplex.networks.push_back(entry.second);
        }
        for (const auto& entry : nitOther.Whole()) {
            multiplex.networks.push_back(entry.second);
        }
        for (const auto& entry : bat.Whole()) {
            multiplex.bouquets.push_back(entry.second);
        }
        // Strict: what is no UTF-8 throws.
        return tool::ScanDocument(multiplex).dump() + tool::ScanText(multiplex);
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tvservice::SetLogPriority(7);
    Readers once;
    Readers twice;
    std::size_t at = 0;
    while (size - at >= 3) {
        const std::size_t length = 3 + ((data[at + 1] & 0x0Fu) << 8 | data[at + 2]);
        if (length > size - at) {
            break;
        }
        std::vector<std::uint8_t> section(data + at, data + at + length);
        at += length;
        once.Take(section);
        twice.Take(section);
        twice.Take(section);
    }
    if (once.Document() != twice.Document()) {
        std::abort();
    }
    return 0;
}
