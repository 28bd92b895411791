#pragma once

#include <memory>
#include <vector>

#include "Export.h"
#include "TCBaseDesc.h"

/// Extended event descriptor (ETSI EN 300 468 6.2.15, tag 0x4E): one part of a description that
/// may take several descriptors.
class TVSERVICE_API TCDescExtendedEvent : public TCBaseDesc {
  public:
    TCDescExtendedEvent();
    ~TCDescExtendedEvent() override;

    /// descriptor_number, 4 bits.
    unsigned char DescriptorNumber() const;

    /// last_descriptor_number, 4 bits.
    unsigned char LastDescriptorNumber() const;

    /// ISO_639_language_code, 24 bits: three characters, the first in the high byte.
    unsigned int LanguageCode() const;

    int NumOfItems() const;

    /// item_description of the item at `index` as coded (ETSI EN 300 468 annex A); empty past the
    /// end.
    std::vector<unsigned char> ItemDescription(unsigned int index) const;

    /// The item at `index` as coded; empty past the end.
    std::vector<unsigned char> Item(unsigned int index) const;

    /// text as coded.
    const std::vector<unsigned char>& Text() const;

    TCBaseDesc* Fork() const override;

  protected:
    TCDescExtendedEvent(const TCDescExtendedEvent& other);
    int Decode(const unsigned char* payload, int length) override;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
