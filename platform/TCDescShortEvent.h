#pragma once

#include <memory>
#include <vector>

#include "Export.h"
#include "TCBaseDesc.h"

/// Short event descriptor (ETSI EN 300 468 6.2.37, tag 0x4D).
class TVSERVICE_API TCDescShortEvent : public TCBaseDesc {
  public:
    TCDescShortEvent();
    ~TCDescShortEvent() override;

    /// ISO_639_language_code, 24 bits: three characters, the first in the high byte.
    unsigned int LanguageCode() const;

    /// event_name as coded (ETSI EN 300 468 annex A).
    const std::vector<unsigned char>& EventName() const;

    /// text as coded.
    const std::vector<unsigned char>& Text() const;

    TCBaseDesc* Fork() const override;

  protected:
    TCDescShortEvent(const TCDescShortEvent& other);
    int Decode(const unsigned char* payload, int length) override;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
