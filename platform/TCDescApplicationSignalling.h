#pragma once

#include <memory>

#include "Export.h"
#include "TCBaseDesc.h"

/// Application signalling descriptor (ETSI TS 102 809 5.3.5.1, tag 0x6F).
class TVSERVICE_API TCDescApplicationSignalling : public TCBaseDesc {
  public:
    TCDescApplicationSignalling();
    ~TCDescApplicationSignalling() override;

    int NumOfApplications() const;

    /// application_type of the entry at `index`, 15 bits; 0 past the end.
    unsigned short ApplicationType(unsigned int index) const;

    /// AIT_version_number of the entry at `index`, 5 bits; 0 past the end.
    unsigned char AITVersionNumber(unsigned int index) const;

    TCBaseDesc* Fork() const override;

  protected:
    TCDescApplicationSignalling(const TCDescApplicationSignalling& other);
    int Decode(const unsigned char* payload, int length) override;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
