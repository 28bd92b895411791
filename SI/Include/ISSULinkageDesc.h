#pragma once

#include <list>
#include <memory>
#include <vector>

#include "Export.h"

namespace TORVEL_MW {

/// A linkage to a service that carries system software updates (ETSI TS 102 006 6.2, linkage_type
/// 0x09). A record never changes after it was made, and takes no lock. Its copies share the
/// selector bytes.
class TORVELSI_API ISSULinkageDesc {
  public:
    virtual ~ISSULinkageDesc() = default;

    /// Appends the OUI (24 bits) of every entry, in ascending order. An OUI with several entries is
    /// appended once for each.
    virtual void GetOUIs(std::list<unsigned int>& ouis) = 0;

    /// Whether an entry has exactly this OUI; there is no wildcard.
    virtual bool ContainsOUI(unsigned int oui) = 0;

    /// Appends the selector bytes of every entry of an OUI, in the order of the descriptor. An
    /// entry without selector bytes gives a null pointer.
    virtual void GetSelectorBytes(
        unsigned int oui, std::vector<std::shared_ptr<std::vector<unsigned char>>>& selectors) = 0;

    /// The service that is linked to.
    virtual void GetLocation(unsigned short& onid, unsigned short& tsid, unsigned short& sid) = 0;

    /// Decodes one linkage descriptor.
    ///
    /// @param data  its descriptor_tag byte; 2 + descriptor_length bytes are read. The
    ///              caller makes sure that it is not null and that they are there; nothing checks
    /// @return empty when it is malformed or of another linkage_type
    static std::shared_ptr<ISSULinkageDesc> Parse(unsigned char const* data);
};

}  // namespace TORVEL_MW
