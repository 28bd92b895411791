#include "client/BatTable.h"

#include "client/Linkages.h"
#include "client/Records.h"
#include "client/SubTableReader.h"
#include "platform/TCDescBouquetName.h"
#include "platform/TVSHandle.h"

namespace client {

namespace {
constexpr int kBouquetNameTag = 0x47;
}

BatTable::BatTable()
    : parser_(TORVEL_MW::IBATParser::CreateBATParser()), platformParser_(TVSHandle(1, 0)) {
    parser_->Initialize();
}

BatTable::Key BatTable::KeyOf(unsigned short, const unsigned char* data, unsigned short) {
    return SectionHeader(data).tableIdExtension;
}

bool BatTable::Take(unsigned short pid, unsigned char* data, Snapshot& bouquet) {
    if (!parser_->Parse(pid, data) || !platformParser_.Parse(static_cast<short>(pid), data)) {
        return false;
    }
    const unsigned short bouquetId = parser_->BouquetId();
    if (!parser_->IsRecv(bouquetId)) {
        return false;
    }
    const auto instance = parser_->GetInstance(bouquetId);
    TCDVBBATInstance& platformInstance = *platformParser_.GetInstance(bouquetId);
    bouquet.bouquetId = bouquetId;
    bouquet.version = platformInstance.VersionNumber();
    if (const auto* const name =
            dynamic_cast<TCDescBouquetName*>(platformInstance.Descriptor(kBouquetNameTag, 0))) {
        bouquet.name = Utf8(name->Name());
    }
    bouquet.ssuLinkages = SsuLinkagesOf(*instance);
    bouquet.ssuScanLinkages = SsuScanLinkagesOf(*instance);
    return true;
}

}  // namespace client
