#pragma once

#include <map>
#include <memory>

#include "SI/Include/IPATParser.h"
#include "platform/TCPATParser.h"

namespace TORVEL_MW {

/// Adapter over the platform's PAT parser. Without one (before `Create`) every query answers 0 or
/// false.
class CPATParserKorvo : public IPATParser {
  public:
    bool Create() override;
    bool Parse(unsigned short pid, unsigned char* data) override;
    void Initialize() override;
    bool IsComplete() override;
    void GetProgramList(std::map<int, int>& programs) override;
    int NumOfProgramList() override;
    int ProgramNumber(int index) override;
    int ProgramPID(int programNumber) override;
    unsigned int TransportStreamId() override;

  private:
    std::unique_ptr<TCPATParser> m_Parser;
};

}  // namespace TORVEL_MW
