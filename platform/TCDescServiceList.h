#pragma once

#include <memory>

#include "Export.h"
#include "TCBaseDesc.h"

/// Service list descriptor (ETSI EN 300 468 6.2.35, tag 0x41).
class TVSERVICE_API TCDescServiceList : public TCBaseDesc {
  public:
    TCDescServiceList();
    ~TCDescServiceList() override;

    int NumOfServices() const;

    /// service_id of the entry at `index`; 0 past the end.
    unsigned short ServiceId(unsigned int index) const;

    /// service_type of the entry at `index` (ETSI EN 300 468 table 87); 0 past the end.
    unsigned char ServiceType(unsigned int index) const;

    TCBaseDesc* Fork() const override;

  protected:
    TCDescServiceList(const TCDescServiceList& other);
    int Decode(const unsigned char* payload, int length) override;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
