#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <vector>

#include "SI/Include/IDeliveryDesc.h"
#include "SI/Include/ISIDescriptor.h"
#include "SI/Include/ISSUInfo.h"
#include "SI/Include/ISSULinkageDesc.h"
#include "SI/Include/ISSUScanLinkageDesc.h"
#include "platform/TCBaseDesc.h"

class TCDescDataBroadcastId;
class TCDescLinkage;

namespace TORVEL_MW {

using SelectorBytes = std::shared_ptr<std::vector<unsigned char>>;

/// The one implementation of `ISSULinkageDesc`.
class CSSULinkageDesc : public ISSULinkageDesc {
  public:
    /// @param desc  a linkage of linkage_type 0x09; any other linkage_type ends the program
    explicit CSSULinkageDesc(TCDescLinkage& desc);
    CSSULinkageDesc(const CSSULinkageDesc&) = default;

    void GetOUIs(std::list<unsigned int>& ouis) override;
    bool ContainsOUI(unsigned int oui) override;
    void GetSelectorBytes(unsigned int oui, std::vector<SelectorBytes>& selectors) override;
    void GetLocation(unsigned short& onid, unsigned short& tsid, unsigned short& sid) override;

  private:
    std::multimap<std::uint32_t, SelectorBytes> m_selectors;  // by OUI; null for no selector bytes
    std::uint16_t m_onid;
    std::uint16_t m_tsid;
    std::uint16_t m_sid;
};

/// The one implementation of `ISSUScanLinkageDesc`.
class CSSUScanLinkageDesc : public ISSUScanLinkageDesc {
  public:
    /// @param desc  a linkage of linkage_type 0x0A; any other linkage_type ends the program. The
    ///              table_type is not checked: every value but 1 (NIT) counts as a BAT
    explicit CSSUScanLinkageDesc(TCDescLinkage& desc);
    CSSUScanLinkageDesc(const CSSUScanLinkageDesc&) = default;

    bool operator==(const ISSUScanLinkageDesc& other) const override;
    void GetLocation(bool& tableIsNIT, unsigned short& onid, unsigned short& tsid,
                     unsigned short& sid) override;

  private:
    bool m_tableIsNIT;
    std::uint16_t m_onid;
    std::uint16_t m_tsid;
    std::uint16_t m_sid;
};

/// The one implementation of `ISSUInfo`.
class CSSUInfo : public ISSUInfo {
  public:
    /// @param pid   elementary_PID of the stream that carries the offers
    /// @param dbid  a descriptor of data_broadcast_id 0x000A; any other id ends the program
    CSSUInfo(std::uint16_t pid, TCDescDataBroadcastId& dbid);
    CSSUInfo(const CSSUInfo&) = default;

    void GetOUIs(std::list<unsigned int>& ouis) override;
    bool ContainsOUI(unsigned int oui) override;
    void GetSelectorBytes(unsigned int oui, std::vector<SelectorBytes>& selectors) override;
    void GetPID(unsigned short& pid) override;

  private:
    std::multimap<std::uint32_t, SelectorBytes> m_selectors;  // by OUI; null for no selector bytes
    std::uint16_t m_pid;
};

/// The one implementation of `ISIDescriptor`.
class SIDescriptor : public ISIDescriptor {
  public:
    SIDescriptor(unsigned char tag, bool hasPrivateDataSpecifier, unsigned int privateDataSpecifier,
                 bool hasExtendedTag, unsigned char extendedTag, std::vector<unsigned char> data);

    unsigned int GetTag() override;
    bool GetPrivateDataSpecifierDescriptor(unsigned int& pds) override;
    bool GetExtendedDescriptorTag(unsigned int& extTag) override;
    const std::vector<unsigned char>& GetData() const override;

  private:
    std::uint8_t m_tag;
    bool m_hasPrivateDataSpecifier;
    std::uint32_t m_privateDataSpecifier;
    bool m_hasExtendedTag;
    std::uint8_t m_extendedTag;
    std::vector<unsigned char> m_data;
};

/// Makes a delivery system of class `Delivery` that owns `copy`, the result of `TCBaseDesc::Fork`.
/// The copy is freed also when there is no memory for the delivery system.
template <class Delivery>
std::shared_ptr<IDeliveryDesc> Wrap(TCBaseDesc* copy) {
    return std::make_shared<Delivery>(std::shared_ptr<TCBaseDesc>(copy));
}

}  // namespace TORVEL_MW
