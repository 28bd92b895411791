#pragma once

#include <memory>

#include "Export.h"
#include "TCBaseDesc.h"

/// Terrestrial delivery system descriptor (ETSI EN 300 468 6.2.13.4, tag 0x5A).
class TVSERVICE_API TCDescTerrestrialDeliverySystem : public TCBaseDesc {
  public:
    TCDescTerrestrialDeliverySystem();
    ~TCDescTerrestrialDeliverySystem() override;

    /// centre_frequency as coded, in units of 10 Hz.
    unsigned int CentreFrequency() const;

    /// The same in Hz; 0 when the field is all ones.
    unsigned long long CentreFrequencyHz() const;

    /// bandwidth (3 bits): 0 8 MHz, 1 7 MHz, 2 6 MHz, 3 5 MHz.
    unsigned char Bandwidth() const;

    /// priority: true for high priority.
    bool Priority() const;

    /// Time_Slicing_indicator as coded: false when time slicing is used.
    bool TimeSlicingIndicator() const;

    /// MPE-FEC_indicator as coded: false when MPE-FEC is used.
    bool MPEFECIndicator() const;

    /// constellation (2 bits): 0 QPSK, 1 16-QAM, 2 64-QAM.
    unsigned char Constellation() const;

    /// hierarchy_information (3 bits).
    unsigned char HierarchyInformation() const;

    /// code_rate-HP_stream (3 bits).
    unsigned char CodeRateHPStream() const;

    /// code_rate-LP_stream (3 bits).
    unsigned char CodeRateLPStream() const;

    /// guard_interval (2 bits).
    unsigned char GuardInterval() const;

    /// transmission_mode (2 bits): 0 2k, 1 8k, 2 4k.
    unsigned char TransmissionMode() const;

    bool OtherFrequencyFlag() const;

    TCBaseDesc* Fork() const override;

  protected:
    TCDescTerrestrialDeliverySystem(const TCDescTerrestrialDeliverySystem& other);
    int Decode(const unsigned char* payload, int length) override;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
