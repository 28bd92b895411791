#pragma once

#include <map>
#include <memory>
#include <vector>

#include "SI/Include/ISDTParser.h"
#include "SI/Include/ServiceTriplet.h"
#include "platform/TCDVBSDTParser.h"

namespace TORVEL_MW {

/// Adapter over the platform's SDT parser.
class CSDTParserKorvo : public ISDTParser {
  public:
    ~CSDTParserKorvo() override;

    bool Create() override;
    bool Parse(unsigned short pid, unsigned char* data) override;
    void Initialize() override;
    bool IsComplete(unsigned short onid, unsigned short tsid) override;
    bool IsServiceListed(unsigned short onid, unsigned short tsid, int sid) override;
    bool GetDescriptors(unsigned short onid, unsigned short tsid, unsigned short sid,
                        std::vector<SDTDescriptor>& out) override;

  private:
    friend struct SDTParserKorvoPeer;

    void m_BuildDescriptorsMap();

    std::unique_ptr<TCDVBSDTParser> m_Parser;
    std::multimap<ServiceTriplet, SDTDescriptor> m_DescriptorsMap;  // in loop order per service
};

}  // namespace TORVEL_MW
