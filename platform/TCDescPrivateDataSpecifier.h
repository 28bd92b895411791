#pragma once

#include <memory>

#include "Export.h"
#include "TCBaseDesc.h"

/// Private data specifier descriptor (ETSI EN 300 468 6.2.31, tag 0x5F).
class TVSERVICE_API TCDescPrivateDataSpecifier : public TCBaseDesc {
  public:
    TCDescPrivateDataSpecifier();
    ~TCDescPrivateDataSpecifier() override;

    /// private_data_specifier.
    unsigned int PrivateDataSpecifier() const;

    TCBaseDesc* Fork() const override;

  protected:
    TCDescPrivateDataSpecifier(const TCDescPrivateDataSpecifier& other);
    int Decode(const unsigned char* payload, int length) override;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
