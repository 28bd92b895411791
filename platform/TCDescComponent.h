#pragma once

#include <memory>
#include <vector>

#include "Export.h"
#include "TCBaseDesc.h"

/// Component descriptor (ETSI EN 300 468 6.2.8, tag 0x50).
class TVSERVICE_API TCDescComponent : public TCBaseDesc {
  public:
    TCDescComponent();
    ~TCDescComponent() override;

    /// stream_content_ext, 4 bits.
    unsigned char StreamContentExt() const;

    /// stream_content, 4 bits.
    unsigned char StreamContent() const;

    /// component_type (ETSI EN 300 468 table 26).
    unsigned char ComponentType() const;

    /// component_tag.
    unsigned char ComponentTag() const;

    /// ISO_639_language_code, 24 bits: three characters, the first in the high byte.
    unsigned int LanguageCode() const;

    /// The text as coded (ETSI EN 300 468 annex A).
    const std::vector<unsigned char>& Text() const;

    TCBaseDesc* Fork() const override;

  protected:
    TCDescComponent(const TCDescComponent& other);
    int Decode(const unsigned char* payload, int length) override;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
