#include "platform/TCDescTerrestrialDeliverySystem.h"

#include "softplatform/descriptor/BaseDesc.h"
#include "softplatform/descriptor/Frequency.h"

using tvservice::PayloadOf;

// ETSI EN 300 468 6.2.13.4
struct TCDescTerrestrialDeliverySystem::Impl {};

TCDescTerrestrialDeliverySystem::TCDescTerrestrialDeliverySystem() = default;

TCDescTerrestrialDeliverySystem::TCDescTerrestrialDeliverySystem(
    const TCDescTerrestrialDeliverySystem& other)
    : TCBaseDesc(other) {}

TCDescTerrestrialDeliverySystem::~TCDescTerrestrialDeliverySystem() = default;

TCBaseDesc* TCDescTerrestrialDeliverySystem::Fork() const {
    return new TCDescTerrestrialDeliverySystem(*this);
}

int TCDescTerrestrialDeliverySystem::Decode(const unsigned char*, int length) {
    return length < 11 ? -1 : 11;
}

unsigned int TCDescTerrestrialDeliverySystem::CentreFrequency() const {
    return PayloadOf(*this).U32(0);
}

unsigned long long TCDescTerrestrialDeliverySystem::CentreFrequencyHz() const {
    return tvservice::HertzFromTens(CentreFrequency());
}

unsigned char TCDescTerrestrialDeliverySystem::Bandwidth() const {
    return PayloadOf(*this).U8(4) >> 5;
}

bool TCDescTerrestrialDeliverySystem::Priority() const {
    return (PayloadOf(*this).U8(4) & 0x10) != 0;
}

bool TCDescTerrestrialDeliverySystem::TimeSlicingIndicator() const {
    return (PayloadOf(*this).U8(4) & 0x08) != 0;
}

bool TCDescTerrestrialDeliverySystem::MPEFECIndicator() const {
    return (PayloadOf(*this).U8(4) & 0x04) != 0;
}

unsigned char TCDescTerrestrialDeliverySystem::Constellation() const {
    return PayloadOf(*this).U8(5) >> 6;
}

unsigned char TCDescTerrestrialDeliverySystem::HierarchyInformation() const {
    return PayloadOf(*this).U8(5) >> 3 & 0x07;
}

unsigned char TCDescTerrestrialDeliverySystem::CodeRateHPStream() const {
    return PayloadOf(*this).U8(5) & 0x07;
}

unsigned char TCDescTerrestrialDeliverySystem::CodeRateLPStream() const {
    return PayloadOf(*this).U8(6) >> 5;
}

unsigned char TCDescTerrestrialDeliverySystem::GuardInterval() const {
    return PayloadOf(*this).U8(6) >> 3 & 0x03;
}

unsigned char TCDescTerrestrialDeliverySystem::TransmissionMode() const {
    return PayloadOf(*this).U8(6) >> 1 & 0x03;
}

bool TCDescTerrestrialDeliverySystem::OtherFrequencyFlag() const {
    return (PayloadOf(*this).U8(6) & 0x01) != 0;
}
