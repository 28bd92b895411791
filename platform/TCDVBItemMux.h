#pragma once

#include <memory>

#include "Export.h"

class TCBaseDesc;

/// One transport stream of a NIT or BAT (ETSI EN 300 468 5.2.1, 5.2.2) and its descriptor loop.
class TVSERVICE_API TCDVBItemMux {
  public:
    ~TCDVBItemMux();

    unsigned short TransportStreamId() const;
    unsigned short OriginalNetworkId() const;

    int NumOfDescriptors();

    /// The descriptor at `index` of the loop; null past the end. Owned by this object.
    TCBaseDesc* DescriptorByIndex(unsigned int index);

  private:
    friend struct TVServiceInternals;
    struct Impl;
    explicit TCDVBItemMux(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> m_impl;
};
