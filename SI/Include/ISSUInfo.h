#pragma once

#include <list>
#include <memory>
#include <vector>

#include "Export.h"

namespace TORVEL_MW {

/// The system software updates that one elementary stream offers (ETSI TS 102 006 7.1). A record
/// never changes after it was made, and takes no lock. Its copies share the selector bytes.
class TORVELSI_API ISSUInfo {
  public:
    /// data_broadcast_id of system software updates.
    static const unsigned short SSU_INFO = 0x000A;

    virtual ~ISSUInfo() = default;

    /// Appends the OUI (24 bits) of every entry, in ascending order. An OUI with several entries is
    /// appended once for each.
    virtual void GetOUIs(std::list<unsigned int>& ouis) = 0;

    /// Whether an entry has exactly this OUI; there is no wildcard.
    virtual bool ContainsOUI(unsigned int oui) = 0;

    /// Appends the selector bytes of every entry of an OUI, in the order of the descriptor. An
    /// entry without selector bytes gives a null pointer.
    virtual void GetSelectorBytes(
        unsigned int oui, std::vector<std::shared_ptr<std::vector<unsigned char>>>& selectors) = 0;

    /// elementary_PID of the stream.
    virtual void GetPID(unsigned short& pid) = 0;
};

}  // namespace TORVEL_MW
