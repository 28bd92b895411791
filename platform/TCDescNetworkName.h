#pragma once

#include <memory>
#include <vector>

#include "Export.h"
#include "TCBaseDesc.h"

/// Network name descriptor (ETSI EN 300 468 6.2.27, tag 0x40).
class TVSERVICE_API TCDescNetworkName : public TCBaseDesc {
  public:
    TCDescNetworkName();
    ~TCDescNetworkName() override;

    /// The name as coded (ETSI EN 300 468 annex A); may be empty.
    const std::vector<unsigned char>& Name() const;

    TCBaseDesc* Fork() const override;

  protected:
    TCDescNetworkName(const TCDescNetworkName& other);
    int Decode(const unsigned char* payload, int length) override;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
