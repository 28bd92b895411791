#pragma once

#include <memory>

#include "Export.h"
#include "TCBaseDesc.h"

/// Content descriptor (ETSI EN 300 468 6.2.9, tag 0x54).
class TVSERVICE_API TCDescContent : public TCBaseDesc {
  public:
    TCDescContent();
    ~TCDescContent() override;

    int NumOfContents() const;

    /// content_nibble_level_1 (high 4 bits) and content_nibble_level_2 (low 4 bits) of the entry at
    /// `index` (ETSI EN 300 468 table 29); 0 past the end.
    unsigned char ContentNibbles(unsigned int index) const;

    /// user_byte of the entry at `index`; 0 past the end.
    unsigned char UserByte(unsigned int index) const;

    TCBaseDesc* Fork() const override;

  protected:
    TCDescContent(const TCDescContent& other);
    int Decode(const unsigned char* payload, int length) override;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
