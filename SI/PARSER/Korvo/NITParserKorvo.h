#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "SI/Include/INITParser.h"
#include "SI/PARSER/Korvo/SSULinkages.h"
#include "platform/TCDVBNITParser.h"

namespace TORVEL_MW {

/// The one implementation of `INITInstance`.
class CNITInstance : public INITInstance {
  public:
    /// Copies what it keeps from the platform's sub-table; it keeps no reference.
    explicit CNITInstance(TCDVBNITInstance& instance);

    void GetSSULinkageDesc(unsigned int oui,
                           std::vector<std::unique_ptr<ISSULinkageDesc>>& out) override;
    void GetSSUScanLinkageDesc(std::vector<std::unique_ptr<ISSUScanLinkageDesc>>& out) override;
    void GetInfo(unsigned short& networkId, unsigned char& nitAttribute,
                 unsigned char& tableAttribute) override;
    void GetDeliveryDescs(unsigned short onid, unsigned short tsid,
                          std::vector<std::shared_ptr<IDeliveryDesc>>& out) override;

  private:
    friend struct NITParserKorvoPeer;

    std::uint16_t m_networkId;
    std::uint8_t m_nitAttribute;
    std::uint8_t m_tableAttribute;
    SSULinkages m_linkages;
    // By original_network_id and transport_stream_id. A transport stream without a known delivery
    // system has no entry.
    std::map<std::pair<std::uint16_t, std::uint16_t>, std::vector<std::shared_ptr<IDeliveryDesc>>>
        m_deliveryDescs;
};

/// Adapter over the platform's NIT parser.
class CNITParserKorvo : public INITParser {
  public:
    explicit CNITParserKorvo(bool actual);

    bool Create() override;
    bool Parse(unsigned short pid, unsigned char* section) override;
    void Initialize() override;
    void NetworkIds(std::list<unsigned short>& ids) override;
    bool IsRecv(unsigned short networkId) override;
    std::unique_ptr<INITInstance> GetInstance(unsigned short networkId) override;

  private:
    friend struct NITParserKorvoPeer;

    std::unique_ptr<TCDVBNITParser> m_Parser;
    bool m_actual;
};

}  // namespace TORVEL_MW
