#include "client/CatTable.h"

#include <set>

namespace client {

CatTable::CatTable() : parser_(TORVEL_MW::ICATParser::CreateCATParser()) {
    parser_->Initialize();
}

bool CatTable::Take(unsigned short pid, unsigned char* data, Snapshot& caSystemIds) {
    if (!parser_->Parse(pid, data) || !parser_->IsComplete()) {
        return false;
    }
    std::set<unsigned short> ids;
    parser_->GetCASystemIds(ids);
    caSystemIds.assign(ids.begin(), ids.end());
    return true;
}

}  // namespace client
