#include "platform/TCDescSatelliteDeliverySystem.h"

#include <cstdint>

#include "softplatform/descriptor/BaseDesc.h"
#include "softplatform/descriptor/Bcd.h"
#include "softplatform/descriptor/Internals.h"

using tvservice::PayloadOf;

// ETSI EN 300 468 6.2.13.2
struct TCDescSatelliteDeliverySystem::Impl {};

TCDescSatelliteDeliverySystem::TCDescSatelliteDeliverySystem(int tag) {
    if (tag != 0) {  // 0: a descriptor of a loop; DecodeIn gives it a tag
        TVServiceInternals::SetTag(*this, static_cast<uint8_t>(tag));
    }
}

TCDescSatelliteDeliverySystem::TCDescSatelliteDeliverySystem(
    const TCDescSatelliteDeliverySystem& other)
    : TCBaseDesc(other) {}

TCDescSatelliteDeliverySystem::~TCDescSatelliteDeliverySystem() = default;

TCBaseDesc* TCDescSatelliteDeliverySystem::Fork() const {
    return new TCDescSatelliteDeliverySystem(*this);
}

int TCDescSatelliteDeliverySystem::Decode(const unsigned char*, int length) {
    return length < 11 ? -1 : 11;
}

unsigned int TCDescSatelliteDeliverySystem::Frequency() const {
    return PayloadOf(*this).U32(0);
}

unsigned long long TCDescSatelliteDeliverySystem::FrequencyHz() const {
    return tvservice::FromBcd(Frequency(), 8).value_or(0) * 10000ULL;
}

unsigned short TCDescSatelliteDeliverySystem::OrbitalPosition() const {
    return PayloadOf(*this).U16(4);
}

unsigned short TCDescSatelliteDeliverySystem::OrbitalPositionTenthDegrees() const {
    return static_cast<unsigned short>(tvservice::FromBcd(OrbitalPosition(), 4).value_or(0));
}

bool TCDescSatelliteDeliverySystem::WestEastFlag() const {
    return (PayloadOf(*this).U8(6) & 0x80) != 0;
}

unsigned char TCDescSatelliteDeliverySystem::Polarization() const {
    return PayloadOf(*this).U8(6) >> 5 & 0x03;
}

unsigned char TCDescSatelliteDeliverySystem::RollOff() const {
    return PayloadOf(*this).U8(6) >> 3 & 0x03;
}

unsigned char TCDescSatelliteDeliverySystem::ModulationSystem() const {
    return PayloadOf(*this).U8(6) >> 2 & 0x01;
}

unsigned char TCDescSatelliteDeliverySystem::ModulationType() const {
    return PayloadOf(*this).U8(6) & 0x03;
}

unsigned int TCDescSatelliteDeliverySystem::SymbolRate() const {
    return PayloadOf(*this).U32(7) >> 4;
}

unsigned int TCDescSatelliteDeliverySystem::SymbolsPerSecond() const {
    return tvservice::FromBcd(SymbolRate(), 7).value_or(0) * 100;
}

unsigned char TCDescSatelliteDeliverySystem::FECInner() const {
    return PayloadOf(*this).U8(10) & 0x0F;
}
