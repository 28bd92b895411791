#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <vector>

#include "SI/Include/IBATParser.h"
#include "SI/PARSER/Korvo/SSULinkages.h"
#include "platform/TCDVBBATParser.h"

namespace TORVEL_MW {

/// The one implementation of `IBATInstance`.
class CBATInstance : public IBATInstance {
  public:
    /// Copies what it keeps from the platform's sub-table; it keeps no reference.
    explicit CBATInstance(TCDVBBATInstance& instance);

    void GetSSULinkageDesc(unsigned int oui,
                           std::vector<std::unique_ptr<ISSULinkageDesc>>& out) override;
    void GetSSUScanLinkageDesc(std::vector<std::unique_ptr<ISSUScanLinkageDesc>>& out) override;
    void GetInfo(unsigned short& bouquetId, unsigned char& tableAttribute) override;

  private:
    friend struct BATParserKorvoPeer;

    std::uint16_t m_bouquetId;
    std::uint8_t m_tableAttribute;
    SSULinkages m_linkages;
};

/// Adapter over the platform's BAT parser.
class CBATParserKorvo : public IBATParser {
  public:
    bool Create() override;
    bool Parse(unsigned short pid, unsigned char* section) override;
    void Initialize() override;
    void BouquetIds(std::list<unsigned short>& ids) override;
    unsigned short BouquetId() override;
    bool AllSubtablesReceived() override;
    bool IsRecv(unsigned short bouquetId) override;
    std::unique_ptr<IBATInstance> GetInstance(unsigned short bouquetId) override;

  private:
    std::unique_ptr<TCDVBBATParser> m_Parser;
};

}  // namespace TORVEL_MW
