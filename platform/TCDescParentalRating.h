#pragma once

#include <memory>

#include "Export.h"
#include "TCBaseDesc.h"

/// Parental rating descriptor (ETSI EN 300 468 6.2.28, tag 0x55).
class TVSERVICE_API TCDescParentalRating : public TCBaseDesc {
  public:
    TCDescParentalRating();
    ~TCDescParentalRating() override;

    int NumOfRatings() const;

    /// country_code of the entry at `index`, 24 bits: three characters, the first in the high byte;
    /// 0 past the end.
    unsigned int CountryCode(unsigned int index) const;

    /// rating of the entry at `index`: 0 undefined, 1 to 15 minimum age less 3; 0 past the end.
    unsigned char Rating(unsigned int index) const;

    TCBaseDesc* Fork() const override;

  protected:
    TCDescParentalRating(const TCDescParentalRating& other);
    int Decode(const unsigned char* payload, int length) override;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
