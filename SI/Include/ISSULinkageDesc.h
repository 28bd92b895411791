#pragma once

#include <list>
#include <memory>
#include <vector>

#include "Export.h"

namespace TORVEL_MW {

/// A linkage to a service that carries system software updates (ETSI TS 102 006 6.2, linkage_type
/// 0x09). Never changed once made; takes no lock. Copies share their selector bytes.
class TORVELSI_API ISSULinkageDesc {
  public:
    virtual ~ISSULinkageDesc() = default;

    /// Appends the OUI (24 bits) of every entry, ascending, equal ones as often as they stand in
    /// the descriptor.
    virtual void GetOUIs(std::list<unsigned int>& ouis) = 0;

    /// Whether an entry has exactly this OUI; there is no wildcard.
    virtual bool ContainsOUI(unsigned int oui) = 0;

    /// Appends the selector bytes of every entry of an OUI, in the order of the descriptor; null
    /// for an entry without any.
    virtual void GetSelectorBytes(
        unsigned int oui, std::vector<std::shared_ptr<std::vector<unsigned char>>>& selectors) = 0;

    /// The service that is linked to.
    virtual void GetLocation(unsigned short& onid, unsigned short& tsid, unsigned short& sid) = 0;

    /// Decodes one linkage descriptor.
    ///
    /// @param data  its descriptor_tag byte; 2 + descriptor_length bytes are read. Not null, and
    ///              at least 2 bytes: fewer are outside the precondition, nothing checks
    /// @return empty when it is malformed or of another linkage_type
    static std::shared_ptr<ISSULinkageDesc> Parse(unsigned char const* data);
};

}  // namespace TORVEL_MW
