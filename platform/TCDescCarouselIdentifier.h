#pragma once

#include <memory>

#include "Export.h"
#include "TCBaseDesc.h"

/// Carousel identifier descriptor (ETSI TR 101 202 4.7.7.1, tag 0x13). The bytes after carousel_id
/// are not decoded; `GetDescriptor` returns them.
class TVSERVICE_API TCDescCarouselIdentifier : public TCBaseDesc {
  public:
    TCDescCarouselIdentifier();
    ~TCDescCarouselIdentifier() override;

    /// carousel_id.
    unsigned int CarouselId() const;

    TCBaseDesc* Fork() const override;

  protected:
    TCDescCarouselIdentifier(const TCDescCarouselIdentifier& other);
    int Decode(const unsigned char* payload, int length) override;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
