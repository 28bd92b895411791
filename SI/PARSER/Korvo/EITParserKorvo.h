#pragma once

#include <memory>
#include <vector>

#include "SI/Include/IEITParser.h"
#include "platform/TCDVBEITParser.h"

namespace TORVEL_MW {

/// Adapter over the platform's EIT parser. It keeps no descriptors: each query decodes the section
/// that the platform's parser took last.
class CEITParserKorvo : public IEITParser {
  public:
    bool Create() override;
    bool Parse(unsigned short pid, unsigned char* data) override;
    void Initialize() override;
    bool IsComplete(unsigned short onid, unsigned short tsid, unsigned short sid) override;
    bool GetDescriptors(unsigned short onid, unsigned short tsid, unsigned short sid,
                        std::vector<EITDescriptor>& out) override;

  private:
    std::unique_ptr<TCDVBEITParser> m_Parser;
};

}  // namespace TORVEL_MW
