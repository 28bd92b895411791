#pragma once

#include <memory>
#include <vector>

#include "Export.h"
#include "TCBaseDesc.h"

/// Service descriptor (ETSI EN 300 468 6.2.33, tag 0x48).
class TVSERVICE_API TCDescService : public TCBaseDesc {
  public:
    TCDescService();
    ~TCDescService() override;

    /// service_type (ETSI EN 300 468 table 87).
    unsigned char ServiceType() const;

    /// service_provider_name as coded (ETSI EN 300 468 annex A).
    const std::vector<unsigned char>& ServiceProviderName() const;

    /// service_name as coded.
    const std::vector<unsigned char>& ServiceName() const;

    TCBaseDesc* Fork() const override;

  protected:
    TCDescService(const TCDescService& other);
    int Decode(const unsigned char* payload, int length) override;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
