#include "platform/TCDescSatelliteDeliverySystem.h"

#include <cstdint>

#include "softplatform/base/ByteView.h"
#include "softplatform/descriptor/BaseDesc.h"
#include "softplatform/descriptor/Bcd.h"
#include "softplatform/descriptor/Internals.h"

using tvservice::ByteView;

// ETSI EN 300 468 6.2.13.2
struct TCDescSatelliteDeliverySystem::Impl {
    uint32_t frequency = 0;
    uint16_t orbitalPosition = 0;
    bool westEastFlag = false;
    uint8_t polarization = 0;
    uint8_t rollOff = 0;
    uint8_t modulationSystem = 0;
    uint8_t modulationType = 0;
    uint32_t symbolRate = 0;
    uint8_t fecInner = 0;
};

TCDescSatelliteDeliverySystem::TCDescSatelliteDeliverySystem(int tag)
    : m_impl(std::make_unique<Impl>()) {
    TVServiceInternals::Of<TCBaseDesc>(*this).tag = static_cast<uint8_t>(tag);
}

TCDescSatelliteDeliverySystem::TCDescSatelliteDeliverySystem(
    const TCDescSatelliteDeliverySystem& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}

TCDescSatelliteDeliverySystem::~TCDescSatelliteDeliverySystem() = default;

TCBaseDesc* TCDescSatelliteDeliverySystem::Fork() const {
    return new TCDescSatelliteDeliverySystem(*this);
}

int TCDescSatelliteDeliverySystem::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    *m_impl = Impl();
    if (!bytes.Has(0, 11)) {
        return -1;
    }
    m_impl->frequency = bytes.U32(0);
    m_impl->orbitalPosition = bytes.U16(4);
    m_impl->westEastFlag = (bytes.U8(6) & 0x80) != 0;
    m_impl->polarization = bytes.U8(6) >> 5 & 0x03;
    m_impl->rollOff = bytes.U8(6) >> 3 & 0x03;
    m_impl->modulationSystem = bytes.U8(6) >> 2 & 0x01;
    m_impl->modulationType = bytes.U8(6) & 0x03;
    m_impl->symbolRate = bytes.U32(7) >> 4;
    m_impl->fecInner = bytes.U8(10) & 0x0F;
    return 11;
}

unsigned int TCDescSatelliteDeliverySystem::Frequency() const {
    return m_impl->frequency;
}

unsigned long long TCDescSatelliteDeliverySystem::FrequencyHz() const {
    return tvservice::FromBcd(m_impl->frequency, 8).value_or(0) * 10000ULL;
}

unsigned short TCDescSatelliteDeliverySystem::OrbitalPosition() const {
    return m_impl->orbitalPosition;
}

unsigned short TCDescSatelliteDeliverySystem::OrbitalPositionTenthDegrees() const {
    return static_cast<unsigned short>(tvservice::FromBcd(m_impl->orbitalPosition, 4).value_or(0));
}

bool TCDescSatelliteDeliverySystem::WestEastFlag() const {
    return m_impl->westEastFlag;
}

unsigned char TCDescSatelliteDeliverySystem::Polarization() const {
    return m_impl->polarization;
}

unsigned char TCDescSatelliteDeliverySystem::RollOff() const {
    return m_impl->rollOff;
}

unsigned char TCDescSatelliteDeliverySystem::ModulationSystem() const {
    return m_impl->modulationSystem;
}

unsigned char TCDescSatelliteDeliverySystem::ModulationType() const {
    return m_impl->modulationType;
}

unsigned int TCDescSatelliteDeliverySystem::SymbolRate() const {
    return m_impl->symbolRate;
}

unsigned int TCDescSatelliteDeliverySystem::SymbolsPerSecond() const {
    return tvservice::FromBcd(m_impl->symbolRate, 7).value_or(0) * 100;
}

unsigned char TCDescSatelliteDeliverySystem::FECInner() const {
    return m_impl->fecInner;
}
