#pragma once

#include <memory>

#include "Export.h"
#include "TCBaseDesc.h"

/// Satellite delivery system descriptor (ETSI EN 300 468 6.2.13.2, tag 0x43).
class TVSERVICE_API TCDescSatelliteDeliverySystem : public TCBaseDesc {
  public:
    /// @param tag  the descriptor_tag of the object; 0x43
    explicit TCDescSatelliteDeliverySystem(int tag);
    ~TCDescSatelliteDeliverySystem() override;

    /// frequency as coded: 8 BCD digits, in units of 10 kHz.
    unsigned int Frequency() const;

    /// The same in Hz; 0 when a digit is not decimal.
    unsigned long long FrequencyHz() const;

    /// orbital_position as coded: 4 BCD digits, in units of 0.1 degree.
    unsigned short OrbitalPosition() const;

    /// The same in units of 0.1 degree; 0 when a digit is not decimal.
    unsigned short OrbitalPositionTenthDegrees() const;

    /// west_east_flag: true for an eastern position.
    bool WestEastFlag() const;

    /// polarization: 0 linear horizontal, 1 linear vertical, 2 circular left, 3 circular right.
    unsigned char Polarization() const;

    /// roll_off (2 bits); it has a meaning in DVB-S2 only.
    unsigned char RollOff() const;

    /// modulation_system: 0 DVB-S, 1 DVB-S2.
    unsigned char ModulationSystem() const;

    /// modulation_type (2 bits).
    unsigned char ModulationType() const;

    /// symbol_rate as coded: 7 BCD digits, in units of 100 symbols/s.
    unsigned int SymbolRate() const;

    /// The same in symbols/s; 0 when a digit is not decimal.
    unsigned int SymbolsPerSecond() const;

    /// FEC_inner (4 bits, ETSI EN 300 468 table 35).
    unsigned char FECInner() const;

    TCBaseDesc* Fork() const override;

  protected:
    TCDescSatelliteDeliverySystem(const TCDescSatelliteDeliverySystem& other);
    int Decode(const unsigned char* payload, int length) override;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
