#pragma once

#include <cstdint>
#include <memory>
#include <set>

#include "SI/Include/ICATParser.h"
#include "platform/TCDVBCATParser.h"

namespace TORVEL_MW {

/// Adapter over the platform's CAT parser.
class CCATParserKorvo : public ICATParser {
  public:
    ~CCATParserKorvo() override;

    bool Create() override;
    bool Parse(unsigned short pid, unsigned char* data) override;
    void Initialize() override;
    bool IsComplete() override;
    void GetCASystemIds(std::set<unsigned short>& out) override;

  private:
    friend struct CATParserKorvoPeer;

    std::unique_ptr<TCDVBCATParser> m_Parser;
    std::set<std::uint16_t> m_CASystemIds;
};

}  // namespace TORVEL_MW
