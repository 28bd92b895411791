#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "SI/Include/IPMTParser.h"
#include "platform/TCPMTParser.h"

namespace TORVEL_MW {

/// Adapter over the platform's PMT parser. Without one (before `Create`) every query answers as if
/// no PMT had been parsed.
class CPMTParserKorvo : public IPMTParser {
  public:
    ~CPMTParserKorvo() override;

    bool Create() override;
    bool Parse(unsigned short pid, unsigned char* data) override;
    void Initialize() override;
    bool IsComplete(unsigned short sid) override;
    bool ProgramFound(unsigned short sid) override;
    int NumOfElementary(unsigned short sid) override;
    bool IsElementaryNotApplication(unsigned short sid, int index) override;
    unsigned short ElementaryPID(unsigned short sid, int index) override;
    bool GetCarouselID(unsigned char tag, unsigned long& carouselId) override;
    bool GetPID(unsigned char tag, unsigned short& pid) override;
    void GetSSUInfo(unsigned int serviceId, unsigned int oui,
                    std::list<std::unique_ptr<ISSUInfo>>& out) override;
    unsigned short ProgramNumber() override;
    void GetCASystemIds(std::set<unsigned short>& out) override;

  private:
    friend struct PMTParserKorvoPeer;

    void m_AddCASystemIds(IDescriptorContainer& loop);
    void m_BuildServiceCarouselMap();

    std::unique_ptr<TCPMTParser> m_Parser;
    std::map<std::uint8_t, DataStreamAttributes> m_ServiceCarouselMap;  // by component_tag
    std::map<std::uint16_t, std::vector<std::unique_ptr<ISSUInfo>>> m_SSUInfoMap;  // by program
    std::set<std::uint16_t> m_CASystemIds;
};

}  // namespace TORVEL_MW
