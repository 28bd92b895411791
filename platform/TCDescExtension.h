#pragma once

#include <memory>

#include "Export.h"
#include "TCBaseDesc.h"

/// Extension descriptor (ETSI EN 300 468 6.2.16, descriptor_tag 0x7F).
class TVSERVICE_API TCDescExtension : public TCBaseDesc {
  public:
    TCDescExtension();
    ~TCDescExtension() override;

    /// 0x7F in the high byte, descriptor_tag_extension in the low byte.
    unsigned short Tag() const override;

    /// descriptor_tag_extension.
    unsigned char TagExtension() const;

    TCBaseDesc* Fork() const override;

  protected:
    TCDescExtension(const TCDescExtension& other);
    int Decode(const unsigned char* payload, int length) override;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
