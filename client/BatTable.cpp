#include "client/BatTable.h"

#include "SI/Include/IBATParser.h"
#include "client/Linkages.h"
#include "client/Records.h"
#include "platform/TCDVBBATParser.h"
#include "platform/TCDescBouquetName.h"
#include "platform/TVSHandle.h"

namespace client {

namespace {
constexpr int kBouquetNameTag = 0x47;
}

BatTable::Key BatTable::KeyOf(unsigned short, const unsigned char* data, unsigned short) {
    return SectionHeader(data).tableIdExtension;
}

std::optional<Bouquet> BatTable::Read(unsigned short pid, Sections& sections) {
    const auto parser = TORVEL_MW::IBATParser::CreateBATParser();
    TCDVBBATParser platformParser(TVSHandle(1, 0));
    parser->Initialize();
    if (!ParseAll(pid, sections, *parser, &platformParser)) {
        return std::nullopt;
    }
    const unsigned short bouquetId = parser->BouquetId();
    if (!parser->IsRecv(bouquetId)) {
        return std::nullopt;
    }
    const auto instance = parser->GetInstance(bouquetId);
    TCDVBBATInstance& platformInstance = *platformParser.GetInstance(bouquetId);
    Bouquet bouquet{};
    bouquet.bouquetId = bouquetId;
    bouquet.version = platformInstance.VersionNumber();
    if (const auto* const name =
            dynamic_cast<TCDescBouquetName*>(platformInstance.Descriptor(kBouquetNameTag, 0))) {
        bouquet.name = Utf8(name->Name());
    }
    bouquet.ssuLinkages = SsuLinkagesOf(*instance);
    bouquet.ssuScanLinkages = SsuScanLinkagesOf(*instance);
    return bouquet;
}

}  // namespace client
