#include "platform/TCDescCableDeliverySystem.h"

#include "softplatform/descriptor/BaseDesc.h"
#include "softplatform/descriptor/Bcd.h"

using tvservice::PayloadOf;

// ETSI EN 300 468 6.2.13.1
struct TCDescCableDeliverySystem::Impl {};

TCDescCableDeliverySystem::TCDescCableDeliverySystem() = default;

TCDescCableDeliverySystem::TCDescCableDeliverySystem(const TCDescCableDeliverySystem& other)
    : TCBaseDesc(other) {}

TCDescCableDeliverySystem::~TCDescCableDeliverySystem() = default;

TCBaseDesc* TCDescCableDeliverySystem::Fork() const {
    return new TCDescCableDeliverySystem(*this);
}

int TCDescCableDeliverySystem::Decode(const unsigned char*, int length) {
    return length < 11 ? -1 : 11;
}

unsigned int TCDescCableDeliverySystem::Frequency() const {
    return PayloadOf(*this).U32(0);
}

unsigned long long TCDescCableDeliverySystem::FrequencyHz() const {
    return tvservice::FromBcd(Frequency(), 8).value_or(0) * 100ULL;
}

unsigned char TCDescCableDeliverySystem::FECOuter() const {
    return PayloadOf(*this).U8(5) & 0x0F;
}

unsigned char TCDescCableDeliverySystem::Modulation() const {
    return PayloadOf(*this).U8(6);
}

unsigned int TCDescCableDeliverySystem::SymbolRate() const {
    return PayloadOf(*this).U32(7) >> 4;
}

unsigned int TCDescCableDeliverySystem::SymbolsPerSecond() const {
    return tvservice::FromBcd(SymbolRate(), 7).value_or(0) * 100;
}

unsigned char TCDescCableDeliverySystem::FECInner() const {
    return PayloadOf(*this).U8(10) & 0x0F;
}
