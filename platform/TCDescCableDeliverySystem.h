#pragma once

#include <memory>

#include "Export.h"
#include "TCBaseDesc.h"

/// Cable delivery system descriptor (ETSI EN 300 468 6.2.13.1, tag 0x44).
class TVSERVICE_API TCDescCableDeliverySystem : public TCBaseDesc {
  public:
    TCDescCableDeliverySystem();
    ~TCDescCableDeliverySystem() override;

    /// frequency as coded: 8 BCD digits, in units of 100 Hz.
    unsigned int Frequency() const;

    /// The same in Hz; 0 when a digit is not decimal.
    unsigned long long FrequencyHz() const;

    /// FEC_outer (4 bits).
    unsigned char FECOuter() const;

    /// modulation (8 bits): 1 16-QAM to 5 256-QAM.
    unsigned char Modulation() const;

    /// symbol_rate as coded: 7 BCD digits, in units of 100 symbols/s.
    unsigned int SymbolRate() const;

    /// The same in symbols/s; 0 when a digit is not decimal.
    unsigned int SymbolsPerSecond() const;

    /// FEC_inner (4 bits).
    unsigned char FECInner() const;

    TCBaseDesc* Fork() const override;

  protected:
    TCDescCableDeliverySystem(const TCDescCableDeliverySystem& other);
    int Decode(const unsigned char* payload, int length) override;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
