#pragma once

#include <memory>

#include "Export.h"
#include "TCBaseDesc.h"

/// CA descriptor (ISO/IEC 13818-1 2.6.16, tag 0x09).
class TVSERVICE_API TCDescCA : public TCBaseDesc {
  public:
    TCDescCA();
    ~TCDescCA() override;

    /// CA_system_ID.
    unsigned short CASystemId() const;

    /// CA_PID, 13 bits.
    unsigned short CAPID() const;

    TCBaseDesc* Fork() const override;

  protected:
    TCDescCA(const TCDescCA& other);
    int Decode(const unsigned char* payload, int length) override;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
