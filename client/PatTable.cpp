#include "client/PatTable.h"

#include <map>

#include "SI/Include/IPATParser.h"
#include "client/Records.h"
#include "platform/TCPATParser.h"
#include "platform/TVSHandle.h"

namespace client {

std::optional<Pat> PatTable::Read(unsigned short pid, Sections& sections) {
    // The SI layer's interface does not offer all fields. The others come from a platform parser
    // that gets the same sections. The other tables are read in the same way.
    const auto parser = TORVEL_MW::IPATParser::CreatePATParser();
    TCPATParser platformParser(TVSHandle(1, 0));
    parser->Initialize();
    if (!ParseAll(pid, sections, *parser, &platformParser) || !parser->IsComplete()) {
        return std::nullopt;
    }
    Pat pat{};
    pat.transportStreamId = parser->TransportStreamId();
    pat.version = platformParser.VersionNumber();
    std::map<int, int> programs;
    parser->GetProgramList(programs);
    for (const auto& [programNumber, pmtPid] : programs) {
        pat.programs.push_back({programNumber, pmtPid});
    }
    for (int index = 0; index < parser->NumOfProgramList(); ++index) {
        if (parser->ProgramNumber(index) == 0) {
            pat.networkPid = parser->ProgramPID(0);
        }
    }
    return pat;
}

}  // namespace client
