#include "client/CatTable.h"

#include <set>

#include "SI/Include/ICATParser.h"
#include "client/Records.h"

namespace client {

std::optional<CatTable::Snapshot> CatTable::Read(unsigned short pid, Sections& sections) {
    const auto parser = TORVEL_MW::ICATParser::CreateCATParser();
    parser->Initialize();
    if (!ParseAll(pid, sections, *parser) || !parser->IsComplete()) {
        return std::nullopt;
    }
    std::set<unsigned short> ids;
    parser->GetCASystemIds(ids);
    return Snapshot(ids.begin(), ids.end());
}

}  // namespace client
