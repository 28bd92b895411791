#pragma once

#include <list>
#include <memory>
#include <vector>

#include "Export.h"

namespace TORVEL_MW {

/// The system software updates that one elementary stream offers (ETSI TS 102 006 7.1). Never
/// changed once made; takes no lock. Copies share their selector bytes.
class TORVELSI_API ISSUInfo {
  public:
    /// data_broadcast_id of system software updates.
    static const unsigned short SSU_INFO = 0x000A;

    virtual ~ISSUInfo() = default;

    /// Appends the OUI (24 bits) of every entry, ascending, equal ones as often as they stand in
    /// the descriptor.
    virtual void GetOUIs(std::list<unsigned int>& ouis) = 0;

    /// Whether an entry has exactly this OUI; there is no wildcard.
    virtual bool ContainsOUI(unsigned int oui) = 0;

    /// Appends the selector bytes of every entry of an OUI, in the order of the descriptor; null
    /// for an entry without any.
    virtual void GetSelectorBytes(
        unsigned int oui, std::vector<std::shared_ptr<std::vector<unsigned char>>>& selectors) = 0;

    /// elementary_PID of the stream.
    virtual void GetPID(unsigned short& pid) = 0;
};

}  // namespace TORVEL_MW
