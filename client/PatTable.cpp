#include "client/PatTable.h"

#include <map>

#include "platform/TVSHandle.h"

namespace client {

PatTable::PatTable()
    : parser_(TORVEL_MW::IPATParser::CreatePATParser()), platformParser_(TVSHandle(1, 0)) {
    parser_->Initialize();
}

bool PatTable::Take(unsigned short pid, unsigned char* data, Snapshot& pat) {
    if (!parser_->Parse(pid, data) || !platformParser_.Parse(static_cast<short>(pid), data) ||
        !parser_->IsComplete()) {
        return false;
    }
    pat.transportStreamId = parser_->TransportStreamId();
    pat.version = platformParser_.VersionNumber();
    std::map<int, int> programs;
    parser_->GetProgramList(programs);
    for (const auto& [programNumber, pmtPid] : programs) {
        pat.programs.push_back({programNumber, pmtPid});
    }
    for (int index = 0; index < parser_->NumOfProgramList(); ++index) {
        if (parser_->ProgramNumber(index) == 0) {
            pat.networkPid = parser_->ProgramPID(0);
        }
    }
    return true;
}

}  // namespace client
