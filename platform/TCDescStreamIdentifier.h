#pragma once

#include <memory>

#include "Export.h"
#include "TCBaseDesc.h"

/// Stream identifier descriptor (ETSI EN 300 468 6.2.39, tag 0x52).
class TVSERVICE_API TCDescStreamIdentifier : public TCBaseDesc {
  public:
    TCDescStreamIdentifier();
    ~TCDescStreamIdentifier() override;

    enum { DESCRIPTOR_ID = 0x52 };

    /// component_tag.
    unsigned char ComponentTag() const;

    TCBaseDesc* Fork() const override;

  protected:
    TCDescStreamIdentifier(const TCDescStreamIdentifier& other);
    int Decode(const unsigned char* payload, int length) override;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
