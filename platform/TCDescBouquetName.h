#pragma once

#include <memory>
#include <vector>

#include "Export.h"
#include "TCBaseDesc.h"

/// Bouquet name descriptor (ETSI EN 300 468 6.2.4, tag 0x47).
class TVSERVICE_API TCDescBouquetName : public TCBaseDesc {
  public:
    TCDescBouquetName();
    ~TCDescBouquetName() override;

    /// The name as coded (ETSI EN 300 468 annex A); may be empty.
    const std::vector<unsigned char>& Name() const;

    TCBaseDesc* Fork() const override;

  protected:
    TCDescBouquetName(const TCDescBouquetName& other);
    int Decode(const unsigned char* payload, int length) override;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
